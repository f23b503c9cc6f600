#include "MgfInput.h"

#include <optional>
#include <string>

#include "FileUtils.h"
#include "IO.h"
#include "Logger.h"
#include "Ms1Feed.h"
#include "Ms2Loop.h"
#include "OutputSet.h"
#include "RunSummary.h"
#include "ShownText.h"

namespace tarvek {
namespace {

// No setting but output_pf matters here, so the record has none.
RunRecord RecordOf(std::int64_t read, std::int64_t precursors, bool are_exported) {
  RunRecord record;
  record.m_counts = {{std::string(kCountMs2Read), read},
                     {std::string(kCountMs2Exported), are_exported ? read : 0},
                     {std::string(kCountPrecursors), are_exported ? precursors : 0}};
  if (!are_exported && read > 0) record.m_left_out[std::string(kPfIsOff)] = read;
  return record;
}

}  // namespace

void processMgfFile(const UserParameters& parameters) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  if (SkipsExisting(parameters, OutputPath(parameters, ".mgf"))) return;
  // The text is frozen, see docs/frozen-names.md.
  logMessage(kWarn,
             "We DO NOT RECOMMAND you to use [MGF] as input!! Tarvek cannot utilize MS1 Message.");
  MgfReader reader(parameters.m_current_file, "r", logMessage);
  FileLock lock;  // outlives the writer
  std::optional<PfWriter> pf2;
  if (parameters.m_output_pf) {
    const std::string path = OutputPath(parameters, ".pf2");
    lock = LockFile(path);
    RemoveFile(RunRecordPath(parameters));
    pf2.emplace(path, "wb+", Shown(parameters.m_current_basename), logMessage);
  }
  MS2Spectrum scan;
  std::int64_t precursors = 0;
  while (reader.ReadNext(scan)) {
    if (scan.m_precursors.empty()) WarnWithoutPrecursor(scan);
    if (pf2) pf2->WriteMs2(scan);
    precursors += static_cast<std::int64_t>(scan.m_precursors.size());
    ReportProgress(kMs2Progress, reader.RecordCount());
  }
  reader.Finish();
  if (pf2) pf2->Close();
  const RunRecord record = RecordOf(reader.RecordCount(), precursors, pf2.has_value());
  if (pf2) WriteRunRecord(RunRecordPath(parameters), record);
  LogSummary(parameters.m_current_file, record, start_ms);
}

}  // namespace tarvek
