#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/recordingtarget.h"
#include "support/tempdir.h"
#include "tools/xse/surveygenerator.h"
#include "xsereader/xsereader.h"

namespace {

using xsereader::Heads;
using xsereader::SurveyReader;

// A short survey with junk before, inside and after it, and a frame cut short
// at the end: the sources must agree on damaged data too.
std::vector<uint8_t> DamagedSurvey() {
  xsetool::SurveyOptions options;
  options.durationSeconds = 1.5;
  options.beamsPerHead = 12;
  options.sidescanSamplesPerSide = 30;
  xsetool::SurveyGenerator generator(options);
  std::vector<uint8_t> bytes(7, 0x5a);
  for (auto frame = generator.NextFrame(); !frame.empty(); frame = generator.NextFrame()) {
    bytes.insert(bytes.end(), frame.begin(), frame.end());
    if (bytes.size() % 5 == 0) bytes.insert(bytes.end(), {'$', 'H', 'S', 'F', 0, 0});
  }
  bytes.resize(bytes.size() - 100);
  return bytes;
}

// What a target saw, as text: kind and time of every call, ping numbers and
// the first depth of each ping.
std::string Fingerprint(const xsetest::RecordingTarget& target) {
  std::ostringstream out;
  const auto kinds = target.Kinds();
  for (size_t i = 0; i < target.calls.size(); ++i) {
    out << kinds[i];
    std::visit(
        [&](const auto& call) {
          using T = std::decay_t<decltype(call)>;
          if constexpr (std::is_same_v<T, quor::timeval>) {
            out << ' ' << call.tv_sec << '.' << call.tv_usec;
          } else {
            out << ' ' << call.time.tv_sec << '.' << call.time.tv_usec;
          }
          if constexpr (std::is_same_v<T, quor::MultibeamRec>) {
            out << " ping " << call.pingNumber << " depth " << call.depth[0];
          }
        },
        target.calls[i]);
    out << '\n';
  }
  return out.str();
}

// Pulls at most `limit` records into `into`.
void Pull(SurveyReader& reader, xsetest::RecordingTarget& into, size_t limit = SIZE_MAX) {
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
  const std::vector<uint8_t> bytes = DamagedSurvey();
  xsetest::TempDir dir;
  const std::string path = dir.Write("survey.xse", bytes);

  xsetest::RecordingTarget byFile;
  auto file = SurveyReader::OpenFile(path, Heads::kFirst);
  ASSERT_NE(file, nullptr);
  file->ReadAll(byFile);
  EXPECT_GT(file->consumed(), bytes.size() / 2);
  EXPECT_EQ(file->size(), bytes.size());
  const std::string expected = Fingerprint(byFile);
  ASSERT_NE(expected.find("multibeam"), std::string::npos);

  xsetest::RecordingTarget pulled, byFrame, byStream, mixed;
  auto memory = SurveyReader::OpenBytes(bytes, Heads::kFirst);
  Pull(*memory, pulled);
  EXPECT_EQ(Fingerprint(pulled), expected);

  auto frames = SurveyReader::OpenBytes(bytes, Heads::kFirst);
  while (frames->ReadFrame(byFrame)) {
  }
  EXPECT_EQ(Fingerprint(byFrame), expected);

  std::istringstream in(std::string(bytes.begin(), bytes.end()));
  SurveyReader::OpenStream(in, Heads::kFirst)->ReadAll(byStream);
  EXPECT_EQ(Fingerprint(byStream), expected);

  // Pulling a few, then reading the rest, loses and repeats nothing.
  auto half = SurveyReader::OpenFile(path, Heads::kFirst);
  Pull(*half, mixed, 40);
  half->ReadAll(mixed);
  EXPECT_EQ(Fingerprint(mixed), expected);
  EXPECT_EQ(half->Next(), nullptr);
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
