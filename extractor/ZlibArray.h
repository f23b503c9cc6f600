// extractor/ZlibArray.h: an array that was packed as one zlib stream.
// Does:     inflates it at once.
// Owns:     the state of its two inflaters, used again from array to array.
// Throws:   nothing but std::bad_alloc; a damaged stream is a return value.
// Not here: gzip files (ByteSource.h), what the bytes mean (BinaryArray.h).
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "ByteBuffer.h"
#include "Inflater.h"

namespace tarvek::extractor {

class ZlibArray {
 public:
  ZlibArray();
  ~ZlibArray();
  ZlibArray(ZlibArray&&) noexcept;
  ZlibArray& operator=(ZlibArray&&) = delete;

  /// Replaces bytes by what the one stream in packed holds. What follows the stream does not count.
  /// When there are more than max_bytes, bytes holds some more than these and nothing that counts.
  /// False when the stream is damaged or does not end in packed; damage that left the checksum and
  /// the bytes as they were may pass. The room taken follows the size of
  /// packed, not max_bytes, so that a small stream cannot fill the memory.
  bool Inflate(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes);

 private:
  bool InflateQuickly(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes);

  struct Decompressor;
  std::unique_ptr<Decompressor> m_quick;
  Inflater m_thorough{StreamKind::kZlib};
  std::string m_inflated;
};

}  // namespace tarvek::extractor
