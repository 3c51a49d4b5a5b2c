# Cross-compiling for 32-bit Windows, the platform the plug-in's host runs
# on. Built and linked only: 32-bit Wine is not installed here.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(XSE_MINGW_PREFIX i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
