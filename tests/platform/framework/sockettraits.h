// What the tests of socket events must know of the system they run on.
#pragma once

namespace platform {

// False where a connection reset by the peer reads as an orderly end, as
// under Wine, whose receiving side never reports the reset.
bool ResetsAreReported();

}  // namespace platform
