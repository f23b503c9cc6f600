// Properties of the peaks of every profile, on 100,000 random ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>

#include "NaivePicker.h"
#include "PeakPicker.h"

namespace tarvek::extractor {
namespace {

using test::NaivePeak;
using test::NaivePicker;

constexpr unsigned kSeed = 20241201;
constexpr int kProfiles = 100'000;

enum class Removal { kNone, kZeros, kThreshold, kAtRandom };

/// A profile as sampled by an instrument and thinned by a converter.
struct RandomProfile {
  std::vector<Peak> m_samples;
  std::vector<int> m_places;  // of each sample, on a grid without removals
  double m_widest = 0.0;      // distance of two places
  bool m_is_ion_trap = false;
};

class ProfileMaker {
 public:
  explicit ProfileMaker(unsigned seed) : m_random(seed) {}

  RandomProfile Make() {
    RandomProfile profile;
    profile.m_is_ion_trap = OneIn(4);
    const std::vector<double> grid = Grid(profile);
    const std::vector<double> heights = Heights(grid);
    const auto removal = static_cast<Removal>(Whole(0, 3));
    const double threshold = removal == Removal::kThreshold ? LogUniform(1.0, 1e4) : 0.0;
    for (std::size_t i = 0; i < grid.size(); ++i) {
      if (removal != Removal::kNone && heights[i] <= threshold) continue;
      if (removal == Removal::kAtRandom && OneIn(5)) continue;
      profile.m_samples.push_back({grid[i], heights[i]});
      profile.m_places.push_back(static_cast<int>(i));
    }
    return profile;
  }

  /// No instrument does this: distances and heights over many powers of ten.
  std::vector<Peak> MakeWild(double highest) {
    std::vector<Peak> samples;
    double mz = 100.0;
    for (int i = Whole(0, 40); i > 0; --i) {
      mz += OneIn(10) ? 0.0 : LogUniform(1e-6, 10.0);
      samples.push_back({mz, OneIn(10) ? 0.0 : LogUniform(1.0 / highest, highest)});
    }
    return samples;
  }

  bool OneIn(int count) { return Whole(1, count) == 1; }

 private:
  int Whole(int low, int high) { return std::uniform_int_distribution(low, high)(m_random); }
  double Uniform(double low, double high) {
    return std::uniform_real_distribution(low, high)(m_random);
  }
  double LogUniform(double low, double high) {
    return std::exp(Uniform(std::log(low), std::log(high)));
  }

  // Spacing grows with a power of m/z: 0 in traps, 0.5 by time of flight, 1.5 by frequency.
  std::vector<double> Grid(RandomProfile& profile) {
    double mz = Uniform(100.0, 2000.0);
    const double power = profile.m_is_ion_trap ? 0.0 : 0.5 * Whole(1, 3);
    const double spacing =
        profile.m_is_ion_trap ? Uniform(0.03, 0.09) : mz * LogUniform(1e-6, 2e-5);
    const double factor = spacing / std::pow(mz, power);
    const double unevenness = OneIn(3) ? 0.2 : 0.03;
    std::vector<double> grid;
    for (int i = Whole(20, 70); i > 0; --i) {
      grid.push_back(mz);
      const double step = factor * std::pow(mz, power) * (1.0 + unevenness * Uniform(-1.0, 1.0));
      profile.m_widest = std::max(profile.m_widest, step);
      mz += step;
    }
    return grid;
  }

  std::vector<double> Heights(const std::vector<double>& grid) {
    std::vector<double> heights(grid.size());
    const double noise = OneIn(3) ? Uniform(0.0, 5.0) : 0.0;
    for (int peak = Whole(1, 4); peak > 0; --peak) {
      const double centre = Uniform(0.0, static_cast<double>(grid.size()));
      const double sigma = Uniform(0.7, 3.0);  // in places
      const double height = LogUniform(10.0, 1e7);
      for (std::size_t i = 0; i < grid.size(); ++i) {
        const double x = (static_cast<double>(i) - centre) / sigma;
        heights[i] += height * std::exp(-0.5 * x * x);
      }
    }
    for (double& height : heights) {
      height = height * Uniform(0.9, 1.1) + noise * Uniform(0.0, 1.0);
      if (height < 1.0) height = 0.0;
    }
    return heights;
  }

  std::mt19937 m_random;
};

/// Where the two differ; empty when they agree. They have the same number of peaks.
std::string DifferenceOf(const std::vector<Peak>& picked, const NaivePicker& naive) {
  const std::vector<NaivePeak> expected = naive.Pick();
  for (std::size_t i = 0; i < picked.size(); ++i) {
    const Peak& peak = expected[i].m_peak;
    if (!(std::fabs(picked[i].m_mz - peak.m_mz) <= 1e-10 * peak.m_mz))
      return "an m/z unlike by the slow way";
    if (!(std::fabs(picked[i].m_intensity - peak.m_intensity) <= 1e-6 * peak.m_intensity))
      return "a height unlike by the slow way";
  }
  return "";
}

/// What is wrong with the peaks of samples; empty when they are right.
std::string FaultOf(const std::vector<Peak>& samples, const std::vector<Peak>& picked,
                    const NaivePicker& naive) {
  const std::vector<NaivePeak> expected = naive.Pick();
  if (picked.size() != expected.size()) return "another number of peaks than by the slow way";
  std::vector<bool> has_peak(samples.size());
  for (std::size_t i = 0; i < picked.size(); ++i) {
    const NaivePeak& peak = expected[i];
    const double mz = picked[i].m_mz;
    const double height = picked[i].m_intensity;
    const double highest = samples[peak.m_highest].m_intensity;
    if (!(mz >= samples[peak.m_first].m_mz && mz <= samples[peak.m_last].m_mz))
      return "an m/z outside of its stretch";
    if (!(height >= highest && height <= 1.5 * highest)) return "a height that no sample explains";
    has_peak[peak.m_first] = true;
  }
  for (std::size_t i = 0; i < samples.size(); ++i)
    if (naive.FirstOf(i) == i && !naive.IsZero(i) && has_peak[i] == naive.IsSpike(i))
      return "a stretch without a peak, or a spike with one";
  return "";
}

/// The same, when the work of the instrument is known.
std::string FaultOf(const RandomProfile& profile, const std::vector<Peak>& picked,
                    const NaivePicker& naive) {
  // in places: where most samples were removed the expected spacing may be that of two
  constexpr int kSurelyWide = 5;
  constexpr double kSurelyAway = 1.5;
  for (std::size_t i = 1; i < profile.m_places.size(); ++i) {
    if (naive.IsZero(i - 1) || naive.IsZero(i)) continue;
    const int places = profile.m_places[i] - profile.m_places[i - 1];
    const bool is_one = naive.FirstOf(i) != i;
    if (places == 1 && !is_one) return "a cut between two samples in a row";
    if (places >= kSurelyWide && is_one) return "a stretch across a gap";
  }
  for (const Peak& peak : picked) {
    double nearest = HUGE_VAL;
    for (const Peak& sample : profile.m_samples)
      if (sample.m_intensity > 0.0) nearest = std::min(nearest, std::fabs(sample.m_mz - peak.m_mz));
    if (nearest > kSurelyAway * profile.m_widest) return "a peak away from every sample";
  }
  return "";
}

std::string Shown(const std::vector<Peak>& samples, const std::vector<Peak>& picked) {
  std::ostringstream text;
  text.precision(12);
  for (const Peak& sample : samples) text << sample.m_mz << ' ' << sample.m_intensity << '\n';
  text << "picked:\n";
  for (const Peak& peak : picked) text << peak.m_mz << ' ' << peak.m_intensity << '\n';
  return text.str();
}

TEST(PeakPickerProperties, HoldForProfilesThatWereThinnedOut) {
  std::cout << "seed " << kSeed << std::endl;
  ProfileMaker maker(kSeed);
  int looked_at = 0;
  std::size_t peaks = 0;
  for (int i = 0; i < kProfiles; ++i) {
    const RandomProfile profile = maker.Make();
    const auto picked = PickPeaks(profile.m_samples, profile.m_is_ion_trap);
    const NaivePicker naive(profile.m_samples, profile.m_is_ion_trap);
    ASSERT_EQ(FaultOf(profile.m_samples, picked, naive), "") << "profile " << i << '\n'
                                                             << Shown(profile.m_samples, picked);
    ASSERT_EQ(DifferenceOf(picked, naive), "") << "profile " << i << '\n'
                                               << Shown(profile.m_samples, picked);
    peaks += picked.size();
    // Others are not picked.
    if (LookAt(profile.m_samples, profile.m_is_ion_trap) == DataLook::kCentroid) continue;
    ++looked_at;
    ASSERT_EQ(FaultOf(profile, picked, naive), "") << "profile " << i << '\n'
                                                   << Shown(profile.m_samples, picked);
  }
  std::cout << looked_at << " look like profiles, " << peaks << " peaks" << std::endl;
  EXPECT_GT(looked_at, kProfiles / 2);
}

TEST(PeakPickerProperties, HoldForSamplesThatNoInstrumentGives) {
  std::cout << "seed " << kSeed + 1 << std::endl;
  ProfileMaker maker(kSeed + 1);
  for (int i = 0; i < kProfiles / 5; ++i) {
    const bool is_extreme = maker.OneIn(2);
    const std::vector<Peak> samples = maker.MakeWild(is_extreme ? 1e300 : 1e6);
    const bool is_ion_trap = maker.OneIn(2);
    const auto picked = PickPeaks(samples, is_ion_trap);
    const NaivePicker naive(samples, is_ion_trap);
    ASSERT_EQ(FaultOf(samples, picked, naive), "") << "profile " << i << '\n'
                                                   << Shown(samples, picked);
    if (is_extreme) continue;  // the slow way loses digits
    ASSERT_EQ(DifferenceOf(picked, naive), "") << "profile " << i << '\n' << Shown(samples, picked);
  }
}

}  // namespace
}  // namespace tarvek::extractor
