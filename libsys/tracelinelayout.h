// The layouts of trace lines, one per level, apart from any trace state so
// they can be checked to the character.
#pragma once

#include <cstdint>
#include <cstdio>

#include "platform/localtime.h"

// Everything a line shows besides its text.
struct TraceLineContext {
  int32_t setting = 0;          // trace setting; level 3 needs 2 or more
  uint32_t threadId = 0;        // 0: no thread column in level-1 lines
  const char* sourceFile = "";  // never null
  int32_t sourceLine = 0;
  const char* programName = "";                    // header of a level-0 block; never null
  const platform::LocalTime* localTime = nullptr;  // null when the clock could not be read
};

// Writes `text` in the layout of `level` to `stream` and flushes it. Levels
// above 3 write nothing (callers pass a signed level converted to unsigned, so
// negative levels land there too).
//   0: "##TRACE:: <program>" / "Info : <text>" / "File : "<file>" at line <n> in thread <id>" /
//      "Time : <asctime text>", four lines
//   1: "hh:mm:ss|<id, 4 wide>|<file>@<line>|<text>" (no id column when the id is 0,
//      no time column when the clock failed)
//   2: "hh:mm:ss|<text>" (just the text when the clock failed)
//   3: "<text>", only when the setting is 2 or more
void WriteTraceLine(std::FILE* stream, const TraceLineContext& context, uint32_t level,
                    const char* text);
