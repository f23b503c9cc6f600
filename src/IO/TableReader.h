// IO/TableReader.h: text tables, line by line, with errors that name file and line.
// Does:     TextLines gives lines of any length; TableReader finds the columns of a tab-separated
//           table by the names in its first line.
// Owns:     the open file and the current line.
// Throws:   a std::string that names file and line when it cannot read something.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "LineReader.h"
#include "Platform.h"

namespace tarvek {

class TextLines {
 public:
  explicit TextLines(const std::string& path);

  /// The next line without its line end; false at the end of the file.
  bool Next(std::string& line);

  /// The number of the line that Next last tried to read, from 1.
  [[nodiscard]] std::int64_t Number() const noexcept { return m_number; }

  /// Whether the last line had a line end; every line that was written whole has one.
  [[nodiscard]] bool IsComplete() const noexcept { return m_is_complete; }

  [[noreturn]] void Fail(const std::string& what) const;

  /// The number in a field of the current line.
  [[nodiscard]] double Real(std::string_view field) const;
  [[nodiscard]] std::int32_t Integer(std::string_view field) const;

 private:
  std::string m_path;
  File m_file;
  LineReader m_lines;
  std::int64_t m_number = 0;
  bool m_is_complete = true;
};

/// A table has at most this many columns.
inline constexpr int kMostTableFields = 10'000;

class TableReader {
 public:
  explicit TableReader(const std::string& path) : m_lines(path) {}

  /// Reads the first line, which must exist, and returns the place of each wanted column, in the
  /// order of names. Ignores other columns.
  template <std::size_t N>
  std::array<std::size_t, N> ReadHeader(const std::array<const char*, N>& names) {
    if (!NextLine()) m_lines.Fail("the table is empty.");
    std::array<std::size_t, N> places{};
    for (std::size_t i = 0; i < N; ++i) places[i] = ColumnPlace(names[i]);
    return places;
  }

  bool NextRow() { return NextLine(); }

  /// Throws an error about the current row.
  [[noreturn]] void Fail(const std::string& what) const { m_lines.Fail(what); }

  /// A field of the current row, by its place.
  [[nodiscard]] std::string_view Text(std::size_t place) const;
  [[nodiscard]] double Real(std::size_t place) const { return m_lines.Real(Text(place)); }
  [[nodiscard]] std::int32_t Integer(std::size_t place) const {
    return m_lines.Integer(Text(place));
  }

 private:
  bool NextLine();
  [[nodiscard]] std::size_t ColumnPlace(std::string_view name) const;

  TextLines m_lines;
  std::string m_line;
  std::vector<std::string_view> m_fields;  // of m_line
};

}  // namespace tarvek
