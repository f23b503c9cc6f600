#include "TableReader.h"

#include <algorithm>

#include "FileUtils.h"
#include "NumberText.h"
#include "StringUtils.h"

namespace tarvek {

TextLines::TextLines(const std::string& path)
    : m_path(path), m_file(OpenOwnFile(path, "table")), m_lines(m_file) {}

bool TextLines::Next(std::string& line) {
  line.clear();
  ++m_number;
  std::string_view piece;
  while (m_lines.ReadPiece(piece)) {
    line += piece;
    if (piece.ends_with('\n')) break;
  }
  const bool any = !line.empty();
  if (any) m_is_complete = line.ends_with('\n');
  while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  return any;
}

void TextLines::Fail(const std::string& what) const {
  throw m_path + ", line " + std::to_string(m_number) + ": " + what;
}

double TextLines::Real(std::string_view field) const {
  const auto scanned = ScanReal(field);
  if (scanned.m_status != NumberStatus::kOk) Fail("'" + std::string(field) + "' is not a number.");
  return scanned.m_value;
}

std::int32_t TextLines::Integer(std::string_view field) const {
  const auto scanned = ScanInteger(field);
  if (scanned.m_status != NumberStatus::kOk) Fail("'" + std::string(field) + "' is not a number.");
  return scanned.m_value;
}

std::string_view TableReader::Text(std::size_t place) const {
  if (place >= m_fields.size()) m_lines.Fail("too few fields.");
  return m_fields[place];
}

bool TableReader::NextLine() {
  const bool any = m_lines.Next(m_line);
  if (std::ranges::count(m_line, '\t') >= std::ptrdiff_t{kMostTableFields})
    m_lines.Fail("more than " + std::to_string(kMostTableFields) + " fields.");
  m_fields = Split(m_line, "\t");
  return any;
}

std::size_t TableReader::ColumnPlace(std::string_view name) const {
  const auto place = std::ranges::find(m_fields, name);
  if (place == m_fields.end()) m_lines.Fail("no column '" + std::string(name) + "'.");
  return static_cast<std::size_t>(place - m_fields.begin());
}

}  // namespace tarvek
