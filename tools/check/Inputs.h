// tools/check/Inputs.h: the inputs of tarvek, before a run.
// Does:     reads each input as a run would, without processing it, and reports what would happen.
// Throws:   nothing for a damaged file, which is a finding; std::bad_alloc.
// Not here: which files there are (check/Targets.h), what is made of scans (check/Account.h).
#pragma once

#include <functional>
#include <string>

#include "IsotopeTable.h"
#include "SpectrumRecords.h"
#include "UserParameters.h"
#include "check/Account.h"
#include "check/Findings.h"

namespace tarvek::tools {

/// The settings of the run that is planned, with tarvek's own defaults.
struct CheckOptions {
  RunSettings m_settings;
  std::string m_ipv_file = kDefaultIpvFile;
  bool m_ipv_file_is_given = false;  // only the unnamed default may be the installed table
  /// What was said of the run, by the keys of a parameter file: outputs that are there were made with
  /// these settings, or a finding says so.
  ParameterTable m_planned;
  bool m_is_table_planned = false;  // so is the isotope table
  std::string m_outputpath;         // empty: beside each input, or not known
};

/// An .ms1 file with the .ms2 file beside it, which a run takes by its name in lower case. A
/// missing half is a finding.
void CheckTextInput(CheckReport& report, const std::string& ms1_path, const CheckOptions& options);

/// A pair base_path.msb and base_path.mscsv.
void CheckBinaryInput(CheckReport& report, const std::string& base_path,
                      const CheckOptions& options);

/// An .mzML or .mzXML file, plain or gzip.
void CheckXmlInput(CheckReport& report, const std::string& path, const CheckOptions& options);

/// An .mgf file that is no output of a run.
void CheckMgfInput(CheckReport& report, const std::string& path);

/// What is known of the isotope table of a run.
struct CheckedTable {
  std::int64_t m_end_da = kIsotopeTableRows;  // up to there its rows have values
  std::string m_fingerprint;                  // as a record has it; empty when it cannot be read
};

/// The isotope table that a run would take: the one that is named, else the default one, or the
/// installed one when that is not there. One that cannot be read is a finding.
CheckedTable CheckIsotopeTable(CheckReport& report, const CheckOptions& options);

// What the inputs share:

/// Runs action, which reads path, and makes what it throws a finding with this advice. Whether it
/// came to its end.
bool ReadOrReport(CheckReport& report, const std::string& path, const std::string& advice,
                  const std::function<void()>& action);

/// Whether both files of a pair are there, readable or not; a missing one is a finding.
bool HasBothHalves(CheckReport& report, const std::string& first, const std::string& second);

/// A fragment scan as the readers of pairs give it.
FragmentFacts FactsOf(const MS2Spectrum& scan);

}  // namespace tarvek::tools
