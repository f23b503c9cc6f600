#include "RunRecord.h"

#include <algorithm>
#include <charconv>

#include "FileUtils.h"
#include "LineReader.h"
#include "NumberText.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

constexpr std::string_view kSetting = "setting";
constexpr std::string_view kCount = "count";
constexpr std::string_view kWidth = "width";
constexpr std::string_view kLeftOut = "left_out";
constexpr std::string_view kLeftOutScan = "left_out_scan";
constexpr std::string_view kCalibration = "calibration";
constexpr std::string_view kSource = "source";
constexpr std::string_view kOutput = "output";

void AppendField(std::string& text, std::string_view field) {
  const std::size_t start = text.size();
  text += field;
  const auto ends_field = [](char c) { return c == '\t' || c == '\n' || c == '\r' || c == '\0'; };
  std::replace_if(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(), ends_field, ' ');
}

void AppendEntry(std::string& text, std::string_view kind, std::string_view key,
                 std::string_view value) {
  text.append(kind).append("\t");
  AppendField(text, key);
  text += '\t';
  AppendField(text, value);
  text += '\n';
}

void AppendCounts(std::string& text, std::string_view kind,
                  const std::map<std::string, std::int64_t>& counts) {
  for (const auto& [key, count] : counts) AppendEntry(text, kind, key, std::to_string(count));
}

template <class Number>
Number NumberOf(std::string_view text, const char* what) {
  Number number = 0;
  const char* const last = text.data() + text.size();
  const auto result = std::from_chars(text.data(), last, number);
  if (text.empty() || result.ec != std::errc() || result.ptr != last || number < 0)
    throw "\"" + std::string(text) + "\" is no " + what;
  return number;
}

std::size_t LargestKind(const RunRecord& record) {
  return std::max({record.m_settings.size(), record.m_counts.size(), record.m_widths.size(),
                   record.m_left_out.size(), record.m_left_out_scans.size(), record.m_source.size(),
                   record.m_output_bytes.size(), record.m_calibration.size()});
}

std::int64_t CountOf(std::string_view text) { return NumberOf<std::int64_t>(text, "count"); }

}  // namespace

std::optional<std::int64_t> RunRecord::Count(std::string_view key) const {
  const auto found = m_counts.find(std::string(key));
  if (found == m_counts.end()) return std::nullopt;
  return found->second;
}

std::optional<double> RunRecord::CommonestWidth() const {
  std::optional<double> commonest;
  std::int64_t most = 0;
  for (const auto& [key, scans] : m_widths) {
    const auto width = ScanReal(key);
    if (width.m_status != NumberStatus::kOk || !(width.m_value > 0.0) || scans < most) continue;
    if (scans == most && commonest && *commonest < width.m_value) continue;
    commonest = width.m_value;
    most = scans;
  }
  return commonest;
}

std::map<std::string, std::string> SourceOf(const std::string& path) {
  const std::optional<FileStamp> stamp = StampAt(path);
  if (!stamp) return {};
  std::string name;
  AppendField(name, FileNameOf(path));  // as it comes back from a record
  return {{"name", std::move(name)},
          {"bytes", std::to_string(stamp->m_bytes)},
          {"modified_ns", std::to_string(stamp->m_modified_ns)}};
}

std::string RunRecordText(const RunRecord& record) {
  std::string text;
  for (const auto& [key, value] : record.m_settings) AppendEntry(text, kSetting, key, value);
  AppendCounts(text, kCount, record.m_counts);
  AppendCounts(text, kWidth, record.m_widths);
  AppendCounts(text, kLeftOut, record.m_left_out);
  for (const auto& [scan_no, reason] : record.m_left_out_scans)
    AppendEntry(text, kLeftOutScan, std::to_string(scan_no), reason);
  for (const auto& [key, value] : record.m_source) AppendEntry(text, kSource, key, value);
  AppendCounts(text, kOutput, record.m_output_bytes);
  for (const auto& [key, value] : record.m_calibration) AppendEntry(text, kCalibration, key, value);
  return text;
}

bool AddRunRecordLine(std::string_view line, RunRecord& record) {
  const std::size_t first = line.find('\t');
  const std::size_t second = first == std::string_view::npos ? first : line.find('\t', first + 1);
  if (second == std::string_view::npos) return false;
  const std::string_view kind = line.substr(0, first);
  std::string key(line.substr(first + 1, second - first - 1));
  const std::string_view value = line.substr(second + 1);
  if (kind == kSetting)
    record.m_settings[std::move(key)] = value;
  else if (kind == kCount)
    record.m_counts[std::move(key)] = CountOf(value);
  else if (kind == kWidth)
    record.m_widths[std::move(key)] = CountOf(value);
  else if (kind == kLeftOut)
    record.m_left_out[std::move(key)] = CountOf(value);
  else if (kind == kLeftOutScan)
    record.m_left_out_scans[NumberOf<std::int32_t>(key, "scan number")] = value;
  else if (kind == kSource)
    record.m_source[std::move(key)] = value;
  else if (kind == kOutput)
    record.m_output_bytes[std::move(key)] = CountOf(value);
  else if (kind == kCalibration)
    record.m_calibration[std::move(key)] = value;
  else
    return false;
  return true;
}

RunRecord ReadRunRecord(const std::string& path) {
  File file = OpenOwnFile(path, "record");
  LineReader lines(file);
  RunRecord record;
  std::string_view line;
  for (std::int64_t number = 1; lines.ReadPiece(line); ++number) {
    try {
      AddRunRecordLine(TrimRight(line, "\r\n"), record);
      if (LargestKind(record) > kMostRecordEntries)
        throw "more than " + std::to_string(kMostRecordEntries) + " entries of one kind";
    } catch (const std::string& what) {
      throw UnusableRecord(path + ": line " + std::to_string(number) + ": " + what);
    }
  }
  return record;
}

void WriteRunRecord(const std::string& path, const RunRecord& record) {
  WriteWhole(path, RunRecordText(record), "record");
}

}  // namespace tarvek
