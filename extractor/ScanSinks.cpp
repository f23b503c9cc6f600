#include "ScanSinks.h"

#include <algorithm>
#include <utility>

#include "MgfWriter.h"
#include "MsTextWriter.h"
#include "MsbWriter.h"

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

/// A sink for records as the formats of IO take them.
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

  // Lends the peaks to the record, as there may be many.
  template <class Spectrum>
  void WriteWith(std::vector<Peak>& peaks, Spectrum& record) {
    record.m_peaks.swap(peaks);
    WriteRecord(record);
    record.m_peaks.swap(peaks);
  }

  MS1Spectrum m_survey;  // both used again from scan to scan
  MS2Spectrum m_fragment;
};

class TextSink final : public FormatSink {
 public:
  TextSink(const std::string& base_path, PeakDigits digits)
      : m_digits(digits), m_ms1(&Open(base_path + ".ms1")), m_ms2(&Open(base_path + ".ms2")) {
    const std::string header = MsTextHeader(CurrentLocalTime());
    m_ms1->Write(header);
    m_ms2->Write(header);
  }

 private:
  void WriteRecord(MS1Spectrum& scan) override { WriteText(scan, *m_ms1); }
  void WriteRecord(MS2Spectrum& scan) override { WriteText(scan, *m_ms2); }

  template <class Spectrum>
  void WriteText(const Spectrum& scan, OutputFile& file) {
    m_text.clear();
    AppendMsText(m_text, scan, m_digits);
    file.Write(m_text);
  }

  PeakDigits m_digits;
  OutputFile* m_ms1;
  OutputFile* m_ms2;
  std::string m_text;
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

class RecordSink final : public FormatSink {
 public:
  explicit RecordSink(RecordTaker& taker) : m_taker(&taker) {}

 private:
  void WriteRecord(MS1Spectrum& scan) override { m_taker->Take(scan); }
  void WriteRecord(MS2Spectrum& scan) override { m_taker->Take(scan); }

  RecordTaker* m_taker;
};

class MgfSink final : public ScanSink {
 public:
  MgfSink(const std::string& base_path, const std::string& title, PeakDigits digits)
      : m_title(title), m_digits(digits), m_mgf(&Open(base_path + ".mgf")) {
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

std::unique_ptr<ScanSink> MakeRecordSink(RecordTaker& taker) {
  return std::make_unique<RecordSink>(taker);
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
