// tools/explain/RunToExplain.h: a finished run, to repeat its decisions.
// Does:     takes the settings from its record, finds its spectra, table and isotope table, and walks
//           its scans as tarvek did.
// Owns:     the settings and the rows of the table; extracted spectra, in a folder that it removes.
// Throws:   a std::string naming the file that is missing, cannot be read or is damaged.
// Not here: the explanation of a scan (explain/Explainer.h).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "RunRecord.h"
#include "SpectrumRecords.h"
#include "SpectrumSource.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"
#include "calibrate/Calibration.h"

namespace tarvek::tools {

struct RunLocation {
  std::string m_base_path;      // of the outputs, with or without ".csv"
  std::string m_input;          // folder of the spectra, or an instrument file; empty: next to them
  std::string m_isotope_table;  // empty: where tarvek finds it
};

/// The text pair, the binary pair or the instrument file of a run; one of them is set.
struct SpectraPaths {
  std::string m_ms1;
  std::string m_msb_base;
  std::string m_instrument;

  [[nodiscard]] bool AreThere() const {
    return !m_ms1.empty() || !m_msb_base.empty() || !m_instrument.empty();
  }
};

/// Looks for the spectra of a run in input, which has the meaning of RunLocation::m_input.
SpectraPaths FindSpectra(const std::string& base_path, const std::string& input);

/// The sentence for a run that has none.
std::string WithoutSpectra(const std::string& base_path);

/// The settings in a record, with derived values; tarvek's defaults for missing ones. Throws what
/// the parameters throw.
UserParameters ParametersOf(const RunRecord& record);

class RunToExplain {
 public:
  explicit RunToExplain(const RunLocation& location);
  ~RunToExplain();
  RunToExplain(const RunToExplain&) = delete;
  RunToExplain& operator=(const RunToExplain&) = delete;

  [[nodiscard]] const std::string& Name() const { return m_name; }
  [[nodiscard]] const UserParameters& Parameters() const { return m_parameters; }
  /// The probability from which precursors that were determined together were reported.
  [[nodiscard]] std::optional<double> JointThreshold() const { return m_joint_threshold; }

  /// Why the determination here may differ from that of the run, a sentence each: no record,
  /// another isotope table.
  [[nodiscard]] const std::vector<std::string>& Doubts() const { return m_doubts; }

  /// The precursors in the table; null for a scan without a row.
  [[nodiscard]] const std::vector<Precursor>* InTable(std::int32_t scan_no) const;
  [[nodiscard]] std::size_t TableRows() const { return m_table.size(); }

  /// The correction of the table's m/z in ppm at a time.
  [[nodiscard]] double CorrectionPpm(double rt_s) const;

  /// Calls use with every MS2 scan, in the order of the input, with the same MS1 scans in store as
  /// in tarvek; ends when use returns false.
  struct ScanInRun {
    const SpectrumSource& m_source;
    const Ms1Store& m_store;
    MS2Spectrum& m_scan;
  };
  using UseScan = std::function<bool(const ScanInRun& scan)>;
  void ForEachScan(const UseScan& use) const;

 private:
  void LoadTable(const RunLocation& location);
  void Extract();
  [[nodiscard]] std::unique_ptr<SpectrumSource> Open() const;

  std::string m_name;
  RunRecord m_record;
  UserParameters m_parameters;
  std::optional<double> m_joint_threshold;
  std::optional<Calibration> m_correction;
  std::map<std::int32_t, std::vector<Precursor>> m_table;
  std::vector<std::string> m_doubts;
  SpectraPaths m_spectra;
  std::string m_own_folder;  // of extracted spectra
};

}  // namespace tarvek::tools
