// Utils/StringUtils.h: trimming, splitting and case of byte strings.
// Does:     pure functions on text; they compare bytes and ignore the encoding.
// Throws:   nothing but std::bad_alloc.
// Not here: numbers in text (NumberText.h), paths (FileUtils.h).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarvek {

/// The characters that count as blank around values: blank, line feed, carriage return, tab.
inline constexpr std::string_view kBlanks = " \n\r\t";

/// Whether c is a decimal digit, whatever the locale.
constexpr bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/// text without its leading (trailing, both) characters that are in chars; borrows from text.
std::string_view TrimLeft(std::string_view text, std::string_view chars = kBlanks);
std::string_view TrimRight(std::string_view text, std::string_view chars = kBlanks);
std::string_view Trim(std::string_view text, std::string_view chars = kBlanks);

/// Every byte lower-cased as in the "C" locale.
std::string ToLower(std::string_view text);

/// Whether text, first trimmed of blanks, ends with suffix, letter case ignored. An empty suffix
/// always matches.
bool EndsWithIgnoreCase(std::string_view text, std::string_view suffix);

/// Removes ending from text (case-sensitive); false, with text unchanged, when text ends otherwise.
bool CutEnding(std::string_view& text, std::string_view ending);

/// The tokens between single characters of delims. Keeps empty tokens, except a last one: "a,,b,"
/// gives "a", "", "b", and "" gives no token. The tokens borrow from text.
std::vector<std::string_view> Split(std::string_view text, std::string_view delims);

/// Token number index (from 0) of Split(text, delim), empty when there are fewer; borrows from
/// text.
std::string_view TokenAt(std::string_view text, char delim, int index);

/// The number of letters to insert, delete, replace, or swap with their neighbour to turn a into b;
/// no letter takes part twice.
std::size_t EditDistance(std::string_view a, std::string_view b);

}  // namespace tarvek
