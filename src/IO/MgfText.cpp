#include "MgfText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr std::array<std::pair<std::string_view, MgfToken>, 6> kBeginnings = {{
    {"BEGIN IONS", MgfToken::kBegin},
    {"END IONS", MgfToken::kEnd},
    {"TITLE=", MgfToken::kTitle},
    {"CHARGE=", MgfToken::kCharge},
    {"RTINSECONDS=", MgfToken::kTime},
    {"PEPMASS=", MgfToken::kPepmass},
}};

constexpr std::string_view kTitleEnding = ".dta";

bool IsDigits(std::string_view text) { return !text.empty() && std::ranges::all_of(text, IsDigit); }

bool IsSignedDigits(std::string_view text) {
  return IsDigits(text.starts_with('-') ? text.substr(1) : text);
}

/// The parts of a title; all but the run are integers of any length.
struct TitleParts {
  std::string_view m_run;
  std::string_view m_scan;
  std::string_view m_scan_again;
  std::string_view m_charge;
  std::string_view m_index;  // empty without one
  bool m_has_ending = false;

  /// Whether it ends like our titles, with or without index.
  [[nodiscard]] bool IsOurs() const {
    return m_has_ending && IsDigits(m_scan) && m_scan == m_scan_again &&
           (m_index.empty() || IsDigits(m_index));
  }
};

/// Removes the last field and the dot before it when it is an integer; returns empty when it is
/// not.
std::string_view TakeLastInteger(std::string_view& text) {
  const std::size_t dot = text.rfind('.');
  const bool is_last = dot == std::string_view::npos;
  const std::string_view field = is_last ? text : text.substr(dot + 1);
  if (!IsSignedDigits(field)) return {};
  text = is_last ? std::string_view() : text.substr(0, dot);
  return field;
}

std::optional<TitleParts> PartsOf(std::string_view text) {
  TitleParts parts;
  text = TrimRight(text);
  parts.m_has_ending = text.ends_with(kTitleEnding);
  if (parts.m_has_ending) text.remove_suffix(kTitleEnding.size());
  const std::string_view last = TakeLastInteger(text);
  const std::string_view second = last.empty() ? last : TakeLastInteger(text);
  const std::string_view third = second.empty() ? second : TakeLastInteger(text);
  if (third.empty()) return std::nullopt;
  parts.m_run = text;
  const std::string_view fourth = TakeLastInteger(text);
  // The scan number comes twice; without an index the fourth number belongs to the run name.
  const bool is_without_index = second == third && (third != fourth || !IsDigits(last));
  if (fourth.empty() || is_without_index) {
    parts.m_scan = third;
    parts.m_scan_again = second;
    parts.m_charge = last;
  } else {
    parts.m_run = text;
    parts.m_scan = fourth;
    parts.m_scan_again = third;
    parts.m_charge = second;
    parts.m_index = last;
  }
  return parts;
}

}  // namespace

std::string_view MgfBeginning(MgfToken token) {
  const auto found =
      std::ranges::find(kBeginnings, token, [](const auto& one) { return one.second; });
  return found == kBeginnings.end() ? std::string_view() : found->first;
}

MgfLine ReadMgfLine(std::string_view line) {
  if (!line.empty() && IsDigit(line.front())) return {MgfToken::kPeak, line};
  for (const auto& [beginning, token] : kBeginnings)
    if (line.starts_with(beginning)) return {token, TrimRight(line.substr(beginning.size()))};
  return {MgfToken::kOther, line};
}

ScannedNumber<std::int32_t> ScanMgfCharge(std::string_view text) {
  const std::size_t sign = text.find_first_of("+-");
  ScannedNumber<std::int32_t> charge = ScanInteger(text.substr(0, sign));
  if (sign != std::string_view::npos && text[sign] == '-') charge.m_value = -charge.m_value;
  return charge;
}

std::optional<MgfTitle> ParseMgfTitle(std::string_view text) {
  const auto parts = PartsOf(text);
  if (!parts) return std::nullopt;
  const auto scan_no = ScanInteger(parts->m_scan);
  const auto charge = ScanInteger(parts->m_charge);
  const bool has_index = !parts->m_index.empty();
  const auto index = ScanInteger(has_index ? parts->m_index : "0");
  for (const auto& number : {scan_no, charge, index})
    if (number.m_status != NumberStatus::kOk) return std::nullopt;
  return MgfTitle{parts->m_run, scan_no.m_value, charge.m_value, index.m_value,
                  parts->IsOurs() && has_index && !parts->m_run.empty()};
}

ScannedNumber<std::int32_t> ScanMgfScanNumber(std::string_view text) {
  const auto parts = PartsOf(text);
  return ScanInteger(parts && parts->IsOurs() ? parts->m_scan : TokenAt(text, '.', 1));
}

void AppendMgfTitle(std::string& text, const MgfTitle& title) {
  text.append(MgfBeginning(MgfToken::kTitle)).append(title.m_run);
  for (const std::int32_t field :
       {title.m_scan_no, title.m_scan_no, title.m_charge, title.m_index}) {
    text.push_back('.');
    AppendInteger(text, field);
  }
  text.append(kTitleEnding).push_back('\n');
}

}  // namespace tarvek
