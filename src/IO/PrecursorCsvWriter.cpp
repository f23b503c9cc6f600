#include "PrecursorCsvWriter.h"

#include <cstddef>

#include "FileUtils.h"
#include "NumberText.h"
#include "OutputFile.h"
#include "PrecursorTable.h"
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

constexpr int kMzDecimals = 6;

// A comma and a blank follow every field of a row, including the last.
void AppendField(std::string& row, std::string_view field) { row.append(field).append(", "); }

void AppendField(std::string& row, std::int64_t field) {
  AppendInteger(row, field);
  row.append(", ");
}

void AppendFields(std::string& row, const Precursor& precursor) {
  AppendFixed(row, precursor.m_mz, kMzDecimals);
  row.append(", ");
  AppendField(row, std::int64_t{precursor.m_charge});
}

}  // namespace

PrecursorCsvWriter::PrecursorCsvWriter(const std::string& final_path, std::string_view mode,
                                       NoticeTaker notice)
    : SpectrumFile(final_path, mode, notice, Announce::kNo),
      m_file(final_path, "CSV", {.m_mode = mode, .m_is_kept = true}) {
  MarkOpen();
  m_file.File().Write(kPrecursorTableHeader);
}

void PrecursorCsvWriter::WriteRow(const MS2Spectrum& scan) {
  CountRecord();
  m_row.clear();
  AppendField(m_row, scan.m_activation_type);
  AppendField(m_row, scan.m_instrument_type);
  AppendField(m_row, std::int64_t{scan.m_scan_no});
  AppendFields(m_row,
               scan.m_orig_precursors.empty() ? kNothingDeclared : scan.m_orig_precursors.front());
  AppendField(m_row, static_cast<std::int64_t>(scan.m_precursors.size()));
  for (std::size_t i = 0; i < scan.m_precursors.size(); ++i) {
    AppendField(m_row, static_cast<std::int64_t>(i + 1));
    AppendFields(m_row, scan.m_precursors[i]);
  }
  m_row.push_back('\n');
  m_file.File().Write(m_row);
}

void PrecursorCsvWriter::Complete() {
  Finish();
  m_file.TakeName();
}

}  // namespace tarvek
