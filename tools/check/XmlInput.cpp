#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ExtractionPlan.h"
#include "ExtractorOptions.h"
#include "NumberText.h"
#include "PeakPreparation.h"
#include "Platform.h"
#include "ScanRules.h"
#include "check/Account.h"
#include "check/Inputs.h"

namespace tarvek::tools {
namespace {

using extractor::ExtractedScan;
using extractor::OutputScan;
using extractor::Polarity;
using extractor::ScanKind;

/// Takes the spectra by the rules of the extractor and writes nothing.
class XmlAccount final : public extractor::ScanConsumer {
 public:
  XmlAccount(const std::string& path, const extractor::ScanOverrides& overrides,
             const extractor::ExtractionPlan& plan)
      : m_path(path),
        m_rules({std::nullopt, overrides}, plan),
        m_numbers_by_position(plan.m_numbers_by_position) {}

  void SetFormat(const std::string& format) {
    AccountRules rules;
    rules.m_picks_peaks = true;
    m_account.emplace(m_path, format, rules);
  }

  void OnDeclaredCount(std::int64_t count) override { m_declared = count; }

  bool WantsPeaks(const ExtractedScan& scan) override {
    return m_rules.Decide(scan).m_kind != ScanKind::kLeftOut;
  }

  void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) override {
    ++m_spectra;
    OutputScan output = m_rules.Decide(scan);
    if (output.m_kind != ScanKind::kLeftOut) LeaveOutWithoutPeaks(scan, peaks, output);
    if (scan.m_faims_volts) m_voltages[std::lround(*scan.m_faims_volts * 10.0)]++;
    Take(scan, output, peaks);
    m_rules.Remember(scan, output);
  }

  void Report(CheckReport& report, const CheckOptions& options) {
    if (m_negative + m_positive > 0) m_account->SetNegative(m_positive == 0);
    m_account->Report(report, options.m_settings);
    ReportCount(report);
    ReportVoltages(report);
    ReportPolarity(report);
    ReportAssumed(report);
    ReportNotes(report);
  }

 private:
  // Keeps the samples as they are, since the account looks for profiles.
  void LeaveOutWithoutPeaks(const ExtractedScan& scan, const std::vector<Peak>& samples,
                            OutputScan& output) {
    m_written = samples;
    const extractor::PreparedPeaks prepared = m_preparation.Prepare(scan, output, m_written);
    if (!m_written.empty()) return;
    output.m_kind = ScanKind::kLeftOut;
    if (prepared.m_left_out == 0) {
      output.m_why_left_out = "no peak found in its profile";
    } else {
      output.m_why_left_out = "no peak that one decimal shows";
      ++m_invisible;
    }
  }

  void Take(const ExtractedScan& scan, const OutputScan& output, std::vector<Peak>& peaks) {
    if (output.m_kind == ScanKind::kLeftOut) {
      m_account->LeaveOut(output.m_why_left_out, output.m_scan_no, scan.m_ms_level == 2);
      return;
    }
    ++m_used;
    if (output.m_analyser_step == extractor::AnalyserStep::kAssumed) ++m_assumed;
    SortByMz(peaks);
    if (scan.m_polarity == Polarity::kNegative) ++m_negative;
    if (scan.m_polarity == Polarity::kPositive) ++m_positive;
    if (output.m_kind == ScanKind::kSurvey) {
      m_account->TakeSurvey(output.m_scan_no, output.m_instrument == "FTMS", output.m_rt_seconds,
                            peaks, output.m_instrument == "ITMS");
      return;
    }
    ++m_fragments;
    if (scan.m_precursors.size() > 1) ++m_several_windows;
    std::optional<double> width = extractor::IsolationWidth(scan);
    if (width == 0.0) width.reset();
    m_account->TakeFragment({.m_scan_no = output.m_scan_no,
                             .m_precursor_scan = output.m_precursor_scan,
                             .m_centre_mz = output.m_centre_mz,
                             .m_activation = output.m_activation,
                             .m_instrument = output.m_instrument,
                             .m_charge = output.m_ions.front().m_charge,
                             .m_isolation_mz = width},
                            peaks);
  }

  void ReportCount(CheckReport& report) const {
    if (m_declared && *m_declared != m_spectra)
      report.Warning("spectrum-count", m_path,
                     "It holds " + std::to_string(m_spectra) + " spectra and declares " +
                         std::to_string(*m_declared) + ".",
                     "Convert the raw file again if the file should be whole.");
    if (m_invisible > 0)
      report.Warning("small-intensities", m_path,
                     std::to_string(m_invisible) +
                         " spectra hold no peak above 0.05, so that one decimal of intensity shows "
                         "nothing of them.",
                     "Run tarvek with -i 5 if the intensities are relative.");
  }

  void ReportVoltages(CheckReport& report) const {
    if (m_voltages.size() < 2) return;
    std::string list;
    for (const auto& [tenths, count] : m_voltages)
      list += (list.empty() ? "" : ", ") + Fixed(static_cast<double>(tenths) / 10.0, 1);
    report.Warning("faims", m_path,
                   "It holds surveys of several FAIMS voltages (" + list +
                       "), which would be taken for one elution.",
                   "Extract each voltage into a directory of its own with morvex_xml.exe --faims "
                   "CV and start tarvek on the .ms1 files.");
  }

  void ReportPolarity(CheckReport& report) const {
    if (m_negative > 0 && m_positive > 0)
      report.Warning("polarity", m_path,
                     "It holds scans of both polarities, for which one range of charges is tried.",
                     "Split it by polarity when you convert the raw file.");
  }

  void ReportAssumed(CheckReport& report) const {
    if (m_assumed == 0) return;
    report.Warning("analyser-assumed", m_path,
                   "Neither the file nor its peaks give the analyser of " +
                       ShareText(m_assumed, m_used, "scans") + "; FTMS is assumed.",
                   "If that is wrong, say it with --analyser of tarvek-tools run or batch, or with "
                   "the variable TARVEK_ANALYSER, as ITMS or ms2=ITMS.");
  }

  void ReportNotes(CheckReport& report) const {
    if (m_numbers_by_position)
      report.Note(
          "numbered-by-position", m_path,
          "Its scan numbers do not ascend or are too large, so that every scan gets its "
          "position in the file as its number.",
          "The .nativeid.tsv file that the run makes says which id each number belongs to.");
    if (m_several_windows > 0)
      report.Note("several-windows", m_path,
                  ShareText(m_several_windows, m_fragments, "MS2 scans") +
                      " have several isolation windows, of which the first is used.",
                  "Nothing can be done about it.");
  }

  std::string m_path;
  std::optional<CheckAccount> m_account;
  extractor::ScanRules m_rules;
  extractor::PeakPreparation m_preparation{extractor::ExtractorOptions().m_mz_digits,
                                           extractor::ExtractorOptions().m_intensity_digits};
  std::vector<Peak> m_written;  // of one spectrum, its capacity kept for the next
  std::optional<std::int64_t> m_declared;
  std::int64_t m_spectra = 0;
  std::int64_t m_fragments = 0;
  std::int64_t m_invisible = 0;
  std::int64_t m_positive = 0;
  std::int64_t m_negative = 0;
  std::int64_t m_several_windows = 0;
  std::int64_t m_used = 0;
  std::int64_t m_assumed = 0;  // of these, those without a known analyser
  bool m_numbers_by_position;
  std::map<std::int64_t, std::int64_t> m_voltages;  // in tenths of a volt
};

}  // namespace

void CheckXmlInput(CheckReport& report, const std::string& path, const CheckOptions& options) {
  CheckRunName(report, path, extractor::BaseNameOf(path));
  std::optional<XmlAccount> account;
  const bool is_read = ReadOrReport(
      report, path,
      "Copy the file again or convert the raw file again; nothing is extracted from a file with "
      "holes.",
      [&] {
        extractor::ScanOverrides overrides;
        extractor::AddEnvironment(EnvironmentVariable, overrides);
        extractor::ReadPlanned(
            path, overrides,
            [&](const extractor::ExtractionPlan& plan) -> extractor::ScanConsumer& {
              return account.emplace(path, overrides, plan);
            },
            [&](const std::string& format) { account->SetFormat(format); },
            [](const extractor::ReadingState&) {});
      });
  if (is_read) account->Report(report, options);
}

}  // namespace tarvek::tools
