#include "IsotopeTable.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>
#include <utility>

#include "Check.h"
#include "FileUtils.h"
#include "NumberText.h"
#include "NumericUtils.h"

namespace tarvek {
namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// The names are frozen, see docs/frozen-names.md.
IsotopeTable m_h_IPV_Matrix;
bool m_h_is_IPV_inited = false;
std::string m_h_IPV_fingerprint;

// A table has 0.7 MB; one with many more rows and digits has room.
constexpr std::size_t kMaxTableBytes = std::size_t{16} << 20;

std::string ReadTableText(File& file, const std::string& path) {
  std::string text;
  char block[1 << 16];
  while (const std::size_t count = file.Read(block, sizeof block)) {
    text.append(block, count);
    if (text.size() > kMaxTableBytes)
      throw "Isotope table " + path + " has more than 16 MB, which no table has.";
  }
  return text;
}

[[noreturn]] void FailToken(std::string_view token, std::size_t line, const std::string& path) {
  std::string message = "Isotope table " + path + ", line ";
  AppendInteger(message, static_cast<std::int64_t>(line));
  throw message + ": '" + std::string(token.substr(0, 40)) + "' is not a number.";
}

double TokenValue(std::string_view token, std::size_t line, const std::string& path) {
  const std::string_view digits = token.starts_with('+') ? token.substr(1) : token;
  double value = 0.0;
  const char* const end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, value);
  const bool two_signs = token.starts_with("+-");
  if (two_signs || result.ec != std::errc() || result.ptr != end || !std::isfinite(value))
    FailToken(token, line, path);
  return value;
}

// The unchecked row index of the precursor; negative or too large when it has no row.
std::int64_t RowIndex(const Precursor& precursor) {
  return TruncateToInt64(ProtonatedMassDa(precursor));
}

}  // namespace

IsotopeTable ParseIsotopeTable(std::string_view text, const std::string& path) {
  IsotopeTable table(kIsotopeTableRows, IsotopeRow{});
  constexpr std::size_t kColumns = std::tuple_size_v<IsotopeRow>;
  std::size_t line = 1;
  for (std::size_t count = 0; count < kIsotopeTableRows * kColumns; ++count) {
    while (!text.empty() && kWhiteSpace.find(text.front()) != std::string_view::npos) {
      line += text.front() == '\n';
      text.remove_prefix(1);
    }
    if (text.empty()) break;
    const std::string_view token = text.substr(0, text.find_first_of(kWhiteSpace));
    table[count / kColumns][count % kColumns] = TokenValue(token, line, path);
    text.remove_prefix(token.size());
  }
  return table;
}

IsotopeTable ReadIsotopeTable(const std::string& path) {
  File file = OpenFile(path, "r", "IPV Store");
  return ParseIsotopeTable(ReadTableText(file, path), path);
}

void LoadIsotopeTable(const std::string& path) {
  if (!m_h_is_IPV_inited) InstallIsotopeTable(ReadIsotopeTable(path));
}

void InstallIsotopeTable(IsotopeTable table) {
  m_h_IPV_Matrix = std::move(table);
  m_h_IPV_fingerprint = IsotopeTableFingerprint(m_h_IPV_Matrix);
  m_h_is_IPV_inited = true;
}

std::string IsotopeTableFingerprint(const IsotopeTable& table) {
  constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325;
  constexpr std::uint64_t kPrime = 0x100000001b3;
  std::uint64_t hash = kOffsetBasis;
  for (const IsotopeRow& row : table)
    for (const double value : row) {
      const auto bits = std::bit_cast<std::uint64_t>(value);
      for (int shift = 0; shift < 64; shift += 8) hash = (hash ^ (bits >> shift & 0xFFu)) * kPrime;
    }
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[hash >> shift & 0xFu];
  return digits;
}

const std::string& InstalledTableFingerprint() { return m_h_IPV_fingerprint; }

double ProtonatedMassDa(const Precursor& precursor) {
  const double mz = precursor.m_mz;
  const double z = precursor.m_charge;
  return mz * z - z * kProtonMass + kProtonMass;
}

bool IsInIsotopeTable(const Precursor& precursor) {
  const std::int64_t row = RowIndex(precursor);
  return m_h_is_IPV_inited && row >= 0 && std::cmp_less(row, m_h_IPV_Matrix.size());
}

const IsotopeRow& LookUpIsotopeRow(const Precursor& precursor) {
  TARVEK_CHECK(IsInIsotopeTable(precursor), "m_h_is_IPV_inited && (int)mz < m_h_IPV_Matrix.size()",
               "FeaturesExtractor");
  return m_h_IPV_Matrix[static_cast<std::size_t>(RowIndex(precursor))];
}

}  // namespace tarvek
