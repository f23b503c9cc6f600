#include "ZlibArray.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace tarvek::extractor {

struct ZlibArray::Decompressor {
  Decompressor() : m_decompressor(libdeflate_alloc_decompressor()) {
    if (m_decompressor == nullptr) throw std::bad_alloc();
  }
  ~Decompressor() { libdeflate_free_decompressor(m_decompressor); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;
  libdeflate_decompressor* m_decompressor;
};

ZlibArray::ZlibArray() : m_quick(std::make_unique<Decompressor>()) {}
ZlibArray::~ZlibArray() = default;
ZlibArray::ZlibArray(ZlibArray&&) noexcept = default;

// Also false for more than max_bytes.
bool ZlibArray::InflateQuickly(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes) {
  constexpr std::size_t kUsualRatio = 8;
  constexpr std::size_t kLeastRoom = 4096;
  // Deflate packs at most 258 bytes into 2 bits.
  constexpr std::size_t kMaxRatio = 1032;
  const std::size_t most = std::min(max_bytes, packed.size() * kMaxRatio);
  std::size_t room = std::min(most, std::max(packed.size() * kUsualRatio, kLeastRoom));
  for (;;) {
    std::size_t taken = 0;
    std::size_t size = 0;
    const auto result =
        libdeflate_zlib_decompress_ex(m_quick->m_decompressor, packed.data(), packed.size(),
                                      bytes.Prepare(room), room, &taken, &size);
    if (result == LIBDEFLATE_SUCCESS) bytes.Shrink(size);
    if (result != LIBDEFLATE_INSUFFICIENT_SPACE || room == most)
      return result == LIBDEFLATE_SUCCESS;
    room = std::min(most, room * kUsualRatio);
  }
}

// Whether a stream counts as too long or as damaged depends on what comes first, which only an
// inflater that goes byte by byte can tell.
bool ZlibArray::Inflate(std::string_view packed, std::size_t max_bytes, ByteBuffer& bytes) {
  if (InflateQuickly(packed, max_bytes, bytes)) return true;
  if (!m_thorough.InflateAll(packed, max_bytes, m_inflated)) return false;
  std::memcpy(bytes.Prepare(m_inflated.size()), m_inflated.data(), m_inflated.size());
  return true;
}

}  // namespace tarvek::extractor
