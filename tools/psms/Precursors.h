// tools/psms/Precursors.h: the precursors of runs, looked up for the spectra of a search.
// Does:     reads precursor tables (.csv) and the maps of "tarvek-tools mgf" (.ids.tsv); finds a
//           determined precursor by scan, charge and m/z, the declared one of a scan, and the scan
//           at a place in a searched file.
// Owns:     16 bytes for each precursor of a table, 24 for each of a map.
// Throws:   a std::string naming file and line for what cannot be read.
// Not here: the matches (psms/Blocks.h).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// m/z that differ by no more count as equal: engines print four decimals or more, some from
/// floats.
inline constexpr double kSameMz = 0.002;

struct DeterminedPrecursor {
  double m_mz = 0.0;  // without sign
  std::int32_t m_scan_no = 0;
  std::int16_t m_charge = 0;  // without sign
  std::int16_t m_index = 0;   // within its scan, from 0, best first
};

/// The precursors of one run.
class SearchedPrecursors {
 public:
  void AddScan(std::int32_t scan_no, const Precursor& declared,
               const std::vector<Precursor>& determined);
  void Add(const DeterminedPrecursor& precursor) { m_determined.push_back(precursor); }
  void Sort();

  /// The one of this charge that is nearest to mz, within kSameMz; std::nullopt without one.
  [[nodiscard]] std::optional<DeterminedPrecursor> Find(std::int32_t scan_no, std::int32_t charge,
                                                        double mz) const;
  /// The declared precursor; std::nullopt when the input declared none or is unknown.
  [[nodiscard]] std::optional<Precursor> DeclaredOf(std::int32_t scan_no) const;

 private:
  struct Declared {
    Precursor m_precursor;
    std::int32_t m_scan_no = 0;
  };
  std::vector<DeterminedPrecursor> m_determined;
  std::vector<Declared> m_declared;
};

/// A spectrum of a searched file.
struct PlacedSpectrum {
  std::string m_run;
  DeterminedPrecursor m_precursor;
};

class PrecursorSource {
 public:
  /// Adds a table, a map, or a folder with any of both.
  void Add(const std::string& path);

  /// The precursors of a run by its name, with dots and underscores equal; null when unknown.
  [[nodiscard]] const SearchedPrecursors* RunNamed(std::string_view run) const;

  /// The run when there is only one; null otherwise.
  [[nodiscard]] const SearchedPrecursors* OnlyRun() const;

  /// The spectrum at a place, from 1, of a searched file by its name without ending; std::nullopt
  /// when no map has it.
  [[nodiscard]] std::optional<PlacedSpectrum> At(std::string_view file, std::int64_t place) const;

  /// The run of a searched file according to a map; empty without one.
  [[nodiscard]] std::string RunOfFile(std::string_view file) const;

 private:
  struct Spectrum {
    std::int32_t m_run = 0;  // in m_names
    DeterminedPrecursor m_precursor;
  };

  void AddTable(const std::string& path);
  void AddMap(const std::string& path);

  std::map<std::string, SearchedPrecursors, std::less<>> m_tables;
  std::map<std::string, SearchedPrecursors, std::less<>>
      m_mapped;  // of maps, for runs without a table
  std::map<std::string, std::vector<Spectrum>, std::less<>> m_files;
  std::vector<std::string> m_names;
};

/// The run of a file that tarvek or "tarvek-tools mgf" wrote, without ending: "run" of "run_HCDFT" and
/// of "run_HCDFT_2"; stem itself without such words.
std::string RunOfStem(std::string_view stem);

}  // namespace tarvek::tools
