#include "ScanOverrides.h"

#include <algorithm>
#include <array>

#include "SpectrumRecords.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::array<std::string_view, 2> kAnalysers = {"FTMS", "ITMS"};

// The word that equals text in any letter case; empty when none does.
template <class Words>
std::string WordOf(const Words& words, std::string_view text) {
  const std::string lower = ToLower(Trim(text));
  const auto found =
      std::ranges::find_if(words, [&](std::string_view word) { return ToLower(word) == lower; });
  return found == words.end() ? std::string() : std::string(*found);
}

void AddOne(std::string_view part, ScanOverrides& overrides) {
  const std::size_t equals = part.find('=');
  const bool names_level = equals != std::string_view::npos;
  const std::string level = names_level ? ToLower(Trim(part.substr(0, equals))) : std::string();
  const std::string word = WordOf(kAnalysers, names_level ? part.substr(equals + 1) : part);
  if (word.empty() || (names_level && level != "ms1" && level != "ms2"))
    throw "needs FTMS or ITMS, for one level as ms2=ITMS, not \"" + std::string(part) + "\"";
  if (level != "ms2") overrides.m_ms1_analyser = word;
  if (level != "ms1") overrides.m_ms2_analyser = word;
}

}  // namespace

void AddAnalyserOverride(std::string_view value, ScanOverrides& overrides) {
  // A comma at the end leaves no token, but is as wrong as two commas in a row.
  if (value.empty() || value.back() == ',') AddOne({}, overrides);
  for (const std::string_view part : Split(value, ",")) AddOne(part, overrides);
}

void SetActivationOverride(std::string_view value, ScanOverrides& overrides) {
  overrides.m_activation = WordOf(kActivationTypes, value);
  if (overrides.m_activation.empty())
    throw "needs HCD, CID, ETD, ETHCD or ETCID, not \"" + std::string(value) + "\"";
}

std::string AnalyserOverrideText(const ScanOverrides& overrides) {
  if (overrides.m_ms1_analyser == overrides.m_ms2_analyser) return overrides.m_ms1_analyser;
  std::string text;
  if (!overrides.m_ms1_analyser.empty()) text = "ms1=" + overrides.m_ms1_analyser;
  if (!overrides.m_ms2_analyser.empty())
    text += (text.empty() ? "ms2=" : ",ms2=") + overrides.m_ms2_analyser;
  return text;
}

}  // namespace tarvek::extractor
