#include "NativeId.h"

#include <algorithm>
#include <charconv>

#include "FileUtils.h"
#include "ShownText.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

// The number in text, which must contain only digits.
std::optional<std::int32_t> WholeNumber(std::string_view text) {
  std::int32_t number = 0;
  const char* const last = text.data() + text.size();
  const auto result = std::from_chars(text.data(), last, number);
  if (result.ec != std::errc() || result.ptr != last || number < 0) return std::nullopt;
  return number;
}

std::optional<std::int32_t> NumberAfter(std::string_view text, std::string_view start) {
  if (!text.starts_with(start)) return std::nullopt;
  return WholeNumber(text.substr(start.size()));
}

bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

// Removes the first word, between blanks, from text and returns it.
std::string_view TakeWord(std::string_view& text) {
  const auto begin = std::ranges::find_if_not(text, IsBlank);
  const auto end = std::find_if(begin, text.end(), IsBlank);
  const std::string_view word(begin, end);
  text = {end, text.end()};
  return word;
}

}  // namespace

std::optional<std::int32_t> ScanNumberOf(std::string_view native_id) {
  const std::string_view first = TakeWord(native_id);
  const std::string_view second = TakeWord(native_id);
  if (second.empty()) {
    const auto number = NumberAfter(first, "scan=");
    return number ? number : NumberAfter(first, "scanId=");
  }
  const std::string_view third = TakeWord(native_id);
  const bool is_controller = first.starts_with("controllerType=") &&
                             second.starts_with("controllerNumber=") && TakeWord(native_id).empty();
  return is_controller ? NumberAfter(third, "scan=") : std::nullopt;
}

void NativeIdList::Add(std::int32_t scan_no, std::string_view native_id) {
  if (!m_takes_all && ScanNumberOf(native_id) == scan_no) return;
  if (!m_file) {
    m_file.emplace(m_path, "output", UnfinishedForm{.m_is_locked = true});
    m_file->File().Write("scan\tnativeID\n");
  }
  m_file->File().Write(std::to_string(scan_no).append("\t").append(Shown(native_id)).append("\n"));
}

void NativeIdList::Close() {
  if (m_file) m_file->Close();
}

void NativeIdList::Commit() {
  if (m_file)
    m_file->TakeName();
  else
    RemoveFile(m_path);
}

}  // namespace tarvek::extractor
