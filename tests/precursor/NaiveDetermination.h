// tests/precursor/NaiveDetermination.h: precursor determination done again, slowly and obviously.
// Does:     does every step by linear scans over plain lists, computes all features at once, and
//           keeps the elution grid as a dense array.
// Owns:     all its data. It shares only the records and the parameters with the program.
// Throws:   std::out_of_range for a mass outside the isotope table.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "SpectrumRecords.h"
#include "UserParameters.h"

namespace tarvek::naive {

using Peaks = std::vector<Peak>;
using Window = std::array<Peaks, 10>;
using Table = std::vector<std::array<double, 5>>;
using Matrix = std::array<std::array<double, 12>, 11>;

inline Peaks PeaksInWindow(const Peaks& peaks, double centre, double tol, bool tol_is_ppm) {
  const double t = tol_is_ppm ? centre * tol / 1e6 : tol;
  Peaks inside;
  for (const Peak& peak : peaks)
    if (peak.m_mz > centre - t && t > peak.m_mz - centre) inside.push_back(peak);
  return inside;
}

// Of two equally near peaks the later one, unless the earlier one is already above x.
inline Peak NearestPeak(const Peaks& peaks, double x) {
  Peak best = peaks.at(0);
  for (const Peak& peak : peaks) {
    const double d = std::fabs(peak.m_mz - x);
    const double best_d = std::fabs(best.m_mz - x);
    if (d < best_d || (d == best_d && best.m_mz <= x)) best = peak;
  }
  return best;
}

template <typename Store>
std::optional<Window> GatherWindow(const Store& store, const MS2Spectrum& ms2, double half_width) {
  for (std::size_t s = 0; s < store.size(); ++s) {
    if (store[s].m_scan_no != ms2.m_precursor_scan) continue;
    Window window;
    for (int p = 0; p < 10; ++p) {
      const int i = static_cast<int>(s) - 4 + p;
      if (i < 0 || i >= static_cast<int>(store.size())) continue;
      window.at(static_cast<std::size_t>(p)) = PeaksInWindow(
          store[static_cast<std::size_t>(i)].m_peaks, ms2.m_activation_center, half_width, false);
    }
    return window;
  }
  return std::nullopt;
}

inline Window FilterByLocalIntensity(const Window& window, double centre) {
  Window filtered;
  for (std::size_t p = 0; p < 10; ++p) {
    double highest = 0.0;
    for (const Peak& peak : PeaksInWindow(window[p], centre, 1.05, false))
      if (peak.m_intensity > highest) highest = peak.m_intensity;
    for (const Peak& peak : window[p])
      if (peak.m_intensity >= 0.02 * highest) filtered[p].push_back(peak);
  }
  return filtered;
}

inline double TolMz(const UserParameters& params, double reference) {
  return params.m_mstolppm ? params.m_mstol * reference / 1e6 : params.m_mstol;
}

inline Peaks Collapse(const Peaks& peaks, double t) {
  Peaks out;
  std::size_t i = 0;
  while (i < peaks.size()) {
    double mz = peaks[i].m_mz;
    double intensity = peaks[i].m_intensity;
    std::size_t j = i + 1;
    while (j < peaks.size() && std::fabs(mz - peaks[j].m_mz) < t) {
      const double mz_j = peaks[j].m_mz;
      const double i_j = peaks[j].m_intensity;
      mz = (i_j * mz_j + intensity * mz) / (intensity + i_j);
      intensity = intensity + i_j;
      ++j;
    }
    out.push_back({mz, intensity});
    i = j;
  }
  return out;
}

inline Peaks CollectCandidates(const UserParameters& params, const Window& filtered,
                               double centre) {
  std::vector<std::pair<double, double>> accumulated;
  Peaks peaks;
  for (const std::size_t p : {std::size_t{4}, std::size_t{3}, std::size_t{5}}) {
    for (const Peak& peak :
         PeaksInWindow(filtered.at(p), centre, params.m_isolation_width + 1.0, false))
      accumulated.emplace_back(peak.m_mz, peak.m_intensity);
    std::sort(accumulated.begin(), accumulated.end());
    peaks.clear();
    for (const auto& [mz, intensity] : accumulated) peaks.push_back({mz, intensity});
    if (params.m_check_activationcenter && !peaks.empty() &&
        std::fabs(NearestPeak(peaks, centre).m_mz - centre) < TolMz(params, centre))
      break;
  }
  if (params.m_cut_similiar_mono && !peaks.empty())
    return Collapse(peaks, TolMz(params, peaks[0].m_mz));
  return peaks;
}

/// Ten rows of 2 x trunc(100 c) bins, all of them.
struct DenseGrid {
  DenseGrid(double half_width, double center)
      : m_origin(half_width - center),
        m_bin_num(2 * static_cast<long long>(100 * center)),
        m_rows(10, std::vector<double>(static_cast<std::size_t>(std::max(m_bin_num, 0LL)))) {}

  [[nodiscard]] long long BinOf(double mz) const {
    return static_cast<long long>((mz - m_origin) * 100);
  }
  void Add(std::size_t row, const Peak& peak) {
    const long long bin = BinOf(peak.m_mz);
    if (row < 10 && bin >= 0 && bin < m_bin_num)
      m_rows[row][static_cast<std::size_t>(bin)] += peak.m_intensity;
  }
  [[nodiscard]] double Sum(std::size_t row, long long low, long long high) const {
    double sum = 0.0;
    for (long long b = std::max(low, 0LL); b < std::min(high, m_bin_num); ++b)
      sum += m_rows[row][static_cast<std::size_t>(b)];
    return sum;
  }

  double m_origin;
  long long m_bin_num;
  std::vector<std::vector<double>> m_rows;
};

inline double IsotopeMz(const Precursor& precursor, int i) {
  if (precursor.m_charge > 0) return precursor.m_mz + i * 1.003 / precursor.m_charge;
  return -precursor.m_mz - i * 1.003 / precursor.m_charge;
}

inline void CutRow(std::array<double, 12>& row) {
  for (std::size_t k = 8; k + 1 < 12; ++k) {
    if (!(row[k - 1] >= row[k] && row[k + 1] > row[k])) continue;
    for (std::size_t after = k + 1; after < 12; ++after) row[after] = 0.0;
    break;
  }
}

struct Pattern {
  Matrix m_matrix{};
  double m_total = 0.0;
};

inline Pattern BuildPattern(const UserParameters& params, double c, const Precursor& precursor,
                            const Peaks& candidates, const DenseGrid& grid) {
  double t_peak = params.m_mstol;
  double t_grid = params.m_mstol;
  if (params.m_mstolppm) {
    t_peak = params.m_mstol * precursor.m_mz / 1e6;
    t_grid = c * params.m_mstol / 1e6;
  }
  Pattern pattern;
  for (int i = -7; i <= 4; ++i) {
    const auto column = static_cast<std::size_t>(7 + i);
    const double x = IsotopeMz(precursor, i);
    const Peak nearest = NearestPeak(candidates, x);
    if (std::fabs(nearest.m_mz - x) < t_peak) pattern.m_matrix[0][column] = nearest.m_intensity;
    const long long low = grid.BinOf(x - t_grid);
    if (low < 1) continue;
    for (std::size_t r = 0; r < 10; ++r)
      pattern.m_matrix[r + 1][column] = grid.Sum(r, low, grid.BinOf(x + t_grid) + 1);
  }
  for (std::size_t r = 1; r <= 10; ++r)
    for (std::size_t column = 6; column <= 11; ++column)
      pattern.m_total += pattern.m_matrix[r][column];
  for (auto& row : pattern.m_matrix) CutRow(row);
  return pattern;
}

inline double Pearson(const std::vector<double>& x, const std::vector<double>& y) {
  const auto n = static_cast<double>(x.size());
  double sx = 0.0, sy = 0.0, sxx = 0.0, syy = 0.0, sxy = 0.0;
  for (const double v : x) sx += v;
  for (const double v : y) sy += v;
  for (const double v : x) sxx += v * v;
  for (const double v : y) syy += v * v;
  for (std::size_t k = 0; k < x.size(); ++k) sxy += x[k] * y[k];
  const double den = std::sqrt((sxx - sx * sx / n) * (syy - sy * sy / n));
  if (den <= 1e-6) return 0.0;
  return (sxy - sx * sy / n) / den;
}

inline double Cosine(const Matrix& matrix, std::size_t a, std::size_t b) {
  double aa = 0.0, bb = 0.0, ab = 0.0;
  for (std::size_t r = 1; r <= 10; ++r) aa += matrix[r][a] * matrix[r][a];
  for (std::size_t r = 1; r <= 10; ++r) bb += matrix[r][b] * matrix[r][b];
  for (std::size_t r = 1; r <= 10; ++r) ab += matrix[r][a] * matrix[r][b];
  const double root = std::sqrt(aa * bb);
  return root <= 1e-6 ? 0.0 : ab / root;
}

/// Data that all candidates of one MS2 scan share.
struct Scan {
  const UserParameters& m_params;
  double m_centre;
  Window m_window;
  Window m_filtered;
  Peaks m_candidates;
  DenseGrid m_grid;
};

template <typename Store>
std::optional<Scan> BuildScan(const UserParameters& params, const Store& store,
                              const MS2Spectrum& ms2) {
  const double c = ms2.m_activation_center;
  const double w1 = params.m_isolation_width + 1.0;
  const double w2 = w1 + (params.m_mstolppm ? params.m_mstol * 15000.0 / 1e6 : params.m_mstol);
  const auto window = GatherWindow(store, ms2, w2);
  if (!window) return std::nullopt;
  Scan scan{params, c, *window, FilterByLocalIntensity(*window, c), {}, DenseGrid(w1, c)};
  for (std::size_t r = 0; r < 10; ++r)
    for (const Peak& peak : scan.m_filtered[r]) scan.m_grid.Add(r, peak);
  scan.m_candidates = CollectCandidates(params, scan.m_filtered, c);
  return scan;
}

struct Similarity {
  double m_value = -1.0;
  int m_row = -1;
};

inline Similarity IpvSimilarity(const Pattern& pattern, const std::array<double, 5>& expected,
                                int shift) {
  std::vector<double> x(static_cast<std::size_t>(-shift), 0.0);
  x.insert(x.end(), expected.begin(), expected.end());
  Similarity best;
  for (int r = 0; r <= 10; ++r) {
    std::vector<double> y;
    for (std::size_t k = 0; k < x.size(); ++k)
      y.push_back(
          pattern.m_matrix[static_cast<std::size_t>(r)][static_cast<std::size_t>(7 + shift) + k]);
    const double value = Pearson(x, y);
    if (value > best.m_value) best = {value, r};
  }
  return best;
}

struct Features {
  Precursor m_precursor;
  Pattern m_pattern;
  double m_similarity_0 = 0.0;
  double m_similarity_m1 = 0.0;
  double m_similarity_m2 = 0.0;
  int m_best_row = -1;
  double m_xic_0_1 = 0.0;
  double m_xic_m1_0 = 0.0;
  double m_elution_share = 0.0;
  int m_isotope_count = 0;
  int m_window_isotope_count = 0;
  double m_window_ratio = 0.0;
  double m_spread_ppm = 0.0;
  double m_refined_mz = 0.0;  // positive
};

inline int CountIsotopes(const Matrix& matrix) {
  int longest = 0;
  for (const auto& row : matrix) {
    int k = 0;
    while (k < 5 && row[static_cast<std::size_t>(7 + k)] > 0) ++k;
    longest = std::max(longest, k);
  }
  return longest;
}

inline double ElutionShare(const Pattern& pattern) {
  if (pattern.m_total < 1e-6) return 1.0;
  double sum = 0.0;
  for (std::size_t r = 1; r <= 10; ++r)
    for (std::size_t column = 7; column <= 11; ++column) sum += pattern.m_matrix[r][column];
  return sum / pattern.m_total;
}

inline double WindowRatio(const Scan& scan, const Precursor& precursor, int isotope_count) {
  const double width = scan.m_params.m_isolation_width;
  const Peaks inside = PeaksInWindow(scan.m_candidates, scan.m_centre, width * 0.5, false);
  double total = 0.0;
  for (const Peak& peak : inside) total += peak.m_intensity;
  if (total <= 1e-6) return 0.0;
  const double t = TolMz(scan.m_params, scan.m_centre);
  double s = 0.0;
  for (int i = 0; i < isotope_count; ++i)
    for (const Peak& peak : PeaksInWindow(inside, IsotopeMz(precursor, i), t, false))
      s += peak.m_intensity;
  return s * width / total * 0.5;
}

inline double SpreadPpm(const Scan& scan, const Precursor& precursor) {
  const double m0 = std::trunc(std::fabs(precursor.m_mz));
  double w = 0.0, s1 = 0.0, s2 = 0.0;
  for (const Peaks& list : scan.m_window) {
    for (const Peak& peak :
         PeaksInWindow(list, m0, scan.m_params.m_mstol, scan.m_params.m_mstolppm)) {
      w += peak.m_intensity;
      s1 += peak.m_intensity * peak.m_mz;
      s2 += peak.m_intensity * peak.m_mz * peak.m_mz;
    }
  }
  const double s = w <= 1e-6 ? 0.0 : std::sqrt(std::fabs((s2 - s1 * s1 / w) / w));
  return s * 1e6 / m0;
}

inline double RefinedMz(const Scan& scan, const Precursor& precursor) {
  const double mz = std::fabs(precursor.m_mz);
  double weighted = 0.0;
  double intensity = 0.0;
  for (const Peaks& list : scan.m_window) {
    for (const Peak& peak : PeaksInWindow(list, mz, scan.m_params.m_recalibrate_window, true)) {
      weighted += peak.m_mz * peak.m_intensity;
      intensity += peak.m_intensity;
    }
  }
  return intensity > 1e-6 ? weighted / intensity : mz;
}

inline Features ComputeFeatures(const Scan& scan, const Table& table, const Precursor& precursor) {
  Features f;
  f.m_precursor = precursor;
  f.m_pattern =
      BuildPattern(scan.m_params, scan.m_centre, precursor, scan.m_candidates, scan.m_grid);
  const double z = precursor.m_charge;
  const double mass = precursor.m_mz * z - z * 1.007276 + 1.007276;
  const auto& expected = table.at(static_cast<std::size_t>(static_cast<long long>(mass)));
  f.m_similarity_0 = IpvSimilarity(f.m_pattern, expected, 0).m_value;
  f.m_similarity_m1 = IpvSimilarity(f.m_pattern, expected, -1).m_value;
  const Similarity m2 = IpvSimilarity(f.m_pattern, expected, -2);
  f.m_similarity_m2 = m2.m_value;
  f.m_best_row = m2.m_row;
  f.m_xic_0_1 = Cosine(f.m_pattern.m_matrix, 7, 8);
  f.m_xic_m1_0 = Cosine(f.m_pattern.m_matrix, 6, 7);
  f.m_elution_share = ElutionShare(f.m_pattern);
  f.m_isotope_count = CountIsotopes(f.m_pattern.m_matrix);
  for (int i = 0; i < f.m_isotope_count; ++i)
    if (std::fabs(IsotopeMz(precursor, i) - scan.m_centre) <
        scan.m_params.m_isolation_width * 0.5 + 0.05)
      ++f.m_window_isotope_count;
  f.m_window_ratio = WindowRatio(scan, precursor, f.m_isotope_count);
  f.m_spread_ppm = SpreadPpm(scan, precursor);
  f.m_refined_mz = RefinedMz(scan, precursor);
  return f;
}

inline double HingePlus(double x, double tm, double t, double tp) {
  const double p = (2 * tp + tm - 3 * t) / ((tp - tm) * (tp - tm));
  const double q = (2 * t - tp - tm) / ((tp - tm) * (tp - tm) * (tp - tm));
  if (x > tm && x < tp) return p * (x - tm) * (x - tm) + q * (x - tm) * (x - tm) * (x - tm);
  return x <= tm ? 0.0 : x - t;
}

inline double HingeMinus(double x, double tm, double t, double tp) {
  const double p = (3 * t - 2 * tm - tp) / ((tm - tp) * (tm - tp));
  const double q = (tm + tp - 2 * t) / ((tm - tp) * (tm - tp) * (tm - tp));
  if (x > tm && x < tp) return p * (x - tp) * (x - tp) + q * (x - tp) * (x - tp) * (x - tp);
  return x <= tm ? t - x : 0.0;
}

inline double ScoreModelE(const Features& f) {
  const double m1 = f.m_similarity_m1;
  const double m2 = f.m_similarity_m2;
  const double cm = f.m_precursor.m_charge * f.m_precursor.m_mz;
  const double z = std::abs(f.m_precursor.m_charge);
  double s = 0.413690411793215;
  s += 2.167891678118 * HingePlus(m1, 0.118683, 0.886521, 0.943259);
  s += -0.182055449457441 * HingeMinus(m1, 0.118683, 0.886521, 0.943259);
  s += 0.484178202820683 * HingePlus(f.m_window_ratio, 0.280507, 0.521009, 0.7605045);
  s += -2.0012841532973 * HingeMinus(f.m_window_ratio, 0.280507, 0.521009, 0.7605045);
  s += 9.84830022285372 * HingePlus(f.m_similarity_0, 0.730544, 0.961079, 0.980539);
  s += -0.664726837910063 * HingeMinus(f.m_similarity_0, 0.730544, 0.961079, 0.980539);
  s += 5.86652807168618e-05 * HingePlus(cm, 687.37946, 774.5019, 4315.231375);
  s += -0.000229163620818983 * HingeMinus(cm, 687.37946, 774.5019, 4315.231375);
  s += -0.47954051980684 * HingePlus(m2, -0.053957, 0.636762, 0.799464);
  s += 1.51413716980376 * HingeMinus(m2, -0.053957, 0.636762, 0.799464);
  s += -1.05609578125814 * HingePlus(f.m_elution_share, 0.4850235, 0.968961, 0.9844805);
  s += -0.341778268342375 * HingeMinus(f.m_elution_share, 0.4850235, 0.968961, 0.9844805);
  s += -2.22773468584997 * HingePlus(f.m_xic_m1_0, 0.404172, 0.808344, 0.904172);
  s += -0.0407614339429833 * HingeMinus(f.m_xic_m1_0, 0.404172, 0.808344, 0.904172);
  s += 0.333777817101604 * HingePlus(f.m_xic_0_1, 0.495494, 0.990988, 0.995494);
  s += -0.402563975681755 * HingeMinus(f.m_xic_0_1, 0.495494, 0.990988, 0.995494);
  s += -1.20142953078344 * HingeMinus(m2, 0.799464, 0.962166, 0.9810815);
  s += -0.115481018847564 * HingePlus(z, 2.5, 3.0, 4.5);
  return s;
}

/// One entry of the ranking: its original place and its four values.
struct RankEntry {
  std::size_t m_place;
  std::array<double, 4> m_r;
};

// Insertion keeps equal entries in their order.
template <typename Entry, typename Before>
void InsertionSort(std::vector<Entry>& entries, Before before) {
  for (std::size_t i = 1; i < entries.size(); ++i)
    for (std::size_t j = i; j > 0 && before(entries[j], entries[j - 1]); --j)
      std::swap(entries[j], entries[j - 1]);
}

inline std::vector<std::size_t> PreRank(const std::vector<std::array<double, 4>>& values) {
  std::vector<RankEntry> entries;
  for (const auto& r : values) entries.push_back({entries.size(), r});
  for (std::size_t k = 0; k < 4; ++k) {
    InsertionSort(entries,
                  [k](const RankEntry& a, const RankEntry& b) { return a.m_r[k] < b.m_r[k]; });
    int counter = 1;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i > 0 && entries[i - 1].m_r[k] != entries[i].m_r[k]) ++counter;
      entries[i].m_r[k] = counter;
    }
  }
  const auto product = [](const RankEntry& e) {
    const auto& r = e.m_r;
    return r[0] * r[0] * r[0] * r[1] * r[2] * (r[3] * r[3] * r[3]);
  };
  InsertionSort(entries,
                [&](const RankEntry& a, const RankEntry& b) { return product(a) < product(b); });
  std::vector<std::size_t> order;
  for (const RankEntry& entry : entries) order.push_back(entry.m_place);
  return order;
}

inline bool IsRejected(const Scan& scan, const Features& f) {
  const int z = std::abs(f.m_precursor.m_charge);
  if (f.m_isotope_count < 2) return true;
  if (z > 3 && f.m_isotope_count < 3) return true;
  if (f.m_similarity_0 < 0.5) return true;
  if ((z > 2 || f.m_precursor.m_mz > scan.m_centre + scan.m_params.m_isolation_width) &&
      f.m_window_isotope_count < 2)
    return true;
  return f.m_window_ratio < 0.04;
}

inline std::vector<Features> Survivors(const Scan& scan, const Table& table) {
  const UserParameters& params = scan.m_params;
  std::vector<Features> survivors;
  for (const Peak& peak : scan.m_candidates) {
    if (peak.m_mz > params.m_isolation_width * 0.5 + scan.m_centre + 0.05) continue;
    for (int z = params.m_charge_min; z <= params.m_charge_max; ++z) {
      if (z == 0) continue;
      const Precursor precursor{z < 0 ? -peak.m_mz : peak.m_mz, z};
      bool near_centre = false;
      for (int i = 0; i <= 3; ++i)
        if (std::fabs(IsotopeMz(precursor, i) - scan.m_centre) < TolMz(params, scan.m_centre))
          near_centre = true;
      if (!params.m_co_elute && !near_centre) continue;
      const Features f = ComputeFeatures(scan, table, precursor);
      if (!IsRejected(scan, f)) survivors.push_back(f);
    }
  }
  return survivors;
}

struct Outcome {
  std::size_t m_survivor_count = 0;
  std::vector<std::pair<Features, double>> m_scored;  // in decreasing score order
  std::vector<Precursor> m_precursors;
};

inline std::vector<Features> KeepFirst(const std::vector<Features>& survivors, std::size_t limit) {
  if (survivors.size() <= limit) return survivors;
  std::vector<std::array<double, 4>> values;
  for (const Features& f : survivors)
    values.push_back({f.m_similarity_0, -f.m_xic_m1_0, f.m_xic_0_1, f.m_window_ratio});
  const std::vector<std::size_t> order = PreRank(values);
  std::vector<Features> kept;
  for (std::size_t i = 0; i < limit; ++i) kept.push_back(survivors[order[i]]);
  return kept;
}

template <typename Store>
Outcome DeterminePrecursors(const UserParameters& params, const Table& table, const Store& store,
                            const MS2Spectrum& ms2) {
  Outcome outcome;
  const auto scan = BuildScan(params, store, ms2);
  if (!scan || scan->m_candidates.empty()) return outcome;
  const std::vector<Features> survivors = Survivors(*scan, table);
  outcome.m_survivor_count = survivors.size();
  for (const Features& f : KeepFirst(survivors, params.m_co_elute ? 1000 : 1))
    outcome.m_scored.emplace_back(f, ScoreModelE(f));
  InsertionSort(outcome.m_scored, [](const auto& a, const auto& b) { return a.second > b.second; });
  for (const auto& [f, score] : outcome.m_scored) {
    if (!(score > params.m_mars_threshold)) break;
    const int z = f.m_precursor.m_charge;
    outcome.m_precursors.push_back({z < 0 ? -f.m_refined_mz : f.m_refined_mz, z});
  }
  return outcome;
}

}  // namespace tarvek::naive
