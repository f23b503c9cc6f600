#include "ScanRules.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>

#include "NativeId.h"
#include "NumberText.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

// A precursor scan lies a few cycles back at most; older spectra are forgotten.
constexpr std::size_t kMaxSeen = 1 << 16;

// Pairs of polarity and compensation voltage that a run may have.
constexpr std::size_t kMaxKinds = 64;

// Two compensation voltages are the same when they differ by less (in volts).
constexpr double kSameVoltage = 0.05;

bool SameVoltage(std::optional<double> a, std::optional<double> b) {
  if (!a || !b) return !a && !b;
  return std::fabs(*a - *b) < kSameVoltage;
}

bool SamePolarity(Polarity a, Polarity b) {
  return a == b || a == Polarity::kUnknown || b == Polarity::kUnknown;
}

// mzXML ids and references are numbers alone, and so are the ids that some mzML writers give; only
// the forms with a scan number in them name it.
std::uint64_t KeyOf(std::string_view id) {
  constexpr std::uint64_t kTextMark = std::uint64_t{1} << 63;
  if (const auto number = ScanNumberOf(id)) return static_cast<std::uint64_t>(*number) + 1;
  return std::hash<std::string_view>{}(id) | kTextMark;
}

std::int32_t ScanNumber(const ExtractedScan& scan) {
  if (const auto number = ScanNumberOf(scan.m_id)) return *number;
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max() - 1;
  return static_cast<std::int32_t>(std::min(scan.m_position, kLargest) + 1);
}

// "ITMS + c NSI d Full ms2 413.26@cid35.00 ...": the methods stand behind each '@'.
unsigned ActivationOfFilter(std::string_view filter) {
  unsigned bits = 0;
  for (std::size_t at = filter.find('@'); at != std::string_view::npos;
       at = filter.find('@', at + 1)) {
    const std::string_view method = filter.substr(at + 1, 3);
    if (method == "cid") bits |= kActivationCid;
    if (method == "hcd") bits |= kActivationHcd;
    if (method == "etd") bits |= kActivationEtd;
    if (method == "ecd" || method == "pqd" || method == "uvp") bits |= kActivationOther;
  }
  return bits;
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

// Several precursors of one scan are fragmented alike.
unsigned ActivationBits(const ExtractedScan& scan) {
  unsigned bits = 0;
  for (const DeclaredPrecursor& precursor : scan.m_precursors) bits |= precursor.m_activation;
  return bits != 0 ? bits : ActivationOfFilter(scan.m_filter);
}

std::int32_t ChargeOf(const SelectedIon& ion) {
  std::int32_t charge = ion.m_charge;
  if (charge == 0 && ion.m_possible_charges.size() == 1) charge = ion.m_possible_charges.front();
  // No ion has more charges; a larger number is a damaged file.
  constexpr std::int32_t kMaxCharge = 1000;
  return charge >= -kMaxCharge && charge <= kMaxCharge ? std::abs(charge) : 0;
}

// The filter line begins with the analyser.
Analyser AnalyserOfFilter(std::string_view filter) {
  filter = TrimLeft(filter);
  if (filter.starts_with("FTMS") || filter.starts_with("ASTMS")) return Analyser::kFourier;
  if (filter.starts_with("TOFMS")) return Analyser::kTimeOfFlight;
  return filter.starts_with("ITMS") ? Analyser::kIonTrap : Analyser::kUnknown;
}

Analyser AnalyserOf(const ExtractedScan& scan) {
  if (scan.m_has_own_analyser && scan.m_analyser != Analyser::kUnknown) return scan.m_analyser;
  const Analyser of_filter = AnalyserOfFilter(scan.m_filter);
  return of_filter == Analyser::kUnknown ? scan.m_analyser : of_filter;
}

}  // namespace

std::string InstrumentWord(const ExtractedScan& scan) {
  switch (AnalyserOf(scan)) {
    case Analyser::kFourier:
    case Analyser::kTimeOfFlight:
      return "FTMS";
    case Analyser::kIonTrap:
      return "ITMS";
    case Analyser::kOther:
    case Analyser::kUnknown:
      break;
  }
  return {};
}

std::string ActivationWord(const ExtractedScan& scan, std::string& unknown) {
  std::string word = WordOfBits(ActivationBits(scan));
  if (!word.empty()) return word;
  unknown = "none";
  for (const DeclaredPrecursor& precursor : scan.m_precursors)
    if (!precursor.m_other_activation.empty()) unknown = precursor.m_other_activation;
  if (unknown == "none" && ActivationBits(scan) != 0) unknown = "other";
  return {};
}

std::vector<DeclaredIon> DeclaredIons(const ExtractedScan& scan) {
  std::vector<DeclaredIon> ions;
  for (const DeclaredPrecursor& precursor : scan.m_precursors) {
    for (const SelectedIon& ion : precursor.m_ions) {
      const double mz = ion.m_mz > 0.0 ? ion.m_mz : precursor.m_target_mz.value_or(0.0);
      ions.push_back({std::max(mz, 0.0), ChargeOf(ion)});
    }
  }
  if (ions.empty()) ions.push_back({ActivationCentre(scan), 0});
  return ions;
}

double ActivationCentre(const ExtractedScan& scan) {
  if (scan.m_precursors.empty()) return 0.0;
  const DeclaredPrecursor& precursor = scan.m_precursors.front();
  if (precursor.m_target_mz && *precursor.m_target_mz > 0.0) return *precursor.m_target_mz;
  return precursor.m_ions.empty() ? 0.0 : std::max(precursor.m_ions.front().m_mz, 0.0);
}

// Empty when the spectrum is used.
std::string ScanRules::WhyUnused(const ExtractedScan& scan, std::int32_t scan_no) const {
  if (!scan.m_is_mass_spectrum) return "no mass spectrum (UV or other)";
  if (scan.m_ms_level < 1) return "no MS level";
  if (scan.m_ms_level > 2) return "MS level above 2";
  if (m_faims_volts && !SameVoltage(m_faims_volts, scan.m_faims_volts))
    return "other compensation voltage";
  if (scan.m_peak_count == 0) return "empty";
  if (scan_no <= m_last_scan_no) return "scan number not above that of the scan before";
  if (InstrumentWord(scan).empty())
    return AnalyserOf(scan) == Analyser::kOther ? "unusable analyser" : "unknown analyser";
  if (scan.m_ms_level == 1) return {};
  std::string unknown;
  if (ActivationWord(scan, unknown).empty()) return "activation without a word: " + unknown;
  return ActivationCentre(scan) > 0.0 ? std::string() : "no isolation target and no selected ion";
}

OutputScan ScanRules::Decide(const ExtractedScan& scan) const {
  OutputScan output;
  output.m_scan_no = ScanNumber(scan);
  output.m_why_left_out = WhyUnused(scan, output.m_scan_no);
  if (!output.m_why_left_out.empty()) return output;
  output.m_kind = scan.m_ms_level == 1 ? ScanKind::kSurvey : ScanKind::kFragment;
  output.m_rt_seconds = scan.m_rt_seconds.value_or(0.0);
  output.m_injection_ms = scan.m_injection_ms;
  output.m_instrument = InstrumentWord(scan);
  output.m_is_negative = scan.m_polarity == Polarity::kNegative;
  if (output.m_kind == ScanKind::kSurvey) return output;
  std::string unknown;
  output.m_activation = ActivationWord(scan, unknown);
  output.m_centre_mz = ActivationCentre(scan);
  output.m_precursor_scan = PrecursorScan(scan);
  output.m_ions = DeclaredIons(scan);
  return output;
}

const ScanRules::Seen* ScanRules::Find(std::uint64_t key) const {
  const auto place = m_place_of_key.find(key);
  if (place == m_place_of_key.end()) return nullptr;
  return &m_seen[static_cast<std::size_t>(place->second - m_forgotten)];
}

// Methods that decide by a fragment scan name that one; it names the survey.
const ScanRules::Seen* ScanRules::ClimbToSurvey(std::uint64_t key) const {
  constexpr int kMaxSteps = 16;
  for (int step = 0; step < kMaxSteps && key != 0; ++step) {
    const Seen* const seen = Find(key);
    if (seen == nullptr || seen->m_is_survey) return seen;
    key = seen->m_parent_key;
  }
  return nullptr;
}

std::int32_t ScanRules::PrecursorScan(const ExtractedScan& scan) const {
  const auto fits = [&](const Seen& survey) {
    return SamePolarity(survey.m_polarity, scan.m_polarity) &&
           SameVoltage(survey.m_faims_volts, scan.m_faims_volts);
  };
  const std::string& reference = scan.m_precursors.front().m_scan_ref;
  if (!reference.empty()) {
    const Seen* const survey = ClimbToSurvey(KeyOf(reference));
    if (survey != nullptr && fits(*survey)) return survey->m_scan_no;
  }
  const auto latest = std::find_if(m_latest_surveys.rbegin(), m_latest_surveys.rend(), fits);
  return latest == m_latest_surveys.rend() ? 0 : latest->m_scan_no;
}

void ScanRules::Remember(const ExtractedScan& scan, const OutputScan& output) {
  Seen seen;
  seen.m_key = KeyOf(scan.m_id);
  seen.m_scan_no = output.m_scan_no;
  seen.m_is_survey = output.m_kind == ScanKind::kSurvey;
  seen.m_polarity = scan.m_polarity;
  seen.m_faims_volts = scan.m_faims_volts;
  if (!scan.m_precursors.empty() && !scan.m_precursors.front().m_scan_ref.empty())
    seen.m_parent_key = KeyOf(scan.m_precursors.front().m_scan_ref);
  if (output.m_kind != ScanKind::kLeftOut) m_last_scan_no = output.m_scan_no;
  if (seen.m_is_survey) {
    std::erase_if(m_latest_surveys, [&](const Seen& other) {
      return other.m_polarity == seen.m_polarity &&
             SameVoltage(other.m_faims_volts, seen.m_faims_volts);
    });
    m_latest_surveys.push_back(seen);
    if (m_latest_surveys.size() > kMaxKinds) m_latest_surveys.erase(m_latest_surveys.begin());
  }
  m_place_of_key[seen.m_key] = m_forgotten + static_cast<std::int64_t>(m_seen.size());
  m_seen.push_back(seen);
  if (m_seen.size() <= kMaxSeen) return;
  const auto oldest = m_place_of_key.find(m_seen.front().m_key);
  if (oldest != m_place_of_key.end() && oldest->second == m_forgotten) m_place_of_key.erase(oldest);
  m_seen.pop_front();
  ++m_forgotten;
}

}  // namespace tarvek::extractor
