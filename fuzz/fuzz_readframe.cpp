// Arbitrary bytes as a stream of frames, read to the end like a file.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/checkingtarget.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static xsefuzz::CheckingTarget target;
  ElacReader reader(&target, size > 0 ? data[0] % 3 : 0);
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  // Every call consumes at least four bytes or ends the stream, so this
  // loop ends; the bound is a second guard.
  for (size_t calls = 0; calls <= size / 4 + 1 && stream.good(); ++calls) reader.ReadFrame(stream);
  return 0;
}
