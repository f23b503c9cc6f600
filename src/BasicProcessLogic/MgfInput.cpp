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
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

// No setting but output_pf matters here, so the record has none.
RunRecord RecordOf(const UserParameters& parameters, std::int64_t read, std::int64_t precursors,
                   bool are_exported) {
  RunRecord record;
  record.m_source = InputOf(parameters);
  record.m_counts = {{std::string(kCountMs2Read), read},
                     {std::string(kCountMs2Exported), are_exported ? read : 0},
                     {std::string(kCountPrecursors), are_exported ? precursors : 0}};
  if (!are_exported && read > 0) record.m_left_out[std::string(kPfIsOff)] = read;
  return record;
}

// The right to write the PF2 file: a lock on its temporary file, which is gone at the end.
class Pf2Claim {
 public:
  explicit Pf2Claim(const std::string& path)
      : m_temporary(UnfinishedPathOf(path)), m_lock(LockFileFor(path, m_temporary)) {}
  Pf2Claim(const Pf2Claim&) = delete;
  Pf2Claim& operator=(const Pf2Claim&) = delete;
  ~Pf2Claim() {
    if (m_lock.IsHeld() && !m_is_used) static_cast<void>(DeleteFileAt(m_temporary));
  }

  /// The file has its name: there is no temporary one of this run any more.
  void SetUsed() noexcept { m_is_used = true; }

 private:
  std::string m_temporary;
  FileLock m_lock;
  bool m_is_used = false;
};

// An earlier record goes just before the file that it speaks of is replaced.
void Complete(const UserParameters& parameters, Pf2Claim& claim, PfWriter& pf2,
              const RunRecord& record) {
  const std::string path = RunRecordPath(parameters);
  RemoveFile(path);
  pf2.Close();
  claim.SetUsed();
  WriteRunRecord(path, record);
  SyncFolderOf(path);
}

}  // namespace

void processMgfFile(const UserParameters& parameters) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  if (SkipsExisting(parameters, OutputPath(parameters, ".mgf"))) return;
  // The text is frozen, see docs/frozen-names.md.
  logMessage(kWarn,
             "We DO NOT RECOMMAND you to use [MGF] as input!! Tarvek cannot utilize MS1 Message.");
  MgfReader reader(parameters.m_current_file, "r", logMessage);
  std::optional<Pf2Claim> claim;  // outlives the writer
  std::optional<PfWriter> pf2;
  if (parameters.m_output_pf) {
    const std::string path = OutputPath(parameters, ".pf2");
    claim.emplace(path);
    WarnOfOtherInput(parameters, OldResults::kAreReplaced);
    pf2.emplace(path, "wb+", Shown(parameters.m_current_basename), logMessage,
                Naming::kWhenComplete);
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
  const RunRecord record = RecordOf(parameters, reader.RecordCount(), precursors, pf2.has_value());
  if (pf2) Complete(parameters, *claim, *pf2, record);
  LogSummary(parameters.m_current_file, record, start_ms);
}

}  // namespace tarvek
