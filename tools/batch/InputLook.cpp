#include "batch/InputLook.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "Charge.h"
#include "ExtractorOptions.h"
#include "FileUtils.h"
#include "InstrumentFile.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "PeakPreparation.h"
#include "ReadingLimits.h"
#include "RunRecord.h"
#include "ScanRules.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "batch/RunInputs.h"
#include "outputs/DeclaredWidth.h"

namespace tarvek::tools {
namespace {

using extractor::ExtractedScan;
using extractor::Polarity;

constexpr std::size_t kStrongPeaks = 100;
constexpr std::int32_t kHighestSpacedCharge = 6;
constexpr double kIsotopeDistanceDa = 1.00335;  // of 13C and 12C
constexpr double kSpacingPpm = 10.0;
constexpr double kSmallestIsotope = 0.05;  // of the peak below it

/// Enough was seen.
struct EnoughScans {};

/// Whether most declared charges are those of intact proteins.
bool AreIntact(const InputLook& look) {
  std::int64_t all = 0;
  std::int64_t high = 0;
  for (const auto& [charge, count] : look.m_charges) {
    all += count;
    if (charge >= kIntactCharge) high += count;
  }
  return high * 2 >= all && high > 0;
}

void AddFragment(InputLook& look, std::int32_t charge, double centre_mz) {
  ++look.m_fragments;
  if (charge > 0) ++look.m_charges[charge];
  if (centre_mz > 0.0 && centre_mz < kSmallIonMz) ++look.m_small_ions;
  look.m_highest_mz = std::max(look.m_highest_mz, centre_mz);
}

bool HasSeenEnough(const InputLook& look) {
  return look.m_fragments >= kFragmentsToSee && !AreIntact(look);
}

/// Looks at the scans of an instrument file and ends the reading when it has seen enough.
class ScanLooker final : public extractor::ScanConsumer {
 public:
  explicit ScanLooker(InputLook& look) : m_look(look) {}

  void OnDeclaredCount(std::int64_t) override {}
  bool WantsPeaks(const ExtractedScan& scan) override { return IsSurveyToSee(scan); }

  void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) override {
    if (IsSurveyToSee(scan)) TakeSurvey(scan, peaks);
    if (scan.m_ms_level == 2) TakeFragment(scan);
    if (scan.m_polarity == Polarity::kPositive) ++m_look.m_positive;
    if (scan.m_polarity == Polarity::kNegative) ++m_look.m_negative;
    if (HasSeenEnough(m_look)) throw EnoughScans{};
  }

 private:
  [[nodiscard]] bool IsSurveyToSee(const ExtractedScan& scan) const {
    return scan.m_ms_level == 1 && scan.m_analyser != extractor::Analyser::kIonTrap &&
           m_surveys < kSurveysToSee;
  }

  void TakeSurvey(const ExtractedScan& scan, std::vector<Peak>& peaks) {
    ++m_surveys;
    extractor::OutputScan output;
    output.m_kind = extractor::ScanKind::kSurvey;
    output.m_instrument = "FTMS";
    m_preparation.Prepare(scan, output, peaks);
    AddSpacings(peaks, m_look.m_spacings);
  }

  void TakeFragment(const ExtractedScan& scan) {
    AddFragment(m_look, extractor::DeclaredIons(scan).front().m_charge,
                extractor::ActivationCentre(scan));
    const double width = extractor::IsolationWidth(scan).value_or(0.0);
    if (width >= kLeastWidth) ++m_look.m_widths[std::llround(width * 100.0)];
  }

  InputLook& m_look;
  std::int64_t m_surveys = 0;
  extractor::PeakPreparation m_preparation{extractor::ExtractorOptions().m_mz_digits,
                                           extractor::ExtractorOptions().m_intensity_digits};
};

void LookAtXml(const std::string& path, InputLook& look) {
  ScanLooker looker(look);
  try {
    extractor::ReadInstrumentFile(
        path, looker, [](const std::string&) {}, [](const extractor::ReadingState&) {});
    look.m_is_whole = true;
  } catch (const EnoughScans&) {
  }
}

/// The blocks of an .ms2 file, read line by line: the usual reader hides an undeclared charge by
/// giving the scan a charge of 2.
void LookAtMs2(const std::string& path, InputLook& look) {
  TextLines lines(path);
  double centre_mz = 0.0;
  std::int32_t charge = 0;
  bool is_in_block = false;
  const auto end_block = [&] {
    if (is_in_block) AddFragment(look, ChargeWithoutSign(charge), centre_mz);
    centre_mz = 0.0;
    charge = 0;
  };
  for (std::string line; lines.Next(line);) {
    if (line.starts_with("S\t")) {
      end_block();
      is_in_block = true;
      if (HasSeenEnough(look)) return;
    } else if (line.starts_with("Z\t") && charge == 0) {
      charge = ParseInteger(TokenAt(line, '\t', 1));
    } else if (line.starts_with("I\tActivationCenter\t")) {
      centre_mz = FiniteReal(TokenAt(line, '\t', 2)).value_or(0.0);
    }
  }
  end_block();
  look.m_is_whole = true;
}

/// The widths that the instrument file declared, as its extraction recorded them.
void TakeMarkedWidths(const std::string& path, InputLook& look) {
  if (!FileExists(path)) return;
  for (const auto& [text, count] : ReadRunRecord(path).m_widths)
    if (const auto width = extractor::PossibleReal(text); width && *width >= kLeastWidth)
      look.m_widths[std::llround(*width * 100.0)] += count;
}

void LookAtText(const std::string& ms1, InputLook& look) {
  const std::string base = ms1.substr(0, ms1.rfind('.'));
  LookAtMs2(base + ".ms2", look);
  TakeMarkedWidths(base + ".morvex", look);
  Ms1TextReader reader(ms1, "r");
  MS1Spectrum scan;
  for (std::int64_t seen = 0; seen < kSurveysToSee && reader.ReadNext(scan);) {
    if (scan.m_instrument_type == "IT") continue;
    AddSpacings(scan.m_peaks, look.m_spacings);
    ++seen;
  }
}

bool HasPeakAt(std::span<const Peak> peaks, double mz, double least_intensity) {
  const double tolerance_mz = mz * kSpacingPpm * 1e-6;
  auto peak = std::ranges::lower_bound(peaks, mz - tolerance_mz, {}, &Peak::m_mz);
  for (; peak != peaks.end() && peak->m_mz <= mz + tolerance_mz; ++peak)
    if (peak->m_intensity >= least_intensity) return true;
  return false;
}

/// The charge that the isotopes above peak show, 0 for none. Two isotopes are required, at charge 1
/// only one, since a small molecule shows no more.
std::int32_t SpacedCharge(std::span<const Peak> peaks, const Peak& peak) {
  for (std::int32_t charge = kHighestSpacedCharge; charge > 0; --charge) {
    const double step_mz = kIsotopeDistanceDa / charge;
    const double least = peak.m_intensity * kSmallestIsotope;
    if (HasPeakAt(peaks, peak.m_mz + step_mz, least) &&
        (charge == 1 || HasPeakAt(peaks, peak.m_mz + 2.0 * step_mz, least)))
      return charge;
  }
  return 0;
}

}  // namespace

void AddSpacings(std::span<const Peak> peaks, std::map<std::int32_t, std::int64_t>& spacings) {
  std::vector<std::size_t> order(peaks.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, std::ranges::greater(),
                           [&](std::size_t at) { return peaks[at].m_intensity; });
  if (order.size() > kStrongPeaks) order.resize(kStrongPeaks);
  for (const std::size_t at : order)
    if (const std::int32_t charge = SpacedCharge(peaks, peaks[at]); charge > 0) ++spacings[charge];
}

InputLook LookAtInput(const std::string& path) {
  InputLook look;
  const std::string_view format = InputFormatOf(path);
  try {
    if (format == "mzml" || format == "mzxml")
      LookAtXml(path, look);
    else if (format == "ms1")
      LookAtText(path, look);
    else
      look.m_why_nothing = "only its converter reads the file";
  } catch (const std::string& message) {
    look = {};
    look.m_why_nothing = "the file cannot be read: " + message.substr(0, message.find('\n'));
  }
  return look;
}

}  // namespace tarvek::tools
