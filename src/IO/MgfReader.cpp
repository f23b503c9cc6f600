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

template <class Number>
Number Readable(const ScannedNumber<Number>& scanned) {
  if (scanned.m_status != NumberStatus::kOk) throw std::string(kMgfTitleError);
  return scanned.m_value;
}

// The text after the last dot of title, which loses both; all of it without a dot.
std::string_view TakeLastToken(std::string_view& title) {
  const std::size_t dot = title.rfind('.');
  const bool is_last = dot == std::string_view::npos;
  const std::string_view token = is_last ? title : title.substr(dot + 1);
  title = is_last ? std::string_view() : title.substr(0, dot);
  return token;
}

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsSignedDigits(std::string_view text) {
  return IsDigits(text.starts_with('-') ? text.substr(1) : text);
}

// N of a title that ends in ".N.N", with anything before that; nothing when it does not.
std::optional<std::string_view> NumberTwiceAtTheEnd(std::string_view title) {
  const std::string_view second = TakeLastToken(title);
  const bool has_first = title.find('.') != std::string_view::npos;
  if (!has_first || !IsDigits(second) || TakeLastToken(title) != second) return std::nullopt;
  return second;
}

// The scan number of a title that ends as ours do, ".N.N.charge.index.dta" or ".N.N.charge.dta": the
// run name before it may have dots.
std::optional<std::string_view> NumberFromTheRight(std::string_view title) {
  title = Trim(title);
  if (TakeLastToken(title) != "dta") return std::nullopt;
  const std::string_view last = TakeLastToken(title);
  if (!IsSignedDigits(last)) return std::nullopt;
  const std::string_view without_one = title;
  if (IsDigits(last) && IsSignedDigits(TakeLastToken(title)))
    if (const auto number = NumberTwiceAtTheEnd(title)) return number;
  return NumberTwiceAtTheEnd(without_one);
}

std::int32_t ScanNumberOf(std::string_view title) {
  return Readable(ScanInteger(NumberFromTheRight(title).value_or(TokenAt(title, '.', 1))));
}

// "2+", "3-", "2": the sign follows the number.
std::int32_t SignedCharge(std::string_view value) {
  const std::size_t sign = value.find_first_of("+-");
  const std::int32_t charge = Readable(ScanInteger(value.substr(0, sign)));
  return sign != std::string_view::npos && value[sign] == '-' ? -charge : charge;
}

// "m/z intensity" or "m/z TAB intensity"; what comes first of both separates. A missing intensity
// reads as 0.
void AppendPeak(std::string_view line, std::vector<Peak>& peaks) {
  const std::size_t end = line.find_first_of(" \t");
  const char separator = end == std::string_view::npos ? ' ' : line[end];
  const Peak peak{ParseReal(TokenAt(line, separator, 0)), ParseReal(TokenAt(line, separator, 1))};
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
  std::optional<std::int32_t> number;
  number.swap(m_pending_number);
  bool is_repeat = false;  // inside a further block of the same scan
  if (number) scan.m_scan_no = *number;
  // A block without a charge of its own takes the one before it, within one scan.
  std::int32_t charge = m_block_precursor.m_charge;

  std::string_view line;
  while (ReadLine(line)) {
    if (IsPeakLine(line)) {
      if (!is_repeat) AppendPeak(line, scan.m_peaks);
    } else if (line.starts_with(kTitle)) {
      const std::int32_t read = ScanNumberOf(line.substr(kTitle.size()));
      is_repeat = number == read;
      if (!is_repeat && !scan.m_peaks.empty()) {
        m_pending_number = read;
        return FinishRecord(scan);
      }
      number = read;
      scan.m_scan_no = read;
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
