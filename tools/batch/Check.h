// tools/batch/Check.h: what "tarvek-tools check" said of the input of a task.
// Does:     takes defects and warnings out of its report.
// Throws:   nothing but std::bad_alloc.
// Not here: the check itself (check/Command.h), which runs as a process of its own, so that many
//           inputs are checked beside each other and one that ends it ends nothing else.
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

/// The verdict of a check that printed its report as JSON to the file report and ended with status.
/// A check without a report is a defect of its own.
CheckVerdict ReadCheckVerdict(const std::string& report, int status);

}  // namespace tarvek::tools
