// BasicProcessLogic/SpectrumSource.h: the source of the scans of one input file.
// Does:     gives one interface to the two kinds of extracted spectra, a .ms1 file with its .ms2
//           file and a .msb file with its scan table, and to the rules in which they differ.
// Owns:     each source its readers.
// Throws:   what the readers throw.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "FileUtils.h"
#include "IO.h"
#include "Logger.h"
#include "MsTextLook.h"

namespace tarvek {

class SpectrumSource {
 public:
  virtual ~SpectrumSource() = default;

  /// The next MS1 (MS2) scan in file order; false at the end, also when asked again.
  virtual bool NextMs1(MS1Spectrum& scan) = 0;
  virtual bool NextMs2(MS2Spectrum& scan) = 0;

  /// Whether an MS1 scan is resolved well enough to look for isotope envelopes.
  [[nodiscard]] virtual bool IsHighResolution(const MS1Spectrum& scan) const = 0;

  /// Whether the declared charge of an MS2 scan permits the determination of its precursors.
  [[nodiscard]] virtual bool AllowsDetermination(const MS2Spectrum& scan) const = 0;

  /// The MS1 scans read so far if the source reports every thousandth of them, else 0.
  [[nodiscard]] virtual std::int32_t ReportedMs1Count() const = 0;

  /// Whether a scan goes to PF2 before MGF and CSV; otherwise it goes there last.
  [[nodiscard]] virtual bool WritesPf2First() const = 0;

  /// Share of the MS2 input that was read, 0 to 1; 0 when unknown.
  [[nodiscard]] virtual double FractionRead() const { return 0.0; }

  /// The size of the files that the scans come from; nothing when one has none, as a pipe or a
  /// folder.
  [[nodiscard]] virtual std::optional<std::int64_t> InputBytes() const { return std::nullopt; }

  /// Close the readers of MS1 and of MS2 scans; when one reader serves both, the first call closes
  /// it.
  virtual void FinishMs1() = 0;
  virtual void FinishMs2() = 0;

 protected:
  SpectrumSource() = default;
  SpectrumSource(const SpectrumSource&) = default;
  SpectrumSource& operator=(const SpectrumSource&) = default;
};

/// The rules for spectra that come from text, or are treated as such.
class TextRuledSource : public SpectrumSource {
 public:
  [[nodiscard]] bool IsHighResolution(const MS1Spectrum& scan) const override {
    return scan.m_instrument_type == "FT";
  }
  [[nodiscard]] bool AllowsDetermination(const MS2Spectrum& scan) const override {
    return !scan.m_precursors.empty() && scan.m_precursors.front().m_charge != 0;
  }
  [[nodiscard]] bool WritesPf2First() const override { return true; }
};

class TextSpectrumSource : public TextRuledSource {
 public:
  TextSpectrumSource(const std::string& ms1_path, const std::string& ms2_path,
                     NoticeTaker notice = logMessage)
      : m_ms1(ms1_path, "r", notice), m_ms2(ms2_path, "r", notice) {}

  bool NextMs1(MS1Spectrum& scan) override { return m_ms1.ReadNext(scan); }
  bool NextMs2(MS2Spectrum& scan) override { return m_ms2.ReadNext(scan); }
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return m_ms1.RecordCount(); }
  [[nodiscard]] double FractionRead() const override { return m_ms2.FractionRead(); }
  [[nodiscard]] std::optional<std::int64_t> InputBytes() const override {
    return SizeOfFiles({m_ms1.Path(), m_ms2.Path()});
  }
  void FinishMs1() override { m_ms1.Finish(); }
  void FinishMs2() override { m_ms2.Finish(); }

  /// Warns of each of the two files that holds something else, when both were read.
  void WarnOfOtherContent() const {
    WarnOfOtherContent(m_ms1, MsLevel::kMs1);
    WarnOfOtherContent(m_ms2, MsLevel::kMs2);
  }

 private:
  static void WarnOfOtherContent(const SpectrumFile& file, MsLevel level) {
    const std::string flaw = FlawOfMsText(file.Path(), level, file.RecordCount() > 0);
    if (!flaw.empty()) logMessage(kWarn, file.Path() + " " + flaw + ".");
  }

  Ms1TextReader m_ms1;
  Ms2TextReader m_ms2;
};

class BinarySpectrumSource : public SpectrumSource {
 public:
  /// base_path: without ".msb" and ".mscsv".
  explicit BinarySpectrumSource(const std::string& base_path, NoticeTaker notice = logMessage)
      : m_reader(base_path, notice) {}

  bool NextMs1(MS1Spectrum& scan) override { return m_reader.TakeMs1(scan); }
  bool NextMs2(MS2Spectrum& scan) override { return m_reader.TakeMs2(scan); }
  [[nodiscard]] bool IsHighResolution(const MS1Spectrum& scan) const override {
    return scan.m_instrument_type.starts_with('F');
  }
  [[nodiscard]] bool AllowsDetermination(const MS2Spectrum& scan) const override {
    return !scan.m_orig_precursors.empty() && scan.m_orig_precursors.front().m_charge > 0;
  }
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return 0; }
  [[nodiscard]] bool WritesPf2First() const override { return false; }
  [[nodiscard]] double FractionRead() const override { return m_reader.FractionRead(); }
  [[nodiscard]] std::optional<std::int64_t> InputBytes() const override {
    return SizeOfFiles({m_reader.Path()});
  }
  void FinishMs1() override { m_reader.Finish(); }
  void FinishMs2() override {}

 private:
  MsbReader m_reader;
};

}  // namespace tarvek
