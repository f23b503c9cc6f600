#include "ScanSinks.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "MsTextHeader.h"
#include "NumberText.h"
#include "PeakLineFormat.h"
#include "TemporaryOutput.h"

namespace tarvek::extractor {
namespace {

// The charge that the readers assume where none is declared.
constexpr std::int32_t kAssumedCharge = 2;

void InstallPeakLines(DigitCounts digits) {
  SetPeakLineFormat("%." + std::to_string(digits.m_mz) + "f %." +
                    std::to_string(digits.m_intensity) + "f\n");
}

void AppendField(std::string& text, std::string_view start, double value, int decimals) {
  text += start;
  AppendFixed(text, value, decimals);
}

void AppendField(std::string& text, std::string_view start, std::int64_t value) {
  text += start;
  AppendInteger(text, value);
}

// The shortest decimal that reads back as value.
void AppendExactly(std::string& text, double value) {
  char field[kMaxFixedText];
  text.append(field,
              std::to_chars(field, field + sizeof field, value, std::chars_format::fixed).ptr);
}

class TextSink final : public ScanSink {
 public:
  TextSink(const std::string& base_path, DigitCounts digits)
      : m_digits(digits), m_ms1(base_path + ".ms1"), m_ms2(base_path + ".ms2") {
    InstallPeakLines(digits);
    const std::string header = MsTextHeader(CurrentLocalTime());
    m_ms1.Write(header);
    m_ms2.Write(header);
  }

  void Write(const OutputScan& scan, std::vector<Peak>& peaks) override {
    const bool is_fragment = scan.m_kind == ScanKind::kFragment;
    m_text.clear();
    AppendStart(scan, is_fragment);
    if (is_fragment) AppendPrecursor(scan);
    AppendPeakLines(m_text, peaks);
    (is_fragment ? m_ms2 : m_ms1).Write(m_text);
  }

  void Close() override {
    m_ms1.Close();
    m_ms2.Close();
  }
  void Commit() override {
    m_ms1.Commit();
    m_ms2.Commit();
  }
  [[nodiscard]] std::vector<std::string> Paths() const override {
    return {m_ms1.Path(), m_ms2.Path()};
  }

 private:
  void AppendStart(const OutputScan& scan, bool is_fragment) {
    AppendField(m_text, "S\t", scan.m_scan_no);
    AppendField(m_text, "\t", scan.m_scan_no);
    if (is_fragment) {
      const double mz = scan.m_ions.front().m_mz;
      AppendField(m_text, "\t", mz > 0.0 ? mz : scan.m_centre_mz, m_digits.m_mz);
    }
    AppendField(m_text, "\nI\tRetTime\t", scan.m_rt_seconds, kTimeDigits);
    AppendField(m_text, "\nI\tIonInjectionTime\t", scan.m_injection_ms, kTimeDigits);
    m_text += "\nI\tInstrumentType\t" + scan.m_instrument + "\n";
  }

  void AppendPrecursor(const OutputScan& scan) {
    m_text += "I\tActivationType\t" + scan.m_activation;
    AppendField(m_text, "\nI\tActivationCenter\t", scan.m_centre_mz, m_digits.m_mz);
    AppendField(m_text, "\nI\tPrecursorScan\t", scan.m_precursor_scan);
    m_text += '\n';
    for (const DeclaredIon& ion : scan.m_ions) {
      AppendField(m_text, "Z\t", ion.m_charge);
      if (ion.m_charge == 0 || ion.m_mz <= 0.0)
        m_text += "\t0";
      else
        AppendField(m_text, "\t", SinglyProtonatedMass(ion.m_mz, ion.m_charge), m_digits.m_mz);
      m_text += '\n';
    }
  }

  DigitCounts m_digits;
  TemporaryOutput m_ms1;
  TemporaryOutput m_ms2;
  std::string m_text;
};

class BinarySink final : public ScanSink {
 public:
  BinarySink(const std::string& base_path, DigitCounts digits)
      : m_digits(digits), m_msb(base_path + ".msb"), m_table(base_path + ".mscsv") {
    m_table.Write(
        "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
        "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n");
  }

  void Write(const OutputScan& scan, std::vector<Peak>& peaks) override {
    const std::int64_t start = m_msb.PositionBytes();
    m_bytes.clear();
    PutInt32(m_bytes, scan.m_scan_no);
    PutInt32(m_bytes, static_cast<std::int32_t>(peaks.size()));
    for (const Peak& peak : peaks) PutReal(m_bytes, Rounded(peak.m_mz, m_digits.m_mz));
    for (const Peak& peak : peaks)
      PutReal(m_bytes, Rounded(peak.m_intensity, m_digits.m_intensity));
    m_msb.Write(m_bytes);
    WriteRow(scan, peaks.size(), start);
  }

  void Close() override {
    m_msb.Close();
    m_table.Close();
  }
  void Commit() override {
    m_msb.Commit();
    m_table.Commit();
  }
  [[nodiscard]] std::vector<std::string> Paths() const override {
    return {m_msb.Path(), m_table.Path()};
  }

 private:
  void WriteRow(const OutputScan& scan, std::size_t peak_count, std::int64_t start) {
    const bool is_fragment = scan.m_kind == ScanKind::kFragment;
    m_text.clear();
    AppendInteger(m_text, scan.m_scan_no);
    AppendField(m_text, "\t", is_fragment ? scan.m_precursor_scan : -1);
    AppendField(m_text, "\t", scan.m_centre_mz, m_digits.m_mz);
    AppendField(m_text, "\t", scan.m_rt_seconds, kTimeDigits);
    AppendField(m_text, "\t", scan.m_injection_ms, kTimeDigits);
    m_text += "\t" + scan.m_activation + "\t" + scan.m_instrument;
    AppendField(m_text, "\t", static_cast<std::int64_t>(peak_count));
    AppendField(m_text, "\t", start);
    AppendField(m_text, "\t", m_msb.PositionBytes());
    AppendDeclaredIon(scan);
    m_text += '\n';
    m_table.Write(m_text);
  }

  // The table has room for one: the first. Its m/z is what the text reader computes, to the bit:
  // later outputs round it.
  void AppendDeclaredIon(const OutputScan& scan) {
    if (scan.m_ions.empty()) {
      m_text += "\t0\t0";
      return;
    }
    const DeclaredIon& ion = scan.m_ions.front();
    const std::int32_t charge = ion.m_charge == 0 ? kAssumedCharge : ion.m_charge;
    double mz = Rounded(scan.m_centre_mz, m_digits.m_mz);
    if (ion.m_charge != 0 && ion.m_mz > 0.0) {
      const double mass_da = Rounded(SinglyProtonatedMass(ion.m_mz, charge), m_digits.m_mz);
      mz = (mass_da + (charge - 1) * kProtonMass) / charge;
    }
    AppendField(m_text, "\t", charge);
    m_text += '\t';
    AppendExactly(m_text, mz);
  }

  DigitCounts m_digits;
  TemporaryOutput m_msb;
  TemporaryOutput m_table;
  std::string m_bytes;
  std::string m_text;
};

class MgfSink final : public ScanSink {
 public:
  MgfSink(const std::string& base_path, const std::string& title, DigitCounts digits)
      : m_title(title), m_mgf(base_path + ".mgf") {
    InstallPeakLines(digits);
    std::ranges::replace(m_title, '.', '_');
  }

  void Write(const OutputScan& scan, std::vector<Peak>& peaks) override {
    if (scan.m_kind != ScanKind::kFragment) return;
    m_text.clear();
    std::int64_t index = 0;
    for (const DeclaredIon& ion : scan.m_ions) {
      AppendStart(scan, ion, index++);
      AppendPeakLines(m_text, peaks);
      m_text += "END IONS\n";
    }
    m_mgf.Write(m_text);
  }

  void Close() override { m_mgf.Close(); }
  void Commit() override { m_mgf.Commit(); }
  [[nodiscard]] std::vector<std::string> Paths() const override { return {m_mgf.Path()}; }

 private:
  void AppendStart(const OutputScan& scan, const DeclaredIon& ion, std::int64_t index) {
    constexpr int kMgfTimeDigits = 7;
    constexpr int kMgfMassDigits = 6;
    m_text += "BEGIN IONS\nTITLE=" + m_title;
    AppendField(m_text, ".", scan.m_scan_no);
    AppendField(m_text, ".", scan.m_scan_no);
    AppendField(m_text, ".", scan.m_is_negative ? -ion.m_charge : ion.m_charge);
    AppendField(m_text, ".", index);
    m_text += ".dta\n";
    if (ion.m_charge != 0) {
      AppendField(m_text, "CHARGE=", ion.m_charge);
      m_text += scan.m_is_negative ? "-\n" : "+\n";
    }
    AppendField(m_text, "RTINSECONDS=", scan.m_rt_seconds, kMgfTimeDigits);
    AppendField(m_text, "\nPEPMASS=", ion.m_mz > 0.0 ? ion.m_mz : scan.m_centre_mz, kMgfMassDigits);
    m_text += '\n';
  }

  std::string m_title;
  TemporaryOutput m_mgf;
  std::string m_text;
};

}  // namespace

std::unique_ptr<ScanSink> MakeTextSink(const std::string& base_path, DigitCounts digits) {
  return std::make_unique<TextSink>(base_path, digits);
}

std::unique_ptr<ScanSink> MakeBinarySink(const std::string& base_path, DigitCounts digits) {
  return std::make_unique<BinarySink>(base_path, digits);
}

std::unique_ptr<ScanSink> MakeMgfSink(const std::string& base_path, const std::string& title,
                                      DigitCounts digits) {
  return std::make_unique<MgfSink>(base_path, title, digits);
}

double Rounded(double value, int decimals) {
  char field[kMaxFixedText];
  const char* const last = WriteFixed(field, value, decimals);
  return ParseReal({field, static_cast<std::size_t>(last - field)});
}

void KeepMostIntense(std::vector<Peak>& peaks, std::size_t max_count) {
  if (peaks.size() <= max_count) return;
  std::vector<double> intensities;
  intensities.reserve(peaks.size());
  for (const Peak& peak : peaks) intensities.push_back(peak.m_intensity);
  const auto least = intensities.begin() + static_cast<std::ptrdiff_t>(max_count) - 1;
  std::ranges::nth_element(intensities, least, std::ranges::greater());
  const double limit = *least;
  const auto above = static_cast<std::size_t>(std::ranges::count_if(
      intensities.begin(), least, [&](double intensity) { return intensity > limit; }));
  std::size_t equal_left = max_count - above;
  std::erase_if(peaks, [&](const Peak& peak) {
    if (peak.m_intensity != limit) return peak.m_intensity < limit;
    return equal_left == 0 || equal_left-- == 0;
  });
}

double SinglyProtonatedMass(double mz, std::int32_t charge) {
  return mz * charge - (charge - 1) * kProtonMass;
}

}  // namespace tarvek::extractor
