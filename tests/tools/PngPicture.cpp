#include "PngPicture.h"

#include <zlib.h>

#include <cstdlib>
#include <stdexcept>

namespace tarvek::test {
namespace {

constexpr std::size_t kSignatureBytes = 8;

std::uint32_t BigEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value = value << 8U | static_cast<unsigned char>(bytes.at(at + i));
  return value;
}

int Paeth(int left, int up, int corner) {
  const int guess = left + up - corner;
  const int to_left = std::abs(guess - left);
  const int to_up = std::abs(guess - up);
  const int to_corner = std::abs(guess - corner);
  if (to_left <= to_up && to_left <= to_corner) return left;
  return to_up <= to_corner ? up : corner;
}

// What a filter of the PNG format adds to a byte.
int Predicted(unsigned char filter, int left, int up, int corner) {
  switch (filter) {
    case 0:
      return 0;
    case 1:
      return left;
    case 2:
      return up;
    case 3:
      return (left + up) / 2;
    case 4:
      return Paeth(left, up, corner);
    default:
      throw std::runtime_error("unknown PNG filter");
  }
}

}  // namespace

PngPicture DecodePng(const std::string& bytes) {
  if (!bytes.starts_with("\x89PNG\r\n")) throw std::runtime_error("no PNG");
  PngPicture picture;
  std::string packed;
  std::size_t channels = 0;
  for (std::size_t at = kSignatureBytes; at + 12 <= bytes.size();) {
    const std::size_t size = BigEndian(bytes, at);
    const std::string kind = bytes.substr(at + 4, 4);
    if (kind == "IHDR") {
      picture.m_width = BigEndian(bytes, at + 8);
      picture.m_height = BigEndian(bytes, at + 12);
      const int colours = bytes.at(at + 17);
      if (bytes.at(at + 16) != 8 || (colours != 2 && colours != 6) || bytes.at(at + 20) != 0)
        throw std::runtime_error("a PNG of another form");
      channels = colours == 2 ? 3 : 4;
    }
    if (kind == "IDAT") packed += bytes.substr(at + 8, size);
    at += size + 12;
  }
  const std::size_t line = picture.m_width * channels;
  std::string raw(picture.m_height * (line + 1), '\0');
  uLongf raw_size = raw.size();
  if (uncompress(reinterpret_cast<Bytef*>(raw.data()), &raw_size,
                 reinterpret_cast<const Bytef*>(packed.data()), packed.size()) != Z_OK ||
      raw_size != raw.size())
    throw std::runtime_error("a damaged PNG");
  std::vector<unsigned char> above(line, 0);
  std::vector<unsigned char> current(line, 0);
  for (std::size_t row = 0; row < picture.m_height; ++row) {
    const std::size_t start = row * (line + 1);
    const auto filter = static_cast<unsigned char>(raw[start]);
    for (std::size_t i = 0; i < line; ++i) {
      const int left = i < channels ? 0 : current[i - channels];
      const int corner = i < channels ? 0 : above[i - channels];
      const int value = static_cast<unsigned char>(raw[start + 1 + i]);
      current[i] = static_cast<unsigned char>(value + Predicted(filter, left, above[i], corner));
    }
    for (std::size_t x = 0; x < line; x += channels)
      picture.m_pixels.push_back(static_cast<std::uint32_t>(current[x]) << 16U |
                                 static_cast<std::uint32_t>(current[x + 1]) << 8U | current[x + 2]);
    std::swap(above, current);
  }
  return picture;
}

}  // namespace tarvek::test
