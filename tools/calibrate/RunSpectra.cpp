#include "calibrate/RunSpectra.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string_view>

#include "EvidenceTable.h"
#include "FileUtils.h"
#include "NumberText.h"
#include "PfReader.h"
#include "PrecursorTable.h"
#include "SpectrumRecords.h"
#include "StringUtils.h"
#include "mgf/Blocks.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

std::vector<KindFile> KindFilesOf(const std::string& base, std::string_view ending) {
  std::vector<KindFile> files;
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view analyser : kInstrumentTypes) {
      std::string path = base + "_";
      path.append(activation).append(analyser).append(ending);
      if (IsThere(path))
        files.push_back({std::move(path), std::string(activation), std::string(analyser)});
    }
  return files;
}

/// The time of the survey at or before a scan, ascending by number.
using SurveyTimes = std::map<std::int32_t, double>;

SurveyTimes ReadSurveyTimes(const std::string& path) {
  SurveyTimes times;
  if (path.empty()) return times;
  PfReader reader(path);
  PfRecord record;
  while (!reader.AtEnd() && reader.ReadNext(record, PfPeaks::kStepOver))
    if (!record.m_precursors.empty()) times[record.m_scan_no] = record.m_precursors.front().m_mz;
  return times;
}

double TimeAt(const SurveyTimes& times, std::int32_t scan_no) {
  if (times.empty()) return 0.0;
  const auto above = times.upper_bound(scan_no);
  return above == times.begin() ? above->second : std::prev(above)->second;
}

/// The peaks of the lines of a block, ascending.
void ReadPeakLines(std::string_view lines, std::vector<Peak>& peaks) {
  peaks.clear();
  while (!lines.empty()) {
    const std::size_t end = lines.find('\n');
    const std::string_view line = lines.substr(0, end);
    const std::size_t blank = line.find(' ');
    if (blank != std::string_view::npos)
      peaks.push_back({ParseReal(line.substr(0, blank)), ParseReal(line.substr(blank + 1))});
    lines = end == std::string_view::npos ? std::string_view() : lines.substr(end + 1);
  }
  SortByMz(peaks);
}

/// Blocks that follow each other with one scan number are one spectrum.
void ReadMgf(const KindFile& file, const std::function<void(const FragmentScan&)>& take) {
  MgfBlockReader reader(file.m_path);
  MgfBlock block;
  std::vector<Peak> peaks;
  std::vector<Precursor> precursors;
  FragmentScan scan;
  scan.m_activation = file.m_activation;
  scan.m_analyser = file.m_analyser;
  const auto finish = [&] {
    scan.m_peaks = peaks;
    scan.m_precursors = precursors;
    if (!precursors.empty()) take(scan);
    precursors.clear();
  };
  while (reader.ReadNext(block)) {
    if (precursors.empty() || block.m_scan_no != scan.m_scan_no) {
      finish();
      scan.m_scan_no = block.m_scan_no;
      scan.m_rt_s = ParseReal(block.m_rt_text);
      ReadPeakLines(block.m_peaks, peaks);
    }
    precursors.push_back({ParseReal(block.m_pepmass_text), block.m_charge});
  }
  finish();
}

void ReadPf2(const KindFile& file, const SurveyTimes& times,
             const std::function<void(const FragmentScan&)>& take) {
  PfReader reader(file.m_path);
  if (!reader.HasHeader()) throw file.m_path + " ends inside its header.";
  PfRecord record;
  while (!reader.AtEnd()) {
    if (!reader.ReadNext(record)) throw file.m_path + " ends inside a spectrum.";
    SortByMz(record.m_peaks);
    take({record.m_scan_no, TimeAt(times, record.m_scan_no), file.m_activation, file.m_analyser,
          record.m_peaks, record.m_precursors});
  }
}

}  // namespace

OutputFiles FindOutputs(const std::string& base_path) {
  OutputFiles files;
  files.m_base = base_path.ends_with(kTableEnding)
                     ? base_path.substr(0, base_path.size() - kTableEnding.size())
                     : base_path;
  files.m_table = files.m_base + std::string(kTableEnding);
  if (!IsThere(files.m_table))
    throw files.m_table + " is not there" +
        (IsUnfinishedRun(files.m_base)
             ? ": the run did not finish, its table still ends in _unfinished."
             : ".");
  files.m_record = files.m_base + std::string(kRunRecordEnding);
  if (!IsThere(files.m_record))
    throw files.m_record + " is not there, which would say whether the run is calibrated already.";
  files.m_pf1 = files.m_base + ".pf1";
  if (!IsThere(files.m_pf1)) files.m_pf1.clear();
  files.m_evidence = files.m_base + kEvidenceEnding;
  if (!IsThere(files.m_evidence)) files.m_evidence.clear();
  files.m_mgf = KindFilesOf(files.m_base, ".mgf");
  files.m_pf2 = KindFilesOf(files.m_base, ".pf2");
  return files;
}

ScanTimes TimesOf(const OutputFiles& files) {
  ScanTimes times;
  const SurveyTimes surveys = ReadSurveyTimes(files.m_pf1);
  for (const auto& [scan_no, rt_s] : surveys) times[scan_no] = rt_s;
  for (const KindFile& file : files.m_mgf) {
    MgfBlockReader reader(file.m_path);
    for (MgfBlock block; reader.ReadNext(block);)
      times[block.m_scan_no] = ParseReal(block.m_rt_text);
  }
  if (!files.m_mgf.empty()) return times;
  for (const KindFile& file : files.m_pf2) {
    PfReader reader(file.m_path);
    PfRecord record;
    while (!reader.AtEnd() && reader.ReadNext(record, PfPeaks::kStepOver))
      times[record.m_scan_no] = TimeAt(surveys, record.m_scan_no);
  }
  return times;
}

bool ForEachSpectrum(const OutputFiles& files,
                     const std::function<void(const FragmentScan&)>& take) {
  for (const KindFile& file : files.m_mgf) ReadMgf(file, take);
  if (!files.m_mgf.empty()) return true;
  const SurveyTimes times = ReadSurveyTimes(files.m_pf1);
  for (const KindFile& file : files.m_pf2) ReadPf2(file, times, take);
  return !files.m_pf2.empty();
}

}  // namespace tarvek::tools
