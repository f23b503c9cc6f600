#include "outputs/DeclaredWidth.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <vector>

#include "InstrumentFile.h"

namespace tarvek::tools {
namespace {

using extractor::ExtractedScan;

struct EnoughScans {};

/// Counts widths in hundredths of m/z and ends the reading when it has seen enough.
class WidthCounter final : public extractor::ScanConsumer {
 public:
  void OnDeclaredCount(std::int64_t) override {}
  bool WantsPeaks(const ExtractedScan&) override { return false; }

  void OnScan(const ExtractedScan& scan, std::vector<Peak>&) override {
    if (scan.m_ms_level != 2) return;
    const std::optional<double> width = extractor::IsolationWidth(scan);
    if (!width || *width < kLeastWidth) return;
    ++m_widths[std::llround(*width * 100.0)];
    if (++m_scans == kScansForWidth) throw EnoughScans{};
  }

  [[nodiscard]] std::optional<double> Commonest() const {
    if (m_widths.empty()) return std::nullopt;
    const auto commonest = std::ranges::max_element(
        m_widths, {}, [](const auto& width_and_count) { return width_and_count.second; });
    return static_cast<double>(commonest->first) / 100.0;
  }

 private:
  std::map<std::int64_t, int> m_widths;
  int m_scans = 0;
};

}  // namespace

bool IsOtherWidth(double declared_mz, double setting_mz) {
  constexpr double kLargestShare = 0.1;
  constexpr double kRounding = 1e-9;  // of widths that have a few decimals
  return std::fabs(declared_mz - setting_mz) > kLargestShare * declared_mz + kRounding;
}

std::optional<double> DeclaredWidthOf(const std::string& path) {
  WidthCounter counter;
  try {
    extractor::ReadInstrumentFile(
        path, counter, [](const std::string&) {}, [](const extractor::ReadingState&) {});
  } catch (const EnoughScans&) {
    return counter.Commonest();
  } catch (const std::string&) {
    return std::nullopt;
  }
  return counter.Commonest();
}

}  // namespace tarvek::tools
