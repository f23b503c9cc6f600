// tools/check/Findings.h: the findings of "tarvek-tools check".
// Does:     collects findings and facts about each file; prints them as text and as JSON. Of a kind it
//           lists the first kMostListed of a file and counts the rest.
// Owns:     its texts.
// Throws:   nothing but std::bad_alloc.
// Not here: the checks (the other headers of check/).
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvek::tools {

enum class Severity {
  kDefect,   // the file cannot be used, or results are missing or contradict each other
  kWarning,  // the run works, but probably not as its user expects
  kNote      // good to know
};

/// The place in a file, as far as known.
struct FindingPlace {
  std::optional<std::int64_t> m_scan_no;
  std::optional<std::int64_t> m_line;
};

struct Finding {
  Severity m_severity = Severity::kNote;
  std::string m_code;  // a fixed word, for programs
  std::string m_file;
  FindingPlace m_place;
  std::string m_meaning;  // one sentence
  std::string m_advice;   // one sentence
  /// What the advice would set, by the keys of a parameter file, for programs.
  std::map<std::string, std::string> m_settings{};
};

/// Scans that a run would not use, for one reason.
struct LeftOut {
  std::int64_t m_count = 0;
  std::int64_t m_first_scan = 0;  // 0: not known
};
using LeftOutScans = std::map<std::string, LeftOut>;  // by reason

/// A count, for programs under its key and for people under its label.
struct CheckedFact {
  std::string m_key;
  std::string m_label;
  std::int64_t m_count = 0;
};

/// One checked item: a file, or files that belong together.
struct CheckedItem {
  std::string m_path;
  std::string m_kind;                // "mzML", "text pair", "outputs", ...
  std::vector<CheckedFact> m_facts;  // in the order in which they are shown
  LeftOutScans m_left_out;
};

/// Findings of one severity and code in one file are of one kind.
struct FindingKind {
  Severity m_severity = Severity::kNote;
  std::string m_code;
  std::string m_file;

  auto operator<=>(const FindingKind&) const = default;
};

/// The number of findings of a kind that are listed.
inline constexpr std::size_t kMostListed = 100;

class CheckReport {
 public:
  void Add(Finding finding);
  void Defect(const std::string& code, const std::string& file, const std::string& meaning,
              const std::string& advice, FindingPlace place = {}) {
    Add({Severity::kDefect, code, file, place, meaning, advice});
  }
  void Warning(const std::string& code, const std::string& file, const std::string& meaning,
               const std::string& advice, FindingPlace place = {}) {
    Add({Severity::kWarning, code, file, place, meaning, advice});
  }
  void Note(const std::string& code, const std::string& file, const std::string& meaning,
            const std::string& advice, FindingPlace place = {}) {
    Add({Severity::kNote, code, file, place, meaning, advice});
  }
  void AddItem(CheckedItem item) { m_items.push_back(std::move(item)); }

  /// Those that are listed, in the order in which they were added.
  [[nodiscard]] const std::vector<Finding>& Findings() const { return m_findings; }

  /// By kind, the number of all findings, listed or not.
  [[nodiscard]] const std::map<FindingKind, std::size_t>& Counts() const { return m_counts; }

  /// Whether one more finding of a kind is counted and not listed.
  [[nodiscard]] bool IsListFull(const FindingKind& kind) const;

  [[nodiscard]] const std::vector<CheckedItem>& Items() const { return m_items; }

  /// Of all findings, listed or not.
  [[nodiscard]] std::size_t Count(Severity severity) const;

 private:
  std::vector<Finding> m_findings;
  std::map<FindingKind, std::size_t> m_counts;
  std::vector<CheckedItem> m_items;
};

/// What to do about an output that cannot be trusted.
inline constexpr const char* kRunOrAskAgain =
    "Run tarvek again with -r 1, or ask for the file again.";

/// "defect", "warning" or "note".
std::string SeverityWord(Severity severity);

/// "3 of 20 MS2 scans", for the sentences.
std::string ShareText(std::int64_t part, std::int64_t whole, const std::string& things);

/// The report for people, and as one JSON object.
std::string CheckText(const CheckReport& report);
std::string CheckJson(const CheckReport& report);

}  // namespace tarvek::tools
