// Frame search over byte streams. What ReadFrame consumes is what the data
// sources hand over, so positions are asserted exactly. A frame is decoded
// where it lies when the stream's buffer holds it whole, and otherwise
// copied, reading straight on or seeking ahead to the end marker: whatever
// the path, the results, records and consumption must be the same.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "grouptestsupport.h"
#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/elacreader/elacstream.h"
#include "platform/filestream.h"
#include "support/recordfingerprint.h"
#include "support/tempdir.h"

namespace {

using xsetest::AbsurdFrame;
using xsetest::Bytes;
using xsetest::Concat;
using xsetest::HeadingFrame;
using xsetest::kHeaderless;
using xsetest::PingFrame;
using xsewriter::FrameWriter;

// Frames of many sizes with every kind of damage between them, ending in a
// frame cut short. `decodedBytes` gets the bytes of the frames that decode.
Bytes MixedStream(uint64_t* decodedBytes = nullptr) {
  Bytes all;
  uint64_t good = 0;
  const auto add = [&](bool decodes, std::initializer_list<Bytes> frames) {
    for (const auto& frame : frames) {
      all = Concat({all, frame});
      good += decodes ? frame.size() : 0;
    }
  };
  uint32_t micros = 1;
  for (int round = 0; round < 3; ++round) {
    Bytes damaged = PingFrame(std::endian::big, micros + 3, 3);
    damaged.back() ^= 0xFF;  // wrong end marker
    add(true, {HeadingFrame(std::endian::big, micros),
               PingFrame(std::endian::little, micros + 1, 5 + 40 * round),
               HeadingFrame(std::endian::little, micros + 2, round)});
    add(false, {Bytes(8, 0xAA), damaged});
    add(true, {PingFrame(std::endian::big, micros + 4, 3)});
    add(false, {AbsurdFrame(std::endian::big, micros + 5), kHeaderless});
    add(true, {PingFrame(round % 2 == 0 ? std::endian::big : std::endian::little, micros + 6, 40),
               HeadingFrame(std::endian::big, micros + 7, 3),
               xsetest::WriteFrame(
                   std::endian::little, 4000, [](FrameWriter&) {}, micros + 8)});
    micros += 9;
  }
  Bytes cut = PingFrame(std::endian::big, micros, 7);
  cut.resize(cut.size() / 2);
  add(false, {cut});
  if (decodedBytes != nullptr) *decodedBytes = good;
  return all;
}

// What each ReadFrame call did: its result, where the stream stood after it
// (while the stream is still good) and the records it delivered.
std::vector<std::string> Trace(std::istream& stream, elac::ReadStatistics* statistics = nullptr) {
  xsetest::RecordingTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  reader.SetStatistics(statistics);
  std::vector<std::string> steps;
  for (int calls = 0; calls < 1000 && stream.good(); ++calls) {
    const size_t before = target.calls.size();
    std::string step = reader.ReadFrame(stream) ? "read" : "none";
    if (stream.good()) step += " at " + std::to_string(stream.tellg());
    for (size_t i = before; i < target.calls.size(); ++i) {
      step += " " + target.Kinds()[i];
      if (const auto* time = std::get_if<quor::timeval>(&target.calls[i]))
        step += std::to_string(time->tv_usec);
      if (const auto* ping = std::get_if<quor::MultibeamRec>(&target.calls[i]))
        step += "/" + std::to_string(ping->beamCount) + "/" + std::to_string(ping->depth[0]);
    }
    steps.push_back(step);
  }
  return steps;
}

TEST(ReadFrame, ConsumptionAndStatisticsArePinnedForEachKindOfDamage) {
  uint64_t decodedBytes = 0;
  auto stream = xsetest::StreamOf(MixedStream(&decodedBytes));
  elac::ReadStatistics statistics;
  const auto steps = Trace(stream, &statistics);
  const size_t heading = HeadingFrame(std::endian::big, 1).size(),
               small = PingFrame(std::endian::big, 4, 3).size();
  size_t at = heading - 4;  // each read stops on the end marker, the next consumes it
  EXPECT_EQ(steps[0], "read at " + std::to_string(at) + " startTime1 gyro");
  at += PingFrame(std::endian::little, 2, 5).size();
  EXPECT_EQ(steps[1], "read at " + std::to_string(at) + " startTime2 multibeam/5/14.000000");
  at += HeadingFrame(std::endian::little, 3, 0).size();
  EXPECT_EQ(steps[2], "read at " + std::to_string(at) + " startTime3 gyro");
  at += 4 + 8 + small;  // junk, then the whole damaged frame with its bad end marker
  EXPECT_EQ(steps[3], "none at " + std::to_string(at));
  at += small;
  EXPECT_EQ(steps[4], "read at " + std::to_string(at - 4) + " startTime5 multibeam/3/12.000000");
  EXPECT_EQ(steps[5], "none at " + std::to_string(at + 8)) << "absurd size: marker and size";
  // The rest of the lying frame is searched like junk; a frame too short
  // for its header is passed up to its end marker.
  at += heading + kHeaderless.size() - 4;
  EXPECT_EQ(steps[6], "none at " + std::to_string(at));
  EXPECT_EQ(steps[7].substr(0, 5), "read ") << "the search goes on after damage";
  EXPECT_EQ(steps.back(), "none") << "the cut frame ends the stream";
  // Junk is no frame; a bad end marker, a lying size, a frame too short for
  // its header and the cut frame are rejected starts. Types from 16 on
  // share a slot. The byte order and named type counts are pinned by the
  // report of `xse info`.
  EXPECT_EQ(statistics.FramesDecoded(), 21u);
  EXPECT_EQ(statistics.framesRejected, 10u);
  EXPECT_EQ(statistics.frameBytes, decodedBytes);
  EXPECT_EQ(statistics.framesByType[elac::ReadStatistics::kOtherFrameTypes], 3u);
}

TEST(ReadFrame, FileBuffersOfEverySizeGiveTheSameCallsAsAWholeBuffer) {
  const Bytes bytes = MixedStream();
  auto whole = xsetest::StreamOf(bytes);
  const auto expected = Trace(whole);
  xsetest::TempDir dir;
  const std::string path = dir.Write("mixed.xse", bytes);
  for (size_t size : {1u, 3u, 5u, 13u, 60u, 257u, 4096u, 256u * 1024u}) {
    platform::FileStreamBuf buffer(size);
    ASSERT_TRUE(buffer.Open(path));
    std::istream stream(&buffer);
    const auto steps = Trace(stream);
    // A string stream refuses to seek past its end, a file does not: only
    // the call that meets the cut frame may differ in where it leaves the
    // stream.
    ASSERT_EQ(steps.size(), expected.size()) << "buffer " << size;
    for (size_t i = 0; i + 1 < steps.size(); ++i)
      EXPECT_EQ(steps[i], expected[i]) << "buffer " << size << ", call " << i;
  }
}

TEST(ReadFrame, UnalignedJunkAbsurdSizeOrABadStreamReadNothing) {
  auto unaligned = xsetest::StreamOf(Concat({Bytes(3, 0xAA), HeadingFrame(std::endian::big, 0)}));
  auto absurd = xsetest::StreamOf(AbsurdFrame(std::endian::big, 0));
  auto bad = xsetest::StreamOf(HeadingFrame(std::endian::big, 0));
  bad.setstate(std::ios_base::badbit);
  xsetest::RecordingTarget target;
  ElacReader reader(&target, 0);
  // The search goes in steps of four bytes and never meets the marker.
  EXPECT_FALSE(reader.ReadFrame(unaligned));
  EXPECT_TRUE(unaligned.eof());
  EXPECT_FALSE(reader.ReadFrame(absurd));
  EXPECT_EQ(reader.frameBufferSize(), 0u) << "no allocation for a size that lies";
  EXPECT_FALSE(reader.ReadFrame(bad));
  EXPECT_TRUE(target.calls.empty());
}

}  // namespace

// Standard input and FIFOs go through the live decoding pass; at the end of
// the data what is held is read as a file's end. The same damaged bytes give
// the file's records, rejections and offsets.
TEST(ReadFrame, AStreamOfTheSameBytesGivesTheFilesRecordsRejectionsAndOffsets) {
  xsetest::TempDir dir;
  const std::string path = dir.Write("mixed.xse", MixedStream());
  struct Outcome {
    xsetest::FingerprintTarget records;
    elac::ReadStatistics frames;
  };
  const auto readAll = [&path](auto& source, elac::ReadStatistics& frames) {
    source.SetStatistics(&frames);
    EXPECT_TRUE(source.Open(path.c_str()));
    int32_t processed = 0;
    for (int calls = 0; calls < 1000 && source.receiveData(processed, 0); ++calls) {
    }
  };
  Outcome file, stream;
  ElacFile fileSource(&file.records);
  readAll(fileSource, file.frames);
  ElacStream streamSource(&stream.records);
  readAll(streamSource, stream.frames);
  EXPECT_EQ(streamSource.readError(), "");
  EXPECT_EQ(stream.records.prints, file.records.prints);
  EXPECT_EQ(stream.frames.framesByType, file.frames.framesByType);
  EXPECT_EQ(stream.frames.frameBytes, file.frames.frameBytes);
  ASSERT_EQ(stream.frames.framesRejected, 10u);
  EXPECT_EQ(stream.frames.rejectedByReason, file.frames.rejectedByReason);
  for (size_t i = 0; i < file.frames.RejectionsKept(); ++i) {
    EXPECT_EQ(stream.frames.firstRejections[i].status, file.frames.firstRejections[i].status);
    EXPECT_EQ(stream.frames.firstRejections[i].offset, file.frames.firstRejections[i].offset)
        << "rejection " << i;
  }
}
