#include "CheckInputs.h"

#include <algorithm>

#include "CheckAccount.h"
#include "CheckMgf.h"
#include "IsotopeTable.h"
#include "MgfReader.h"
#include "QuietLibrary.h"
#include "RunDriver.h"

namespace tarvek::tools {
namespace {

bool IsEmptyRow(const IsotopeRow& row) {
  return std::ranges::all_of(row, [](double value) { return value == 0.0; });
}

/// Reads the whole file as a run would, so that whatever ends the run is found.
std::int64_t CountMgfScans(const std::string& path) {
  const QuietLibrary quiet;
  MgfReader reader(path, "r");
  std::int64_t count = 0;
  for (MS2Spectrum scan; reader.ReadNext(scan);) ++count;
  return count;
}

}  // namespace

void AddUnreadable(CheckReport& report, const std::string& path, const std::string& message,
                   const std::string& advice) {
  // Messages of the readers begin with the path that is shown anyway.
  const std::string start = path + ": ";
  const std::string detail = message.starts_with(start) ? message.substr(start.size()) : message;
  const bool is_cut = message.find("truncated") != std::string::npos;
  const bool has_end = detail.ends_with('.') || detail.ends_with('!');
  report.Defect(is_cut ? "truncated" : "unreadable", path,
                "A run would stop here: " + detail + (has_end ? "" : "."), advice);
}

void CheckMgfInput(CheckReport& report, const std::string& path) {
  try {
    const MgfContent content = CheckMgf(report, path);
    report.AddItem({path,
                    "MGF input",
                    {{"blocks", "blocks", static_cast<std::int64_t>(content.m_blocks.size())}},
                    {}});
    report.Warning("mgf-input", path,
                   "MGF holds no MS1 scans, so that a run only writes it again as PF2.",
                   "Start from the mzML or raw file to have precursors determined.");
    if (content.m_run_name.find('.') != std::string::npos)
      report.Warning("dotted-name", path,
                     "The run name '" + content.m_run_name +
                         "' in its titles has dots, which move the scan number out of the second "
                         "field.",
                     "Write the titles with underscores in place of the dots of the run name.");
    if (CountMgfScans(path) == 0)
      report.Defect("no-ms2", path, "It holds no scan with peaks.", "Use another file.");
  } catch (const std::string& message) {
    const std::string line = message.substr(0, message.find('\n'));
    AddUnreadable(report, path, line, "Write titles of the form run.scan.scan.charge.dta.");
  }
}

void CheckIsotopeTable(CheckReport& report, const std::string& ipv_file) {
  constexpr const char* kAdvice =
      "Name a table with -I, or write one with tarvek-tools ipv IPV.txt.";
  std::string path = ipv_file;
  try {
    {
      const QuietLibrary quiet;
      path = IsotopeTablePath(ipv_file, InstalledTablePath());
    }
    const IsotopeTable table = ReadIsotopeTable(path);
    if (std::ranges::any_of(table, IsEmptyRow))
      report.Defect("isotope-table", path,
                    "The isotope table has rows of zeros, so that nothing is determined for their "
                    "masses.",
                    kAdvice);
  } catch (const std::string& message) {
    report.Defect("isotope-table", path,
                  "The isotope table cannot be read, and without one no run starts: " + message,
                  kAdvice);
  }
}

}  // namespace tarvek::tools
