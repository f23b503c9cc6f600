// tools/check/Inputs.h: the inputs of tarvek, before a run.
// Does:     reads each input as a run would, without processing it, and reports what would happen.
// Throws:   std::bad_alloc; a damaged file is a finding.
// Not here: finding the files (check/Targets.h), judging the scans (check/Account.h).
#pragma once

#include <functional>
#include <string>

#include "IsotopeTable.h"
#include "SpectrumRecords.h"
#include "UserParameters.h"
#include "check/Account.h"
#include "check/Findings.h"

namespace tarvek::tools {

/// The settings of the planned run, with tarvek's defaults.
struct CheckOptions {
  RunSettings m_settings;
  std::string m_ipv_file = kDefaultIpvFile;
  bool m_ipv_file_is_given = false;  // only the unnamed default may be the installed table
  /// The given settings by parameter key. A finding names existing outputs that were made with
  /// other settings.
  ParameterTable m_planned;
  bool m_is_table_planned = false;  // the isotope table was given too
  std::string m_outputpath;         // empty: next to each input, or unknown
};

/// An .ms1 file and the .ms2 file next to it, which a run finds by its lower-case name. A missing
/// half is a finding.
void CheckTextInput(CheckReport& report, const std::string& ms1_path, const CheckOptions& options);

/// A pair base_path.msb and base_path.mscsv.
void CheckBinaryInput(CheckReport& report, const std::string& base_path,
                      const CheckOptions& options);

/// An .mzML or .mzXML file, plain or gzip.
void CheckXmlInput(CheckReport& report, const std::string& path, const CheckOptions& options);

/// An .mgf file that is not an output of a run.
void CheckMgfInput(CheckReport& report, const std::string& path);

/// What is known about the isotope table of a run.
struct CheckedTable {
  std::int64_t m_end_da = kIsotopeTableRows;  // rows below this one have values
  std::string m_fingerprint;                  // as in a record; empty when it cannot be read
};

/// The isotope table that a run would use: the named one, else the default one, else the installed
/// one. A table that cannot be read is a finding.
CheckedTable CheckIsotopeTable(CheckReport& report, const CheckOptions& options);

// What the inputs share:

/// Runs action, which reads path; what it throws becomes a finding with this advice. Returns
/// whether it finished.
bool ReadOrReport(CheckReport& report, const std::string& path, const std::string& advice,
                  const std::function<void()>& action);

/// Whether both files of a pair are there, readable or not; a missing one is a finding.
bool HasBothHalves(CheckReport& report, const std::string& first, const std::string& second);

/// A fragment scan as the readers of pairs give it.
FragmentFacts FactsOf(const MS2Spectrum& scan);

}  // namespace tarvek::tools
