#include "check/Inputs.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

#include "ByteSource.h"
#include "FileUtils.h"
#include "IsotopeTable.h"
#include "RunDriver.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "check/Account.h"

namespace tarvek::tools {
namespace {

bool IsEmptyRow(const IsotopeRow& row) {
  return std::ranges::all_of(row, [](double value) { return value == 0.0; });
}

/// The finding for a file that its reader could not read. Reader messages begin with the path,
/// which is shown anyway.
void AddUnreadable(CheckReport& report, const char* code, const std::string& path,
                   const std::string& message, const std::string& advice) {
  const std::string start = path + ": ";
  std::string detail = message;
  if (detail.starts_with(start)) detail.erase(0, start.size());
  const bool has_end = detail.ends_with('.') || detail.ends_with('!');
  report.Defect(code, path, "A run would stop here: " + detail + (has_end ? "" : "."), advice);
}

}  // namespace

bool ReadOrReport(CheckReport& report, const std::string& path, const std::string& advice,
                  const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const extractor::TruncatedFile& message) {
    AddUnreadable(report, "truncated", path, message, advice);
  } catch (const LinesMessage& message) {  // what follows its first line is advice
    AddUnreadable(report, "unreadable", path, std::string(TokenAt(message, '\n', 0)), advice);
  } catch (const std::string& message) {
    AddUnreadable(report, "unreadable", path, message, advice);
  }
  return false;
}

bool HasBothHalves(CheckReport& report, const std::string& first, const std::string& second) {
  for (const std::string& path : {first, second}) {
    std::error_code error;
    if (std::filesystem::exists(path, error)) continue;
    const std::string& other = path == first ? second : first;
    report.Defect("missing-half", path, "It is missing, and a run needs both halves.",
                  "Put it next to " + std::string(FileNameOf(other)) + ", under just this name.");
    return false;
  }
  return true;
}

FragmentFacts FactsOf(const MS2Spectrum& scan) {
  const bool has_precursor = !scan.m_orig_precursors.empty();
  return {.m_scan_no = scan.m_scan_no,
          .m_precursor_scan = scan.m_precursor_scan,
          .m_centre_mz = scan.m_activation_center,
          .m_activation = scan.m_activation_type,
          .m_instrument = scan.m_instrument_type,
          .m_has_precursor = has_precursor,
          .m_charge = has_precursor ? scan.m_orig_precursors.front().m_charge : 0,
          .m_isolation_mz = {}};
}

CheckedTable CheckIsotopeTable(CheckReport& report, const CheckOptions& options) {
  constexpr const char* kAdvice =
      "Name a table with -I, or write one with tarvek-tools ipv IPV.txt.";
  const std::string path =
      IsotopeTablePath(options.m_ipv_file, options.m_ipv_file_is_given, InstalledTablePath());
  try {
    const IsotopeTable table = ReadIsotopeTable(path);
    if (std::ranges::any_of(table, IsEmptyRow))
      report.Defect("isotope-table", path,
                    "The isotope table has rows of zeros, so that nothing is determined for their "
                    "masses.",
                    kAdvice);
    const auto last = std::ranges::find_if_not(table.rbegin(), table.rend(), IsEmptyRow);
    return {std::distance(last, table.rend()), IsotopeTableFingerprint(table)};
  } catch (const std::string& message) {
    report.Defect("isotope-table", path,
                  "The isotope table cannot be read, and without one no run starts: " + message,
                  kAdvice);
  }
  return {};
}

}  // namespace tarvek::tools
