#include "tools/plot/pngfile.h"

#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/errortext.h"
#include "platform/stdiofile.h"

namespace xseplot {
namespace {

constexpr std::array<uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

void AppendBigEndian32(std::vector<uint8_t>& bytes, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// A chunk: length, type, data, and the CRC of type and data.
void AppendChunk(std::vector<uint8_t>& bytes, const char (&type)[5],
                 const std::vector<uint8_t>& data) {
  AppendBigEndian32(bytes, static_cast<uint32_t>(data.size()));
  const size_t typeAt = bytes.size();
  bytes.insert(bytes.end(), type, type + 4);
  bytes.insert(bytes.end(), data.begin(), data.end());
  const uLong crc = crc32(0L, bytes.data() + typeAt, static_cast<uInt>(data.size() + 4));
  AppendBigEndian32(bytes, static_cast<uint32_t>(crc));
}

uint8_t Paeth(int left, int up, int upLeft) {
  const int estimate = left + up - upLeft;
  const int toLeft = std::abs(estimate - left);
  const int toUp = std::abs(estimate - up);
  const int toUpLeft = std::abs(estimate - upLeft);
  if (toLeft <= toUp && toLeft <= toUpLeft) return static_cast<uint8_t>(left);
  return static_cast<uint8_t>(toUp <= toUpLeft ? up : upLeft);
}

// Each row goes out with the filter (none, sub, up, average, Paeth) whose
// bytes, read as signed, sum smallest: the usual guess at what deflate
// packs best.
void AppendFilteredRow(std::vector<uint8_t>& out, const uint8_t* row, const uint8_t* above,
                       size_t stride, size_t pixelBytes,
                       std::array<std::vector<uint8_t>, 5>& trial) {
  size_t best = 0;
  uint64_t bestCost = std::numeric_limits<uint64_t>::max();
  for (size_t filter = 0; filter < trial.size(); ++filter) {
    std::vector<uint8_t>& bytes = trial[filter];
    bytes.resize(stride);
    uint64_t cost = 0;
    for (size_t i = 0; i < stride; ++i) {
      const int left = i >= pixelBytes ? row[i - pixelBytes] : 0;
      const int up = above != nullptr ? above[i] : 0;
      const int upLeft = above != nullptr && i >= pixelBytes ? above[i - pixelBytes] : 0;
      int predicted = 0;
      switch (filter) {
        case 1:
          predicted = left;
          break;
        case 2:
          predicted = up;
          break;
        case 3:
          predicted = (left + up) / 2;
          break;
        case 4:
          predicted = Paeth(left, up, upLeft);
          break;
        default:
          break;
      }
      bytes[i] = static_cast<uint8_t>(row[i] - predicted);
      cost += static_cast<uint64_t>(std::abs(static_cast<int8_t>(bytes[i])));
    }
    if (cost < bestCost) {
      bestCost = cost;
      best = filter;
    }
  }
  out.push_back(static_cast<uint8_t>(best));
  out.insert(out.end(), trial[best].begin(), trial[best].end());
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
  const size_t pixelBytes = grey ? 1 : 3;
  const size_t stride = static_cast<size_t>(raster.width()) * pixelBytes;
  const size_t height = static_cast<size_t>(raster.height());
  const uint8_t* pixels = grey ? levels.data() : rgb.data();

  std::vector<uint8_t> filtered;
  filtered.reserve((stride + 1) * height);
  std::array<std::vector<uint8_t>, 5> trial;
  for (size_t row = 0; row < height; ++row)
    AppendFilteredRow(filtered, pixels + row * stride,
                      row > 0 ? pixels + (row - 1) * stride : nullptr, stride, pixelBytes, trial);

  uLongf packedSize = compressBound(static_cast<uLong>(filtered.size()));
  std::vector<uint8_t> packed(packedSize);
  if (filtered.size() > std::numeric_limits<uLong>::max() ||
      compress2(packed.data(), &packedSize, filtered.data(), static_cast<uLong>(filtered.size()),
                Z_BEST_COMPRESSION) != Z_OK) {
    error = "cannot compress the picture";
    return {};
  }
  packed.resize(packedSize);

  std::vector<uint8_t> header;
  AppendBigEndian32(header, static_cast<uint32_t>(raster.width()));
  AppendBigEndian32(header, static_cast<uint32_t>(raster.height()));
  // 8 bits per sample; colour type 0 (grey) or 2 (RGB); deflate; the
  // adaptive filter set; not interlaced.
  header.insert(header.end(), {8, static_cast<uint8_t>(grey ? 0 : 2), 0, 0, 0});

  std::vector<uint8_t> bytes(kSignature.begin(), kSignature.end());
  bytes.reserve(packed.size() + 64);
  AppendChunk(bytes, "IHDR", header);
  AppendChunk(bytes, "IDAT", packed);
  AppendChunk(bytes, "IEND", {});
  return bytes;
}

bool WritePngFile(const std::string& path, const Raster& raster, std::string& error) {
  const std::vector<uint8_t> bytes = EncodePng(raster, error);
  if (bytes.empty()) return false;
  std::FILE* out = platform::OpenStdioFile(path, "wb");
  if (out == nullptr) {
    error = platform::ErrorText(errno);
    return false;
  }
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
  int failure = written ? 0 : errno;
  if (std::fclose(out) != 0 && failure == 0) failure = errno;
  if (!written || failure != 0) {
    // A full disk may leave errno unset on some systems: say so rather than nothing.
    error = failure != 0 ? platform::ErrorText(failure) : "write failed";
    std::remove(path.c_str());
    return false;
  }
  return true;
}

}  // namespace xseplot
