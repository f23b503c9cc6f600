// The profile surveys of real runs, complete and thinned as by converters.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>

#include "InstrumentFile.h"
#include "NaivePicker.h"
#include "PeakPicker.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using test::NaivePeak;
using test::NaivePicker;

struct Profile {
  std::string m_name;
  std::vector<Peak> m_samples;
};

/// Keeps the spectra that are declared as profiles.
class ProfileCollector final : public ScanConsumer {
 public:
  explicit ProfileCollector(std::vector<Profile>& profiles) : m_profiles(&profiles) {}
  void OnDeclaredCount(std::int64_t /*count*/) override {}
  bool WantsPeaks(const ExtractedScan& scan) override { return scan.m_mode == PeakMode::kProfile; }
  void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) override {
    if (scan.m_mode != PeakMode::kProfile) return;
    SortByMz(peaks);
    m_profiles->push_back({scan.m_id, peaks});
  }

 private:
  std::vector<Profile>* m_profiles;
};

std::vector<Profile> RealProfiles() {
  std::vector<Profile> profiles;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(TARVEK_SHARED_FOLDER "/data", error)) {
    const std::string path = entry.path().string();
    if (!path.ends_with(".mzML.gz") && !path.ends_with(".mzXML.gz")) continue;
    ProfileCollector collector(profiles);
    ReadInstrumentFile(
        path, collector, [](const std::string&) {}, [](const ReadingState&) {});
  }
  return profiles;
}

std::vector<Peak> Above(double threshold, std::vector<Peak> samples) {
  std::erase_if(samples, [&](const Peak& sample) { return sample.m_intensity <= threshold; });
  return samples;
}

/// The indices of peaks in one list that have no peak of the same m/z in the other.
std::vector<std::size_t> MissingIn(const std::vector<Peak>& other, const std::vector<Peak>& peaks,
                                   double tolerance_ppm) {
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    const double tolerance = peaks[i].m_mz * tolerance_ppm * 1e-6;
    const auto near = std::ranges::lower_bound(other, peaks[i].m_mz - tolerance, {}, &Peak::m_mz);
    if (near == other.end() || near->m_mz > peaks[i].m_mz + tolerance) missing.push_back(i);
  }
  return missing;
}

class RealProfilesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (m_profiles.empty()) GTEST_SKIP() << "no real runs beside the project";
  }
  std::vector<Profile> m_profiles = RealProfiles();
};

TEST_F(RealProfilesTest, ArePickedAsByTheSlowWay) {
  std::size_t peaks = 0;
  for (const double threshold : {-1.0, 0.0, 5000.0}) {
    for (const Profile& profile : m_profiles) {
      SCOPED_TRACE(profile.m_name + ", above " + std::to_string(threshold));
      const std::vector<Peak> samples = Above(threshold, profile.m_samples);
      const auto picked = PickPeaks(samples, false);
      const auto expected = NaivePicker(samples, false).Pick();
      ASSERT_EQ(picked.size(), expected.size());
      for (std::size_t i = 0; i < picked.size(); ++i) {
        ASSERT_NEAR(picked[i].m_mz, expected[i].m_peak.m_mz, 1e-9 * picked[i].m_mz);
        ASSERT_NEAR(picked[i].m_intensity, expected[i].m_peak.m_intensity,
                    1e-6 * picked[i].m_intensity);
      }
      peaks += picked.size();
    }
  }
  std::cout << m_profiles.size() << " profiles, " << peaks << " peaks" << std::endl;
}

TEST_F(RealProfilesTest, GiveTheSamePeaksWithoutTheirZeros) {
  for (const Profile& profile : m_profiles) {
    SCOPED_TRACE(profile.m_name);
    const auto peaks = PickPeaks(profile.m_samples, false);
    const auto without = PickPeaks(Above(0.0, profile.m_samples), false);
    ASSERT_EQ(peaks.size(), without.size());
    for (std::size_t i = 0; i < peaks.size(); ++i) {
      EXPECT_EQ(peaks[i].m_mz, without[i].m_mz);
      EXPECT_EQ(peaks[i].m_intensity, without[i].m_intensity);
    }
  }
}

// The samples of these surveys are less than 10 ppm apart, and the peaks are 5 samples wide.
TEST_F(RealProfilesTest, KeepTheirPeaksAboveAThreshold) {
  constexpr double kSamplePpm = 10.0;
  std::map<double, std::size_t> lost;
  std::size_t invented = 0;
  std::size_t all = 0;
  for (const double threshold : {1000.0, 5000.0, 20000.0}) {
    for (const Profile& profile : m_profiles) {
      const NaivePicker whole(profile.m_samples, false);
      std::vector<Peak> high;  // those with the highest sample above the threshold
      std::vector<Peak> original;
      for (const NaivePeak& peak : whole.Pick()) {
        original.push_back(peak.m_peak);
        if (profile.m_samples[peak.m_highest].m_intensity > threshold) high.push_back(peak.m_peak);
      }
      const auto picked = PickPeaks(Above(threshold, profile.m_samples), false);
      lost[threshold] += MissingIn(picked, high, kSamplePpm).size();
      invented += MissingIn(original, picked, kSamplePpm).size();
      all += high.size();
    }
  }
  std::cout << all << " peaks, lost " << lost[1000.0] << ", " << lost[5000.0] << ", "
            << lost[20000.0] << ", invented " << invented << std::endl;
  EXPECT_EQ(lost[1000.0], 0u);
  EXPECT_LE(lost[5000.0] + lost[20000.0], all / 10'000);  // ripples that lost their valley
  EXPECT_LE(invented, all / 10'000);
}

}  // namespace
}  // namespace tarvek::extractor
