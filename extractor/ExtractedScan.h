// extractor/ExtractedScan.h: the metadata of one spectrum, whatever the format of its file.
// Does:     gives plain values that both readers fill and the rules read.
// Owns:     its texts and lists.
// Throws:   nothing.
// Not here: decisions from them (ScanRules.h), peaks (BinaryArray.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ShownText.h"
#include "SpectrumRecords.h"

namespace tarvek::extractor {

enum class Analyser { kUnknown, kFourier, kTimeOfFlight, kIonTrap, kOther };
enum class Polarity { kUnknown, kPositive, kNegative };
enum class PeakMode { kUnknown, kCentroid, kProfile };

/// Dissociation methods, as bits: a scan may name several.
enum ActivationBit : unsigned {
  kActivationCid = 1u << 0,
  kActivationHcd = 1u << 1,
  kActivationEtd = 1u << 2,
  kActivationEthcd = 1u << 3,  // one term for the pair
  kActivationEtcid = 1u << 4,
  kActivationOther = 1u << 5  // a method without a word; its name is in m_other_activation
};

/// One instrument configuration, as the file describes it.
struct InstrumentConfiguration {
  std::vector<Analyser> m_analysers;  // ascending by order; kUnknown for unknown terms
  bool m_has_inductive_detector = false;
  std::int32_t m_model_accession = 0;  // the number of an MS: term; 0 when none is given
  std::string m_model_name;            // as written, "Q Exactive"; may be empty
};

struct SelectedIon {
  double m_mz = 0.0;          // 0 when not declared
  std::int32_t m_charge = 0;  // 0 when not declared; the sign is not used
  std::vector<std::int32_t> m_possible_charges;
};

struct DeclaredPrecursor {
  std::optional<double> m_target_mz;  // centre of the isolation window
  std::optional<double> m_lower_offset;
  std::optional<double> m_upper_offset;
  std::string m_scan_ref;  // id of the spectrum it was taken from; empty when not declared
  std::vector<SelectedIon> m_ions;
  unsigned m_activation = 0;  // ActivationBit
  std::string m_other_activation;
};

/// One spectrum without its peaks.
struct ExtractedScan {
  std::string m_id;                // nativeID, or the number of an mzXML scan
  std::int64_t m_position = 0;     // 0 for the first spectrum of the file
  bool m_is_mass_spectrum = true;  // false for UV and other non-mass spectra
  std::int32_t m_ms_level = 0;     // 0 when not declared
  std::optional<double> m_rt_seconds;
  double m_injection_ms = 0.0;
  std::optional<double> m_faims_volts;
  Analyser m_analyser = Analyser::kUnknown;
  bool m_has_own_analyser = false;  // its own element names it, not the run's default
  // The configuration that the spectrum names, or the run's default; null without either. Borrowed
  // from the reader for one call.
  const InstrumentConfiguration* m_configuration = nullptr;
  bool m_has_mobility_array = false;  // one frame of several mobilities: peaks of equal m/z repeat
  std::string m_filter;               // the instrument's filter line, empty when there is none
  Polarity m_polarity = Polarity::kUnknown;
  PeakMode m_mode = PeakMode::kUnknown;
  std::vector<DeclaredPrecursor> m_precursors;
  std::int64_t m_peak_count = 0;  // as declared
};

/// Of the id of a spectrum in a message.
inline constexpr std::size_t kMaxShownId = 1000;

/// What is wrong with a spectrum, with the spectrum named.
inline std::string FaultOf(const ExtractedScan& scan, const std::string& detail) {
  if (!scan.m_id.empty()) return "spectrum \"" + Shown(scan.m_id, kMaxShownId) + "\": " + detail;
  return "spectrum number " + std::to_string(scan.m_position + 1) + ", which has no id: " + detail;
}

inline std::string TooManyPrecursorsText() {
  return "declares more than " + std::to_string(kMaxDeclaredPrecursors) +
         " precursors, which no scan does";
}

/// A single one counts as the charge; of several it is enough to know that there is no single one.
inline void AddPossibleCharge(SelectedIon& ion, std::int32_t charge) {
  if (ion.m_possible_charges.size() < 2) ion.m_possible_charges.push_back(charge);
}

/// The full width of the isolation window, where the file tells it.
inline std::optional<double> IsolationWidth(const ExtractedScan& scan) {
  if (scan.m_precursors.empty()) return std::nullopt;
  const double lower = scan.m_precursors.front().m_lower_offset.value_or(-1.0);
  const double upper = scan.m_precursors.front().m_upper_offset.value_or(-1.0);
  if (lower < 0.0 || upper < 0.0) return std::nullopt;
  return lower + upper;
}

}  // namespace tarvek::extractor
