#include "Extraction.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "ExtractionPlan.h"
#include "FileUtils.h"
#include "NativeId.h"
#include "PeakPreparation.h"
#include "ReadingLimits.h"
#include "RunReport.h"
#include "ScanRules.h"
#include "ScanSinks.h"
#include "SinkAside.h"
#include "StringUtils.h"
#include "Threads.h"

namespace tarvek::extractor {
namespace {

// The base name may end with a '\\', which is no separator there.
std::string BasePath(const ExtractorOptions& options) {
  return JoinPath({options.m_output_directory, ""}) + options.m_base_name;
}

std::unique_ptr<ScanSink> MakePlainSink(const ExtractorOptions& options,
                                        const ExtractionTargets& targets,
                                        const std::string& format) {
  const PeakDigits digits{options.m_mz_digits, options.m_intensity_digits};
  if (targets.m_taker != nullptr)
    return MakeTakerSink(*targets.m_taker, digits,
                         targets.m_writes_spectra ? BasePath(options) : std::string());
  if (options.m_mgf) return MakeMgfSink(BasePath(options), options.m_base_name, digits);
  if (!options.m_msb) return MakeTextSink(BasePath(options), digits);
  const std::string& named = options.m_format.empty() ? format : options.m_format;
  return MakeBinarySink(BasePath(options) + "." + named, digits);
}

// Of what MakePlainSink writes.
std::vector<std::string> OutputEndings(const ExtractorOptions& options, const std::string& format) {
  if (options.m_mgf) return {".mgf"};
  if (!options.m_msb) return {".ms1", ".ms2"};
  const std::string named = "." + (options.m_format.empty() ? format : options.m_format);
  return {named + ".msb", named + ".mscsv"};
}

// Where a thread is left, scans are written while the next ones are decoded.
std::unique_ptr<ScanSink> MakeSink(const ExtractorOptions& options,
                                   const ExtractionTargets& targets, const std::string& format) {
  std::unique_ptr<ScanSink> sink = MakePlainSink(options, targets, format);
  if (ThreadsAllowed() > 1) sink = MakeSinkAside(std::move(sink));
  return sink;
}

/// Sends the spectra of a reader through the rules to the output.
class ScanPipeline final : public ScanConsumer {
 public:
  ScanPipeline(const ExtractorOptions& options, const ExtractionPlan& plan, std::int64_t most_peaks,
               RunReport& report, NativeIdList& native_ids)
      : m_peaks_left(most_peaks),
        m_is_msb(options.m_msb && !options.m_mgf),
        m_numbers_by_position(plan.m_numbers_by_position),
        m_rules({options.m_faims_volts, options.m_overrides}, plan),
        m_preparation(options.m_mz_digits, options.m_intensity_digits),
        m_report(&report),
        m_native_ids(&native_ids) {}

  void SetSink(ScanSink& sink) { m_sink = &sink; }

  void OnDeclaredCount(std::int64_t count) override { m_report->SetDeclaredCount(count); }

  bool WantsPeaks(const ExtractedScan& scan) override {
    return m_rules.Decide(scan).m_kind != ScanKind::kLeftOut;
  }

  void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) override {
    OutputScan output = m_rules.Decide(scan);
    if (output.m_kind != ScanKind::kLeftOut) {
      PreparePeaks(scan, output, peaks);
      if (peaks.empty()) {
        output.m_kind = ScanKind::kLeftOut;
        output.m_why_left_out = "no peak that the digits show";
      } else {
        m_sink->Write(output, peaks);
        m_native_ids->Add(output.m_scan_no, scan.m_id);
        if (m_numbers_by_position)
          m_report->Note(
              "scans numbered by their position, since numbers in the file do not ascend");
      }
    }
    m_report->Count(scan, output);
    m_rules.Remember(scan, output);
  }

 private:
  void PreparePeaks(const ExtractedScan& scan, const OutputScan& output, std::vector<Peak>& peaks) {
    const PreparedPeaks prepared = m_preparation.Prepare(scan, output, peaks);
    if (prepared.m_look == DataLook::kProfile && scan.m_mode == PeakMode::kCentroid)
      m_report->Note("spectra declared as centroids that are profiles");
    if (prepared.m_look == DataLook::kCentroid && scan.m_mode == PeakMode::kProfile)
      m_report->Note("spectra declared as profiles that are centroids");
    if (prepared.m_merged > 0)
      m_report->Note("peaks of equal m/z of one ion-mobility frame summed",
                     static_cast<std::int64_t>(prepared.m_merged));
    if (prepared.m_is_picked) m_report->Note("spectra picked from profile data");
    if (prepared.m_left_out > 0)
      m_report->Note("peaks left out that the digits show as 0",
                     static_cast<std::int64_t>(prepared.m_left_out));
    if (m_is_msb && peaks.size() > kMaxMsbPeaks) {
      KeepMostIntense(peaks, kMaxMsbPeaks);
      m_report->Note("scans cut to their 10000 most intense peaks");
    }
    m_peaks_left -= std::ssize(peaks);
    if (m_peaks_left < 0)
      throw std::string(
          "the spectra of the file hold more peaks than those of one of its size can");
  }

  std::int64_t m_peaks_left;
  bool m_is_msb;
  bool m_numbers_by_position;
  ScanRules m_rules;
  PeakPreparation m_preparation;
  RunReport* m_report;
  NativeIdList* m_native_ids;
  ScanSink* m_sink = nullptr;
};

// 0 where the system does not tell.
std::int64_t SizeOf(const std::string& path) {
  const std::optional<FileStamp> stamp = StampAt(path);
  return stamp ? stamp->m_bytes : 0;
}

// Makes the output directory and returns the path of the marker.
std::string PreparedMarkerPath(const ExtractorOptions& options) {
  MakeDirectory(options.m_output_directory);
  return MarkerPath(options);
}

/// One reading of the file from its start, with its outputs, which are deleted with it unless it is
/// finished.
class Reading {
 public:
  Reading(const ExtractorOptions& options, const std::string& path,
          const ExtractionTargets& targets, const ExtractionPlan& plan, RunReport& report)
      : m_options(&options),
        m_targets(targets),
        m_native_ids(BasePath(options) + ".nativeid.tsv", plan.m_numbers_by_position),
        m_pipeline(options, plan, MostPeaksOfFile(SizeOf(path)), report, m_native_ids) {}

  ScanConsumer& Consumer() { return m_pipeline; }

  void SetFormat(const std::string& format) {
    m_sink = MakeSink(*m_options, m_targets, ToLower(format));
    m_endings = OutputEndings(*m_options, ToLower(format));
    m_pipeline.SetSink(*m_sink);
  }

  /// By the ending of their names.
  [[nodiscard]] std::map<std::string, std::int64_t> SizesOfOutputs() const {
    std::map<std::string, std::int64_t> sizes;
    for (const std::string& ending : m_endings)
      if (const auto stamp = StampAt(BasePath(*m_options) + ending)) sizes[ending] = stamp->m_bytes;
    return sizes;
  }

  /// Gives the outputs their final names.
  void Finish() {
    m_sink->Close();
    m_native_ids.Close();
    m_sink->Commit();
    m_native_ids.Commit();
  }

 private:
  const ExtractorOptions* m_options;
  ExtractionTargets m_targets;
  NativeIdList m_native_ids;
  std::unique_ptr<ScanSink> m_sink;
  std::vector<std::string> m_endings;  // of the names of what it writes
  ScanPipeline m_pipeline;
};

void ReadInto(const ExtractorOptions& options, const std::string& path,
              const ExtractionTargets& targets, RunReport& report,
              std::optional<Reading>& reading) {
  const auto start = [&](const ExtractionPlan& plan) -> ScanConsumer& {
    reading.reset();
    report.StartReading();
    if (targets.m_taker != nullptr) targets.m_taker->Start();
    return reading.emplace(options, path, targets, plan, report).Consumer();
  };
  const auto on_format = [&](const std::string& format) {
    report.SetFormat(format);
    reading->SetFormat(format);
  };
  ReadPlanned(path, options.m_overrides, start, on_format, [&](const ReadingState& state) {
    ThrowIfInterrupted();
    report.Progress(state);
    if (targets.m_taker != nullptr) targets.m_taker->OnBlock(state);
  });
}

RunRecord RecordOf(const ExtractorOptions& options, const RunReport& report) {
  RunRecord record = report.Counted();
  record.m_settings[std::string(kSettingMzDigits)] = std::to_string(options.m_mz_digits);
  record.m_settings[std::string(kSettingIntensityDigits)] =
      std::to_string(options.m_intensity_digits);
  const std::string analyser = AnalyserOverrideText(options.m_overrides);
  if (!analyser.empty()) record.m_settings[std::string(kSettingAnalyser)] = analyser;
  if (!options.m_overrides.m_activation.empty())
    record.m_settings[std::string(kSettingActivation)] = options.m_overrides.m_activation;
  return record;
}

}  // namespace

std::string MarkerPath(const ExtractorOptions& options) { return BasePath(options) + ".morvex"; }

Marker::Marker(const ExtractorOptions& options)
    : m_text(std::string(kMarkerStart) + options.m_base_name + std::string(kMarkerEnd) + "\n"),
      m_source(SourceOf(options.m_input)),
      m_file(PreparedMarkerPath(options), "output", {.m_is_locked = true}) {
  RemoveFile(MarkerPath(options));
}

void Marker::Complete(const RunRecord& record) {
  m_file.File().Write(m_text + RunRecordText(record));
  SyncFolderOf(m_file.TemporaryPath());  // for the files that the marker names
  m_file.TakeName();
  SyncFolderOf(m_file.Path());
}

RunRecord Extract(const ExtractorOptions& options, const std::string& path, Marker& marker,
                  std::ostream& out, const ExtractionTargets& targets) {
  RunReport report(out, options.m_input);
  std::optional<Reading> reading;
  ReadInto(options, path, targets, report, reading);
  if (options.m_faims_volts && report.WrittenScans() == 0)
    throw path + ": no scan has this compensation voltage; found: " +
        (report.Voltages().empty() ? "none" : report.Voltages());
  reading->Finish();
  ThrowIfInterrupted();
  report.PrintSummary();
  RunRecord record = RecordOf(options, report);
  if (!targets.m_writes_spectra) return record;
  record.m_source = marker.Source();
  record.m_output_bytes = reading->SizesOfOutputs();
  marker.Complete(record);
  return record;
}

void ThrowIfInterrupted() {
  if (StopRequested()) throw std::string("interrupted; nothing was extracted");
}

}  // namespace tarvek::extractor
