#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "allocationcount/allocationcount.h"
#include "support/recordfingerprint.h"
#include "support/tempdir.h"
#include "tools/generator/surveygenerator.h"
#include "xsereader/xsereader.h"

namespace {

using xsereader::Heads;
using xsereader::SurveyReader;

// A survey of `seconds`; with `damaged`, junk before, inside and after it,
// and a frame cut short at the end: the sources must agree on damaged data too.
std::vector<uint8_t> Survey(double seconds, bool damaged) {
  xsetool::SurveyOptions options;
  options.durationSeconds = seconds;
  if (damaged) {
    options.beamsPerHead = 12;
    options.sidescanSamplesPerSide = 30;
  }
  xsetool::SurveyGenerator generator(options);
  std::vector<uint8_t> bytes(damaged ? 7 : 0, 0x5a);
  for (auto frame = generator.NextFrame(); !frame.empty(); frame = generator.NextFrame()) {
    bytes.insert(bytes.end(), frame.begin(), frame.end());
    if (damaged && bytes.size() % 5 == 0) bytes.insert(bytes.end(), {'$', 'H', 'S', 'F', 0, 0});
  }
  if (!damaged) return bytes;
  bytes.resize(bytes.size() - 100);
  return bytes;
}

// Pulls at most `limit` records into `into`.
void Pull(SurveyReader& reader, quor::ISurveyTarget& into, size_t limit = SIZE_MAX) {
  for (const xsereader::Record* r = nullptr; limit-- > 0 && (r = reader.Next()) != nullptr;) {
    if (r->startTime) into.HandleStartTime(*r->startTime);
    if (r->parameter) into.HandleParameter(*r->parameter);
    if (r->position) into.HandlePosition(*r->position);
    if (r->gyro) into.HandleGyro(*r->gyro);
    if (r->motion) into.HandleMotion(*r->motion);
    if (r->multibeam) into.HandleMultibeam(*r->multibeam);
    if (r->sidescan) into.HandleSidescan(*r->sidescan);
  }
}

TEST(SurveyReader, EverySourceAndEveryWayOfReadingGivesTheSameRecords) {
  const std::vector<uint8_t> bytes = Survey(1.5, true);
  xsetest::TempDir dir;
  const std::string path = dir.Write("survey.xse", bytes);

  xsetest::FingerprintTarget byFile;
  auto file = SurveyReader::OpenFile(path, Heads::kFirst);
  ASSERT_NE(file, nullptr);
  file->ReadAll(byFile);
  EXPECT_GT(file->consumed(), bytes.size() / 2);
  EXPECT_EQ(file->size(), bytes.size());
  const std::vector<uint64_t>& expected = byFile.prints;
  ASSERT_GT(byFile.pings, 0u);

  xsetest::FingerprintTarget pulled, byFrame, byStream, mixed;
  auto memory = SurveyReader::OpenBytes(bytes, Heads::kFirst);
  Pull(*memory, pulled);
  EXPECT_EQ(pulled.prints, expected);

  auto frames = SurveyReader::OpenBytes(bytes, Heads::kFirst);
  while (frames->ReadFrame(byFrame)) {
  }
  EXPECT_EQ(byFrame.prints, expected);

  std::istringstream in(std::string(bytes.begin(), bytes.end()));
  SurveyReader::OpenStream(in, Heads::kFirst)->ReadAll(byStream);
  EXPECT_EQ(byStream.prints, expected);

  // Pulling a few, then reading the rest, loses and repeats nothing.
  auto half = SurveyReader::OpenFile(path, Heads::kFirst);
  Pull(*half, mixed, 40);
  half->ReadAll(mixed);
  EXPECT_EQ(mixed.prints, expected);
  EXPECT_EQ(half->Next(), nullptr);
}

// Next copies each frame's records into pools kept from frame to frame: once
// a survey has gone by, a second pass of it allocates nothing.
TEST(SurveyReader, PullingAllocatesNothingOnceThePoolsHaveGrown) {
  if (!xsealloc::kCountsAllocations) GTEST_SKIP() << "the sanitizer owns operator new here";
  std::vector<uint8_t> survey = Survey(2, false);
  const size_t once = survey.size();
  survey.insert(survey.end(), survey.begin(), survey.begin() + static_cast<ptrdiff_t>(once));
  auto reader = SurveyReader::OpenBytes(survey, Heads::kAll);
  while (reader->consumed() < once) ASSERT_NE(reader->Next(), nullptr);
  size_t pings = 0;
  EXPECT_EQ(xsealloc::AllocationsOf([&] {
              while (const xsereader::Record* record = reader->Next())
                pings += record->multibeam != nullptr ? 1 : 0;
            }),
            0u);
  EXPECT_GT(pings, 10u);
}

TEST(SurveyReader, OpenFileSaysWhyItFails) {
  xsetest::TempDir dir;
  std::ofstream(dir.File("empty.xse"));
  const std::pair<std::string, std::string> cases[] = {
      {dir.File("missing.xse"), "No such file or directory"},
      {dir.File("empty.xse"), "file is empty"},
  };
  for (const auto& [path, reason] : cases) {
    std::string error;
    EXPECT_EQ(SurveyReader::OpenFile(path, Heads::kAll, &error), nullptr);
    EXPECT_EQ(error, reason);
  }
  EXPECT_EQ(xsereader::ParseHeads("second"), Heads::kSecond);
  EXPECT_EQ(xsereader::ParseHeads("both"), std::nullopt);
}

}  // namespace
