// Ending the whole process at once.
#pragma once

namespace platform {

// Ends the process with `status` (the parent sees it modulo 256, so -1 reads
// as 255). Standard streams are flushed; static destructors and exit
// handlers do not run, since other threads may still be using those objects.
[[noreturn]] void ExitProcess(int status);
// The same without flushing the standard streams: for a process whose
// output may be blocked (a reader that stopped reading), where a flush would
// wait for ever.
[[noreturn]] void ExitProcessNow(int status);

}  // namespace platform
