// extractor/BinaryArray.h: the encoded number arrays of instrument files.
// Does:     decodes base64, zlib and numpress into numbers; checks length and values.
// Owns:     its working buffers, reused from array to array.
// Throws:   std::string, a sentence without file and scan; the reader adds these.
// Not here: which array is which.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ByteBuffer.h"
#include "ZlibArray.h"

namespace tarvek::extractor {

enum class NumberType { kUnknown, kFloat32, kFloat64, kInt32, kInt64 };
enum class Numpress { kNone, kLinear, kPic, kSlof };
enum class ByteOrder { kLittle, kNetwork };

struct ArrayEncoding {
  NumberType m_type = NumberType::kUnknown;
  ByteOrder m_order = ByteOrder::kLittle;
  Numpress m_numpress = Numpress::kNone;
  bool m_zlib = false;
  std::string m_unsupported;  // name of a compression that we do not support
};

/// No spectrum has more peaks; a larger number is a damaged file.
inline constexpr std::int64_t kMaxArrayLength = 20'000'000;

/// The file does not give the length of an array.
inline constexpr std::int64_t kUnknownLength = -1;

class ArrayDecoder {
 public:
  /// Replaces numbers by the count numbers that text encodes; with kUnknownLength, by as many as
  /// there are. Throws when the text is damaged, the compression is unknown, there are more or fewer
  /// numbers, or one is no finite number. what: the name of the array in messages, as "m/z array".
  /// most: how many numbers there may be where count does not say it.
  void Decode(std::string_view text, const ArrayEncoding& encoding, std::int64_t count,
              std::string_view what, std::vector<double>& numbers,
              std::int64_t most = kMaxArrayLength);

 private:
  std::string_view Unpack(const ArrayEncoding& encoding, std::int64_t count,
                          const std::string& what, std::int64_t most);

  ZlibArray m_zlib;
  ByteBuffer m_bytes;
  ByteBuffer m_inflated;
};

}  // namespace tarvek::extractor
