// tools/report/Content.h: a run as read from its files, without peaks.
// Does:     reads the rows of the table and the scans of the input; finds them by scan number.
// Owns:     what it read.
// Throws:   the constructor what report/Files.h throws; the rest nothing.
// Not here: peaks (report/Data.h), what the numbers mean (report/Data.h and the like).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "RunRecord.h"
#include "calibrate/Calibration.h"
#include "report/Files.h"

namespace tarvek::tools {

/// The source of the input's scans.
enum class InputKind { kNone, kText, kTable };

class RunContent {
 public:
  explicit RunContent(const RunFiles& files);

  /// Ascending by scan number, as is the input.
  [[nodiscard]] std::span<const ReportRow> Rows() const noexcept { return m_rows; }
  [[nodiscard]] std::span<const InputScan> Input() const noexcept { return m_input; }
  /// The run's record; std::nullopt without one.
  [[nodiscard]] const std::optional<RunRecord>& Record() const noexcept { return m_record; }

  /// The correction of the outputs according to the record; std::nullopt without one. Declared m/z
  /// of rows and input are corrected in the same way, so that they can be compared.
  [[nodiscard]] const std::optional<Calibration>& Correction() const noexcept {
    return m_correction;
  }

  [[nodiscard]] InputKind Kind() const noexcept { return m_kind; }
  [[nodiscard]] bool HasInput() const noexcept { return m_kind != InputKind::kNone; }

  /// The input in words, if there is one.
  [[nodiscard]] std::string InputText() const;

  /// The scan in the input; null when it is missing.
  [[nodiscard]] const InputScan* InputOf(std::int32_t scan_no) const noexcept;

  /// Whether the scan has a row in the table.
  [[nodiscard]] bool IsExported(std::int32_t scan_no) const noexcept;

 private:
  void CorrectDeclared(const RunFiles& files);

  std::vector<ReportRow> m_rows;
  InputKind m_kind = InputKind::kNone;
  std::vector<InputScan> m_input;
  std::optional<RunRecord> m_record;
  std::optional<Calibration> m_correction;
};

}  // namespace tarvek::tools
