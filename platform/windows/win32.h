// The Win32 and Winsock 2 headers as the Windows implementations include
// them: lean, without the min/max macros, and without the A/W macros whose
// names the platform interfaces use for their own functions.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
// clang-format on

#undef GetEnvironmentVariable
#undef SetEnvironmentVariable
#undef CreateMutex
#undef CreateEvent
#undef LoadString
#undef GetUserName
#undef MessageBox
#undef WriteProfileString
