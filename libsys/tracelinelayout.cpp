#include "libsys/tracelinelayout.h"

void WriteTraceLine(std::FILE* stream, const TraceLineContext& context, uint32_t level,
                    const char* text) {
  if (stream == nullptr || text == nullptr) return;
  const platform::LocalTime* time = context.localTime;
  // Ids print as signed decimals, as they always have; system thread ids are
  // far below 2^31.
  const int threadId = static_cast<int>(context.threadId);
  switch (level) {
    case 0:
      std::fprintf(stream, "##%s: %s\n", "TRACE:", context.programName);
      std::fprintf(stream, "Info : %s\n", text);
      std::fprintf(stream, "File : \"%s\" at line %d in thread %d\n", context.sourceFile,
                   context.sourceLine, threadId);
      // Without a clock the block keeps its four lines.
      std::fprintf(stream, "Time : %s\n", time != nullptr ? time->text : "(n/a)");
      break;
    case 1:
      if (time == nullptr) {
        std::fprintf(stream, "%s@%d|%s\n", context.sourceFile, context.sourceLine, text);
      } else if (context.threadId != 0) {
        std::fprintf(stream, "%02d:%02d:%02d|%4d|%s@%d|%s\n", time->hour, time->minute,
                     time->second, threadId, context.sourceFile, context.sourceLine, text);
      } else {
        std::fprintf(stream, "%02d:%02d:%02d|%s@%d|%s\n", time->hour, time->minute, time->second,
                     context.sourceFile, context.sourceLine, text);
      }
      break;
    case 2:
      if (time == nullptr) {
        std::fprintf(stream, "%s\n", text);
      } else {
        std::fprintf(stream, "%02d:%02d:%02d|%s\n", time->hour, time->minute, time->second, text);
      }
      break;
    case 3:
      if (context.setting >= 2) std::fprintf(stream, "%s\n", text);
      break;
    default:
      break;
  }
  std::fflush(stream);
}
