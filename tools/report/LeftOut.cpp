#include "report/LeftOut.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "RunSummary.h"
#include "SpectrumRecords.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kOtherReason = "not exported for another reason";
constexpr std::string_view kGapReason = "number in no output";

class LeftOutCounter {
 public:
  LeftOutCounter(const RunContent& content, std::span<const ScanTime> times, RunReport& report)
      : m_content(content), m_times(times), m_report(report) {}

  void CountInput() {
    m_report.m_left_out_source = m_content.InputText();
    for (const InputScan& scan : m_content.Input())
      if (!m_content.IsExported(scan.m_scan_no)) Add(scan.m_scan_no, ReasonOf(scan));
  }

  void CountRecorded(const RunRecord& record) {
    for (const auto& [scan_no, reason] : record.m_left_out_scans) Add(scan_no, reason);
  }

  // The record of the program is the best source, and includes what the extractor left out.
  void TakeCounts(const RunRecord& record) {
    const auto read = record.Count(kCountMs2Read);
    const auto exported = record.Count(kCountMs2Exported);
    if (!read || !exported) return;
    m_report.m_left_out_source = "the record of the run";
    m_report.m_left_out_count = std::max<std::int64_t>(0, *read - *exported);
    m_report.m_left_out_reasons = record.m_left_out;
  }

  // The numbers missing between known scans. They may also belong to scans without peaks or of a
  // higher MS level.
  void CountGaps() {
    m_report.m_left_out_source = "the scan numbers that are in no output";
    const std::vector<std::int64_t> known = KnownNumbers();
    for (std::size_t i = 1; i < known.size(); ++i)
      for (std::int64_t number = known[i - 1] + 1; number < known[i]; ++number) {
        if (m_report.m_left_out.size() == kMaxLeftOut) {  // no need to visit each one
          Count(kGapReason, known[i] - number);
          break;
        }
        Add(static_cast<std::int32_t>(number), kGapReason);
      }
  }

 private:
  void Count(std::string_view reason, std::int64_t scans) {
    m_report.m_left_out_count += scans;
    m_report.m_left_out_reasons[std::string(reason)] += scans;
  }

  void Add(std::int32_t scan_no, std::string_view reason) {
    Count(reason, 1);
    if (m_report.m_left_out.size() < kMaxLeftOut)
      m_report.m_left_out.push_back({scan_no, TimeOfScan(m_times, scan_no), std::string(reason)});
  }

  [[nodiscard]] std::string_view ReasonOf(const InputScan& scan) const {
    if (m_content.Record()) {
      const auto recorded = m_content.Record()->m_left_out_scans.find(scan.m_scan_no);
      if (recorded != m_content.Record()->m_left_out_scans.end()) return recorded->second;
    }
    if (!IsKnownActivation(scan.m_activation)) return kActivationNotKnown;
    if (!IsKnownInstrument(scan.m_analyser)) return kAnalyserNotKnown;
    return scan.m_declared.empty() ? kNoUsablePrecursor : kOtherReason;
  }

  // The numbers of surveys and exported scans, ascending.
  [[nodiscard]] std::vector<std::int64_t> KnownNumbers() const {
    std::vector<std::int64_t> numbers;
    for (const ScanTime& time : m_times) numbers.push_back(time.first);
    for (const ReportRow& row : m_content.Rows()) numbers.push_back(row.m_scan_no);
    std::ranges::sort(numbers);
    return numbers;
  }

  const RunContent& m_content;
  std::span<const ScanTime> m_times;
  RunReport& m_report;
};

}  // namespace

void CountLeftOut(const RunContent& content, std::span<const ScanTime> times, bool has_surveys,
                  RunReport& report) {
  LeftOutCounter counter(content, times, report);
  if (content.HasInput())
    counter.CountInput();
  else if (content.Record())
    counter.CountRecorded(*content.Record());
  else if (has_surveys && !times.empty())
    counter.CountGaps();
  if (content.Record()) counter.TakeCounts(*content.Record());
}

}  // namespace tarvek::tools
