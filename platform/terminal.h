// Whether a standard stream of the process is connected to a terminal (and
// so to a person who can watch a progress line), or to a file or pipe.
#pragma once

namespace platform {

enum class StandardStream { kInput, kOutput, kError };

bool IsTerminal(StandardStream stream);

}  // namespace platform
