#include "check/Account.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "FeaturesExtractor.h"
#include "NumberText.h"
#include "PeakPicker.h"
#include "SpectrumRecords.h"
#include "outputs/DeclaredWidth.h"

namespace tarvek::tools {
namespace {

// Enough to tell profile from centroid data; checking every spectrum would double the time.
constexpr std::int64_t kSpectraLookedAt = 200;

// Seconds. No run has surveys closer than this on average; times in minutes look that close.
constexpr double kShortestCycle = 0.05;
constexpr std::int64_t kSurveysForCycle = 10;

// From these shares on, a loss is more than the edge of a run or a few odd scans.
constexpr double kNotableShare = 0.05;

// From this share on, ions outside the charge range are the subject of the run.
constexpr double kMostCharges = 0.5;

// From this difference of widths on, in m/z, precursors are lost.
constexpr double kMuchWider = 0.5;

bool IsNotable(std::int64_t part, std::int64_t whole) {
  return static_cast<double>(part) > kNotableShare * static_cast<double>(whole);
}

std::string UnknownWord(const std::string& kind, const std::string& word) {
  return word.empty() ? "no " + kind + " word" : kind + " word '" + word + "' is not known";
}

std::string MzText(double mz) {
  std::string text = Fixed(mz, 2);
  while (text.ends_with('0')) text.pop_back();
  if (text.ends_with('.')) text.pop_back();
  return text;
}

// lowest and highest: without their signs.
std::string RangeText(std::int32_t lowest, std::int32_t highest, bool is_negative) {
  const std::string from = std::to_string(lowest);
  const std::string to = std::to_string(highest);
  return is_negative ? "-" + to + "t-" + from : from + "t" + to;
}

}  // namespace

void CheckAccount::Marked::Add(std::int64_t scan_no) {
  if (m_count++ == 0) m_first_scan = scan_no;
}

CheckAccount::CheckAccount(std::string path, std::string kind, AccountRules rules)
    : m_path(std::move(path)), m_kind(std::move(kind)), m_rules(rules) {}

void CheckAccount::LookAtPeaks(Looked& looked, std::int32_t scan_no, std::span<const Peak> peaks,
                               bool is_ion_trap) {
  if (looked.m_count >= kSpectraLookedAt) return;
  ++looked.m_count;
  if (extractor::LookAt(peaks, is_ion_trap) == extractor::DataLook::kProfile)
    looked.m_profiles.Add(scan_no);
}

void CheckAccount::TakeSurvey(std::int32_t scan_no, bool is_high_resolution, double rt_seconds,
                              std::span<const Peak> peaks, bool is_ion_trap) {
  ++(is_high_resolution ? m_high_surveys : m_low_surveys);
  m_survey_numbers.insert(scan_no);
  if (scan_no <= m_last_survey) m_disordered.Add(scan_no);
  m_last_survey = scan_no;
  if (!m_first_rt) m_first_rt = rt_seconds;
  m_last_rt = rt_seconds;
  LookAtPeaks(m_looked_surveys, scan_no, peaks, is_ion_trap);
}

// The decision of the MS2 loop, with the reason.
bool CheckAccount::IsProcessed(const FragmentFacts& fragment) {
  const bool knows_activation = IsKnownActivation(fragment.m_activation);
  if (!knows_activation || !IsKnownInstrument(fragment.m_instrument)) {
    LeaveOut(knows_activation ? UnknownWord("analyser", fragment.m_instrument)
                              : UnknownWord("activation", fragment.m_activation),
             fragment.m_scan_no, true);
    return false;
  }
  const bool keeps_precursor =
      fragment.m_has_precursor && (fragment.m_charge != 0 || m_rules.m_assumes_charge_2);
  if (!keeps_precursor)
    LeaveOut(fragment.m_has_precursor ? "declared charge 0" : "no declared precursor",
             fragment.m_scan_no, true);
  return keeps_precursor;
}

void CheckAccount::TakeFragment(const FragmentFacts& fragment, std::span<const Peak> peaks) {
  LookAtPeaks(m_looked_fragments, fragment.m_scan_no, peaks,
              fragment.m_instrument.starts_with('I'));
  if (fragment.m_scan_no <= m_last_fragment) m_disordered.Add(fragment.m_scan_no);
  m_last_fragment = fragment.m_scan_no;
  if (!IsProcessed(fragment)) return;
  ++m_fragments;
  if (!m_survey_numbers.contains(fragment.m_precursor_scan))
    m_without_parent.Add(fragment.m_scan_no);
  if (std::fabs(fragment.m_centre_mz) < kZeroTolerance) m_without_centre.Add(fragment.m_scan_no);
  m_highest_centre_mz = std::max(m_highest_centre_mz, fragment.m_centre_mz);
  TakeCharge(fragment);
  if (fragment.m_isolation_mz.value_or(0.0) >= kLeastWidth)
    ++m_widths[std::llround(*fragment.m_isolation_mz * 100.0)];
}

void CheckAccount::TakeCharge(const FragmentFacts& fragment) {
  if (fragment.m_charge == 0)
    m_without_charge.Add(fragment.m_scan_no);
  else
    ++m_charges[fragment.m_charge];
}

void CheckAccount::LeaveOut(const std::string& reason, std::int64_t scan_no, bool is_ms2,
                            std::int64_t count) {
  LeftOut& left_out = m_left_out[reason];
  if (left_out.m_count == 0) left_out.m_first_scan = scan_no;
  left_out.m_count += count;
  if (is_ms2) m_lost_fragments += count;
}

FindingPlace CheckAccount::First(const Marked& marked) {
  return {marked.m_first_scan, std::nullopt};
}

void CheckAccount::ReportSurveys(CheckReport& report) const {
  const std::int64_t surveys = m_high_surveys + m_low_surveys;
  if (surveys == 0)
    report.Warning("no-ms1", m_path,
                   "It holds no MS1 scan that can be read, so that nothing can be determined and "
                   "the declared precursors are kept.",
                   "Convert the raw file again with its MS1 scans.");
  else if (m_high_surveys == 0)
    report.Warning("no-high-resolution-ms1", m_path,
                   "None of its MS1 scans is of high resolution (FTMS), so that nothing can be "
                   "determined and the declared precursors are kept.",
                   "Use a run whose surveys were taken by a Fourier or time-of-flight analyser.");
  else if (m_low_surveys > 0)
    report.Note("low-resolution-ms1", m_path,
                ShareText(m_low_surveys, surveys, "MS1 scans") +
                    " are of low resolution and take no part in the determination.",
                "Nothing needs to be done.");
  const double mean_cycle =
      surveys > 1 ? (m_last_rt - m_first_rt.value_or(0.0)) / static_cast<double>(surveys - 1) : 0.0;
  if (surveys >= kSurveysForCycle && mean_cycle < kShortestCycle)
    report.Warning("retention-time", m_path,
                   "Its retention times are missing, or are in minutes where seconds are expected, "
                   "and the outputs would carry them on.",
                   "Start from the mzML or raw file, or write RetTime in seconds.");
}

void CheckAccount::ReportProfiles(CheckReport& report) const {
  const Marked& surveys = m_looked_surveys.m_profiles;
  const Marked& fragments = m_looked_fragments.m_profiles;
  if (surveys.m_count + fragments.m_count == 0) return;
  const std::string meaning = std::to_string(surveys.m_count) + " of the first " +
                              std::to_string(m_looked_surveys.m_count) + " MS1 and " +
                              std::to_string(fragments.m_count) + " of the first " +
                              std::to_string(m_looked_fragments.m_count) +
                              " MS2 spectra hold profile data";
  const FindingPlace place = First(surveys.m_count > 0 ? surveys : fragments);
  if (m_rules.m_picks_peaks)
    report.Warning("profile", m_path, meaning + ", which the extractor turns into peaks by itself.",
                   "Prefer the instrument maker's own peak picking when you convert the raw file.",
                   place);
  else
    report.Defect("profile", m_path, meaning + "; their samples would be taken for peaks.",
                  "Start from the mzML or raw file, or have the data centroided before.", place);
}

void CheckAccount::ReportFragments(CheckReport& report) const {
  const std::int64_t all = m_fragments + m_lost_fragments;
  if (all == 0)
    report.Defect("no-ms2", m_path, "It holds no MS2 scan, so that the outputs would be empty.",
                  "Check that the file is whole and that it was converted with its MS2 scans.");
  else if (m_fragments == 0)
    report.Defect(
        "nothing-processed", m_path,
        "None of its " + std::to_string(all) + " MS2 scans would be processed.",
        "See the reasons next to \"left out\" and convert the raw file again if you can.");
  else if (IsNotable(m_lost_fragments, all))
    report.Warning("ms2-left-out", m_path,
                   ShareText(m_lost_fragments, all, "MS2 scans") + " would not be used.",
                   "See the reasons next to \"left out\".");
  if (m_disordered.m_count > 0)
    report.Warning("scan-order", m_path,
                   std::to_string(m_disordered.m_count) +
                       " scans have a number that is not above that of the scan before, so that "
                       "wrong surveys may be used for them.",
                   "Sort the scans by number, or start from the mzML or raw file.",
                   First(m_disordered));
}

void CheckAccount::ReportPrecursors(CheckReport& report) const {
  if (m_fragments == 0) return;
  if (m_without_parent.m_count > 0 && !m_survey_numbers.empty()) {
    const bool is_notable = IsNotable(m_without_parent.m_count, m_fragments);
    report.Add({is_notable ? Severity::kWarning : Severity::kNote, "no-precursor-scan", m_path,
                First(m_without_parent),
                ShareText(m_without_parent.m_count, m_fragments, "MS2 scans") +
                    " name no precursor scan that is there, so that other surveys are used for "
                    "them.",
                is_notable ? "Start from the whole mzML or raw file."
                           : "Nothing needs to be done for the first scans of a run."});
  }
  if (m_without_centre.m_count > 0)
    report.Warning("no-centre", m_path,
                   ShareText(m_without_centre.m_count, m_fragments, "MS2 scans") +
                       " have no activation centre, so that nothing can be determined for them.",
                   "Start from the mzML or raw file, which say what was isolated.",
                   First(m_without_centre));
}

void CheckAccount::ReportCharges(CheckReport& report, const RunSettings& settings) const {
  if (m_without_charge.m_count > 0)
    report.Note("no-charge", m_path,
                ShareText(m_without_charge.m_count, m_fragments, "MS2 scans") +
                    " declare no charge, for which 2 is assumed where nothing is determined.",
                "Nothing needs to be done.", First(m_without_charge));
  if (m_charges.empty()) return;
  const bool is_negative = m_is_negative.value_or(settings.m_charge_max < 0);
  std::int64_t outside = 0;
  std::int64_t declared = 0;
  for (const auto& [size, count] : m_charges) {
    const std::int32_t charge = is_negative ? -size : size;
    declared += count;
    if (charge < settings.m_charge_min || charge > settings.m_charge_max) outside += count;
  }
  if (outside == 0) return;
  const bool is_most = static_cast<double>(outside) > kMostCharges * static_cast<double>(declared);
  report.Add({is_most ? Severity::kWarning : Severity::kNote,
              "charge-range",
              m_path,
              {},
              ShareText(outside, declared, "declared charges") + " lie outside the charges " +
                  std::to_string(settings.m_charge_min) + " to " +
                  std::to_string(settings.m_charge_max) + " that would be tried" +
                  (is_negative ? ", since these ions are negative." : "."),
              ChargeAdvice(m_charges.begin()->first, std::max(m_charges.rbegin()->first, 2),
                           is_negative, settings) +
                  (is_most ? "." : ", if these ions matter to you.")});
}

// Candidates reach up to the edge of the window.
double CheckAccount::HighestCandidateMz(const RunSettings& settings) const {
  double width_mz = settings.m_isolation_width;
  if (!m_widths.empty())
    width_mz = std::max(width_mz, static_cast<double>(m_widths.rbegin()->first) / 100.0);
  return m_highest_centre_mz + width_mz * 0.5 + kEdgeAllowanceMz;
}

// tarvek stops at a candidate with a mass beyond the isotope table.
std::string CheckAccount::ChargeAdvice(std::int32_t lowest, std::int32_t highest, bool is_negative,
                                       const RunSettings& settings) const {
  const double mz = HighestCandidateMz(settings);
  const std::int32_t largest = LargestCharge(mz, settings.m_table_end_da, is_negative);
  const std::string end =
      "the isotope table, which ends at " + std::to_string(settings.m_table_end_da) + " Da";
  if (largest < 1) return "Leave them: ions of m/z " + MzText(mz) + " lie beyond " + end;
  std::string text = "Run tarvek with -c " +
                     RangeText(std::min(lowest, largest), std::min(highest, largest), is_negative);
  if (highest > largest)
    text += ", since higher charges at m/z " + MzText(mz) + " reach masses beyond " + end;
  return text;
}

void CheckAccount::ReportMasses(CheckReport& report, const RunSettings& settings) const {
  const bool is_negative = settings.m_charge_max < 0;
  const std::int32_t highest =
      std::max(std::abs(settings.m_charge_min), std::abs(settings.m_charge_max));
  const double mz = HighestCandidateMz(settings);
  // Rows of zeros stop no run.
  const std::int32_t largest = LargestCharge(mz, kIsotopeTableRows, is_negative);
  if (m_fragments == 0 || highest <= largest) return;
  const std::int32_t lowest =
      std::min(std::abs(settings.m_charge_min), std::abs(settings.m_charge_max));
  Finding finding{Severity::kWarning,
                  kMassLimitCode,
                  m_path,
                  {},
                  "Charge " + std::to_string(highest) + " at m/z " + MzText(mz) +
                      " reaches masses for which the isotope table has no rows, and a run stops at "
                      "such a candidate.",
                  ChargeAdvice(lowest, highest, is_negative, settings) + "."};
  if (lowest <= largest)
    finding.m_settings[kChargeRangeKey] = RangeText(lowest, largest, is_negative);
  report.Add(std::move(finding));
}

void CheckAccount::ReportWidths(CheckReport& report, double setting) const {
  if (m_widths.empty()) return;
  const auto commonest = std::ranges::max_element(
      m_widths, {}, [](const auto& width_and_count) { return width_and_count.second; });
  const double declared = static_cast<double>(commonest->first) / 100.0;
  const double difference = declared - setting;
  if (!IsOtherWidth(declared, setting)) return;
  const std::string meaning = ShareText(commonest->second, m_fragments, "MS2 scans") +
                              " were isolated with a width of " + MzText(declared) +
                              " and isolation_width is " + MzText(setting);
  const std::string option = "-W " + MzText(declared);
  if (difference >= kMuchWider)
    report.Warning("isolation-width", m_path,
                   meaning + ", so that precursors near the edges of the window are missed.",
                   "Run tarvek with " + option + ", or with a value between the two.");
  else if (difference > 0.0)
    report.Note("isolation-width", m_path, meaning + ", so that its edges are not looked at.",
                "Run tarvek with " + option + " to use the whole window.");
  else
    report.Note("isolation-width", m_path,
                meaning + ", so that ions outside the window may be taken for precursors.",
                "Nothing needs to be done, or compare with the results of " + option + ".");
}

void CheckAccount::Report(CheckReport& report, const RunSettings& settings) const {
  CheckedItem item{m_path, m_kind, {}, m_left_out};
  item.m_facts.push_back({"surveys", "surveys of high resolution", m_high_surveys});
  if (m_low_surveys > 0)
    item.m_facts.push_back({"low_resolution_surveys", "of low resolution", m_low_surveys});
  item.m_facts.push_back({"ms2_scans", "MS2 scans to be processed", m_fragments});
  report.AddItem(std::move(item));
  ReportSurveys(report);
  ReportProfiles(report);
  ReportFragments(report);
  ReportPrecursors(report);
  ReportCharges(report, settings);
  ReportMasses(report, settings);
  ReportWidths(report, settings.m_isolation_width);
}

std::int32_t LargestCharge(double mz, std::int64_t end_da, bool is_negative) {
  std::int32_t charge = 0;
  const auto mass_da = [&](std::int32_t z) {
    return ProtonatedMassDa(is_negative ? Precursor{-mz, -z} : Precursor{mz, z});
  };
  // Each charge adds the m/z less a proton; below that there is no end to find.
  if (!(mz > 2.0 * kProtonMass)) return std::numeric_limits<std::int32_t>::max();
  while (mass_da(charge + 1) < static_cast<double>(end_da)) ++charge;
  return charge;
}

void CheckRunName(CheckReport& report, const std::string& path, const std::string& run_name) {
  if (run_name.find('.') == std::string::npos) return;
  report.Warning("dotted-name", path,
                 "The run name '" + run_name +
                     "' has dots, which move the scan number out of the second field of the MGF "
                     "titles where search engines look for it.",
                 "Rename the file with underscores in place of dots before the run.");
}

}  // namespace tarvek::tools
