// tools/table/Rows.h: the precursors of a finished run with all that is known about each.
// Does:     joins the precursor table of a run with its record, its evidence, the input scans or the
//           instrument file, and its surveys.
// Owns:     nothing.
// Throws:   ForEachPrecursor what take throws, and a std::string naming the file (for text also the line) that cannot
//           be read or is damaged; SettingsHash nothing.
// Not here: how the rows are written (table/Text.h). The columns: docs/formats/table.md.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "RunRecord.h"

namespace tarvek::tools {

/// One precursor of one scan. Unknown values are empty.
struct PrecursorFact {
  std::string m_run;
  std::int32_t m_scan_no = 0;
  std::optional<double> m_time_min;
  std::string m_activation;
  std::string m_analyser;
  std::optional<double> m_isolation_mz;     // centre of the isolation window
  std::optional<double> m_isolation_width;  // in full, m/z
  std::optional<double> m_declared_mz;
  std::optional<std::int32_t> m_declared_charge;
  int m_rank = 1;
  bool m_is_determined = true;  // false: exported as declared, since nothing was determined
  double m_mz = 0.0;            // without the sign of negative ions
  std::int32_t m_charge = 0;    // signed
  double m_neutral_mass_da = 0.0;
  std::optional<int> m_isotope_shift;  // -1: the determined peak is one below the declared one
  std::optional<double> m_ppm;         // against the declared m/z at that shift
  std::optional<double> m_probability;
  std::optional<double> m_share;
  std::optional<double> m_purity;
  std::string m_settings_hash;
};

struct RowSettings {
  std::string
      m_input_folder;       // of the input scans or the instrument file; empty: next to the outputs
  double m_tol_ppm = 20.0;  // as tarvek's own mass tolerance
};

/// Gives take the rows of the run in the order of its table, once all of it was read and found sound.
/// base_path: with or without ".csv".
void ForEachPrecursor(const std::string& base_path, const RowSettings& settings,
                      const std::function<void(const PrecursorFact&)>& take);

/// 16 hexadecimal digits that identify settings: FNV-1a (64 bits) over the lines "KEY\tVALUE\n" of
/// the settings by ascending key; empty for a record without settings.
std::string SettingsHash(const RunRecord& record);

}  // namespace tarvek::tools
