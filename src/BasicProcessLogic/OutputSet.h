// BasicProcessLogic/OutputSet.h: the output files of one input file.
// Does:     claims them for this run; opens the writers that are switched on, passes scans to them,
//           closes them in order.
// Owns:     the lock of the claim, the writers.
// Throws:   "Another run is writing ..." of LockFile; "Cannot delete file: ..." for a table or
//           record of an earlier run; errors in opening and writing. When it is destroyed before
//           Complete, the precursor table keeps its temporary name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "EvidenceTable.h"
#include "IO.h"
#include "Platform.h"
#include "UserParameters.h"

namespace tarvek {

/// The right of one run to write the outputs of the current file: a lock on the temporary precursor
/// table, held until that gets its final name. Changes no file of an earlier run. At the end it
/// deletes a table that it created and nobody opened.
class OutputClaim {
 public:
  /// Throws when another run has it; see LockFile.
  explicit OutputClaim(const UserParameters& parameters);
  OutputClaim(OutputClaim&& other) noexcept = default;  // other then claims nothing
  OutputClaim& operator=(OutputClaim&&) = delete;
  ~OutputClaim();

  /// What the end of the claim does with the temporary table.
  enum class AtTheEnd { kDeleteEmpty, kDelete, kKeep };
  void Decide(AtTheEnd at_the_end) noexcept { m_at_the_end = at_the_end; }

 private:
  std::string m_path;
  FileLock m_lock;
  AtTheEnd m_at_the_end = AtTheEnd::kDeleteEmpty;
};

class OutputSet {
 public:
  /// Opens the files under the output directory, named from the current file's base name. A
  /// finished table of an earlier run is deleted first, so that it never stands beside half-written
  /// files, and then its record; but not when an output that is there cannot be opened for writing. claim: of the same file; it and parameters outlive the set.
  /// has_evidence: the table of what speaks for each precursor is written, too; else one of an
  /// earlier run is deleted.
  /// naming: with kWhenComplete nothing of an earlier run is deleted or replaced before ClosePf1, and
  /// of a run that does not come that far nothing is left.
  OutputSet(const UserParameters& parameters, OutputClaim& claim, bool has_evidence = false,
            Naming naming = Naming::kAtOnce);

  /// The PF1 writer, null when PF output is off.
  PfWriter* Pf1() { return m_pf1 ? &*m_pf1 : nullptr; }

  void WriteMs2(const MS2Spectrum& scan, bool pf2_first);

  /// Completes the PF1 file. After this call the input can cause no error.
  void ClosePf1();

  /// Completes the PF2 and MGF files, writes record next to the table, then moves the table to its
  /// final name.
  void Complete(const RunRecord& record);

 private:
  void WritePf2(const MS2Spectrum& scan);

  const UserParameters* m_parameters;
  OutputClaim* m_claim;
  Naming m_naming;
  PrecursorCsvWriter m_csv;
  std::optional<PfWriter> m_pf1;
  std::optional<Pf2Group> m_pf2;
  std::optional<MgfGroup> m_mgf;
  std::optional<EvidenceWriter> m_evidence;
};

/// Path of an output of the current file in the output directory: base name + ending.
std::string OutputPath(const UserParameters& parameters, std::string_view ending);

/// Path of the finished precursor table of the current file: it says that the file is done when it
/// begins with its header.
std::string FinishedTablePath(const UserParameters& parameters);

/// Whether to skip the current file because result exists and rewriting is off; logs that.
bool SkipsExisting(const UserParameters& parameters, const std::string& result);

/// The same with the finished precursor table as result. Also deletes the temporary files of a
/// rewriting run that was killed.
bool SkipsFinished(const UserParameters& parameters);

/// The claim for the current file; std::nullopt when SkipsFinished says to skip it. No other run
/// finishes the file while the claim lives.
std::optional<OutputClaim> ClaimUnlessFinished(const UserParameters& parameters);

}  // namespace tarvek
