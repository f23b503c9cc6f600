#include "explain/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <span>
#include <string_view>

#include "Charge.h"
#include "IsoPattern.h"
#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr int kMzDecimals = 4;
constexpr int kIonDecimals = 5;
constexpr double kSecondsPerMinute = 60.0;

std::string Right(std::string text, std::size_t width) {
  if (text.size() < width) text.insert(0, width - text.size(), ' ');
  return text;
}

std::string Left(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

std::string Percent(double share) { return Fixed(100.0 * share, 0) + " %"; }

std::string ChargeText(std::int32_t charge) {
  return std::to_string(ChargeWithoutSign(charge)) + (charge < 0 ? "-" : "+");
}

// 1234567 is "1.23e6".
std::string HeightText(double height) {
  if (!(height > 0.0)) return "-";
  const int exponent = static_cast<int>(std::floor(std::log10(height)));
  if (exponent < 4 && exponent > -3) return Fixed(height, exponent >= 2 ? 0 : 2);
  return Fixed(height / std::pow(10.0, exponent), 2) + "e" + std::to_string(exponent);
}

// A, B, ... Z, then A2, B2 ...
std::string LabelOf(std::size_t ion) {
  constexpr std::size_t kLetters = 26;
  std::string label(1, static_cast<char>('A' + ion % kLetters));
  return ion < kLetters ? label : label + std::to_string(ion / kLetters + 1);
}

std::string IonText(const Precursor& ion, int decimals) {
  return Fixed(std::fabs(ion.m_mz), decimals) + "  " + ChargeText(ion.m_charge);
}

std::string Head(const std::string& run, const Explanation& e) {
  return "Scan " + std::to_string(e.m_scan_no) + " of " + run + ": minute " +
         Fixed(e.m_rt_s / kSecondsPerMinute, 3) + ", " + e.m_activation + " " + e.m_analyser +
         ", window " + Fixed(e.LowEdge(), kMzDecimals) + " to " + Fixed(e.HighEdge(), kMzDecimals) +
         " m/z (centre " + Fixed(e.m_centre_mz, kMzDecimals) + "), survey " +
         std::to_string(e.m_survey_no) + "\n";
}

std::string Precursors(const Explanation& e) {
  std::string text = "\nDeclared\n";
  if (e.m_declared.empty()) text += "  none\n";
  for (const IonEnvelope& ion : e.m_declared)
    text += "  " + IonText(ion.m_ion, kIonDecimals) + "\n";
  text += "\nDetermined " +
          std::string(e.m_is_joint ? "together, with a probability of at least "
                                   : "each for itself, above a score of ") +
          ExactText(e.m_threshold) + "\n";
  if (e.m_determined.empty()) text += "  none (" + e.m_outcome + ")\n";
  for (std::size_t i = 0; i < e.m_determined.size(); ++i) {
    const DeterminedIon& ion = e.m_determined[i];
    text += "  " + Left(LabelOf(i), 3) + IonText(ion.m_envelope.m_ion, kIonDecimals) + "  " +
            (e.m_is_joint ? "probability " : "score ") + Fixed(ion.m_score, 3) + "  " +
            Percent(ion.m_window_share) + " of the window\n";
  }
  return text;
}

std::string Agreement(const Explanation& e) {
  if (e.m_agrees)
    return e.m_in_table.empty() ? "The table has no row of this scan, which is as it is here.\n"
                                : "The table of the run has the same precursors.\n";
  std::string text = "THE TABLE OF THE RUN HAS OTHER PRECURSORS:";
  for (const Precursor& ion : e.m_in_table) text += " " + IonText(ion, kIonDecimals) + ";";
  if (e.m_in_table.empty()) text += " none, as it has no row of this scan;";
  text.back() = '.';
  return text + " The run had other settings, another isotope table or other spectra.\n";
}

std::string EdgeLine(double mz) {
  return "  --- " + Fixed(mz, kMzDecimals) + " edge of the window ---\n";
}

std::string PeakLine(const WindowPeak& peak, const Explanation& e) {
  std::string text = Right(Fixed(peak.m_peak.m_mz, kMzDecimals), 12) +
                     Right(HeightText(peak.m_peak.m_intensity), 10);
  for (const std::size_t ion : peak.m_determined) {
    const auto& isotopes = e.m_determined[ion].m_envelope.m_isotopes;
    const auto nearest = std::ranges::min_element(isotopes, {}, [&](const EnvelopeIsotope& one) {
      return std::fabs(one.m_mz - peak.m_peak.m_mz);
    });
    text += "   " + LabelOf(ion) + "+" + std::to_string(nearest - isotopes.begin()) + " " +
            HeightText(nearest->m_expected);
  }
  return text + "\n";
}

bool HasNoSurvey(const Explanation& e) {
  return std::ranges::none_of(e.m_surveys, [](const SurveyTime& one) { return one.m_scan_no > 0; });
}

// The peaks in ascending m/z with the edges between them.
std::string Survey(const Explanation& e) {
  if (HasNoSurvey(e)) return "\nIts survey is not there.\n";
  if (e.m_peaks.empty()) return "\nThe survey holds no peak in or near the window.\n";
  std::string text =
      "\nSurvey " + std::to_string(e.m_survey_no) +
      "\n         m/z  measured   ion + isotopes above its lightest, and expected height\n";
  bool is_below = true;
  bool is_above = false;
  for (const WindowPeak& peak : e.m_peaks) {
    if (is_below && peak.m_peak.m_mz >= e.LowEdge()) {
      text += EdgeLine(e.LowEdge());
      is_below = false;
    }
    if (!is_above && peak.m_peak.m_mz > e.HighEdge()) {
      text += EdgeLine(e.HighEdge());
      is_above = true;
    }
    text += PeakLine(peak, e);
  }
  if (is_below) text += EdgeLine(e.LowEdge());
  if (!is_above) text += EdgeLine(e.HighEdge());
  return text;
}

std::string ElutionLine(const std::string& label, const IonEnvelope& ion) {
  const double highest = std::ranges::max(ion.m_elution);
  std::string text = "  " + Left(label, 10);
  for (const double sum : ion.m_elution)
    text += Right(highest > 0.0 && sum > 0.0 ? Fixed(100.0 * sum / highest, 0) : "-", 8);
  return text + "   of " + HeightText(highest) + "\n";
}

std::string Elution(const Explanation& e) {
  if (HasNoSurvey(e)) return {};
  std::string text =
      "\nElution over the ten surveys, per cent of the highest sum of the isotopes\n  " +
      Left("survey", 10);
  for (std::size_t p = 0; p < e.m_surveys.size(); ++p) {
    const std::int32_t number = e.m_surveys[p].m_scan_no;
    text +=
        Right(number == 0 ? "-" : (p == kPrecursorPosition ? "*" : "") + std::to_string(number), 8);
  }
  text += "\n  " + Left("minute", 10);
  for (const SurveyTime& survey : e.m_surveys)
    text += Right(survey.m_scan_no == 0 ? "-" : Fixed(survey.m_rt_s / kSecondsPerMinute, 2), 8);
  text += "\n";
  for (std::size_t i = 0; i < e.m_determined.size(); ++i)
    text += ElutionLine(LabelOf(i), e.m_determined[i].m_envelope);
  for (const IonEnvelope& ion : e.m_declared) text += ElutionLine("declared", ion);
  return text;
}

std::string CandidateLine(const CandidateIon& one, std::span<const std::size_t> shown,
                          std::span<const std::size_t> widths) {
  std::string text = (one.m_is_kept ? "* " : "  ") + Right(Fixed(one.m_ion.m_mz, kMzDecimals), 10) +
                     Right(ChargeText(one.m_ion.m_charge), 5) +
                     Right(one.m_score ? Fixed(*one.m_score, 3) : "-", 8);
  for (std::size_t i = 0; i < shown.size(); ++i)
    text += Right(shown[i] < one.m_features.size() ? Fixed(one.m_features[shown[i]], 3) : "-",
                  widths[i] + 2);
  return text + "  " + one.m_reason + "\n";
}

// The candidates with only a reason, each reason once.
std::string OtherCandidates(const Explanation& e) {
  struct List {
    std::string m_text;
    double m_last_mz = 0.0;
  };
  std::map<std::string, List> by_reason;
  for (const CandidateIon& one : e.m_candidates) {
    if (one.m_score || !one.m_features.empty()) continue;
    List& list = by_reason[one.m_reason];
    if (one.m_ion.m_mz != list.m_last_mz)
      list.m_text += (list.m_text.empty() ? "" : ", ") + Fixed(one.m_ion.m_mz, kMzDecimals);
    list.m_last_mz = one.m_ion.m_mz;
    list.m_text += " " + ChargeText(one.m_ion.m_charge);
  }
  std::string text;
  for (const auto& [reason, list] : by_reason) text += "  " + reason + ": " + list.m_text + "\n";
  return text;
}

std::string Candidates(const Explanation& e) {
  const std::vector<std::string> names = FeatureNames(e.m_is_joint);
  const std::vector<std::size_t> shown = MainFeatures(e.m_is_joint);
  std::vector<std::size_t> widths;
  std::string text = "\nCandidates: " + std::to_string(e.m_candidates.size()) + " (* kept)\n  " +
                     Right("m/z", 10) + Right("z", 5) + Right(e.m_is_joint ? "prob." : "score", 8);
  for (const std::size_t i : shown) {
    widths.push_back(std::max<std::size_t>(7, names[i].size()));
    text += Right(names[i], widths.back() + 2);
  }
  text += "  reason\n";
  for (const CandidateIon& one : e.m_candidates)
    if (one.m_score || !one.m_features.empty()) text += CandidateLine(one, shown, widths);
  return text + OtherCandidates(e);
}

}  // namespace

std::string ExplanationText(const std::string& run, const Explanation& explained) {
  return Head(run, explained) + Precursors(explained) + Agreement(explained) + Survey(explained) +
         Elution(explained) + Candidates(explained);
}

}  // namespace tarvek::tools
