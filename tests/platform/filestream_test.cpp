// The file stream reads its next buffer ahead on a thread of its own; a file
// that grows or shrinks while it is read must come out as a plain read would
// give it.
#include "platform/filestream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

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

TEST(FileStreamBuf, ReadAheadFollowsAFileThatGrowsOrShrinks) {
  xsetest::TempDir dir;
  // Grows: the read ahead met the end, then the file got another buffer.
  const std::string growing = dir.Write("growing", Pattern(3 * kBuffer));
  platform::FileStreamBuf first(kBuffer);
  ASSERT_TRUE(first.Open(growing));
  std::istream firstStream(&first);
  std::vector<uint8_t> read = ReadSome(firstStream, 3 * kBuffer);
  {
    std::ofstream out(growing, std::ios::binary | std::ios::app);
    const auto more = Pattern(kBuffer, 3 * kBuffer);
    out.write(reinterpret_cast<const char*>(more.data()),
              static_cast<std::streamsize>(more.size()));
  }
  const auto rest = ReadSome(firstStream, SIZE_MAX);
  read.insert(read.end(), rest.begin(), rest.end());
  EXPECT_EQ(read, Pattern(4 * kBuffer));

  // Shrinks behind what can have been read ahead (two buffers read
  // directly, then a ring of four blocks of four buffers).
  const std::string shrinking = dir.Write("shrinking", Pattern(24 * kBuffer));
  platform::FileStreamBuf second(kBuffer);
  ASSERT_TRUE(second.Open(shrinking));
  std::istream secondStream(&second);
  read = ReadSome(secondStream, 3 * kBuffer);
  std::filesystem::resize_file(shrinking, 20 * kBuffer + 100);
  const auto tail = ReadSome(secondStream, SIZE_MAX);
  read.insert(read.end(), tail.begin(), tail.end());
  EXPECT_EQ(read, Pattern(20 * kBuffer + 100));
}

}  // namespace
