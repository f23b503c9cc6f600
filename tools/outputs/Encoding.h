// tools/outputs/Encoding.h: bytes as the text that mzML files hold.
// Does:     Base64 (RFC 4648, with padding); SHA-1 (FIPS 180-4) of a stream of bytes.
// Throws:   nothing.
// Not here: compression. The format requires SHA-1; it gives no security.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvek::tools {

std::string Base64Text(std::string_view bytes);

class Sha1 {
 public:
  void Take(std::string_view bytes);

  /// The digest of all bytes taken, as 40 lower-case hexadecimal digits. The last call of an object.
  std::string Hex();

 private:
  static constexpr std::size_t kBlockBytes = 64;

  void TakeBlock(const char* block);

  std::array<std::uint32_t, 5> m_state = {0x67452301u, 0xEFCDAB89u, 0x98BADCFEu, 0x10325476u,
                                          0xC3D2E1F0u};
  std::string m_rest;  // less than a block
  std::uint64_t m_taken_bytes = 0;
};

}  // namespace tarvek::tools
