// What a command-line program is given at start: its arguments as UTF-8
// text, and standard streams that pass bytes through unchanged.
#pragma once

#include <string>
#include <vector>

namespace platform {

// The program's arguments, its own name first, in UTF-8. `argc` and `argv`
// are main's; they are taken as they are where the system passes UTF-8
// (Windows passes them in its 8-bit code page, so there they are read again
// from the program's UTF-16 command line).
std::vector<std::string> ProgramArguments(int argc, char** argv);

// Standard output and error write every byte as given: no line feed becomes
// a carriage return and line feed (Windows' text mode does so by default).
// Call before anything is written.
void UseBinaryStandardStreams();

}  // namespace platform
