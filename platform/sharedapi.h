// Marks what a shared library of the host exports. Modules are built with
// hidden visibility; without this mark they would take the host's classes
// for their own and expect to find their code inside themselves.
#pragma once

#define XSE_SHARED_API __attribute__((visibility("default")))
