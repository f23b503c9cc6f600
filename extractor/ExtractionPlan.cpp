#include "ExtractionPlan.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "ActivationDecision.h"
#include "AnalyserDecision.h"
#include "InstrumentFile.h"

namespace tarvek::extractor {
namespace {

// How many spectra of one group the look uses, and how many of the file it passes to find them. The
// file may be sorted by level, or begin with another run: the look continues until it has met
// spectra that it is for, and both levels.
constexpr std::int64_t kEnoughSpectra = 50;
constexpr std::int64_t kMinPassed = 2'000;
constexpr std::int64_t kMaxPassed = 20'000;

/// Thrown when the look has seen enough.
struct LookIsDone {};

/// Selects the spectra of a group to look at: ever fewer, so that they spread over the start of the
/// file.
class SparseCounter {
 public:
  bool TakeNext() {
    if (m_taken >= kEnoughSpectra || m_seen++ < m_next) return false;
    m_next += 1 + m_next / 16;
    ++m_taken;
    return true;
  }
  [[nodiscard]] bool HasEnough() const { return m_taken >= kEnoughSpectra; }

 private:
  std::int64_t m_seen = 0;
  std::int64_t m_next = 0;
  std::int64_t m_taken = 0;
};

/// Looks at spectra without other evidence of their analyser.
class LookConsumer final : public ScanConsumer {
 public:
  explicit LookConsumer(const ScanOverrides& overrides) : m_decider(overrides) {}

  void OnDeclaredCount(std::int64_t) override {}

  bool WantsPeaks(const ExtractedScan& scan) override {
    m_group.clear();
    if (!scan.m_is_mass_spectrum || scan.m_peak_count == 0) return false;
    if (scan.m_ms_level < 1 || scan.m_ms_level > 2) return false;
    (scan.m_ms_level == 1 ? m_has_surveys : m_has_fragments) = true;
    const std::string activation = scan.m_ms_level == 2 ? ActivationOf(scan).m_word : std::string();
    if (m_decider.Decide(scan, activation, {}).m_step != AnalyserStep::kUndecided) return false;
    std::string group = LookGroupOf(scan.m_ms_level, activation);
    if (!m_counters[group].TakeNext()) return false;
    m_group = std::move(group);
    return true;
  }

  void OnScan(const ExtractedScan&, std::vector<Peak>& peaks) override {
    if (!m_group.empty()) {
      SortByMz(peaks);
      m_looks[m_group].Add(peaks);
      m_group.clear();
    }
    ++m_passed;
    if (IsDone()) throw LookIsDone();
  }

  void Complete(ExtractionPlan& plan) const {
    plan.m_has_looked = true;
    for (const auto& [group, look] : m_looks) plan.m_looks[group] = look.Verdict();
  }

 private:
  [[nodiscard]] bool IsDone() const {
    if (m_passed < kMinPassed || !m_has_surveys || !m_has_fragments || m_counters.empty())
      return false;
    return m_passed >= kMaxPassed || std::ranges::all_of(m_counters, [](const auto& counter) {
             return counter.second.HasEnough();
           });
  }

  AnalyserDecider m_decider;
  std::map<std::string, SparseCounter> m_counters;
  std::map<std::string, ResolutionLook> m_looks;
  std::string m_group;  // of the spectrum with the next peaks; empty: not used
  std::int64_t m_passed = 0;
  bool m_has_surveys = false;  // met, with or without evidence of their analyser
  bool m_has_fragments = false;
};

void LookAtPeaks(const std::string& path, const ScanOverrides& overrides,
                 const std::function<void(const ReadingState&)>& on_block, ExtractionPlan& plan) {
  LookConsumer consumer(overrides);
  try {
    ReadInstrumentFile(
        path, consumer, [](const std::string&) {}, on_block);
  } catch (const LookIsDone&) {  // NOLINT(bugprone-empty-catch): what is needed was read
  }
  consumer.Complete(plan);
}

}  // namespace

std::string LookGroupOf(std::int32_t ms_level, std::string_view activation) {
  return ms_level == 1 ? "ms1" : "ms2 " + std::string(activation);
}

Resolution ExtractionPlan::LookOf(std::string_view group) const {
  if (const auto found = m_looks.find(group); found != m_looks.end()) return found->second;
  const std::string_view level = group.substr(0, 3);
  Resolution common = Resolution::kUnclear;
  for (const auto& [other, resolution] : m_looks) {
    if (!other.starts_with(level)) continue;
    if (resolution == Resolution::kUnclear ||
        (common != Resolution::kUnclear && common != resolution))
      return Resolution::kUnclear;
    common = resolution;
  }
  return common;
}

void ReadPlanned(const std::string& path, const ScanOverrides& overrides, const ReadingStart& start,
                 const std::function<void(const std::string&)>& on_format,
                 const std::function<void(const ReadingState&)>& on_block) {
  ExtractionPlan plan;
  for (;;) {
    try {
      ReadInstrumentFile(path, start(plan), on_format, on_block);
      return;
    } catch (const PlanLack lack) {
      if (lack == PlanLack::kAscendingNumbers)
        plan.m_numbers_by_position = true;
      else
        LookAtPeaks(path, overrides, on_block, plan);
    }
  }
}

}  // namespace tarvek::extractor
