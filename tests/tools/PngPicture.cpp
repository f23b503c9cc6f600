#include "PngPicture.h"

#include <png.h>

#include <stdexcept>

namespace tarvek::test {

PngPicture DecodePng(const std::string& bytes) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0)
    throw std::runtime_error(std::string("no PNG: ") + image.message);
  image.format = PNG_FORMAT_RGB;
  std::vector<unsigned char> colours(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, colours.data(), 0, nullptr) == 0)
    throw std::runtime_error(std::string("a damaged PNG: ") + image.message);
  PngPicture picture{image.width, image.height, {}};
  picture.m_pixels.reserve(colours.size() / 3);
  for (std::size_t i = 0; i + 2 < colours.size(); i += 3)
    picture.m_pixels.push_back(static_cast<std::uint32_t>(colours[i]) << 16U |
                               static_cast<std::uint32_t>(colours[i + 1]) << 8U | colours[i + 2]);
  return picture;
}

}  // namespace tarvek::test
