#include "MgfReader.h"

#include "NumberText.h"
#include "ScanCompletion.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr std::string_view kTitle = "TITLE=";
constexpr std::string_view kCharge = "CHARGE=";
constexpr std::string_view kPepmass = "PEPMASS=";
constexpr std::string_view kEnd = "END IONS";

constexpr std::int32_t kAssumedCharge = 2;

template <class Number>
Number Readable(const ScannedNumber<Number>& scanned) {
  if (scanned.m_status != NumberStatus::kOk) throw std::string(kMgfTitleError);
  return scanned.m_value;
}

std::int32_t ScanNumberOf(std::string_view title) {
  return Readable(ScanInteger(TokenAt(title, '.', 1)));
}

// "2+", "3-", "2": the sign follows the number.
std::int32_t SignedCharge(std::string_view value) {
  const std::size_t sign = value.find_first_of("+-");
  const std::int32_t charge = Readable(ScanInteger(value.substr(0, sign)));
  return sign != std::string_view::npos && value[sign] == '-' ? -charge : charge;
}

// A missing intensity reads as 0.
void AppendPeak(std::string_view line, std::vector<Peak>& peaks) {
  const Peak peak{ParseReal(TokenAt(line, ' ', 0)), ParseReal(TokenAt(line, ' ', 1))};
  if (!(peak.m_intensity < kZeroTolerance)) peaks.push_back(peak);
}

bool IsPeakLine(std::string_view line) {
  return !line.empty() && line.front() >= '0' && line.front() <= '9';
}

}  // namespace

const char* const kMgfTitleError =
    "Sorry, Tarvek fail to parse the title of the MGF.\n[Error] Incorrect title format! correct "
    "format should be: \tRAWName.scan.scan.charge.dta\ne.g:\t\thuman_SILAC.2345.2345.2.dta";

MgfReader::MgfReader(const std::string& path, std::string_view mode)
    : SpectrumReader(path, mode, "MGF") {}

bool MgfReader::ReadNext(MS2Spectrum& scan) {
  Clear(scan);
  bool has_number = m_pending_scan_no.has_value();
  bool is_repeat = false;  // inside a further block of the same scan
  if (has_number) scan.m_scan_no = *m_pending_scan_no;
  m_pending_scan_no.reset();
  // A block without a charge of its own takes the one before it, within one scan.
  std::int32_t charge = m_block_precursor.m_charge;

  std::string_view line;
  while (ReadLine(line)) {
    if (IsPeakLine(line)) {
      if (!is_repeat) AppendPeak(line, scan.m_peaks);
    } else if (line.starts_with(kTitle)) {
      const std::int32_t scan_no = ScanNumberOf(line.substr(kTitle.size()));
      is_repeat = has_number && scan_no == scan.m_scan_no;
      if (!is_repeat && !scan.m_peaks.empty()) {
        m_pending_scan_no = scan_no;
        return FinishRecord(scan);
      }
      scan.m_scan_no = scan_no;
      has_number = true;
    } else if (line.starts_with(kCharge)) {
      charge = m_block_precursor.m_charge = SignedCharge(line.substr(kCharge.size()));
    } else if (line.starts_with(kPepmass)) {
      m_block_precursor.m_mz = Readable(ScanReal(line.substr(kPepmass.size())));
    } else if (line.starts_with(kEnd)) {
      scan.m_precursors.push_back({m_block_precursor.m_mz, charge == 0 ? kAssumedCharge : charge});
      m_block_precursor = {};
    }
  }
  return !scan.m_peaks.empty() && FinishRecord(scan);
}

bool MgfReader::FinishRecord(MS2Spectrum& scan) {
  CompleteScan(scan);
  CountRecord();
  return true;
}

}  // namespace tarvek
