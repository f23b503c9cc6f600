// tests/tools/PngPicture.h: the pixels of a screenshot.
// Does:     decodes PNG of 8 bits a channel, RGB with or without alpha, not interlaced.
// Throws:   std::runtime_error for any other file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvek::test {

struct PngPicture {
  std::uint32_t m_width = 0;
  std::uint32_t m_height = 0;
  std::vector<std::uint32_t> m_pixels;  // 0xRRGGBB, row by row
};

PngPicture DecodePng(const std::string& bytes);

}  // namespace tarvek::test
