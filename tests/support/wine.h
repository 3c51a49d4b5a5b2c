// Whether the test runs under Wine, for the few places where Wine's
// emulation differs from the system it emulates and a test says so.
#pragma once

namespace xsetest {

// False on every system but Windows emulated by Wine.
bool RunningUnderWine();

}  // namespace xsetest
