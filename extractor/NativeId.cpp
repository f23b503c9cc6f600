#include "NativeId.h"

#include <charconv>
#include <vector>

#include "FileUtils.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

// All of text must be a number without sign.
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

}  // namespace

std::optional<std::int32_t> ScanNumberOf(std::string_view native_id) {
  std::vector<std::string_view> parts = Split(Trim(native_id), kBlanks);
  std::erase(parts, std::string_view());  // of several blanks in a row
  if (parts.size() == 1) {
    const auto number = NumberAfter(parts[0], "scan=");
    return number ? number : NumberAfter(parts[0], "scanId=");
  }
  const bool is_controller = parts.size() == 3 && parts[0].starts_with("controllerType=") &&
                             parts[1].starts_with("controllerNumber=");
  return is_controller ? NumberAfter(parts[2], "scan=") : std::nullopt;
}

void NativeIdList::Add(std::int32_t scan_no, std::string_view native_id) {
  if (!m_takes_all && ScanNumberOf(native_id) == scan_no) return;
  if (!m_file) {
    m_file.emplace(m_path, "output", UnfinishedForm{.m_is_locked = true});
    m_file->File().Write("scan\tnativeID\n");
  }
  m_file->File().Write(std::to_string(scan_no).append("\t").append(native_id).append("\n"));
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
