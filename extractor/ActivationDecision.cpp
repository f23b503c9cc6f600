#include "ActivationDecision.h"

#include <array>
#include <utility>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::array<std::pair<std::string_view, unsigned>, 9> kFilterMethods = {
    {{"cid", kActivationCid},
     {"hcd", kActivationHcd},
     {"etd", kActivationEtd},
     {"ecd", kActivationOther},
     {"eid", kActivationOther},
     {"pqd", kActivationOther},
     {"mpd", kActivationOther},
     {"uvp", kActivationOther},
     {"ptr", kActivationOther}}};

// "ITMS + c NSI sa d Full ms2 413.26@etd35.00 ...": the methods follow each '@'; sa is supplemental
// activation, which is collisional when no second method is named.
unsigned ActivationOfFilter(std::string_view filter) {
  unsigned bits = 0;
  for (std::size_t at = filter.find('@'); at != std::string_view::npos;
       at = filter.find('@', at + 1)) {
    const std::string method = ToLower(filter.substr(at + 1, 3));
    for (const auto& [name, bit] : kFilterMethods)
      if (method == name) bits |= bit;
  }
  const bool is_supplemented = filter.find(" sa ") != std::string_view::npos;
  return is_supplemented && bits == kActivationEtd ? bits | kActivationCid : bits;
}

std::string WordOfBits(unsigned bits) {
  if ((bits & kActivationOther) != 0) return {};
  if ((bits & kActivationEthcd) != 0) return "ETHCD";
  if ((bits & kActivationEtcid) != 0) return "ETCID";
  if ((bits & kActivationEtd) != 0) {
    if ((bits & kActivationHcd) != 0) return "ETHCD";
    return (bits & kActivationCid) != 0 ? "ETCID" : "ETD";
  }
  if ((bits & kActivationHcd) != 0) return "HCD";
  return (bits & kActivationCid) != 0 ? "CID" : std::string();
}

}  // namespace

DeclaredActivation ActivationOf(const ExtractedScan& scan) {
  DeclaredActivation declared;
  unsigned first = 0;
  for (const DeclaredPrecursor& precursor : scan.m_precursors) {
    if (precursor.m_activation == 0) continue;
    if (first == 0) {
      first = precursor.m_activation;
      declared.m_other = precursor.m_other_activation;
    } else if (WordOfBits(precursor.m_activation) != WordOfBits(first)) {
      declared.m_is_several = true;
    }
  }
  if (first == 0) first = ActivationOfFilter(scan.m_filter);
  declared.m_word = WordOfBits(first);
  if (!declared.m_word.empty()) declared.m_other.clear();
  if (declared.m_word.empty() && first != 0 && declared.m_other.empty()) declared.m_other = "other";
  return declared;
}

std::string_view UsualActivation(std::string_view instrument_word) {
  return instrument_word == "ITMS" ? "CID" : "HCD";
}

}  // namespace tarvek::extractor
