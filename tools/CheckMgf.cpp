#include "CheckMgf.h"

#include <charconv>
#include <optional>
#include <set>
#include <string_view>

#include "NumberText.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

constexpr const char* kRunAgain = "Run tarvek again with -r 1, or ask for the file again.";

/// The fields of a title run.scan.scan.charge.index.dta; the last two may be missing. The run name
/// may have dots here, so that a title is understood that other readers stumble over.
struct Title {
  std::string m_run_name;
  std::int32_t m_scan_no = 0;
};

std::optional<std::int32_t> WholeInteger(std::string_view text) {
  std::int32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
    return std::nullopt;
  return value;
}

// Takes the last field off.
std::string_view TakeLast(std::string_view& text) {
  const std::size_t dot = text.rfind('.');
  const std::string_view last = dot == std::string_view::npos ? text : text.substr(dot + 1);
  text = dot == std::string_view::npos ? std::string_view() : text.substr(0, dot);
  return last;
}

std::optional<Title> ParseTitle(std::string_view text) {
  if (text.ends_with(".dta")) text.remove_suffix(4);
  const std::string_view original = text;
  std::vector<std::int32_t> numbers;  // the last first
  constexpr std::size_t kMostNumbers = 4;
  while (numbers.size() < kMostNumbers && !text.empty()) {
    const std::string_view before = text;
    const auto number = WholeInteger(TakeLast(text));
    if (!number) {
      text = before;
      break;
    }
    numbers.push_back(*number);
  }
  // The scan number stands twice; without an index the fourth number belongs to the run name.
  if (numbers.size() == kMostNumbers && numbers[3] != numbers[2] && numbers[2] == numbers[1]) {
    text = original.substr(0, text.size() + 1 + std::to_string(numbers[3]).size());
    numbers.pop_back();
  }
  constexpr std::size_t kFewestNumbers = 3;
  if (numbers.size() < kFewestNumbers) return std::nullopt;
  return Title{std::string(text), numbers.back()};
}

class MgfLooker {
 public:
  MgfLooker(CheckReport& report, const std::string& path) : m_report(&report), m_path(path) {}

  MgfContent Look() {
    TextLines lines(m_path);
    for (std::string line; lines.Next(line);) {
      m_line = lines.Number();
      Take(line);
    }
    if (m_in_block)
      Defect("mgf-end", "The file ends inside the block that begins in line " +
                            std::to_string(m_block.m_line) + ".");
    if (m_begins != m_ends)
      Defect("mgf-balance", std::to_string(m_begins) + " BEGIN IONS stand against " +
                                std::to_string(m_ends) + " END IONS.");
    return std::move(m_content);
  }

 private:
  void Take(std::string_view line) {
    if (line == "BEGIN IONS") return Begin();
    if (line == "END IONS") return End();
    if (!m_in_block || line.empty()) return;
    if (line.front() >= '0' && line.front() <= '9') ++m_peaks;
    if (line.starts_with("TITLE=")) TakeTitle(line.substr(6));
    if (line.starts_with("PEPMASS=")) m_block.m_precursor.m_mz = ParseReal(line.substr(8));
    if (line.starts_with("CHARGE=")) TakeCharge(line.substr(7));
  }

  void Begin() {
    ++m_begins;
    if (m_in_block) Defect("mgf-end", "A block begins inside another, whose END IONS is missing.");
    m_in_block = true;
    m_has_title = false;
    m_peaks = 0;
    m_block = {};
    m_block.m_line = m_line;
  }

  void End() {
    ++m_ends;
    if (!m_in_block) Defect("mgf-begin", "A block ends that has no BEGIN IONS.");
    m_in_block = false;
    if (!m_has_title) Defect("mgf-title", "A block has no title of the form run.scan.scan.charge.");
    if (m_block.m_precursor.m_mz <= 0.0) Defect("mgf-pepmass", "A block has no PEPMASS.");
    if (m_peaks == 0) Defect("mgf-peaks", "A block has no peaks.");
    m_content.m_blocks.push_back(m_block);
  }

  void TakeTitle(std::string_view text) {
    const auto title = ParseTitle(text);
    if (!title) return;
    m_has_title = true;
    m_block.m_scan_no = title->m_scan_no;
    if (m_content.m_blocks.empty()) m_content.m_run_name = title->m_run_name;
  }

  void TakeCharge(std::string_view text) {
    m_block.m_precursor.m_charge = ParseInteger(text);
    if (text.find('-') != std::string_view::npos)
      m_block.m_precursor.m_charge = -m_block.m_precursor.m_charge;
  }

  // One finding of each kind; the others of a damaged file say the same.
  void Defect(const std::string& code, const std::string& meaning) {
    m_content.m_is_whole = false;
    if (!m_reported.insert(code).second) return;
    m_report->Defect(code, m_path, meaning, kRunAgain, {std::nullopt, m_line});
  }

  CheckReport* m_report;
  std::string m_path;
  MgfContent m_content;
  std::set<std::string> m_reported;
  CheckedBlock m_block;
  bool m_in_block = false;
  bool m_has_title = false;
  std::int64_t m_peaks = 0;
  std::int64_t m_begins = 0;
  std::int64_t m_ends = 0;
  std::int64_t m_line = 0;
};

}  // namespace

MgfContent CheckMgf(CheckReport& report, const std::string& path) {
  return MgfLooker(report, path).Look();
}

}  // namespace tarvek::tools
