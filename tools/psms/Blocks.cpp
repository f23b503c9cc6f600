#include "psms/Blocks.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "MgfText.h"
#include "NumberText.h"
#include "ShownText.h"
#include "mgf/Profiles.h"
#include "psms/Peptide.h"
#include "psms/Readers.h"
#include "psms/ResultLimits.h"

namespace tarvek::tools {
namespace {

constexpr double kIsotopeDa = 1.00335;  // carbon 13 and 12
constexpr int kMaxIsotope = 3;

double MzOf(double mass_da, std::int32_t charge) { return mass_da / charge + kProtonMass; }

// What is cut is cut once: it is the run of all its rows.
void CutRunName(std::string& run) {
  constexpr std::size_t kRoomForSize = 100;
  if (run.size() > kMostRunNameBytes) run = Shown(run, kMostRunNameBytes - kRoomForSize);
}

bool IsSameSpectrum(const EngineMatch& a, const EngineMatch& b) {
  return a.m_scan_no == b.m_scan_no && a.m_place == b.m_place && a.m_charge == b.m_charge &&
         a.m_searched_mass_da == b.m_searched_mass_da && a.m_title == b.m_title &&
         a.m_run == b.m_run;
}

/// Finds run, scan and precursor of a match.
class Joiner {
 public:
  /// has_one_file: whether the only known run may be used for a result with another name.
  Joiner(const PrecursorSource& precursors, bool has_one_file)
      : m_precursors(&precursors), m_has_one_file(has_one_file) {}

  void Join(JoinedMatch& joined) {
    const EngineMatch& match = joined.m_match;
    joined.m_run = RunOf(match);
    joined.m_scan_no = match.m_scan_no;
    joined.m_index = match.m_index;
    TakePlace(joined);
    TakePrecursors(joined);
    joined.m_block = BlockKey(joined);
  }

 private:
  [[nodiscard]] std::string RunOf(const EngineMatch& match) {
    if (match.m_index >= 0) return WithoutDots(match.m_run);
    if (match.m_run != m_file) {
      m_file = match.m_run;
      m_file_run = m_precursors->RunOfFile(m_file);
      if (m_file_run.empty())
        m_file_run = m_precursors->RunNamed(m_file) != nullptr ? m_file : RunOfStem(m_file);
      m_file_run = WithoutDots(m_file_run);
    }
    return m_file_run;
  }

  // When the engine gives the place of a spectrum but not its title, a map has the rest.
  void TakePlace(JoinedMatch& joined) const {
    const EngineMatch& match = joined.m_match;
    if (match.m_index >= 0 || match.m_place == 0) return;
    const auto placed = m_precursors->At(match.m_run, match.m_place);
    if (!placed) return;
    const DeterminedPrecursor& precursor = placed->m_precursor;
    if (precursor.m_charge != match.m_charge ||
        std::fabs(precursor.m_mz - joined.SearchedMz()) > kSameMz)
      throw "the map of " + match.m_run + " belongs to another file: its spectrum " +
          std::to_string(match.m_place) + " has m/z " + Fixed(precursor.m_mz, 4) + " and charge " +
          std::to_string(precursor.m_charge) + ", and " + Fixed(joined.SearchedMz(), 4) + " and " +
          std::to_string(match.m_charge) + " were searched";
    joined.m_run = placed->m_run;
    joined.m_scan_no = precursor.m_scan_no;
    joined.m_index = precursor.m_index;
  }

  void TakePrecursors(JoinedMatch& joined) const {
    joined.m_declared.reset();
    joined.m_determined.reset();
    const SearchedPrecursors* run = m_precursors->RunNamed(joined.m_run);
    if (run == nullptr && m_has_one_file) run = m_precursors->OnlyRun();
    if (run == nullptr) return;
    joined.m_declared = run->DeclaredOf(joined.m_scan_no);
    joined.m_determined = run->Find(joined.m_scan_no, joined.m_match.m_charge, joined.SearchedMz());
    joined.m_index = joined.m_determined ? joined.m_determined->m_index : -1;
  }

  static std::uint64_t BlockKey(const JoinedMatch& joined) {
    const std::uint64_t run = TextKey(joined.m_run);
    const EngineMatch& match = joined.m_match;
    if (!match.m_title.empty()) return JoinedKey(run, TextKey(match.m_title));
    constexpr double kSteps = 1000.0;  // of m/z, where the precursor is not known
    const std::uint64_t which =
        joined.m_index >= 0
            ? static_cast<std::uint64_t>(joined.m_index)
            : static_cast<std::uint64_t>(std::llround(joined.SearchedMz() * kSteps)) +
                  (std::uint64_t{1} << 32);
    const auto scan = static_cast<std::uint64_t>(joined.ScanKey());
    return JoinedKey(JoinedKey(JoinedKey(run, scan), static_cast<std::uint64_t>(match.m_charge)),
                     which);
  }

  const PrecursorSource* m_precursors;
  bool m_has_one_file;
  std::string m_file, m_file_run;  // the last one
};

/// Holds the best match of the present spectrum.
class BestOfSpectrum {
 public:
  BestOfSpectrum(const PrecursorSource& precursors, bool has_one_file, const JoinedTaker& take)
      : m_joiner(precursors, has_one_file), m_take(&take) {}

  void Add(EngineMatch& match) {
    EngineMatch& best = m_joined.m_match;
    if (!m_has_match || !IsSameSpectrum(best, match)) {
      Finish();
      m_key = SequenceKey(match.m_sequence);
      best = match;
      m_has_match = true;
      m_is_merged = false;
      return;
    }
    const std::uint64_t key = SequenceKey(match.m_sequence);
    if (key == m_key && match.Cost() == best.Cost()) {
      best.m_proteins.insert(best.m_proteins.end(), match.m_proteins.begin(),
                             match.m_proteins.end());
      m_is_merged = true;
      // Not for each match, which would take long.
      if (best.m_proteins.size() > 2 * kMostProteins) RemoveRepeatedProteins();
      best.m_is_called_decoy = best.m_is_called_decoy && match.m_is_called_decoy;
    } else if (match.Cost() < best.Cost() || (match.Cost() == best.Cost() && key < m_key)) {
      m_key = key;
      best = match;
      m_is_merged = false;
    }
  }

  void Finish() {
    if (!m_has_match) return;
    m_has_match = false;
    if (m_is_merged) RemoveRepeatedProteins();
    m_joiner.Join(m_joined);
    (*m_take)(m_joined);
  }

 private:
  void RemoveRepeatedProteins() {
    EngineMatch& best = m_joined.m_match;
    RemoveRepeats(best.m_proteins);
    if (best.m_proteins.size() <= kMostProteins) return;
    const std::int64_t spectrum = best.m_scan_no > 0 ? best.m_scan_no : best.m_place;
    throw ResultFault{"spectrum " + std::to_string(spectrum) + ": " + TooManyProteins()};
  }

  Joiner m_joiner;
  const JoinedTaker* m_take;
  JoinedMatch m_joined;
  std::uint64_t m_key = 0;  // of its sequence
  bool m_has_match = false, m_is_merged = false;
};

}  // namespace

double JoinedMatch::SearchedMz() const {
  return MzOf(m_match.m_searched_mass_da, m_match.m_charge);
}

double JoinedMatch::CalculatedMz() const {
  return MzOf(m_match.m_calculated_mass_da, m_match.m_charge);
}

std::int64_t JoinedMatch::ScanKey() const { return m_scan_no > 0 ? m_scan_no : -m_match.m_place; }

std::string JoinedMatch::BlockId() const {
  const auto title = ParseMgfTitle(m_match.m_title);
  if (title && title->m_is_whole) return m_match.m_title;
  if (!m_match.m_title.empty()) return m_run + ":" + m_match.m_title;
  const std::string number = std::to_string(ScanKey());
  const std::string id =
      m_run + "." + number + "." + number + "." + std::to_string(m_match.m_charge) + ".";
  return m_index >= 0 ? id + std::to_string(m_index) + ".dta" : id + "mz" + Fixed(SearchedMz(), 4);
}

MassError MassErrorOf(const EngineMatch& match) {
  MassError best;
  double smallest_da = INFINITY;
  for (int isotope = -kMaxIsotope; isotope <= kMaxIsotope; ++isotope) {
    const double error_da =
        match.m_searched_mass_da - isotope * kIsotopeDa - match.m_calculated_mass_da;
    if (std::fabs(error_da) >= smallest_da) continue;
    smallest_da = std::fabs(error_da);
    best = {isotope, error_da / match.m_calculated_mass_da * 1e6};
  }
  return best;
}

std::int64_t ReadBlocks(const std::vector<std::string>& paths, const PrecursorSource& precursors,
                        const JoinedTaker& take) {
  std::int64_t rows = 0;
  for (const std::string& path : paths) {
    BestOfSpectrum best(precursors, paths.size() == 1, take);
    try {
      ReadMatches(path, [&](EngineMatch& match) {
        ++rows;
        CutRunName(match.m_run);
        best.Add(match);
      });
      best.Finish();
    } catch (const ResultFault& fault) {
      throw path + ": " + fault.m_text;
    }
  }
  return rows;
}

}  // namespace tarvek::tools
