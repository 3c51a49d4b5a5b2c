// xse plot on small generated surveys: PNGs of the asked size that show
// something. Its usage and file errors are asserted with the other commands'.
// The pictures are read back with libpng, which the Linux build has.
#include <gtest/gtest.h>
#include <png.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using xsetest::RunXse;

// A PNG's width, height and number of colours; zeros when it is no PNG.
std::array<size_t, 3> SizeAndColours(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
  image.format = PNG_FORMAT_RGB;
  std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) return {};
  std::set<uint32_t> colours;
  for (size_t i = 0; i + 2 < rgb.size(); i += 3)
    colours.insert(uint32_t{rgb[i]} << 16 | uint32_t{rgb[i + 1]} << 8 | rgb[i + 2]);
  return {image.width, image.height, colours.size()};
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
    const auto [width, height, colours] = SizeAndColours(png);
    EXPECT_EQ(width, 320u) << kind;
    EXPECT_EQ(height, 200u) << kind;
    EXPECT_GT(colours, 3u) << kind;
  }
}

}  // namespace
