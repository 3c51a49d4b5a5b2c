# What both mingw-w64 toolchains share: the posix-thread compilers, the
# resource compiler, and the target's own root for find_package.
set(CMAKE_C_COMPILER ${XSE_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${XSE_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${XSE_MINGW_PREFIX}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${XSE_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
