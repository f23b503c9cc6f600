#include "check/Inputs.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

#include "FileUtils.h"
#include "IsotopeTable.h"
#include "RunDriver.h"
#include "check/Account.h"

namespace tarvek::tools {
namespace {

bool IsEmptyRow(const IsotopeRow& row) {
  return std::ranges::all_of(row, [](double value) { return value == 0.0; });
}

/// The finding for a file that its reader gave up. Messages of the readers begin with the path that
/// is shown anyway, and may go on below a line of their own.
void AddUnreadable(CheckReport& report, const std::string& path, const std::string& message,
                   const std::string& advice) {
  const std::string start = path + ": ";
  std::string detail = message.substr(0, message.find('\n'));
  if (detail.starts_with(start)) detail.erase(0, start.size());
  std::string without_path = detail;
  if (const std::size_t at = detail.find(path); at != std::string::npos)
    without_path.erase(at, path.size());
  const bool is_cut = without_path.find("truncated") != std::string::npos;
  const bool has_end = detail.ends_with('.') || detail.ends_with('!');
  report.Defect(is_cut ? "truncated" : "unreadable", path,
                "A run would stop here: " + detail + (has_end ? "" : "."), advice);
}

}  // namespace

bool ReadOrReport(CheckReport& report, const std::string& path, const std::string& advice,
                  const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const std::string& message) {
    AddUnreadable(report, path, message, advice);
    return false;
  }
}

bool HasBothHalves(CheckReport& report, const std::string& first, const std::string& second) {
  for (const std::string& path : {first, second}) {
    std::error_code error;
    if (std::filesystem::exists(path, error)) continue;
    const std::string& other = path == first ? second : first;
    report.Defect("missing-half", path,
                  "It is missing beside its other half, and both are needed for a run.",
                  "Put it beside " + std::string(FileNameOf(other)) + ", under just this name.");
    return false;
  }
  return true;
}

FragmentFacts FactsOf(const MS2Spectrum& scan) {
  FragmentFacts facts;
  facts.m_scan_no = scan.m_scan_no;
  facts.m_precursor_scan = scan.m_precursor_scan;
  facts.m_centre_mz = scan.m_activation_center;
  facts.m_activation = scan.m_activation_type;
  facts.m_instrument = scan.m_instrument_type;
  facts.m_has_precursor = !scan.m_orig_precursors.empty();
  if (facts.m_has_precursor) facts.m_charge = scan.m_orig_precursors.front().m_charge;
  return facts;
}

CheckedTable CheckIsotopeTable(CheckReport& report, const std::string& ipv_file) {
  constexpr const char* kAdvice =
      "Name a table with -I, or write one with tarvek-tools ipv IPV.txt.";
  const std::string path = IsotopeTablePath(ipv_file, InstalledTablePath());
  try {
    const IsotopeTable table = ReadIsotopeTable(path);
    if (std::ranges::any_of(table, IsEmptyRow))
      report.Defect("isotope-table", path,
                    "The isotope table has rows of zeros, so that nothing is determined for their "
                    "masses.",
                    kAdvice);
    const auto last = std::ranges::find_if_not(table.rbegin(), table.rend(), IsEmptyRow);
    return {std::distance(last, table.rend()), FingerprintOf(table)};
  } catch (const std::string& message) {
    report.Defect("isotope-table", path,
                  "The isotope table cannot be read, and without one no run starts: " + message,
                  kAdvice);
  }
  return {};
}

std::string FingerprintOf(const IsotopeTable& table) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  const auto add = [&hash](double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (unsigned shift = 0; shift < 64; shift += 8)
      hash = (hash ^ ((bits >> shift) & 0xFFU)) * 0x100000001b3U;
  };
  for (const IsotopeRow& row : table) std::ranges::for_each(row, add);
  std::string digits;
  for (unsigned shift = 64; shift > 0; shift -= 4)
    digits += "0123456789abcdef"[(hash >> (shift - 4)) & 0xFU];
  return digits;
}

}  // namespace tarvek::tools
