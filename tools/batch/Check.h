// tools/batch/Check.h: what "tarvek-tools check" said of the input of a task.
// Does:     takes defects and warnings out of its report.
// Throws:   nothing but std::bad_alloc.
// Not here: the check itself (check/Command.h). It runs in its own process, so that several inputs
//           are checked at once and a crash ends only one check.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace tarvek::tools {

struct CheckWarning {
  std::string m_code;
  std::string m_meaning;
  std::map<std::string, std::string> m_settings{};  // that the check advises, by their keys
};

struct CheckVerdict {
  std::string m_defect;  // the first one, empty when there is none
  std::vector<CheckWarning> m_warnings;
};

/// The verdict of a check that wrote its JSON report to the file report and ended with status. A
/// missing report is a defect too.
CheckVerdict ReadCheckVerdict(const std::string& report, int status);

}  // namespace tarvek::tools
