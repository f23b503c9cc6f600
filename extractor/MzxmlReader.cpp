#include "XmlReaders.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "ActivationWords.h"
#include "BinaryArray.h"
#include "ElementNesting.h"
#include "InstrumentTerms.h"
#include "NumberText.h"
#include "ReadingLimits.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

using enum Element;

constexpr std::size_t kMaxNesting = 64;

// Of a precursorMz, which is a number.
constexpr std::size_t kMaxNumberText = 1000;

/// "PT12.5S", "PT0.2M", "PT1H2M3S" or a plain number of seconds.
std::optional<double> SecondsOf(std::string_view duration) {
  duration = Trim(duration);
  if (!duration.starts_with("P")) return PossibleReal(duration);
  duration.remove_prefix(std::min(duration.find('T') + 1, duration.size()));
  double seconds = 0.0;
  bool has_part = false;
  for (std::size_t end = duration.find_first_of("HMS"); end != std::string_view::npos;
       end = duration.find_first_of("HMS")) {
    const double value = ParseReal(duration.substr(0, end));
    const char unit = duration[end];
    seconds += value * (unit == 'H' ? 3600.0 : unit == 'M' ? 60.0 : 1.0);
    has_part = true;
    duration.remove_prefix(end + 1);
  }
  if (!has_part || !std::isfinite(seconds)) return std::nullopt;
  return seconds;
}

/// The number of a scan in the form of a nativeID; empty without a number.
std::string IdOf(std::string_view number) {
  return number.empty() ? std::string() : "scan=" + std::string(Trim(number));
}

struct PeaksFormat {
  ArrayEncoding m_encoding;
  std::string m_error;  // not empty when the format is not supported
};

PeaksFormat FormatOf(const XmlAttributes& attributes) {
  PeaksFormat format;
  format.m_encoding.m_order = ByteOrder::kNetwork;
  const std::string_view precision = attributes.Get("precision");
  format.m_encoding.m_type = precision == "64" ? NumberType::kFloat64 : NumberType::kFloat32;
  if (!precision.empty() && precision != "64" && precision != "32")
    format.m_error = "precision " + std::string(precision) + " is not supported";
  const std::string_view compression = attributes.Get("compressionType");
  format.m_encoding.m_zlib = compression == "zlib";
  if (!compression.empty() && compression != "zlib" && compression != "none")
    format.m_encoding.m_unsupported = compression;
  const std::string_view order = attributes.Get("byteOrder");
  if (!order.empty() && order != "network")
    format.m_error = "byte order " + std::string(order) + " is not supported";
  std::string_view content = attributes.Get("contentType");
  if (content.empty()) content = attributes.Get("pairOrder");
  if (!content.empty() && content != "m/z-int")
    format.m_error = "peaks of content \"" + std::string(content) + "\" are not supported";
  return format;
}

/// A scan that was started but not yet passed on.
struct OpenScan {
  ExtractedScan m_scan;
  std::vector<Peak> m_peaks;
  bool m_has_peaks = false;  // an element for them was met
  bool m_handed_on = false;
  bool m_wants_peaks = false;
};

[[noreturn]] void Fail(const OpenScan& open, const std::string& detail) {
  throw FaultOf(open.m_scan, detail);
}

class MzxmlReader final : public XmlHandler {
 public:
  MzxmlReader(ScanConsumer& consumer, const SizeLimits& limits)
      : m_consumer(&consumer), m_limits(limits) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override;
  void OnEnd(std::string_view name) override;
  void OnText(std::string_view text) override {
    if (m_collects_text && m_nesting.Outer(0) != kPassedOver) TakeText(text);
  }

 private:
  Element Enter(std::string_view name);
  void DeclareCount(std::string_view text);
  void StartInstrument(std::string_view id);
  void StartOldInstrument(const XmlAttributes& attributes);
  void AddAnalyser(std::string_view word);
  void AddModel(std::string_view name);
  const InstrumentConfiguration* ConfigurationOf(std::string_view id) const;
  static std::int64_t PeakCountOf(const OpenScan& open, std::string_view text);
  void StartScan(const XmlAttributes& attributes);
  void StartPrecursor(const XmlAttributes& attributes);
  void StartPeaks(const XmlAttributes& attributes);
  void TakeText(std::string_view text);
  void EndPrecursor();
  void EndPeaks();
  void EndScan();
  void HandOn(OpenScan& open);

  ScanConsumer* m_consumer;
  SizeLimits m_limits;
  ElementNesting m_nesting{MzxmlRules()};
  // The consumer borrows them for a call, so they must not move.
  std::map<std::string, InstrumentConfiguration, std::less<>> m_configurations;
  InstrumentConfiguration* m_configuration = nullptr;                // the latest
  const InstrumentConfiguration* m_default_configuration = nullptr;  // the first of the file
  PeakMode m_default_mode = PeakMode::kUnknown;
  std::int64_t m_position = 0;
  std::vector<OpenScan> m_open;  // the innermost last
  PeaksFormat m_format;
  bool m_collects_text = false;
  std::size_t m_most_text = 0;
  std::string m_text;
  std::size_t m_header_bytes = 0;
  ArrayDecoder m_decoder;
  std::vector<double> m_numbers;
};

Element MzxmlReader::Enter(std::string_view name) {
  try {
    return m_nesting.Enter(name);
  } catch (const std::string& detail) {
    if (m_open.empty()) throw;
    Fail(m_open.back(), detail);
  }
}

void MzxmlReader::OnStart(std::string_view name, const XmlAttributes& attributes) {
  switch (Enter(name)) {
    case kScan:
      return StartScan(attributes);
    case kPrecursorMz:
      return StartPrecursor(attributes);
    case kPeaks:
      return StartPeaks(attributes);
    case kMsRun:
      return DeclareCount(attributes.Get("scanCount"));
    case kMsInstrument:
      return StartInstrument(attributes.Get("msInstrumentID").empty()
                                 ? attributes.Get("id")
                                 : attributes.Get("msInstrumentID"));
    case kOldInstrument:
      return StartOldInstrument(attributes);
    case kMsMassAnalyzer:
      return AddAnalyser(attributes.Get("value"));
    case kMsDetector:
      if (IsInductiveWord(attributes.Get("value")))
        m_configuration->m_has_inductive_detector = true;
      return;
    case kMsManufacturer:
      if (m_configuration->m_model_name.empty()) AddModel(attributes.Get("value"));
      return;
    case kMsModel:
      return AddModel(attributes.Get("value"));
    case kDataProcessing:
      if (!attributes.Get("centroided").empty())
        m_default_mode =
            attributes.Get("centroided") == "1" ? PeakMode::kCentroid : PeakMode::kUnknown;
      return;
    default:
      return;
  }
}

void MzxmlReader::OnEnd(std::string_view) {
  switch (m_nesting.Leave()) {
    case kScan:
      return EndScan();
    case kPrecursorMz:
      return EndPrecursor();
    case kPeaks:
      return EndPeaks();
    default:
      return;
  }
}

void MzxmlReader::DeclareCount(std::string_view text) {
  if (!text.empty()) m_consumer->OnDeclaredCount(ParseInteger(text));
}

// Of two instruments with one id the later counts.
void MzxmlReader::StartInstrument(std::string_view id) {
  m_header_bytes += kConfigurationBytes;
  if (m_header_bytes > kMaxHeaderBytes) throw std::string("declares too many instruments");
  m_configuration = &m_configurations[std::string(KeptText(id))];
  *m_configuration = {};
  if (m_configurations.size() == 1) m_default_configuration = m_configuration;
}

void MzxmlReader::StartOldInstrument(const XmlAttributes& attributes) {
  StartInstrument({});
  AddModel(attributes.Get("model").empty() ? attributes.Get("manufacturer")
                                           : attributes.Get("model"));
  AddAnalyser(attributes.Get("msType"));
  m_configuration->m_has_inductive_detector = IsInductiveWord(attributes.Get("detector"));
}

void MzxmlReader::AddAnalyser(std::string_view word) {
  if (m_configuration->m_analysers.size() >= kMaxAnalysers)
    throw std::string("declares too many analysers of one instrument");
  m_configuration->m_analysers.push_back(AnalyserOfWord(word));
}

void MzxmlReader::AddModel(std::string_view name) {
  if (!Trim(name).empty()) m_configuration->m_model_name = KeptText(Trim(name));
}

const InstrumentConfiguration* MzxmlReader::ConfigurationOf(std::string_view id) const {
  if (id.empty()) return m_default_configuration;
  const auto found = m_configurations.find(KeptText(id));
  return found == m_configurations.end() ? m_default_configuration : &found->second;
}

Polarity PolarityOf(std::string_view text) {
  if (text == "+") return Polarity::kPositive;
  return text == "-" ? Polarity::kNegative : Polarity::kUnknown;
}

PeakMode ModeOf(std::string_view centroided, PeakMode default_mode) {
  if (centroided.empty()) return default_mode;
  return centroided == "1" || centroided == "true" ? PeakMode::kCentroid : PeakMode::kProfile;
}

void MzxmlReader::StartScan(const XmlAttributes& attributes) {
  if (m_open.size() >= kMaxNesting) Fail(m_open.back(), "scans are nested too deep");
  // A nested scan has the higher number, so the outer one goes first.
  if (!m_open.empty() && m_open.back().m_has_peaks) HandOn(m_open.back());
  ExtractedScan& scan = m_open.emplace_back().m_scan;
  scan.m_id = IdOf(attributes.Get("num"));
  scan.m_position = m_position++;
  scan.m_ms_level = ParseInteger(attributes.Get("msLevel"));
  scan.m_peak_count = PeakCountOf(m_open.back(), attributes.Get("peaksCount"));
  scan.m_rt_seconds = SecondsOf(attributes.Get("retentionTime"));
  scan.m_injection_ms = PossibleReal(attributes.Get("ionInjectionTime")).value_or(0.0);
  scan.m_faims_volts = PossibleReal(attributes.Get("compensationVoltage"));
  scan.m_filter = attributes.Get("filterLine");
  scan.m_polarity = PolarityOf(attributes.Get("polarity"));
  scan.m_mode = ModeOf(attributes.Get("centroided"), m_default_mode);
  const std::string_view instrument = attributes.Get("msInstrumentID");
  scan.m_configuration = ConfigurationOf(instrument);
  scan.m_has_own_analyser = !instrument.empty() && m_configurations.contains(KeptText(instrument));
  if (scan.m_configuration != nullptr) scan.m_analyser = LastKnownAnalyser(*scan.m_configuration);
}

// kUnknownLength for an empty text; then the peaks decide.
std::int64_t MzxmlReader::PeakCountOf(const OpenScan& open, std::string_view text) {
  if (text.empty()) return kUnknownLength;
  const auto count = ScanInteger64(text);
  if (count.m_status != NumberStatus::kOk || count.m_value < 0 ||
      count.m_value > kMaxArrayLength / 2)
    Fail(open, "declares a peak count that cannot be: " + std::string(text));
  return count.m_value;
}

void MzxmlReader::StartPrecursor(const XmlAttributes& attributes) {
  std::vector<DeclaredPrecursor>& precursors = m_open.back().m_scan.m_precursors;
  if (precursors.size() >= kMaxDeclaredPrecursors) Fail(m_open.back(), TooManyPrecursorsText());
  DeclaredPrecursor& precursor = precursors.emplace_back();
  precursor.m_scan_ref = IdOf(attributes.Get("precursorScanNum"));
  precursor.m_activation = ActivationOfWords(attributes.Get("activationMethod"));
  if (precursor.m_activation == kActivationOther)
    precursor.m_other_activation = attributes.Get("activationMethod");
  if (const auto width = PossibleReal(attributes.Get("windowWideness")); width && *width > 0.0)
    precursor.m_lower_offset = precursor.m_upper_offset = *width / 2.0;
  SelectedIon& ion = precursor.m_ions.emplace_back();
  ion.m_charge = ParseInteger(attributes.Get("precursorCharge"));
  for (const std::string_view charge : Split(attributes.Get("possibleCharges"), ", "))
    if (!charge.empty()) AddPossibleCharge(ion, ParseInteger(charge));
  m_text.clear();
  m_most_text = kMaxNumberText;
  m_collects_text = true;
}

void MzxmlReader::EndPrecursor() {
  m_collects_text = false;
  m_open.back().m_scan.m_precursors.back().m_ions.front().m_mz = PossibleReal(m_text).value_or(0.0);
}

void MzxmlReader::StartPeaks(const XmlAttributes& attributes) {
  OpenScan& open = m_open.back();
  if (open.m_has_peaks) Fail(open, "has several peaks elements, which is not supported");
  open.m_has_peaks = true;
  // The precursor may come after the peaks, and the consumer may then want them.
  const bool lacks_precursor = open.m_scan.m_ms_level == 2 && open.m_scan.m_precursors.empty();
  open.m_wants_peaks = m_consumer->WantsPeaks(open.m_scan) || lacks_precursor;
  m_format = FormatOf(attributes);
  m_text.clear();
  m_collects_text = open.m_wants_peaks && open.m_scan.m_peak_count != 0;
  const std::int64_t peaks = open.m_scan.m_peak_count;
  if (m_collects_text && 2 * peaks > m_limits.m_of_array)
    Fail(open,
         "declares " + std::to_string(peaks) + " peaks, more than a file of this size can hold");
  m_most_text = MostArrayText(peaks == kUnknownLength ? m_limits.m_of_array : 2 * peaks);
}

void MzxmlReader::TakeText(std::string_view text) {
  if (m_text.size() + text.size() > m_most_text)
    Fail(m_open.back(), "has more text in one element than its numbers can take");
  m_text += text;
}

void MzxmlReader::EndPeaks() {
  if (!std::exchange(m_collects_text, false)) return;
  OpenScan& open = m_open.back();
  if (!m_format.m_error.empty()) Fail(open, m_format.m_error);
  const std::int64_t peaks = open.m_scan.m_peak_count;
  try {
    m_decoder.Decode(m_text, m_format.m_encoding,
                     peaks == kUnknownLength ? kUnknownLength : 2 * peaks, "peaks", m_numbers,
                     m_limits.m_of_array);
    m_limits.Take(m_numbers.size());
  } catch (const std::string& detail) {
    Fail(open, detail);
  }
  if (m_numbers.size() % 2 != 0) Fail(open, "peaks holds an m/z without its intensity");
  open.m_peaks.resize(m_numbers.size() / 2);
  for (std::size_t i = 0; i < open.m_peaks.size(); ++i)
    open.m_peaks[i] = {m_numbers[2 * i], m_numbers[2 * i + 1]};
  open.m_scan.m_peak_count = static_cast<std::int64_t>(open.m_peaks.size());
}

void MzxmlReader::HandOn(OpenScan& open) {
  if (std::exchange(open.m_handed_on, true)) return;
  if (!open.m_has_peaks && open.m_scan.m_peak_count == kUnknownLength) open.m_scan.m_peak_count = 0;
  const bool lacks_peaks = !open.m_has_peaks && open.m_scan.m_peak_count > 0;
  if (lacks_peaks && m_consumer->WantsPeaks(open.m_scan)) Fail(open, "has no peaks element");
  m_consumer->OnScan(open.m_scan, open.m_peaks);
  open.m_peaks = {};  // the scans inside may be many
}

void MzxmlReader::EndScan() {
  HandOn(m_open.back());
  m_open.pop_back();
}

}  // namespace

std::unique_ptr<XmlHandler> MakeMzxmlReader(ScanConsumer& consumer, const SizeLimits& limits) {
  return std::make_unique<MzxmlReader>(consumer, limits);
}

}  // namespace tarvek::extractor
