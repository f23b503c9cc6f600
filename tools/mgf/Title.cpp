#include "mgf/Title.h"

#include <charconv>
#include <vector>

namespace tarvek::tools {
namespace {

constexpr std::string_view kEnding = ".dta";

/// Takes the last field off when it is an integer, and the dot before it.
std::optional<std::int32_t> TakeLastInteger(std::string_view& text) {
  const std::size_t dot = text.rfind('.');
  const std::string_view field = dot == std::string_view::npos ? text : text.substr(dot + 1);
  std::int32_t value = 0;
  const char* const end = field.data() + field.size();
  const auto result = std::from_chars(field.data(), end, value);
  if (field.empty() || result.ec != std::errc() || result.ptr != end) return std::nullopt;
  text = dot == std::string_view::npos ? std::string_view() : text.substr(0, dot);
  return value;
}

}  // namespace

std::optional<MgfTitle> ParseMgfTitle(std::string_view text) {
  const bool has_ending = text.ends_with(kEnding);
  if (has_ending) text.remove_suffix(kEnding.size());
  constexpr std::size_t kMostNumbers = 4;
  std::vector<std::int32_t> numbers;  // the last first
  std::string_view before_fourth;
  while (numbers.size() < kMostNumbers && !text.empty()) {
    if (numbers.size() + 1 == kMostNumbers) before_fourth = text;
    const auto number = TakeLastInteger(text);
    if (!number) break;
    numbers.push_back(*number);
  }
  // The scan number stands twice; without an index the fourth number belongs to the run name.
  if (numbers.size() == kMostNumbers && numbers[3] != numbers[2] && numbers[2] == numbers[1]) {
    text = before_fourth;
    numbers.pop_back();
  }
  if (numbers.size() + 1 < kMostNumbers) return std::nullopt;
  const bool has_index = numbers.size() == kMostNumbers;
  MgfTitle title{text, numbers.back(), numbers[has_index ? 1 : 0], has_index ? numbers[0] : 0};
  title.m_is_whole = has_ending && has_index && numbers[0] >= 0 && numbers[2] == numbers[3] &&
                     !title.m_run.empty();
  return title;
}

}  // namespace tarvek::tools
