// Utils/ShownText.h: text from outside as people may see it.
// Does:     escapes what would change how a console, a log, a table or a page shows the text around it;
//           cuts what is too long to be shown. Printed UTF-8 without such characters stays as it is.
// Throws:   nothing but std::bad_alloc.
// Not here: the markup of pages (report/Svg.h), quotes for a shell (Platform.h).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tarvek {

/// Longer texts are cut; a path of any system fits in, and so does a message with two.
inline constexpr std::size_t kMostShownBytes = std::size_t{1} << 14;

/// text with "\n", "\r", "\t", "\x1b" for control characters, "\xff" for bytes that are no UTF-8, and
/// "\u202e" for characters that end lines, control terminals or turn the direction of writing. Of more
/// than most bytes the first ones, "..." and the size of all: "aaa... (50000000 bytes)".
/// What Shown gave it leaves as it is, but for its length.
std::string Shown(std::string_view text, std::size_t most = kMostShownBytes);

/// Like Shown, but keeps line feeds and tabs: for our own texts of several lines.
std::string ShownLines(std::string_view text);

/// The message for std::bad_alloc.
inline constexpr std::string_view kNoMemory = "there is not enough memory";

/// A message of several lines in which names are Shown already. Most callers catch it as a std::string.
class LinesMessage : public std::string {
 public:
  explicit LinesMessage(std::string text) : std::string(std::move(text)) {}
};

/// A message whose wording is fixed and does not name the file that it is about.
class FileFault : public LinesMessage {
 public:
  /// meaning: what the line that names the file says; the first line of text when it is empty.
  FileFault(const std::string& path, std::string text, std::string_view meaning = {});

  /// "Cannot process PATH: MEANING".
  [[nodiscard]] std::string NamingLine() const { return m_naming_line; }

 private:
  std::string m_naming_line;
};

}  // namespace tarvek
