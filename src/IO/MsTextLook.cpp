#include "MsTextLook.h"

#include <cstddef>
#include <string_view>

#include "Platform.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr std::size_t kLookBytes = std::size_t{1} << 16;

std::string BeginningOf(File& file) {
  std::string bytes(kLookBytes, '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    const std::size_t count = file.Read(bytes.data() + size, bytes.size() - size);
    if (count == 0) break;
    size += count;
  }
  bytes.resize(size);
  return bytes;
}

// With its mark, or as plain text whose every second byte is NUL.
bool LooksLikeUtf16(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return true;
  constexpr std::size_t kBytesLookedAt = 32;
  if (bytes.size() < kBytesLookedAt) return false;
  std::size_t nuls[2] = {0, 0};
  for (std::size_t i = 0; i < kBytesLookedAt; ++i) nuls[i % 2] += bytes[i] == '\0';
  constexpr std::size_t kHalf = kBytesLookedAt / 2;
  return (nuls[0] == kHalf && nuls[1] == 0) || (nuls[1] == kHalf && nuls[0] == 0);
}

// The kinds of lines in the text; one that is cut off counts.
struct LineKinds {
  bool m_has_scans = false;
  bool m_has_others = false;  // than scans and header
  bool m_is_of_fragments = false;
  bool m_has_tabbed_peaks = false;

  void Take(std::string_view line) {
    if (line.starts_with("S\t"))
      m_has_scans = true;
    else if (!line.empty() && !line.starts_with('H') && line != "\r")
      m_has_others = true;
    if (line.starts_with("Z\t") || line.starts_with("I\tActivation")) m_is_of_fragments = true;
    const bool is_peak = !line.empty() && IsDigit(line.front());
    if (is_peak && line.find('\t') != std::string_view::npos &&
        line.find(' ') == std::string_view::npos)
      m_has_tabbed_peaks = true;
  }
};

LineKinds KindsOf(std::string_view text) {
  LineKinds kinds;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    kinds.Take(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return kinds;
}

}  // namespace

std::string FlawOfMsText(const std::string& path, MsLevel level, bool has_scans) {
  if (!StampAt(path)) return "";  // a pipe must not be opened again
  File file = File::Open(path, "r");
  if (!file.IsOpen()) return "";
  const std::string bytes = BeginningOf(file);
  if (bytes.empty()) return "is empty";
  if (bytes.starts_with("\x1F\x8B")) return "looks gzipped";
  if (LooksLikeUtf16(bytes)) return "looks like UTF-16";
  const LineKinds kinds = KindsOf(bytes);
  if (!kinds.m_has_scans)
    return kinds.m_has_others ? "holds no spectra: none of its first lines begins a scan" : "";
  if (level == MsLevel::kMs1 && kinds.m_is_of_fragments) return "looks like MS2 spectra";
  if (level == MsLevel::kMs2 && !kinds.m_is_of_fragments) return "looks like MS1 spectra";
  if (!has_scans && kinds.m_has_tabbed_peaks)
    return "has tabs between m/z and intensity, where a blank has to be";
  return "";
}

}  // namespace tarvek
