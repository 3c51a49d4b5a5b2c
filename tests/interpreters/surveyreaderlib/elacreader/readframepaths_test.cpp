// ReadFrame decodes a frame where it lies when the stream's buffer holds it
// whole, and otherwise copies it, reading straight on or seeking ahead to
// the end marker. Whatever the path, the results, the records and what each
// call consumes must be the same: the same stream of frames and damage is
// read through buffers of every size and compared call by call.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "platform/filestream.h"
#include "support/recordingtarget.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using Bytes = std::vector<uint8_t>;
using xsewriter::FrameWriter;

// Each frame carries its own microseconds, so records tell their frame.
Bytes HeadingFrame(bool bigEndian, uint32_t micros, int padWords = 0) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, micros);
  for (int i = 0; i < padWords; ++i) writer.PutU32(0);
  xsewriter::PutHeadingGroup(writer, 0.001 * micros);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

Bytes PingFrame(bool bigEndian, uint32_t micros, int beams) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kBathymetryFrame, 3838320000u, micros);
  std::vector<double> values(static_cast<size_t>(beams));
  for (int i = 0; i < beams; ++i) values[static_cast<size_t>(i)] = 10.0 + i;
  xsewriter::PutPingNumberGroup(writer, micros);
  for (auto type :
       {xsewriter::kDepthGroup, xsewriter::kAcrossTrackGroup, xsewriter::kAlongTrackGroup})
    xsewriter::PutBeamValuesGroup(writer, type, values);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

// Frames of many sizes with every kind of damage between them, ending in a
// frame cut short.
Bytes MixedStream() {
  Bytes all;
  const auto add = [&all](const Bytes& part) { all.insert(all.end(), part.begin(), part.end()); };
  uint32_t micros = 1;
  for (int round = 0; round < 3; ++round) {
    add(HeadingFrame(true, micros++));
    add(PingFrame(false, micros++, 5 + 40 * round));  // a new largest frame each round
    add(HeadingFrame(false, micros++, round));
    add(Bytes(8, 0xAA));  // junk, whole words
    Bytes damaged = PingFrame(true, micros++, 3);
    damaged.back() ^= 0xFF;  // wrong end marker
    add(damaged);
    add(PingFrame(true, micros++, 3));
    Bytes absurd = HeadingFrame(true, micros++);
    absurd[4] = 0x7F;  // size near 2 GiB
    add(absurd);
    add({'$', 'H', 'S', 'F', 0, 0, 0, 8, 0, 0, 0, 1, 0, 0, 0, 0, '#', 'H', 'S', 'F'});
    add(PingFrame(round % 2 == 0, micros++, 40));
    add(HeadingFrame(true, micros++, 3));
  }
  Bytes cut = PingFrame(true, micros++, 7);
  cut.resize(cut.size() / 2);
  add(cut);
  return all;
}

// A stream buffer over bytes in memory that holds at most `window` bytes
// ready at a time, and seeks anywhere at or after the start (like a file).
class WindowBuf final : public std::streambuf {
 public:
  WindowBuf(const Bytes& bytes, size_t window)
      : data_(reinterpret_cast<const char*>(bytes.data())), size_(bytes.size()), window_(window) {
    setg(Data(), Data(), Data());
  }

 protected:
  int_type underflow() override {
    const size_t position = static_cast<size_t>(gptr() - Data());
    if (position >= size_) return traits_type::eof();
    setg(Data(), Data() + position, Data() + std::min(size_, position + window_));
    return traits_type::to_int_type(*gptr());
  }
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode) override {
    const off_type base = direction == std::ios_base::beg   ? 0
                          : direction == std::ios_base::end ? static_cast<off_type>(size_)
                                                            : gptr() - Data();
    return SeekTo(base + offset);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode) override {
    return SeekTo(off_type(position));
  }

 private:
  char* Data() const { return const_cast<char*>(data_); }
  pos_type SeekTo(off_type target) {
    if (target < 0) return pos_type(off_type(-1));
    // Past the end the read position stays at the end; reads then fail.
    const size_t at = std::min(static_cast<size_t>(target), size_);
    setg(Data(), Data() + at, Data() + at);
    return pos_type(target);
  }

  const char* data_;
  size_t size_;
  size_t window_;
};

// What each ReadFrame call did: its result, where the stream stood after it
// (while the stream is still good) and the records it delivered.
std::vector<std::string> Trace(std::istream& stream) {
  xsetest::RecordingTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  std::vector<std::string> steps;
  for (int calls = 0; calls < 1000 && stream.good(); ++calls) {
    const size_t before = target.calls.size();
    const bool read = reader.ReadFrame(stream);
    std::string step = read ? "read" : "none";
    if (stream.good()) step += " at " + std::to_string(stream.tellg());
    for (size_t i = before; i < target.calls.size(); ++i) {
      const auto& call = target.calls[i];
      step += " " + target.Kinds()[i];
      if (const auto* time = std::get_if<quor::timeval>(&call))
        step += std::to_string(time->tv_usec);
      if (const auto* ping = std::get_if<quor::MultibeamRec>(&call))
        step += "/" + std::to_string(ping->beamCount) + "/" + std::to_string(ping->depth[0]);
    }
    steps.push_back(step);
  }
  return steps;
}

std::vector<std::string> StringStreamTrace(const Bytes& bytes) {
  std::istringstream stream(std::string(bytes.begin(), bytes.end()));
  return Trace(stream);
}

TEST(ReadFramePaths, EveryBufferSizeGivesTheSameCallsAsAWholeBuffer) {
  const Bytes bytes = MixedStream();
  const auto expected = StringStreamTrace(bytes);
  ASSERT_GT(expected.size(), 20u);
  for (size_t window : {1u, 3u, 4u, 5u, 8u, 13u, 64u, 100u, 257u, 1000u, 4096u}) {
    WindowBuf buffer(bytes, window);
    std::istream stream(&buffer);
    const auto steps = Trace(stream);
    // The string stream refuses to seek past its end, a file does not: only
    // the call that meets the cut frame may differ in where it leaves the
    // stream.
    ASSERT_EQ(steps.size(), expected.size()) << "window " << window;
    for (size_t i = 0; i + 1 < steps.size(); ++i)
      EXPECT_EQ(steps[i], expected[i]) << "window " << window << ", call " << i;
  }
}

TEST(ReadFramePaths, FileStreamsWithSmallBuffersGiveTheSameCalls) {
  const Bytes bytes = MixedStream();
  const auto expected = StringStreamTrace(bytes);
  xsetest::TempDir dir;
  const std::string path = dir.Write("mixed.xse", bytes);
  for (size_t bufferSize : {16u, 60u, 100u, 333u, 4096u, 256u * 1024u}) {
    platform::FileStreamBuf buffer(bufferSize);
    ASSERT_TRUE(buffer.Open(path));
    std::istream stream(&buffer);
    const auto steps = Trace(stream);
    ASSERT_EQ(steps.size(), expected.size()) << "buffer " << bufferSize;
    for (size_t i = 0; i + 1 < steps.size(); ++i)
      EXPECT_EQ(steps[i], expected[i]) << "buffer " << bufferSize << ", call " << i;
  }
}

TEST(ReadFramePaths, ConsumptionIsPinnedForEachKindOfDamage) {
  // The reference itself, spelled out for the first round of the stream.
  const Bytes bytes = MixedStream();
  const auto steps = StringStreamTrace(bytes);
  const size_t heading = HeadingFrame(true, 1).size();
  const size_t ping = PingFrame(false, 2, 5).size();
  const size_t padded = HeadingFrame(false, 3, 0).size();
  const size_t small = PingFrame(true, 4, 3).size();
  size_t at = heading - 4;
  EXPECT_EQ(steps[0], "read at " + std::to_string(at) + " startTime1 gyro");
  at += ping;  // from one end marker to the next
  EXPECT_EQ(steps[1], "read at " + std::to_string(at) + " startTime2 multibeam/5/14.000000");
  at += padded;
  EXPECT_EQ(steps[2], "read at " + std::to_string(at) + " startTime3 gyro");
  at += 4 + 8 + small;  // junk, then the whole damaged frame with its bad end marker
  EXPECT_EQ(steps[3], "none at " + std::to_string(at));
  at += small;
  EXPECT_EQ(steps[4], "read at " + std::to_string(at - 4) + " startTime5 multibeam/3/12.000000");
  EXPECT_EQ(steps[5], "none at " + std::to_string(at + 8)) << "absurd size: marker and size";
}

}  // namespace
