// tests/tools/PngPicture.h: the pixels of a screenshot.
// Does:     decodes PNG by libpng, without alpha.
// Throws:   std::runtime_error for any other file and for a damaged one.
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
