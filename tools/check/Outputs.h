// tools/check/Outputs.h: the outputs of one run, after it.
// Does:     reads the table, the PF files with their indexes and the MGF files of one base name and
//           reports what is damaged, missing or contradictory.
// Throws:   std::bad_alloc; a damaged file is a finding.
// Not here: which files belong to a run (check/Targets.h).
#pragma once

#include <map>
#include <set>
#include <string>

#include "UserParameters.h"
#include "check/Findings.h"

namespace tarvek::tools {

/// The output files of one base name.
struct RunOutputs {
  std::string m_directory;
  std::string m_base;             // file names begin with it
  bool m_has_table = false;       // base.csv
  bool m_has_unfinished = false;  // base.csv_unfinished
  bool m_has_record = false;      // base.tarvek
  bool m_has_unfinished_record = false;
  bool m_has_pf1 = false;       // base.pf1 or its index
  std::set<std::string> m_pf2;  // activation and instrument words of base_WORDS.pf2 or index;
                                // "" for base.pf2, which a run on MGF writes
  std::set<std::string> m_mgf;  // those of base_WORDS.mgf
  [[nodiscard]] std::string Path(const std::string& ending) const;
};

/// planned: settings of a planned run, compared with those in the record.
void CheckOutputs(CheckReport& report, const RunOutputs& outputs,
                  const ParameterTable& planned = {});

/// Whether two texts of one setting are equal; numbers are compared as numbers.
bool IsSameSetting(const std::string& key, const std::string& first, const std::string& second);

}  // namespace tarvek::tools
