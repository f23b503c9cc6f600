#include "Ms2Loop.h"

#include <algorithm>
#include <string>

#include "FileUtils.h"
#include "Logger.h"
#include "Ms1Feed.h"
#include "NumberText.h"
#include "OutputSet.h"
#include "PrecursorDetermination.h"
#include "ProgressBar.h"
#include "TextSpectrumSource.h"

namespace tarvek {
namespace {

// With fewer MS1 scans in the store no window of ten can be gathered.
constexpr std::size_t kMinStoredScans = 10;

void WarnScan(const char* before, std::int32_t scan_no, const char* after) {
  std::string text = before;
  AppendInteger(text, scan_no);
  logMessage(kWarn, text + after);
}

class Ms2Loop {
 public:
  Ms2Loop(const UserParameters& parameters, SpectrumSource& source, OutputSet& outputs)
      : m_source(&source),
        m_outputs(&outputs),
        m_feed(source, outputs.Pf1()),
        m_determination(parameters) {}

  void Run() {
    MS2Spectrum scan;
    ProgressBar progress(StandardErrorIsTerminal());
    for (std::int64_t count = 1; m_source->NextMs2(scan); ++count) {
      progress.Update(m_source->FractionRead(), count);
      m_feed.AdvanceTo(scan.m_precursor_scan);
      if (!IsProcessed(scan)) continue;
      ReportProgress("Extracting MS2, Scan Num = ", count);
      Process(scan);
    }
    m_feed.Drain();
  }

 private:
  void Process(MS2Spectrum& scan) {
    Determine(scan);
    DropUnusablePrecursors(scan);
    if (scan.m_precursors.empty())
      WarnScan("Cannot find precursor information for scan ", scan.m_scan_no, ".");
    else
      m_outputs->WriteMs2(scan, m_source->WritesPf2First());
  }

  void Determine(MS2Spectrum& scan) {
    if (m_feed.Store().size() < kMinStoredScans || !m_source->AllowsDetermination(scan)) return;
    scan.m_precursors = m_determination.determine_precursors(m_feed.Store(), scan);
    if (scan.m_precursors.empty()) scan.m_precursors = scan.m_orig_precursors;
  }

  SpectrumSource* m_source;
  OutputSet* m_outputs;
  Ms1Feed m_feed;
  PrecursorDetermination m_determination;
};

void ProcessSource(const UserParameters& parameters, SpectrumSource& source) {
  OutputSet outputs(parameters);
  Ms2Loop(parameters, source, outputs).Run();
  source.FinishMs1();
  outputs.ClosePf1();
  source.FinishMs2();
  outputs.Complete();
}

}  // namespace

bool IsProcessed(const MS2Spectrum& scan) {
  return std::ranges::find(kActivationTypes, scan.m_activation_type) != kActivationTypes.end() &&
         std::ranges::find(kInstrumentTypes, scan.m_instrument_type) != kInstrumentTypes.end();
}

void DropUnusablePrecursors(MS2Spectrum& scan) {
  std::vector<Precursor>& precursors = scan.m_precursors;
  for (std::size_t i = precursors.size(); i-- > 0;) {
    if (IsUsable(precursors[i])) continue;
    precursors.erase(precursors.begin() + static_cast<std::ptrdiff_t>(i));
    WarnScan("Scan ", scan.m_scan_no, " has incorrect precursor infomation, skipping...");
  }
}

void processTextSpectra(const UserParameters& parameters) {
  if (SkipsFinished(parameters)) return;
  const std::string ms2_path =
      JoinPath({parameters.m_current_dir, parameters.m_current_basename + ".ms2"});
  TextSpectrumSource source(parameters.m_current_file, ms2_path);
  ProcessSource(parameters, source);
}

void processMsbSpectra(const UserParameters& parameters) {
  throw "Binary spectra are not read in this version yet: " + parameters.m_current_file +
      ". Switch output_msb off.";
}

}  // namespace tarvek
