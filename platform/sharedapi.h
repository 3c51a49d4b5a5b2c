// Marks what a shared library of the host exports. Modules are built with
// hidden visibility; without this mark they would take the host's classes
// for their own and expect to find their code inside themselves. How a
// library exports is the system's business (sharedapi_system.h of its
// folder).
#pragma once

#include "sharedapi_system.h"
