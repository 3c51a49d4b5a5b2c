// A read that fails in mid-file ends what the read ahead hands out at the
// failed block: nothing behind it is given as if it followed, and reading
// from there again gives the rest once.
#include "platform/readahead.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <vector>

namespace {

constexpr size_t kBlock = 512;
constexpr size_t kBlocks = 40;

TEST(ReadAhead, AFailedReadInMidFileEndsTheBlocksThereAndTheNextStartGivesTheRest) {
  std::vector<uint8_t> bytes(kBlocks * kBlock + 100);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i % 251);
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
    for (size_t blocks = 0; blocks <= kBlocks + 1; ++blocks) {
      const auto block = ahead.Next();
      if (!block) break;
      read.insert(read.end(), block->begin(), block->end());
    }
    EXPECT_EQ(read.size(), failAt) << "failing block " << failing;
    EXPECT_FALSE(ahead.Continues(read.size()));
    EXPECT_FALSE(ahead.Next()) << "stands still until the next start";

    broken = false;
    ahead.Start(read.size());
    for (size_t blocks = 0; blocks <= kBlocks + 1; ++blocks) {
      const auto block = ahead.Next();
      if (!block) break;
      read.insert(read.end(), block->begin(), block->end());
    }
    EXPECT_EQ(read, bytes) << "failing block " << failing;
  }
}

}  // namespace
