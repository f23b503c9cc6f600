#include "calibrate/Rewrite.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "EvidenceTable.h"
#include "FileUtils.h"
#include "LittleEndian.h"
#include "MgfText.h"
#include "MgfWriter.h"
#include "NumberText.h"
#include "PfReader.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "RunRecord.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "mgf/Blocks.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

constexpr int kPrecursorDecimals = 6;  // of the table and of MGF
constexpr std::string_view kFieldEnd = ", ";

using FileList = std::vector<std::unique_ptr<UnfinishedFile>>;

/// Writes all files again under temporary names.
class Rewriter {
 public:
  Rewriter(const OutputFiles& files, const Calibration& calibration)
      : m_files(files), m_calibration(calibration), m_times(TimesOf(files)) {}

  void WriteTable(OutputFile& out) {
    PrecursorTableReader reader(m_files.m_table);
    if (!reader.HasHeader()) throw m_files.m_table + " is not a precursor table of tarvek.";
    out.Write(kPrecursorTableHeader);
    for (PrecursorRow row; reader.Next(row);) {
      m_text.clear();
      AppendRow(reader.Line(), row);
      out.Write(m_text);
    }
  }

  void WriteEvidence(EvidenceWriter& out) {
    EvidenceReader reader(m_files.m_evidence);
    for (EvidenceRow row; reader.Next(row);) {
      row.m_precursor.m_mz = Survey(row.m_precursor.m_mz, TimeOf(row.m_scan_no));
      out.Write(row);
    }
    out.Close();
  }

  void WriteMgf(const KindFile& file, OutputFile& out) {
    MgfBlockReader reader(file.m_path);
    for (MgfBlock block; reader.ReadNext(block);) {
      m_text.clear();
      AppendBlockStart(block);
      AppendPeaks(block.m_peaks, file, ParseReal(block.m_rt_text));
      m_text.append(kMgfBlockEnd);
      out.Write(m_text);
    }
  }

  /// Sizes do not change, so the index stays valid.
  void WritePf2(const KindFile& file, OutputFile& out) {
    WritePf(file.m_path, out, [this, &file](const PfRecord& record) {
      const double rt_s = TimeOf(record.m_scan_no);
      for (const Peak& peak : record.m_peaks)
        PutPeak(IsTrap(file) ? peak.m_mz : Fragment(peak.m_mz, rt_s), peak.m_intensity);
      PutInt32(m_text, static_cast<std::int32_t>(record.m_precursors.size()));
      for (const Precursor& precursor : record.m_precursors)
        PutPrecursor(Survey(precursor.m_mz, rt_s), precursor.m_charge);
    });
  }

  void WritePf1(OutputFile& out) {
    WritePf(m_files.m_pf1, out, [this](const PfRecord& record) {
      const double rt_s = record.m_precursors.empty() ? 0.0 : record.m_precursors.front().m_mz;
      for (const Peak& peak : record.m_peaks) PutPeak(Survey(peak.m_mz, rt_s), peak.m_intensity);
      PutInt32(m_text, static_cast<std::int32_t>(record.m_precursors.size()));
      for (const Precursor& time : record.m_precursors) PutPrecursor(time.m_mz, time.m_charge);
    });
  }

 private:
  static bool IsTrap(const KindFile& file) { return file.m_analyser.starts_with("IT"); }

  [[nodiscard]] double TimeOf(std::int32_t scan_no) const {
    const auto found = m_times.find(scan_no);
    return found == m_times.end() ? 0.0 : found->second;
  }
  [[nodiscard]] double Survey(double mz, double rt_s) const {
    return WithoutBias(mz, m_calibration.SurveyPpm(rt_s));
  }
  [[nodiscard]] double Fragment(double mz, double rt_s) const {
    return WithoutBias(mz, m_calibration.FragmentPpm(rt_s, mz));
  }

  /// The fields before the determined precursors stay as they are.
  void AppendRow(std::string_view line, const PrecursorRow& row) {
    std::size_t end = 0;
    for (std::size_t field = 0; field < kPrecursorTableFixedFields; ++field)
      end = line.find(kFieldEnd, end) + kFieldEnd.size();
    m_text.append(line.substr(0, end));
    const double rt_s = TimeOf(row.m_scan_no);
    std::int64_t place = 0;
    for (const Precursor& precursor : row.m_determined) {
      AppendInteger(m_text, ++place);
      m_text.append(kFieldEnd);
      AppendFixed(m_text, Survey(precursor.m_mz, rt_s), kPrecursorDecimals);
      m_text.append(kFieldEnd);
      AppendInteger(m_text, precursor.m_charge);
      m_text.append(kFieldEnd);
    }
    m_text.push_back('\n');
  }

  void AppendBlockStart(const MgfBlock& block) {
    AppendMgfStart(
        m_text,
        {.m_title = block.m_run,
         .m_scan_no = block.m_scan_no,
         .m_index = static_cast<std::size_t>(block.m_index),
         .m_precursor = {Survey(ParseReal(block.m_pepmass_text), ParseReal(block.m_rt_text)),
                         block.m_charge},
         .m_has_charge = !block.m_charge_text.empty(),
         .m_rt = ParseReal(block.m_rt_text)});
  }

  /// Each m/z keeps its number of decimals; intensities stay as written.
  void AppendPeaks(std::string_view lines, const KindFile& file, double rt_s) {
    if (IsTrap(file)) {
      m_text.append(lines);
      return;
    }
    while (!lines.empty()) {
      const std::size_t end = std::min(lines.find('\n'), lines.size() - 1);
      const std::string_view line = lines.substr(0, end + 1);
      const std::size_t blank = std::min(line.find(' '), line.size());
      const std::string_view mz = line.substr(0, blank);
      const std::size_t point = mz.find('.');
      const std::size_t decimals = point == std::string_view::npos ? 0 : mz.size() - point - 1;
      AppendFixed(m_text, Fragment(ParseReal(mz), rt_s), static_cast<int>(decimals));
      m_text.append(line.substr(blank));
      lines.remove_prefix(end + 1);
    }
  }

  template <class Append>
  void WritePf(const std::string& path, OutputFile& out, const Append& append) {
    PfReader reader(path);
    if (!reader.HasHeader()) throw path + " ends inside its header.";
    m_text.clear();
    PutInt32(m_text, reader.Count());
    PutInt32(m_text, static_cast<std::int32_t>(reader.Title().size()));
    m_text.append(reader.Title());
    out.Write(m_text);
    PfRecord record;
    while (!reader.AtEnd()) {
      if (!reader.ReadNext(record)) throw path + " ends inside a spectrum.";
      m_text.clear();
      PutInt32(m_text, record.m_scan_no);
      PutInt32(m_text, static_cast<std::int32_t>(record.m_peaks.size()));
      append(record);
      out.Write(m_text);
    }
  }

  void PutPeak(double mz, double intensity) {
    PutReal(m_text, mz);
    PutReal(m_text, intensity);
  }
  void PutPrecursor(double mz, std::int32_t charge) {
    PutReal(m_text, mz);
    PutInt32(m_text, charge);
  }

  const OutputFiles& m_files;
  const Calibration& m_calibration;
  ScanTimes m_times;
  std::string m_text;  // reused from record to record
};

std::unique_ptr<UnfinishedFile> WriteRecord(const OutputFiles& files,
                                            const Calibration& calibration) {
  RunRecord record = ReadRunRecord(files.m_record);
  if (IsCalibrated(record)) throw files.m_base + " is calibrated already.";
  AddCalibration(calibration, record);
  auto file = std::make_unique<UnfinishedFile>(files.m_record, "record");
  file->File().Write(RunRecordText(record));
  file->Close();
  return file;
}

/// All files except table and record, complete under their temporary names.
FileList WriteSpectra(Rewriter& rewriter, const OutputFiles& files) {
  FileList written;
  const auto write = [&written](const std::string& path, const char* kind, const auto& fill) {
    written.push_back(std::make_unique<UnfinishedFile>(path, kind));
    fill(written.back()->File());
    written.back()->Close();
  };
  for (const KindFile& file : files.m_mgf)
    write(file.m_path, "MGF", [&](OutputFile& out) { rewriter.WriteMgf(file, out); });
  for (const KindFile& file : files.m_pf2)
    write(file.m_path, "PF", [&](OutputFile& out) { rewriter.WritePf2(file, out); });
  if (!files.m_pf1.empty())
    write(files.m_pf1, "PF", [&](OutputFile& out) { rewriter.WritePf1(out); });
  return written;
}

}  // namespace

void ApplyCalibration(const OutputFiles& files, const Calibration& calibration) {
  // Locked like a run, so that no run writes the same outputs meanwhile.
  UnfinishedFile table(files.m_table, "CSV", {.m_is_locked = true});
  const std::unique_ptr<UnfinishedFile> record = WriteRecord(files, calibration);
  if (!calibration.IsOn()) {
    table.Close();
    record->TakeName();
    return;
  }
  // Rounded, as a reader of the record gets it.
  const Calibration rounded = Rounded(calibration);
  Rewriter rewriter(files, rounded);
  rewriter.WriteTable(table.File());
  table.Close();
  const FileList spectra = WriteSpectra(rewriter, files);
  std::optional<EvidenceWriter> evidence;
  if (!files.m_evidence.empty()) rewriter.WriteEvidence(evidence.emplace(files.m_evidence));
  RemoveFile(files.m_table);
  if (evidence) evidence->Complete();
  for (const auto& file : spectra) file->TakeName();
  record->TakeName();
  table.TakeName();
}

}  // namespace tarvek::tools
