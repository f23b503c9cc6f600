#include "GeneratedRun.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <utility>
#include <vector>

namespace tarvek::test {
namespace {

constexpr int kSurveyPeaks = 300;
constexpr int kFragmentPeaks = 150;
constexpr int kFragmentScans = 3;
constexpr int kStep = kFragmentScans + 1;
constexpr double kIsotopeSpacing = 1.003;

using Peaks = std::vector<std::pair<double, double>>;

/// The distributions of the standard library differ between implementations; the engine does not.
class Random {
 public:
  explicit Random(unsigned seed) : m_engine(seed) {}
  double Between(double low, double high) {
    return low + (high - low) * static_cast<double>(m_engine()) / 4294967296.0;
  }

 private:
  std::mt19937 m_engine;
};

void AppendPeaks(std::string& text, Peaks peaks) {
  std::sort(peaks.begin(), peaks.end());
  std::array<char, 64> line{};
  for (const auto& [mz, intensity] : peaks) {
    const int size = std::snprintf(line.data(), line.size(), "%.5f %.1f\n", mz, intensity);
    text.append(line.data(), static_cast<std::size_t>(size));
  }
}

void AppendIon(Peaks& peaks, double mz, int charge, double height) {
  constexpr std::array<double, 4> kEnvelope = {1.0, 0.6, 0.2, 0.05};
  for (std::size_t i = 0; i < kEnvelope.size(); ++i)
    peaks.emplace_back(mz + static_cast<double>(i) * kIsotopeSpacing / charge,
                       height * kEnvelope[i]);
}

void AppendSurvey(std::string& text, int scan_no, Random& random) {
  const std::string number = std::to_string(scan_no);
  text += "S\t" + number + "\t" + number + "\nI\tRetTime\t" + number +
          ".25\nI\tIonInjectionTime\t10\nI\tInstrumentType\tFTMS\n";
  Peaks peaks;
  for (int i = 0; i < kSurveyPeaks; ++i)
    peaks.emplace_back(random.Between(400.0, 1600.0), random.Between(1.0, 500.0));
  AppendIon(peaks, 500.25, 2, random.Between(1e4, 1e6));
  AppendIon(peaks, 600.5, 3, random.Between(1e4, 1e6));
  AppendPeaks(text, std::move(peaks));
}

void AppendFragments(std::string& text, int scan_no, int survey, Random& random) {
  const std::string number = std::to_string(scan_no);
  const std::string centre = scan_no % 2 == 0 ? "500.25" : "600.5";
  text += "S\t" + number + "\t" + number + "\t" + centre + "\nI\tRetTime\t" + number +
          ".5\nI\tIonInjectionTime\t30\nI\tInstrumentType\t" +
          (scan_no % 3 == 0 ? "ITMS" : "FTMS") + "\nI\tActivationType\tHCD\nI\tActivationCenter\t" +
          centre + "\nI\tPrecursorScan\t" + std::to_string(survey) + "\nZ\t2\t0\n";
  Peaks peaks;
  for (int i = 0; i < kFragmentPeaks; ++i)
    peaks.emplace_back(random.Between(100.0, 1600.0), random.Between(1.0, 1e5));
  AppendPeaks(text, std::move(peaks));
}

}  // namespace

GeneratedRun GenerateRun(unsigned seed, int cycles) {
  Random random(seed);
  GeneratedRun run;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    const int survey = 1 + cycle * kStep;
    AppendSurvey(run.m_ms1, survey, random);
    for (int i = 1; i <= kFragmentScans; ++i)
      AppendFragments(run.m_ms2, survey + i, survey, random);
  }
  return run;
}

}  // namespace tarvek::test
