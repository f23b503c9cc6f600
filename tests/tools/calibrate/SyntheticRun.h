// tests/tools/calibrate/SyntheticRun.h: fragment spectra of peptides with a known bias of their m/z.
// Masses are computed from atoms and sequence ends, in another way than in the estimator.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "calibrate/Evidence.h"

namespace tarvek::test {

struct SyntheticScan {
  std::int32_t m_scan_no = 0;
  double m_rt_s = 0.0;
  std::string m_activation = "HCD";
  std::string m_analyser = "FT";
  std::vector<Peak> m_peaks;
  std::vector<Precursor> m_precursors;

  [[nodiscard]] tools::FragmentScan View() const {
    return {m_scan_no, m_rt_s, m_activation, m_analyser, m_peaks, m_precursors};
  }
};

/// Biases in ppm.
struct SyntheticBias {
  std::function<double(double rt_s)> m_survey = [](double) { return 0.0; };
  std::function<double(double rt_s, double mz)> m_fragment = [](double, double) { return 0.0; };
};

inline SyntheticBias ConstantBias(double survey_ppm, double fragment_ppm) {
  return {[survey_ppm](double) { return survey_ppm; },
          [fragment_ppm](double, double) { return fragment_ppm; }};
}

/// Counts of C, H, N, O, S.
struct Atoms {
  int m_c = 0, m_h = 0, m_n = 0, m_o = 0, m_s = 0;

  [[nodiscard]] double Mass() const {
    return m_c * 12.0 + m_h * 1.00782503223 + m_n * 14.00307400443 + m_o * 15.99491461957 +
           m_s * 31.9720711744;
  }
};

inline double MassOfResidue(char letter) {
  static const std::map<char, Atoms> kAtoms = {
      {'G', {2, 3, 1, 1, 0}},  {'A', {3, 5, 1, 1, 0}},  {'S', {3, 5, 1, 2, 0}},
      {'P', {5, 7, 1, 1, 0}},  {'V', {5, 9, 1, 1, 0}},  {'T', {4, 7, 1, 2, 0}},
      {'L', {6, 11, 1, 1, 0}}, {'N', {4, 6, 2, 2, 0}},  {'D', {4, 5, 1, 3, 0}},
      {'Q', {5, 8, 2, 2, 0}},  {'K', {6, 12, 2, 1, 0}}, {'E', {5, 7, 1, 3, 0}},
      {'M', {5, 9, 1, 1, 1}},  {'H', {6, 7, 3, 1, 0}},  {'F', {9, 9, 1, 1, 0}},
      {'R', {6, 12, 4, 1, 0}}, {'C', {5, 8, 2, 2, 1}},  {'Y', {9, 9, 1, 2, 0}},
      {'W', {11, 10, 2, 1, 0}}};
  return kAtoms.at(letter).Mass();
}

class SyntheticRun {
 public:
  explicit SyntheticRun(unsigned seed) : m_random(seed) {}

  /// Scans 2, 3, ... from 0 s to the end, a peptide each, with noise.
  std::vector<SyntheticScan> Scans(int count, double end_s, const SyntheticBias& bias) {
    std::vector<SyntheticScan> scans;
    for (int i = 0; i < count; ++i) scans.push_back(Scan(i + 2, end_s * i / count, bias));
    return scans;
  }

 private:
  static constexpr double kProton = 1.007276466621;
  static constexpr double kWater = 2 * 1.00782503223 + 15.99491461957;
  static constexpr double kCarbonMonoxide = 12.0 + 15.99491461957;

  SyntheticScan Scan(int scan_no, double rt_s, const SyntheticBias& bias) {
    SyntheticScan scan;
    scan.m_scan_no = scan_no;
    scan.m_rt_s = rt_s;
    const auto add = [&](double mz, double intensity) {
      const double ppm = bias.m_fragment(rt_s, mz) + Jitter(1.5);
      if (mz > 100.0) scan.m_peaks.push_back({mz * (1.0 + ppm * 1e-6), intensity});
    };
    const std::string peptide = Peptide();
    double whole = kWater;
    for (const char letter : peptide) whole += MassOfResidue(letter);
    double front = 0.0;
    for (std::size_t i = 0; i + 1 < peptide.size(); ++i) {
      front += MassOfResidue(peptide[i]);
      if (i > 0 && Share() < 0.5) add(front + kProton, 50.0 + 50.0 * Share());  // b
      if (i == 1) add(front + kProton - kCarbonMonoxide, 60.0);                 // a2
      if (Share() < 0.8) add(whole - front + kProton, 80.0 + 100.0 * Share());  // y
      if (Share() < 0.3) add(MassOfResidue(peptide[i]) - kCarbonMonoxide + kProton, 40.0);
    }
    for (int i = 0; i < 60; ++i)
      scan.m_peaks.push_back({110.0 + 1300.0 * Share(), 1.0 + 20.0 * Share()});
    SortByMz(scan.m_peaks);
    const int charge = Share() < 0.6 ? 2 : 3;
    const double mz = whole / charge + kProton;
    scan.m_precursors.push_back({mz * (1.0 + (bias.m_survey(rt_s) + Jitter(1.0)) * 1e-6), charge});
    return scan;
  }

  std::string Peptide() {
    static const std::string kLetters = "GASPVTLNDQEMHFYWCLLAAGEEVS";
    std::string peptide;
    const auto length = 7 + static_cast<int>(Share() * 8);
    for (int i = 0; i < length; ++i)
      peptide += kLetters[static_cast<std::size_t>(Share() * static_cast<double>(kLetters.size()))];
    return peptide + (Share() < 0.5 ? 'K' : 'R');
  }

  /// From 0 to below 1, the same with every library.
  double Share() { return static_cast<double>(m_random()) / 4294967296.0; }

  /// About normal, of a standard deviation in ppm.
  double Jitter(double deviation) {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += Share();
    return sum * deviation;
  }

  std::mt19937 m_random;
};

}  // namespace tarvek::test
