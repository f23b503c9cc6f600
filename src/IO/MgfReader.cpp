#include "MgfReader.h"

#include "MgfText.h"
#include "NumberText.h"
#include "ScanCompletion.h"
#include "ShownText.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

/// A value of a block; what names it in the line that names the file.
template <class Number>
Number Readable(const ScannedNumber<Number>& scanned, const std::string& path,
                std::string_view line) {
  if (scanned.m_status != NumberStatus::kOk)
    throw FileFault(path, kMgfTitleError, "no number in the line '" + Shown(Trim(line), 200) + "'");
  return scanned.m_value;
}

// "m/z intensity" or "m/z TAB intensity"; the first blank or tab separates. A missing intensity
// reads as 0.
void AppendPeak(std::string_view line, std::vector<Peak>& peaks) {
  const std::size_t end = line.find_first_of(" \t");
  const char separator = end == std::string_view::npos ? ' ' : line[end];
  const Peak peak{ParseReal(TokenAt(line, separator, 0)), ParseReal(TokenAt(line, separator, 1))};
  if (!(peak.m_intensity < kZeroTolerance)) peaks.push_back(peak);
}

}  // namespace

const char* const kMgfTitleError =
    "Sorry, Tarvek fail to parse the title of the MGF.\n[Error] Incorrect title format! correct "
    "format should be: \tRAWName.scan.scan.charge.dta\ne.g:\t\thuman_SILAC.2345.2345.2.dta";

MgfReader::MgfReader(const std::string& path, std::string_view mode, NoticeTaker notice)
    : SpectrumReader(path, mode, "MGF", notice) {}

bool MgfReader::ReadNext(MS2Spectrum& scan) {
  Clear(scan);
  std::optional<std::int32_t> number;
  number.swap(m_pending_number);
  bool is_repeat = false;  // inside a further block of the same scan
  if (number) scan.m_scan_no = *number;
  // A block without its own charge takes that of the block before it, within one scan.
  std::int32_t charge = m_block_precursor.m_charge;

  std::string_view line;
  while (ReadLine(line)) {
    const auto [token, text] = ReadMgfLine(line);
    if (token == MgfToken::kPeak) {
      if (!is_repeat) AppendPeak(text, scan.m_peaks);
    } else if (token == MgfToken::kTitle) {
      const std::int32_t read = Readable(ScanMgfScanNumber(text), Path(), line);
      is_repeat = number == read;
      if (!is_repeat && !scan.m_peaks.empty()) {
        m_pending_number = read;
        return FinishRecord(scan);
      }
      number = read;
      scan.m_scan_no = read;
    } else if (token == MgfToken::kCharge) {
      charge = m_block_precursor.m_charge = Readable(ScanMgfCharge(text), Path(), line);
    } else if (token == MgfToken::kPepmass) {
      m_block_precursor.m_mz = Readable(ScanReal(text), Path(), line);
    } else if (token == MgfToken::kEnd) {
      scan.m_precursors.push_back({m_block_precursor.m_mz, charge == 0 ? kAssumedCharge : charge});
      m_block_precursor = {};
    }
  }
  return !scan.m_peaks.empty() && FinishRecord(scan);
}

bool MgfReader::FinishRecord(MS2Spectrum& scan) {
  CompleteScan(scan, Notice());
  CountRecord();
  return true;
}

}  // namespace tarvek
