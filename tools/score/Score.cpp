#include "score/Score.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <span>

#include "Charge.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

// The m/z of a true precursor at the isotope offsets -3 to 3, and how far from each the tolerance
// reaches at most. They are the same for all precursors found in its scan.
struct TruthIsotopes {
  TruthIsotopes(const Precursor& truth, double tol_ppm) {
    constexpr double kMoreThanTol = 1.001e-6;  // WithinPpm decides near its edge
    const int charge = ChargeWithoutSign(truth.m_charge);
    for (int offset = -kMaxShift; offset <= kMaxShift; ++offset) {
      const double mz = IsotopeMz(std::fabs(truth.m_mz), offset, charge);
      m_mz[ShiftPlace(offset)] = mz;
      m_reach_mz[ShiftPlace(offset)] = std::fabs(mz) * tol_ppm * kMoreThanTol;
    }
  }

  std::array<double, kShifts> m_mz{};
  std::array<double, kShifts> m_reach_mz{};
};

// The isotope offset, -3 to 3, at which found is within tol_ppm of a true precursor, counted in
// isotopes of its charge.
std::optional<int> IsotopeOffset(const Precursor& found, const TruthIsotopes& truth,
                                 double tol_ppm) {
  for (std::size_t i = 0; i < kShifts; ++i) {
    const double distance_mz = std::fabs(found.m_mz) - std::fabs(truth.m_mz[i]);
    if (std::fabs(distance_mz) > truth.m_reach_mz[i]) continue;
    if (WithinPpm(found.m_mz, truth.m_mz[i], tol_ppm)) return static_cast<int>(i) - kMaxShift;
  }
  return std::nullopt;
}

/// Counts one set of precursors over all scans.
class Scorer {
 public:
  Scorer(double tol_ppm, double min_share) : m_tol_ppm(tol_ppm), m_min_share(min_share) {}

  void AddScan(std::span<const Precursor> found, std::span<const TruePrecursor> truths) {
    for (const TruePrecursor& truth : truths) CountRecall(found, truth);
    std::vector<TruthIsotopes> isotopes;
    for (const TruePrecursor& truth : truths) isotopes.emplace_back(truth.m_precursor, m_tol_ppm);
    for (const Precursor& precursor : found) Classify(precursor, truths, isotopes);
  }

  ScoreFigures Figures() {
    m_figures.m_precision.m_whole = m_figures.m_wrong_isotope.m_whole =
        m_figures.m_wrong_charge.m_whole = m_figures.m_precursors;
    m_figures.m_median_ppm = Quantile(m_ppm_errors, 0.5);
    for (double& error : m_ppm_errors) error = std::fabs(error);
    m_figures.m_median_absolute_ppm = Quantile(m_ppm_errors, 0.5);
    m_figures.m_absolute_ppm_95 = Quantile(m_ppm_errors, 0.95);
    return m_figures;
  }

 private:
  [[nodiscard]] bool Agree(const Precursor& found, const Precursor& truth) const {
    return found.m_charge == truth.m_charge && WithinPpm(found.m_mz, truth.m_mz, m_tol_ppm);
  }

  void CountRecall(std::span<const Precursor> found, const TruePrecursor& truth) {
    const bool is_found = std::ranges::any_of(
        found, [&](const Precursor& precursor) { return Agree(precursor, truth.m_precursor); });
    const auto count = [is_found](Ratio& ratio) {
      ++ratio.m_whole;
      ratio.m_part += is_found ? 1 : 0;
    };
    if (truth.m_is_target) count(m_figures.m_target_recall);
    if (truth.m_share >= 0.10) count(m_figures.m_recall_10);
    if (truth.m_share >= 0.05) count(m_figures.m_recall_5);
  }

  // True, else some isotopes off, else with a wrong charge, else unexplained.
  void Classify(const Precursor& found, std::span<const TruePrecursor> truths,
                std::span<const TruthIsotopes> isotopes) {
    ++m_figures.m_precursors;
    std::optional<int> nearest_offset;
    bool has_other_charge = false;
    for (std::size_t i = 0; i < truths.size(); ++i) {
      const TruePrecursor& truth = truths[i];
      if (truth.m_share < m_min_share) continue;
      const auto offset = IsotopeOffset(found, isotopes[i], m_tol_ppm);
      if (!offset) continue;
      if (found.m_charge != truth.m_precursor.m_charge) {
        has_other_charge = true;
      } else if (!nearest_offset || std::abs(*offset) < std::abs(*nearest_offset)) {
        nearest_offset = offset;
        if (*offset == 0) m_ppm_errors.push_back(PpmError(found.m_mz, truth.m_precursor.m_mz));
      }
    }
    if (nearest_offset) {
      ++m_figures.m_by_isotope_offset[ShiftPlace(*nearest_offset)];
      ++(*nearest_offset == 0 ? m_figures.m_precision : m_figures.m_wrong_isotope).m_part;
    } else if (has_other_charge) {
      ++m_figures.m_wrong_charge.m_part;
    }
  }

  static double Quantile(std::vector<double>& values, double share) {
    if (values.empty()) return 0.0;
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
  }

  double m_tol_ppm;
  double m_min_share;
  ScoreFigures m_figures;
  std::vector<double> m_ppm_errors;
};

}  // namespace

double Ratio::Value() const {
  return m_whole == 0 ? 0.0 : static_cast<double>(m_part) / static_cast<double>(m_whole);
}

TruthTable ReadTruthTable(const std::string& path) {
  TableReader reader(path);
  const auto [scan, mz, charge, share, is_target] =
      reader.ReadHeader<5>({"scan", "mz", "charge", "share", "is_target"});
  TruthTable truth;
  while (reader.NextRow()) {
    TruePrecursor row;
    row.m_precursor = {reader.Real(mz), reader.Integer(charge)};
    row.m_share = reader.Real(share);
    row.m_is_target = reader.Integer(is_target) != 0;
    std::vector<TruePrecursor>& of_scan = truth[reader.Integer(scan)];
    if (of_scan.size() == kMostTablePrecursors) reader.Fail("more precursors than any scan has.");
    of_scan.push_back(row);
  }
  return truth;
}

PrecursorTable ReadPrecursorTable(const std::string& path) {
  PrecursorTableReader reader(path);
  PrecursorTable table;
  for (PrecursorRow row; reader.Next(row);) {
    TableRow& known = table[row.m_scan_no];  // another row of a scan adds to the first
    if (known.m_determined.size() + row.m_determined.size() > kMostTablePrecursors ||
        known.m_declared.size() == kMostTablePrecursors)
      reader.Fail("more precursors than any scan has.");
    if (row.m_declared.m_mz != -1.0) known.m_declared.push_back(row.m_declared);
    known.m_determined.insert(known.m_determined.end(), row.m_determined.begin(),
                              row.m_determined.end());
  }
  return table;
}

ScoreReport ScoreTable(const PrecursorTable& table, const TruthTable& truth, double tol_ppm,
                       double min_share) {
  Scorer determined(tol_ppm, min_share);
  Scorer declared(tol_ppm, min_share);
  const TableRow missing;
  for (const auto& [scan, truths] : truth) {
    const auto row = table.find(scan);
    const TableRow& found = row == table.end() ? missing : row->second;
    determined.AddScan(found.m_determined, truths);
    declared.AddScan(found.m_declared, truths);
  }
  return {static_cast<std::int64_t>(truth.size()), static_cast<std::int64_t>(table.size()),
          determined.Figures(), declared.Figures()};
}

}  // namespace tarvek::tools
