// Utils/LittleEndian.h: numbers as bytes, lowest first, on every machine.
// Does:     appends and reads 32-bit integers and binary64 reals.
// Throws:   nothing but std::bad_alloc.
// Not here: record layouts.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace tarvek {

template <class Unsigned>
void PutLittleEndian(std::string& bytes, Unsigned bits) {
  char field[sizeof bits];
  for (std::size_t i = 0; i < sizeof bits; ++i)
    field[i] = static_cast<char>(bits >> (8 * i) & 0xFFu);
  bytes.append(field, sizeof bits);
}

inline void PutInt32(std::string& bytes, std::int32_t value) {
  PutLittleEndian(bytes, static_cast<std::uint32_t>(value));
}

inline void PutReal(std::string& bytes, double value) {
  PutLittleEndian(bytes, std::bit_cast<std::uint64_t>(value));
}

/// The number at bytes, which must hold at least sizeof(Unsigned) bytes.
template <class Unsigned>
Unsigned LittleEndianAt(const char* bytes) {
  Unsigned value = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
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
