// extractor/ZlibArray.h: an array packed as one zlib stream.
// Does:     inflates it in one go.
// Owns:     the state of its two inflaters, reused from array to array.
// Throws:   nothing but std::bad_alloc; a damaged stream is a return value.
// Not here: gzip files (ByteSource.h), the meaning of the bytes (BinaryArray.h).
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

  /// Replaces bytes by the contents of the one stream in packed; ignores data after the stream.
  /// When these are more than max_bytes, bytes becomes somewhat longer than that, with undefined
  /// contents. False when the stream is damaged or does not end in packed; damage that changes
  /// neither the checksum nor the bytes may pass. The memory used follows the size of packed, not
  /// max_bytes, so that a small stream cannot fill the memory.
  bool Inflate(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes);

 private:
  bool InflateQuickly(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes);

  struct Decompressor;
  std::unique_ptr<Decompressor> m_quick;
  Inflater m_thorough{StreamKind::kZlib};
  std::string m_inflated;
};

}  // namespace tarvek::extractor
