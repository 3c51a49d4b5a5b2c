#include "tools/plot/pngfile.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <fstream>

namespace xseplot {
namespace {

// libpng reports errors by longjmp; everything that owns memory lives
// outside the function that calls setjmp, so the jump skips no destructor.
struct PngSink {
  std::vector<uint8_t>* bytes;
  std::string* error;
};

void AppendBytes(png_structp png, png_bytep data, png_size_t length) {
  auto* sink = static_cast<PngSink*>(png_get_io_ptr(png));
  sink->bytes->insert(sink->bytes->end(), data, data + length);
}

void NoFlush(png_structp /*png*/) {}

void OnError(png_structp png, png_const_charp message) {
  auto* sink = static_cast<PngSink*>(png_get_error_ptr(png));
  *sink->error = message;
  png_longjmp(png, 1);
}

void OnWarning(png_structp /*png*/, png_const_charp /*message*/) {}

bool Encode(const Raster& raster, bool grey, png_bytep* rows, PngSink& sink) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, &OnError, &OnWarning);
  if (png == nullptr) {
    *sink.error = "libpng could not start";
    return false;
  }
  png_infop info = png_create_info_struct(png);
  if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
    if (info == nullptr) *sink.error = "libpng could not start";
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_set_write_fn(png, &sink, &AppendBytes, &NoFlush);
  png_set_IHDR(png, info, static_cast<png_uint_32>(raster.width()),
               static_cast<png_uint_32>(raster.height()), 8,
               grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 9);
  png_set_rows(png, info, rows);
  png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

std::vector<uint8_t> EncodePng(const Raster& raster, std::string& error) {
  // A picture without colour (a sidescan waterfall) is written as grey:
  // a third of the bytes to compress.
  const std::vector<uint8_t>& rgb = raster.pixels();
  bool grey = true;
  for (size_t i = 0; grey && i < rgb.size(); i += 3)
    grey = rgb[i] == rgb[i + 1] && rgb[i] == rgb[i + 2];
  std::vector<uint8_t> levels;
  if (grey) {
    levels.resize(rgb.size() / 3);
    for (size_t i = 0; i < levels.size(); ++i) levels[i] = rgb[3 * i];
  }
  const size_t stride = static_cast<size_t>(raster.width()) * (grey ? 1 : 3);
  auto* pixels = grey ? levels.data() : const_cast<uint8_t*>(rgb.data());
  std::vector<png_bytep> rows(static_cast<size_t>(raster.height()));
  for (size_t row = 0; row < rows.size(); ++row) rows[row] = pixels + row * stride;
  std::vector<uint8_t> bytes;
  // Room for the whole picture up front: a bad_alloc cannot be thrown from
  // inside libpng's callback then, short of a picture that does not compress.
  bytes.reserve(stride * rows.size() + 1024);
  PngSink sink{&bytes, &error};
  if (!Encode(raster, grey, rows.data(), sink)) return {};
  return bytes;
}

bool WritePngFile(const std::string& path, const Raster& raster, std::string& error) {
  const std::vector<uint8_t> bytes = EncodePng(raster, error);
  if (bytes.empty()) return false;
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (out) {
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
  }
  if (!out) {
    error = "write failed";
    std::remove(path.c_str());
    return false;
  }
  return true;
}

}  // namespace xseplot
