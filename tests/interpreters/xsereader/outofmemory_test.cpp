// A file check and a file run that cannot get memory for their source.
// Allocation failure is injected by replacing the global allocation
// functions of this test program: while a test asks for it, large requests
// on its thread fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "libsys/libsystestsupport.h"
#include "support/tempdir.h"

namespace {

thread_local bool t_failLargeAllocations = false;
constexpr std::size_t kLarge = std::size_t{64} * 1024;

void* Allocate(std::size_t size) {
  if (t_failLargeAllocations && size >= kLarge) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

// Every form is replaced: sanitizers keep their own array and nothrow
// forms, which must not meet these.
void* operator new(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
// GCC takes the replacement pairs for a mismatch once it inlines them into
// each other; they are matching malloc/free pairs.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace {

// The file's read buffer is the large request here: without it the file
// check answers no, and a file run ends with a box instead of the thread.
TEST(OutOfMemoryTest, SourceThatCannotGetMemoryIsNotReadAndEndsTheRunWithABox) {
  xsetest::TempDir dir;
  ZXSEReader reader;
  xsetest::EventRecorder recorder;
  reader.SetObserver(&recorder);
  reader.running = 1;
  const std::string file = dir.Write("a.xse", xsetest::PositionFrames(2));
  reader.fileList = {file, file};
  libsystest::CollectedBoxes boxes;
  ASSERT_EQ(ZXSEReader::sCanReadFile(file, 1), 1);

  t_failLargeAllocations = true;
  const int32_t canRead = ZXSEReader::sCanReadFile(file, 1);
  const int32_t result = reader.MultipleRunReader();
  t_failLargeAllocations = false;

  EXPECT_EQ(canRead, 0);
  EXPECT_EQ(result, -1);
  EXPECT_THAT(boxes, ::testing::ElementsAre(::testing::Pair("XSEReader", "Out of memory.")));
  EXPECT_EQ(recorder.events(), "");
  EXPECT_EQ(reader.currentFileName, file);
  EXPECT_EQ(reader.fileList.size(), 1u);
  EXPECT_FALSE(reader.HasContainer());
}

}  // namespace
