# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (posix threads,
# so std::thread and std::mutex are there). Test programs run under wine64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(XSE_MINGW_PREFIX x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
find_program(XSE_WINE64 NAMES wine64 wine PATHS /usr/lib/wine)
if(XSE_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${XSE_WINE64})
endif()
