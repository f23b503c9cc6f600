#include "StringUtils.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace tarvek {
namespace {

char LowerByte(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::string_view TrimLeft(std::string_view text, std::string_view chars) {
  text.remove_prefix(std::min(text.find_first_not_of(chars), text.size()));
  return text;
}

std::string_view TrimRight(std::string_view text, std::string_view chars) {
  return text.substr(0, text.find_last_not_of(chars) + 1);  // npos + 1 is 0: nothing is left
}

std::string_view Trim(std::string_view text, std::string_view chars) {
  return TrimRight(TrimLeft(text, chars), chars);
}

std::string ToLower(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), LowerByte);
  return lower;
}

bool EndsWithIgnoreCase(std::string_view text, std::string_view suffix) {
  text = Trim(text);
  if (text.size() < suffix.size()) return false;
  return ToLower(text.substr(text.size() - suffix.size())) == ToLower(suffix);
}

bool CutEnding(std::string_view& text, std::string_view ending) {
  if (!text.ends_with(ending)) return false;
  text.remove_suffix(ending.size());
  return true;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view delims) {
  std::vector<std::string_view> tokens;
  for (std::size_t p = text.find_first_of(delims); p != std::string_view::npos;
       p = text.find_first_of(delims)) {
    tokens.push_back(text.substr(0, p));
    text.remove_prefix(p + 1);
  }
  if (!text.empty()) tokens.push_back(text);
  return tokens;
}

std::string_view TokenAt(std::string_view text, char delim, int index) {
  for (; index > 0; --index) {
    const std::size_t p = text.find(delim);
    if (p == std::string_view::npos) return {};
    text.remove_prefix(p + 1);
  }
  return text.substr(0, text.find(delim));
}

// The usual table, row by row; a swap looks back two rows.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  std::vector<std::size_t> above;
  std::vector<std::size_t> two_above;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    two_above = std::move(above);
    above = row;
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, above[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], two_above[j - 2] + 1);
    }
  }
  return row.back();
}

}  // namespace tarvek
