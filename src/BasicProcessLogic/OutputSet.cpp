#include "OutputSet.h"

#include "FileUtils.h"
#include "Logger.h"
#include "PrecursorTableReader.h"
#include "RunSummary.h"
#include "ShownText.h"
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

// Deletes the finished files of an earlier run: first the table, which marks it as finished. Needs
// a claim.
void RemoveOldTable(const UserParameters& parameters) {
  RemoveFile(FinishedTablePath(parameters));
  RemoveFile(RunRecordPath(parameters));
  RemoveFile(OutputPath(parameters, kEvidenceEnding));
}

// Deletes all temporary files of a run that was killed, even kinds that this run does not write.
void RemoveUnfinished(const UserParameters& parameters) {
  const auto remove = [&](const std::string& ending) {
    RemoveFile(UnfinishedPathOf(OutputPath(parameters, ending)));
  };
  remove(std::string(kEvidenceEnding));
  for (const char* const ending : {".pf1", ".pf1idx"}) remove(ending);
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view instrument : kInstrumentTypes)
      for (const char* const ending : {".mgf", ".pf2", ".pf2idx"})
        remove("_" + std::string(activation) + std::string(instrument) + ending);
}

// Opens the outputs of an earlier run that this one is to write over, and leaves them as they are: what
// cannot be opened is found while the finished table is still there.
void CheckOldOutputs(const UserParameters& parameters) {
  const auto check = [&](const std::string& ending, const char* kind) {
    const std::string path = OutputPath(parameters, ending);
    if (StampAt(path)) OpenFile(path, "a+", kind);
  };
  const auto check_pf = [&](const std::string& ending) {
    check(ending, "PF");
    check(ending + "idx", "PF index");
  };
  if (parameters.m_output_pf) check_pf(".pf1");
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view instrument : kInstrumentTypes) {
      const std::string words = "_" + std::string(activation) + std::string(instrument);
      if (parameters.m_output_pf) check_pf(words + ".pf2");
      if (parameters.m_output_mgf) check(words + ".mgf", "MGF");
    }
}

std::string TablePathAfterRemoval(const UserParameters& parameters, Naming naming) {
  if (naming == Naming::kAtOnce) {
    if (FileExists(FinishedTablePath(parameters))) CheckOldOutputs(parameters);
    RemoveOldTable(parameters);
  }
  RemoveUnfinished(parameters);
  return FinishedTablePath(parameters);
}

std::string TemporaryTablePath(const UserParameters& parameters) {
  return UnfinishedPathOf(FinishedTablePath(parameters));
}

void DeleteWhenEmpty(const std::string& path) {
  const std::optional<FileStamp> table = StampAt(path);
  if (table && table->m_bytes == 0) static_cast<void>(DeleteFileAt(path));
}

// Deletes the files that a killed extraction leaves.
void DeleteForsakenExtraction(const UserParameters& parameters) {
  const std::string marker = UnfinishedPathOf(OutputPath(parameters, ".morvex"));
  if (!FileExists(marker)) return;
  const FileLock lock = FileLock::Take(marker);
  if (!lock.IsHeld()) return;
  for (const char* const ending : {".ms1", ".ms2", ".nativeid.tsv"})
    RemoveFile(UnfinishedPathOf(OutputPath(parameters, ending)));
  static_cast<void>(DeleteFileAt(marker));
}

// Deletes the files that a killed rewriting run leaves next to the old table.
void DeleteForsaken(const UserParameters& parameters) {
  const std::string table = TemporaryTablePath(parameters);
  if (!FileExists(table)) return;
  const FileLock lock = FileLock::Take(table);
  if (!lock.IsHeld()) return;
  RemoveUnfinished(parameters);
  DeleteForsakenExtraction(parameters);
  static_cast<void>(DeleteFileAt(table));
}

// Of a table that is there and does not count, as after a power failure.
void WarnOfFlawedTable(const UserParameters& parameters) {
  const std::string table = FinishedTablePath(parameters);
  if (parameters.m_rewrite_files || !IsThere(table)) return;
  logMessage(kWarn, table + " is no finished table: " + FlawOfTable(table) + ". " +
                        parameters.m_current_file + " is processed again.");
}

}  // namespace

std::string OutputPath(const UserParameters& parameters, std::string_view ending) {
  return JoinPath({parameters.m_outputpath, parameters.m_current_basename + std::string(ending)});
}

std::string FinishedTablePath(const UserParameters& parameters) {
  return OutputPath(parameters, kTableEnding);
}

bool SkipsExisting(const UserParameters& parameters, const std::string& result) {
  if (parameters.m_rewrite_files || !FileExists(result)) return false;
  logInfo(parameters.m_current_file + " has existed results, skipping...");
  return true;
}

bool SkipsFinished(const UserParameters& parameters) {
  const std::string table = FinishedTablePath(parameters);
  if (!FileExists(table) || !IsFinishedTable(table)) return false;
  if (!SkipsExisting(parameters, table)) return false;
  DeleteForsaken(parameters);
  return true;
}

OutputClaim::OutputClaim(const UserParameters& parameters)
    : m_path(TemporaryTablePath(parameters)), m_lock(LockFile(m_path)) {}

OutputClaim::~OutputClaim() {
  if (!m_lock.IsHeld()) return;
  if (m_at_the_end == AtTheEnd::kDeleteEmpty) DeleteWhenEmpty(m_path);
  if (m_at_the_end == AtTheEnd::kDelete) static_cast<void>(DeleteFileAt(m_path));
}

// Checks before the claim, so that a finished file costs nothing, and again with it, because
// another run may have finished the file in between.
std::optional<OutputClaim> ClaimUnlessFinished(const UserParameters& parameters) {
  if (SkipsFinished(parameters)) return std::nullopt;
  OutputClaim claim(parameters);
  if (SkipsFinished(parameters)) return std::nullopt;
  WarnOfFlawedTable(parameters);
  return claim;
}

OutputSet::OutputSet(const UserParameters& parameters, OutputClaim& claim, bool has_evidence,
                     Naming naming)
    : m_parameters(&parameters),
      m_claim(&claim),
      m_naming(naming),
      m_csv(TablePathAfterRemoval(parameters, naming), "w+", logMessage) {
  using enum OutputClaim::AtTheEnd;
  claim.Decide(naming == Naming::kAtOnce ? kKeep : kDelete);
  const std::string title = Shown(parameters.m_current_basename);
  if (parameters.m_output_pf) {
    m_pf1.emplace(OutputPath(parameters, ".pf1"), "wb+", title, logMessage, naming);
    m_pf2.emplace(OutputPath(parameters, "_.pf2"), "wb+", title, logMessage, naming);
  }
  if (parameters.m_output_mgf)
    m_mgf.emplace(OutputPath(parameters, "_.mgf"), "w+", title,
                  PeakDigits{parameters.m_mz_digits, parameters.m_intensity_digits}, logMessage,
                  naming);
  if (has_evidence) m_evidence.emplace(OutputPath(parameters, kEvidenceEnding));
}

void OutputSet::WriteMs2(const MS2Spectrum& scan, bool pf2_first) {
  if (pf2_first) WritePf2(scan);
  if (m_mgf) m_mgf->Write(scan);
  m_csv.WriteRow(scan);
  if (m_evidence) m_evidence->Write(scan);
  if (!pf2_first) WritePf2(scan);
}

void OutputSet::WritePf2(const MS2Spectrum& scan) {
  if (m_pf2) m_pf2->Write(scan);
}

void OutputSet::ClosePf1() {
  if (m_naming == Naming::kWhenComplete) RemoveOldTable(*m_parameters);
  m_claim->Decide(OutputClaim::AtTheEnd::kKeep);
  if (m_pf1) m_pf1->Close();
}

void OutputSet::Complete(const RunRecord& record) {
  if (m_pf2) m_pf2->Close();
  if (m_mgf) m_mgf->Close();
  m_csv.Finish();
  if (m_evidence) m_evidence->Complete();
  WriteRunRecord(RunRecordPath(*m_parameters), record);
  // A power failure is to leave no table whose companions have lost their names.
  SyncFolderOf(m_csv.TemporaryPath());
  m_csv.Complete();
  SyncFolderOf(m_csv.Path());
}

}  // namespace tarvek
