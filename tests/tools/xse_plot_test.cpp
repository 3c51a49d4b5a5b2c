// xse plot on small generated surveys: PNGs of the asked size that show
// something. Its usage and file errors are asserted with the other commands'.
#include <gtest/gtest.h>
#include <png.h>

#include <set>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using xsetest::RunXse;

struct Picture {
  uint32_t width = 0, height = 0;
  std::vector<uint8_t> rgb;
};

Picture ReadPng(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  Picture picture;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return picture;
  image.format = PNG_FORMAT_RGB;
  picture.rgb.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr)) return {};
  picture.width = image.width;
  picture.height = image.height;
  return picture;
}

size_t Colours(const Picture& picture) {
  std::set<uint32_t> colours;
  for (size_t i = 0; i + 2 < picture.rgb.size(); i += 3)
    colours.insert(uint32_t{picture.rgb[i]} << 16 | uint32_t{picture.rgb[i + 1]} << 8 |
                   picture.rgb[i + 2]);
  return colours.size();
}

TEST(XsePlotTest, EveryKindDrawsASurveyAtTheAskedSize) {
  xsetest::TempDir dir;
  const std::string survey = dir.File("survey.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "5", "--beams", "16", "--samples", "100", survey}).status,
            0);
  for (const std::string kind : {"track", "swath", "waterfall"}) {
    const std::string png = dir.File(kind + ".png");
    const auto result =
        RunXse({"plot", "--kind", kind, "--width", "320", "--height", "200", survey, "-o", png});
    ASSERT_EQ(result.status, 0) << kind << ": " << result.err;
    EXPECT_EQ(result.err, "");
    const Picture picture = ReadPng(png);
    EXPECT_EQ(picture.width, 320u) << kind;
    EXPECT_EQ(picture.height, 200u) << kind;
    EXPECT_GT(Colours(picture), 3u) << kind;
  }
}

}  // namespace
