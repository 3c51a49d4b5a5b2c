// ELF: a symbol leaves its library when its visibility is default.
#pragma once

#define XSE_SHARED_API __attribute__((visibility("default")))
