// tools/simulate/Options.h: the options of a simulated run.
// Does:     holds the settings of a run and their defaults.
// Throws:   nothing.
// Not here: the checks of the values (simulate/Command.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvek::tools {

/// A way to make and to measure fragments: one of kActivationTypes, and FTMS or ITMS.
struct FragmentMethod {
  std::string m_activation = "HCD";
  std::string m_analyser = "FTMS";
};

struct SimulateOptions {
  std::uint64_t m_seed = 1;
  std::optional<std::int64_t> m_ms2_scans;  // ends the run when reached
  std::optional<double> m_gradient_minutes;
  double m_isolation_width_mz = 2.0;
  std::optional<double> m_n15_enrichment;
  bool m_is_negative = false;
  double m_ion_trap_share = 0.0;             // of the surveys, in [0, 0.9]
  std::vector<FragmentMethod> m_methods{1};  // each precursor is fragmented by all, in turn
  std::size_t m_top = 6;                     // precursors of a survey
  double m_resolution = 60000.0;             // of the surveys, at m/z 400
  double m_noise = 1.0;                      // times the usual number of noise peaks
  double m_realism = 0.0;                    // 0: without simulate/Realism.h; 1: like real runs
  double m_low_mz = 350.0;                   // of the surveys
  double m_high_mz = 1500.0;
};

}  // namespace tarvek::tools
