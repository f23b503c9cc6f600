#include "ScanSinks.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "MgfWriter.h"
#include "MsTextEcho.h"
#include "MsTextWriter.h"
#include "MsbWriter.h"
#include "ShownText.h"

namespace tarvek::extractor {
namespace {

template <class Spectrum>
void Describe(const OutputScan& scan, Spectrum& record) {
  record.m_scan_no = scan.m_scan_no;
  record.m_rt = scan.m_rt_seconds;
  record.m_ion_injection_time = scan.m_injection_ms;
  record.m_instrument_type = scan.m_instrument;
}

void DescribeFragment(const OutputScan& scan, MS2Spectrum& record) {
  Describe(scan, record);
  record.m_precursor_scan = scan.m_precursor_scan;
  record.m_activation_center = scan.m_centre_mz;
  record.m_activation_type = scan.m_activation;
  record.m_orig_precursors.clear();
  for (const DeclaredIon& ion : scan.m_ions)
    record.m_orig_precursors.push_back({ion.m_mz, ion.m_charge});
}

/// A sink for records in the form that the formats of IO take.
class FormatSink : public ScanSink {
 public:
  void Write(const OutputScan& scan, std::vector<Peak>& peaks) final {
    if (scan.m_kind == ScanKind::kFragment) {
      DescribeFragment(scan, m_fragment);
      WriteWith(peaks, m_fragment);
    } else {
      Describe(scan, m_survey);
      WriteWith(peaks, m_survey);
    }
  }

 private:
  virtual void WriteRecord(MS1Spectrum& scan) = 0;
  virtual void WriteRecord(MS2Spectrum& scan) = 0;

  // Moves the peaks into the record for the call, because they may be many.
  template <class Spectrum>
  void WriteWith(std::vector<Peak>& peaks, Spectrum& record) {
    record.m_peaks.swap(peaks);
    WriteRecord(record);
    record.m_peaks.swap(peaks);
  }

  MS1Spectrum m_survey;  // both reused from scan to scan
  MS2Spectrum m_fragment;
};

/// The .ms1 and the .ms2 file of a sink.
struct TextFiles {
  OutputFile* m_ms1;
  OutputFile* m_ms2;

  void StartBoth() const {
    const std::string header = MsTextHeader(CurrentLocalTime());
    m_ms1->Write(header);
    m_ms2->Write(header);
  }
  [[nodiscard]] OutputFile& For(const MS1Spectrum&) const { return *m_ms1; }
  [[nodiscard]] OutputFile& For(const MS2Spectrum&) const { return *m_ms2; }
};

class TextSink final : public FormatSink {
 public:
  TextSink(const std::string& base_path, PeakDigits digits)
      : m_digits(digits), m_files{&Open(base_path + ".ms1"), &Open(base_path + ".ms2")} {
    m_files.StartBoth();
  }

 private:
  void WriteRecord(MS1Spectrum& scan) override { WriteText(scan); }
  void WriteRecord(MS2Spectrum& scan) override { WriteText(scan); }

  template <class Spectrum>
  void WriteText(const Spectrum& scan) {
    m_text.clear();
    AppendMsText(m_text, scan, m_digits);
    m_files.For(scan).Write(m_text);
  }

  PeakDigits m_digits;
  TextFiles m_files;
  std::string m_text;
};

/// Passes scans in the form that reading their text gives to a taker, and the text to files if
/// there are any.
class TakerSink final : public FormatSink {
 public:
  TakerSink(RecordTaker& taker, PeakDigits digits, const std::string& base_path)
      : m_taker(&taker), m_digits(digits), m_echo(digits) {
    if (base_path.empty()) return;
    m_files = {&Open(base_path + ".ms1"), &Open(base_path + ".ms2")};
    m_files->StartBoth();
  }

 private:
  void WriteRecord(MS1Spectrum& scan) override {
    const bool has_peaks = WriteAndEcho(scan, m_files ? &m_lines : nullptr);
    if (has_peaks) m_taker->Take(scan);
  }
  void WriteRecord(MS2Spectrum& scan) override {
    const std::size_t written = scan.m_peaks.size();
    const bool wants_lines = m_taker->WantsPeakLines();
    const bool has_peaks = WriteAndEcho(scan, m_files || wants_lines ? &m_lines : nullptr);
    if (wants_lines && scan.m_peaks.size() == written) scan.m_peak_lines.swap(m_lines);
    if (has_peaks) m_taker->Take(scan);
  }

  // lines: null, or m_lines, which gets the lines of all peaks.
  template <class Spectrum>
  bool WriteAndEcho(Spectrum& scan, std::string* lines) {
    m_lines.clear();
    m_start.clear();
    if (m_files) AppendMsTextStart(m_start, scan, m_digits);
    const bool has_peaks = m_echo.Echo(scan, lines);
    if (!m_files) return has_peaks;
    m_files->For(scan).Write(m_start);
    m_files->For(scan).Write(m_lines);
    return has_peaks;
  }

  RecordTaker* m_taker;
  PeakDigits m_digits;
  MsTextEcho m_echo;
  std::optional<TextFiles> m_files;
  std::string m_start;  // both reused from scan to scan
  std::string m_lines;
};

class BinarySink final : public FormatSink {
 public:
  BinarySink(const std::string& base_path, PeakDigits digits)
      : m_msb(&Open(base_path + ".msb")), m_writer(*m_msb, Open(base_path + ".mscsv"), digits) {}

 private:
  void WriteRecord(MS1Spectrum& scan) override { m_writer.Write(scan); }
  void WriteRecord(MS2Spectrum& scan) override { m_writer.Write(scan); }

  OutputFile* m_msb;
  MsbWriter m_writer;
};

class MgfSink final : public ScanSink {
 public:
  MgfSink(const std::string& base_path, const std::string& title, PeakDigits digits)
      : m_title(Shown(title)), m_digits(digits), m_mgf(&Open(base_path + ".mgf")) {
    std::ranges::replace(m_title, '.', '_');
  }

  void Write(const OutputScan& scan, std::vector<Peak>& peaks) override {
    if (scan.m_kind != ScanKind::kFragment) return;
    m_text.clear();
    for (std::size_t i = 0; i < scan.m_ions.size(); ++i) {
      const DeclaredIon& ion = scan.m_ions[i];
      const double mz = ion.m_mz > 0.0 ? ion.m_mz : scan.m_centre_mz;
      const std::int32_t charge = scan.m_is_negative ? -ion.m_charge : ion.m_charge;
      AppendMgfStart(m_text, {.m_title = m_title,
                              .m_scan_no = scan.m_scan_no,
                              .m_index = i,
                              .m_precursor = {mz, charge},
                              .m_has_charge = charge != 0,
                              .m_rt = scan.m_rt_seconds});
      AppendPeakLines(m_text, peaks, m_digits);
      m_text += kMgfBlockEnd;
    }
    m_mgf->Write(m_text);
  }

 private:
  std::string m_title;
  PeakDigits m_digits;
  OutputFile* m_mgf;
  std::string m_text;
};

}  // namespace

void ScanSink::Close() {
  for (UnfinishedFile& file : m_files) file.Close();
}

void ScanSink::Commit() {
  for (UnfinishedFile& file : m_files) file.TakeName();
}

OutputFile& ScanSink::Open(const std::string& path) {
  return m_files.emplace_back(path, "output", UnfinishedForm{.m_is_locked = true}).File();
}

std::unique_ptr<ScanSink> MakeTextSink(const std::string& base_path, PeakDigits digits) {
  return std::make_unique<TextSink>(base_path, digits);
}

std::unique_ptr<ScanSink> MakeBinarySink(const std::string& base_path, PeakDigits digits) {
  return std::make_unique<BinarySink>(base_path, digits);
}

std::unique_ptr<ScanSink> MakeMgfSink(const std::string& base_path, const std::string& title,
                                      PeakDigits digits) {
  return std::make_unique<MgfSink>(base_path, title, digits);
}

std::unique_ptr<ScanSink> MakeTakerSink(RecordTaker& taker, PeakDigits digits,
                                        const std::string& base_path) {
  return std::make_unique<TakerSink>(taker, digits, base_path);
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

}  // namespace tarvek::extractor
