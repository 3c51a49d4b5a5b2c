// The file stream reads its next buffer ahead on a thread of its own; a file
// that grows or shrinks while it is read must come out as a plain read would
// give it.
#include "platform/filestream.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/readahead.h"
#include "support/tempdir.h"

namespace {

constexpr size_t kBuffer = 4096;

std::vector<uint8_t> Pattern(size_t size, size_t from = 0) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>((from + i) % 251);
  return bytes;
}

// Reads `count` bytes (or to the end) in odd-sized pieces.
std::vector<uint8_t> ReadSome(std::istream& stream, size_t count) {
  std::vector<uint8_t> bytes;
  char piece[1000];
  while (bytes.size() < count) {
    stream.read(piece, static_cast<std::streamsize>(std::min(sizeof piece, count - bytes.size())));
    if (stream.gcount() == 0) break;
    bytes.insert(bytes.end(), piece, piece + stream.gcount());
  }
  return bytes;
}

// Appends the blocks `ahead` hands out until it has none (at most 1000).
void TakeAll(platform::ReadAhead& ahead, std::vector<uint8_t>& read) {
  for (int blocks = 0; blocks < 1000; ++blocks) {
    const auto block = ahead.Next();
    if (!block) return;
    read.insert(read.end(), block->begin(), block->end());
  }
}

TEST(FileStreamBuf, ReadAheadFollowsAFileThatGrowsOrShrinks) {
  xsetest::TempDir dir;
  // Bytes in the file at first and after the change, three buffers read in
  // between. Grows: the read ahead met the end, then the file got another
  // buffer. Shrinks behind what can have been read ahead (two buffers read
  // directly, then a ring of four blocks of four buffers).
  const std::tuple<const char*, size_t, size_t> kCases[] = {
      {"growing", 3 * kBuffer, 4 * kBuffer}, {"shrinking", 24 * kBuffer, 20 * kBuffer + 100}};
  for (const auto& [name, before, after] : kCases) {
    const std::string path = dir.Write(name, Pattern(before));
    platform::FileStreamBuf buffer(kBuffer);
    ASSERT_TRUE(buffer.Open(path));
    std::istream stream(&buffer);
    std::vector<uint8_t> read = ReadSome(stream, 3 * kBuffer);
    if (after > before) {
      const auto more = Pattern(after - before, before);
      std::ofstream(path, std::ios::binary | std::ios::app)
          .write(reinterpret_cast<const char*>(more.data()),
                 static_cast<std::streamsize>(more.size()));
    } else {
      std::filesystem::resize_file(path, after);
    }
    const auto rest = ReadSome(stream, SIZE_MAX);
    read.insert(read.end(), rest.begin(), rest.end());
    EXPECT_EQ(read, Pattern(after)) << name;
  }
}

// Long files go through many rounds of the ring, the caller reading blocks
// itself whenever the thread is behind; a seek drops the ring and reading
// starts over. Sizes end mid-block, on a block and on a ring boundary.
TEST(FileStreamBuf, ReadAheadGivesEveryByteOnceInOrderAcrossSeeks) {
  xsetest::TempDir dir;
  for (const size_t size : {200 * kBuffer + 37, 64 * kBuffer, 96 * kBuffer}) {
    const std::string path = dir.Write("long", Pattern(size));
    platform::FileStreamBuf buffer(kBuffer);
    ASSERT_TRUE(buffer.Open(path));
    std::istream stream(&buffer);
    EXPECT_EQ(ReadSome(stream, SIZE_MAX), Pattern(size)) << size;
    const size_t back = size / 3 + 5;
    stream.clear();
    stream.seekg(static_cast<std::streamoff>(back));
    const auto some = ReadSome(stream, 40 * kBuffer);
    stream.seekg(static_cast<std::streamoff>(back / 2));
    const auto rest = ReadSome(stream, SIZE_MAX);
    EXPECT_EQ(some, Pattern(40 * kBuffer, back)) << size;
    EXPECT_EQ(rest, Pattern(size - back / 2, back / 2)) << size;
  }
}

// Stopped while its thread has filled the ring and waits, or mid-file after
// some blocks were taken: the stop returns, hands out nothing more, and a
// new start reads on from where the caller stands, no byte twice or lost.
TEST(ReadAhead, AStopAtAnyMomentLosesNothingAndRepeatsNothingOnTheNextStart) {
  xsetest::TempDir dir;
  const std::vector<uint8_t> bytes = Pattern(64 * kBuffer + 123);
  platform::ReadOnlyFile file;
  ASSERT_TRUE(file.Open(dir.Write("ring.bin", bytes)));
  for (const size_t taken : {0u, 1u, 5u, 30u}) {
    platform::ReadAhead ahead(file, kBuffer, 8);
    ahead.Start(0);
    std::vector<uint8_t> read;
    for (size_t i = 0; i < taken; ++i) {
      const auto block = ahead.Next();
      ASSERT_TRUE(block) << taken;
      read.insert(read.end(), block->begin(), block->end());
    }
    // Let the thread fill the ring and wait for free blocks.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ahead.Stop();
    EXPECT_FALSE(ahead.Next()) << "nothing after a stop, " << taken;
    ahead.Start(read.size());
    TakeAll(ahead, read);
    EXPECT_EQ(read, bytes) << "stopped after " << taken << " blocks";
  }
}

// A read that fails in mid-file ends what the read ahead hands out at the
// failed block: nothing behind it is given as if it followed, and reading
// from there again gives the rest once.
TEST(ReadAhead, AFailedReadInMidFileEndsTheBlocksThereAndTheNextStartGivesTheRest) {
  constexpr size_t kBlock = 512;
  const std::vector<uint8_t> bytes = Pattern(40 * kBlock + 100);
  for (const size_t failing : {0u, 1u, 10u, 39u}) {
    std::atomic<bool> broken = true;
    const uint64_t failAt = failing * kBlock;
    platform::ReadAhead ahead(
        [&](uint64_t offset, std::span<uint8_t> into) -> std::optional<size_t> {
          if (broken && offset >= failAt && offset < failAt + kBlock) return std::nullopt;
          if (offset >= bytes.size()) return 0;
          const size_t count = std::min(into.size(), bytes.size() - static_cast<size_t>(offset));
          std::memcpy(into.data(), bytes.data() + offset, count);
          return count;
        },
        kBlock, 8);
    std::vector<uint8_t> read;
    ahead.Start(0);
    TakeAll(ahead, read);
    EXPECT_EQ(read.size(), failAt) << "failing block " << failing;
    EXPECT_FALSE(ahead.Continues(read.size()));
    EXPECT_FALSE(ahead.Next()) << "stands still until the next start";

    broken = false;
    ahead.Start(read.size());
    TakeAll(ahead, read);
    EXPECT_EQ(read, bytes) << "failing block " << failing;
  }
}

}  // namespace
