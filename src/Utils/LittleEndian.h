// Utils/LittleEndian.h: fields of binary files, little-endian on any machine.
// Does:     reads what PutInt32 and PutReal of OutputFile.h write. The bytes of the field are there.
// Throws:   nothing.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarvek {

template <class Unsigned>
Unsigned LittleEndianAt(const char* bytes) {
  if constexpr (std::endian::native == std::endian::little) {
    Unsigned value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  Unsigned value = 0;
  for (std::size_t i = sizeof value; i-- > 0;)
    value = static_cast<Unsigned>(value << 8 | static_cast<unsigned char>(bytes[i]));
  return value;
}

inline std::int32_t Int32At(const char* bytes) {
  return static_cast<std::int32_t>(LittleEndianAt<std::uint32_t>(bytes));
}

inline double RealAt(const char* bytes) {
  return std::bit_cast<double>(LittleEndianAt<std::uint64_t>(bytes));
}

}  // namespace tarvek
