// Counts the multibeam pings of an XSE file and prints the time it spans.
#include <xsereader/xsereader.h>

#include <algorithm>
#include <cstdio>
#include <string>

class PingCounter : public quor::ISurveyTarget {
 public:
  void HandleStartTime(const quor::timeval& time) override {
    const double seconds = time.tv_sec + time.tv_usec * 1e-6;
    if (frames++ == 0) first = last = seconds;
    first = std::min(first, seconds);
    last = std::max(last, seconds);
  }
  void HandleMultibeam(const quor::MultibeamRec&) override { ++pings; }

  long frames = 0, pings = 0;
  double first = 0, last = 0;
};

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: pingcount FILE.xse\n"), 2;
  std::string error;
  auto reader = xsereader::SurveyReader::OpenFile(argv[1], xsereader::Heads::kAll, &error);
  if (!reader) return std::fprintf(stderr, "cannot open %s: %s\n", argv[1], error.c_str()), 1;
  PingCounter counter;
  reader->ReadAll(counter);
  std::printf("%ld pings, %.6f to %.6f (%.3f s)\n", counter.pings, counter.first, counter.last,
              counter.last - counter.first);
}
