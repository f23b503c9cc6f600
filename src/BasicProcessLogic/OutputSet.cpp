#include "OutputSet.h"

#include "FileUtils.h"
#include "Logger.h"
#include "RunSummary.h"
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

// Deletes what an earlier run left as finished: the table first, which says so; returns its path.
// Only a claim gives the right.
std::string RemoveOldTable(const UserParameters& parameters) {
  std::string path = FinishedTablePath(parameters);
  RemoveFile(path);
  RemoveFile(RunRecordPath(parameters));
  const std::string evidence = OutputPath(parameters, kEvidenceEnding);
  RemoveFile(evidence);
  RemoveFile(UnfinishedPathOf(evidence));  // of a run that was killed
  return path;
}

std::string TemporaryTablePath(const UserParameters& parameters) {
  return UnfinishedPathOf(FinishedTablePath(parameters));
}

void DeleteWhenEmpty(const std::string& path) {
  const File table = File::Open(path, "r");
  if (table.IsOpen() && table.SizeBytes() == 0) static_cast<void>(DeleteFileAt(path));
}

// What a rewriting run leaves beside the old table when it is killed before its outputs are open.
void DeleteForsakenClaim(const std::string& path) {
  if (!FileExists(path)) return;
  const FileLock lock = FileLock::Take(path);
  if (lock.IsHeld()) DeleteWhenEmpty(path);
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
  if (!SkipsExisting(parameters, FinishedTablePath(parameters))) return false;
  DeleteForsakenClaim(TemporaryTablePath(parameters));
  return true;
}

OutputClaim::OutputClaim(const UserParameters& parameters)
    : m_path(TemporaryTablePath(parameters)), m_lock(LockFile(m_path)) {}

OutputClaim::~OutputClaim() {
  if (!m_is_used && m_lock.IsHeld()) DeleteWhenEmpty(m_path);
}

// Asked before the claim, so that a finished file costs nothing, and again with it, since another
// run may have finished the file in between.
std::optional<OutputClaim> ClaimUnlessFinished(const UserParameters& parameters) {
  if (SkipsFinished(parameters)) return std::nullopt;
  OutputClaim claim(parameters);
  if (SkipsFinished(parameters)) return std::nullopt;
  return claim;
}

OutputSet::OutputSet(const UserParameters& parameters, OutputClaim& claim, bool has_evidence)
    : m_record_path(RunRecordPath(parameters)),
      m_csv(RemoveOldTable(parameters), "w+", logMessage) {
  claim.MarkUsed();
  const std::string& title = parameters.m_current_basename;
  if (parameters.m_output_pf) {
    m_pf1.emplace(OutputPath(parameters, ".pf1"), "wb+", title, logMessage);
    m_pf2.emplace(OutputPath(parameters, "_.pf2"), "wb+", title, logMessage);
  }
  if (parameters.m_output_mgf)
    m_mgf.emplace(OutputPath(parameters, "_.mgf"), "w+", title,
                  PeakDigits{parameters.m_mz_digits, parameters.m_intensity_digits}, logMessage);
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
  if (m_pf1) m_pf1->Close();
}

void OutputSet::Complete(const RunRecord& record) {
  if (m_pf2) m_pf2->Close();
  if (m_mgf) m_mgf->Close();
  m_csv.Finish();
  if (m_evidence) m_evidence->Complete();
  WriteRunRecord(m_record_path, record);
  m_csv.Complete();
}

}  // namespace tarvek
