// BasicProcessLogic/OutputSet.h: the output files of one input file.
// Does:     opens the writers that are switched on, passes scans to them, closes them in order.
// Owns:     the writers.
// Throws:   what opening and writing throw. When it is destroyed before Complete, the precursor
//           table keeps its temporary name.
#pragma once

#include <optional>
#include <string>

#include "IO.h"
#include "UserParameters.h"

namespace tarvek {

class OutputSet {
 public:
  /// Opens the files under the output directory, named from the current file's base name. A
  /// finished table of an earlier run is deleted first, so that it never stands beside half-written
  /// files.
  explicit OutputSet(const UserParameters& parameters);

  /// The PF1 writer, null when PF output is off.
  PfWriter* Pf1() { return m_pf1 ? &*m_pf1 : nullptr; }

  void WriteMs2(const MS2Spectrum& scan, bool pf2_first);

  /// Completes the PF1 file.
  void ClosePf1();

  /// Completes the PF2 and MGF files, then moves the table to its final name.
  void Complete();

 private:
  void WritePf2(const MS2Spectrum& scan);

  PrecursorCsvWriter m_csv;
  std::optional<PfWriter> m_pf1;
  std::optional<Pf2Group> m_pf2;
  std::optional<MgfGroup> m_mgf;
};

/// Path of an output of the current file: its base name and ending in the output directory.
std::string OutputPath(const UserParameters& parameters, const char* ending);

/// Path of the finished precursor table of the current file: its presence says that the file is
/// done.
std::string FinishedTablePath(const UserParameters& parameters);

/// Whether the current file is to be skipped because result exists and rewriting is off; says so in
/// the log.
bool SkipsExisting(const UserParameters& parameters, const std::string& result);

/// The same with the finished precursor table as result.
bool SkipsFinished(const UserParameters& parameters);

}  // namespace tarvek
