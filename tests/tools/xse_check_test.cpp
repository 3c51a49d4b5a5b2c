// `xse check`: one answer per file and an exit code scripts can test.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using namespace xsetest;

TEST(XseCheck, AnswersPerFileAndSucceedsOnlyWhenAllAreYes) {
  TempDir dir;
  std::vector<uint8_t> bare = {'$', 'H', 'S', 'F', 0, 0, 0, 16};
  bare.resize(24, 0);
  std::vector<uint8_t> bareWithTail = bare;
  bareWithTail.resize(28, 7);
  std::vector<uint8_t> atOffset6(6, 0);
  const auto frame = PositionFrames(1);
  atOffset6.insert(atOffset6.end(), frame.begin(), frame.end());

  const std::string good = dir.Write("survey.XSE", frame);
  const std::string other = dir.Write("survey.dat", frame);
  const std::string empty = dir.Write("empty.xse", {});
  const std::string cut = dir.Write("bare.xse", bare);
  const std::string tail = dir.Write("tail.xse", bareWithTail);
  const std::string shifted = dir.Write("offset6.xse", atOffset6);
  const std::string missing = dir.File("missing.xse");

  const auto mixed = RunXse({"check", good, other, empty, cut, tail, shifted, missing});
  EXPECT_EQ(mixed.status, 1);
  EXPECT_EQ(mixed.out, good + ": yes\n" + other + ": yes\n" + empty + ": no\n" + cut + ": no\n" +
                           tail + ": yes\n" + shifted + ": no\n" + missing + ": no\n");

  EXPECT_EQ(RunXse({"check", "--ext", good, other}),
            (ToolResult{1, good + ": yes\n" + other + ": no\n", ""}));
  EXPECT_EQ(RunXse({"check", good, tail}),
            (ToolResult{0, good + ": yes\n" + tail + ": yes\n", ""}));
  // A frame cut short after a sound one, and a second cut at offset 24.
  std::vector<uint8_t> damaged = frame;
  damaged.insert(damaged.end(), bare.begin(), bare.end());
  const std::string damagedFile = dir.Write("damaged.xse", damaged);
  EXPECT_EQ(RunXse({"check", "--why", good, damagedFile}),
            (ToolResult{0,
                        good + ": yes\n" + damagedFile + ": yes\n  rejected at " +
                            std::to_string(frame.size()) + ": truncated\n",
                        ""}));
}

// A folder gets an answer at once, and check says why it is not read (the
// reading commands give the file layer's reason the same way for a missing
// file); a frame that only claims to be large is no XSE data.
TEST(XseCheck, AFolderAndALyingFirstFrameAreNoAtOnce) {
  TempDir dir;
  std::vector<uint8_t> lying = {'$', 'H', 'S', 'F', 0x7F, 0, 0, 0};
  lying.resize(108, 0);
  const std::string lyingFile = dir.Write("lying.xse", lying);

  const std::string folder = dir.Folder(), notRegular = ": not a regular file\n";
  EXPECT_EQ(RunXse({"check", folder, lyingFile}),
            (ToolResult{1, folder + ": no\n" + lyingFile + ": no\n",
                        "xse: cannot open " + folder + notRegular}));
  EXPECT_EQ(RunXse({"run", lyingFile}),
            (ToolResult{1, lyingFile + ": not recognised\n",
                        "xse: " + lyingFile + ": no XSE data found\n"}));
}

}  // namespace
