// IO/RunRecord.h: the record of a run, for programs and for the next run.
// Does:     holds the settings that shape the outputs, the counts, which MS2 scans were left out
//           and why, and the isolation widths that the instrument file declares; writes it as text
//           and reads that text back.
// Owns:     its texts.
// Throws:   ReadRunRecord a std::string: what OpenFile throws, or an UnusableRecord for a line
//           that is not an entry and for too many entries; WriteRunRecord what WriteWhole throws.
// Not here: when a record is written and with which entries.
//
// Text: one entry a line, three fields separated by tabs: kind ("setting", "count", "width",
// "left_out", "left_out_scan", "calibration", "source" or "output"), key, value. Other lines that hold no tab are for people and are
// passed over; other kinds are passed over too, so that a newer program may add some. A key that
// repeats counts once, the last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tarvek {

struct RunRecord {
  std::map<std::string, std::string> m_settings;   // key to value as text
  std::map<std::string, std::int64_t> m_counts;    // kCount... to number
  std::map<std::string, std::int64_t> m_widths;    // declared full width to number of MS2 scans
  std::map<std::string, std::int64_t> m_left_out;  // reason to number of MS2 scans
  std::map<std::int32_t, std::string> m_left_out_scans;  // scan number to reason; not of all scans
  std::map<std::string, std::string> m_source;         // the file that was extracted: see SourceOf
  std::map<std::string, std::int64_t> m_output_bytes;  // ending of an extracted file to its size
  std::map<std::string, std::string> m_calibration;  // of the outputs, by what comes after the run

  /// A count; std::nullopt when it is not recorded.
  [[nodiscard]] std::optional<std::int64_t> Count(std::string_view key) const;

  /// The width in m/z that most MS2 scans declare, the smallest of equals; std::nullopt without
  /// any.
  [[nodiscard]] std::optional<double> CommonestWidth() const;

  bool operator==(const RunRecord&) const = default;
};

/// Keys of m_counts.
inline constexpr std::string_view kCountSurveys = "surveys";           // MS1 scans read
inline constexpr std::string_view kCountMs2Read = "ms2_read";          // MS2 scans in the input
inline constexpr std::string_view kCountMs2Exported = "ms2_exported";  // written to the outputs
inline constexpr std::string_view kCountPrecursors = "precursors";     // of the exported scans
inline constexpr std::string_view kCountMs2Declared =
    "ms2_declared";  // keep the declared precursors, beyond the work that an input may take
inline constexpr std::string_view kCountDecoyScans =
    "joint_decoy_scans";  // determined a second time,
inline constexpr std::string_view kCountDecoys =
    "joint_decoys";  // and the precursors found with a spacing that isotopes do not have

/// Keys of m_settings that an extraction also has: decimals of written peaks, and the user's
/// choices.
inline constexpr std::string_view kSettingMzDigits = "m/z";
inline constexpr std::string_view kSettingIntensityDigits = "intensity";
inline constexpr std::string_view kSettingAnalyser = "analyser";
inline constexpr std::string_view kSettingActivation = "activation";

/// The environment variables that pass the last two to an extractor.
inline constexpr const char* kAnalyserVariable = "TARVEK_ANALYSER";
inline constexpr const char* kActivationVariable = "TARVEK_ACTIVATION";

/// The lowest probability that the joint determination reports; absent without that determination.
inline constexpr std::string_view kSettingJoint = "joint";
inline constexpr const char* kJointVariable = "TARVEK_JOINT";

/// The first line of an extraction marker: these texts with the base name in between.
inline constexpr std::string_view kMarkerStart = "All spectra of ";
inline constexpr std::string_view kMarkerEnd = " were extracted.";

/// Key of m_widths for scans that declare none; the others are the width with two decimals.
inline constexpr std::string_view kWidthNotDeclared = "not declared";

/// m_left_out_scans names at most this many scans, the first ones read; the counts include all.
inline constexpr std::size_t kMaxLeftOutScans = 10'000;

/// A record has at most this many entries of each kind.
inline constexpr std::size_t kMostRecordEntries = 10'000;
static_assert(kMaxLeftOutScans <= kMostRecordEntries);

/// The suffix of a run record's file name, after the base name.
inline constexpr std::string_view kRunRecordEnding = ".tarvek";

/// What m_source says of the file at path: its name without the folder, its size, and when it was
/// changed last. Empty when path leads to no file.
std::map<std::string, std::string> SourceOf(const std::string& path);

/// The entries of record as text, each kind by ascending key. Tabs and line ends in keys and values
/// become blanks.
std::string RunRecordText(const RunRecord& record);

/// Adds the entry on a line; false when the line is not an entry. The line has no end of line.
/// Throws a std::string without file and line for a value that is not a number.
bool AddRunRecordLine(std::string_view line, RunRecord& record);

/// Of a file that can be read, but is no record: "PATH: line N: what is wrong".
class UnusableRecord : public std::string {
 public:
  explicit UnusableRecord(std::string text) : std::string(std::move(text)) {}
};

/// Reads a whole file.
RunRecord ReadRunRecord(const std::string& path);

/// Writes a whole file, which gets its name when it is complete.
void WriteRunRecord(const std::string& path, const RunRecord& record);

}  // namespace tarvek
