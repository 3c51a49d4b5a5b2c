// Where the decoder's detail lines go. The decoder has no log of its own:
// whoever runs it (the plug-in) hands it a sink, so the library that holds
// the decoder needs no log file, lock or shared memory.
#pragma once

namespace elac {

class ITraceSink {
 public:
  virtual ~ITraceSink() = default;
  // True when detail lines would be kept; the decoder formats none
  // otherwise, as it calls this once per group.
  virtual bool WantsDetail() const = 0;
  // One line of detail, without its end of line.
  virtual void WriteDetail(const char* text) = 0;
};

}  // namespace elac
