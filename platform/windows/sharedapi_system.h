// PE: a DLL without any dllexport mark exports every symbol of its own
// objects (the linker's automatic export, with the static libraries it
// holds excluded), and the programs and DLLs using it import functions and
// data alike through the runtime's automatic import. Marking nothing keeps
// one header for the library and its users, as on ELF.
#pragma once

#define XSE_SHARED_API
