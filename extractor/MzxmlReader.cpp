#include "MzxmlReader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "AttributeNumber.h"
#include "BinaryArray.h"
#include "NumberText.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kMaxNesting = 64;
constexpr std::int64_t kUnknownCount = -1;

/// "PT12.5S", "PT0.2M", "PT1H2M3S" or a plain number of seconds.
std::optional<double> SecondsOf(std::string_view duration) {
  duration = Trim(duration);
  if (!duration.starts_with("P")) return FiniteReal(duration);
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

Analyser AnalyserOf(std::string_view text) {
  const std::string name = ToLower(text);
  const auto has = [&](const char* word) { return name.find(word) != std::string::npos; };
  if (has("orbitrap") || has("ftms") || has("fourier") || has("icr") || has("asymmetric track") ||
      has("astms"))
    return Analyser::kFourier;
  if (has("itms") || has("ion trap") || has("iontrap") || name == "it") return Analyser::kIonTrap;
  if (has("tof") || has("time-of-flight") || has("time of flight")) return Analyser::kTimeOfFlight;
  if (has("quad") || has("sector") || name == "tqms" || name == "sqms") return Analyser::kOther;
  return Analyser::kUnknown;
}

/// The bits of an activationMethod; supplemental activation without another word is collisional.
unsigned ActivationOf(std::string_view method) {
  const std::string name = ToLower(Trim(method));
  static const std::map<std::string, unsigned, std::less<>> kWords = {
      {"cid", kActivationCid},       {"hcd", kActivationHcd},       {"etd", kActivationEtd},
      {"ethcd", kActivationEthcd},   {"etd+hcd", kActivationEthcd}, {"etcid", kActivationEtcid},
      {"etd+cid", kActivationEtcid}, {"etd+sa", kActivationEtcid},  {"etd_sa", kActivationEtcid}};
  if (name.empty()) return 0;
  const auto word = kWords.find(name);
  return word == kWords.end() ? static_cast<unsigned>(kActivationOther) : word->second;
}

/// The number of a scan in the form of a nativeID; empty when there is none.
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

/// A scan that was started and not yet handed on.
struct OpenScan {
  ExtractedScan m_scan;
  std::vector<Peak> m_peaks;
  bool m_has_peaks = false;  // an element for them was seen
  bool m_handed_on = false;
  bool m_wants_peaks = false;
};

class MzxmlReader final : public XmlHandler {
 public:
  explicit MzxmlReader(ScanConsumer& consumer) : m_consumer(&consumer) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override;
  void OnEnd(std::string_view name) override;
  void OnText(std::string_view text) override {
    if (m_collects_text) m_text += text;
  }

 private:
  void StartScan(const XmlAttributes& attributes);
  void StartPrecursor(const XmlAttributes& attributes);
  void StartPeaks(const XmlAttributes& attributes);
  void EndPrecursor();
  void EndPeaks();
  void EndScan();
  void HandOn(OpenScan& open);
  [[noreturn]] static void Fail(const OpenScan& open, const std::string& detail);

  ScanConsumer* m_consumer;
  std::map<std::string, Analyser, std::less<>> m_analysers;
  std::map<std::string, InstrumentConfiguration, std::less<>> m_configurations;
  std::string m_default_instrument;
  std::string m_instrument;
  Analyser m_default_analyser = Analyser::kUnknown;
  PeakMode m_default_mode = PeakMode::kUnknown;
  std::int64_t m_position = 0;
  std::vector<OpenScan> m_open;  // the innermost last
  PeaksFormat m_format;
  bool m_collects_text = false;
  std::string m_text;
  ArrayDecoder m_decoder;
  std::vector<double> m_numbers;
};

void MzxmlReader::Fail(const OpenScan& open, const std::string& detail) {
  throw "spectrum \"" + open.m_scan.m_id + "\": " + detail;
}

void MzxmlReader::OnStart(std::string_view name, const XmlAttributes& attributes) {
  if (name == "scan") {
    StartScan(attributes);
  } else if (name == "precursorMz") {
    StartPrecursor(attributes);
  } else if (name == "peaks") {
    StartPeaks(attributes);
  } else if (name == "msRun") {
    m_consumer->OnDeclaredCount(ParseInteger(attributes.Get("scanCount")));
  } else if (name == "msInstrument") {
    m_instrument = attributes.Get("msInstrumentID");
    if (m_instrument.empty()) m_instrument = attributes.Get("id");
    if (m_configurations.empty()) m_default_instrument = m_instrument;
    m_configurations[m_instrument];
  } else if (name == "msModel") {
    m_configurations[m_instrument].m_model_name = attributes.Get("value");
  } else if (name == "msDetector") {
    m_configurations[m_instrument].m_has_inductive_detector =
        attributes.Get("value") == "inductive detector";
  } else if (name == "msMassAnalyzer") {
    const Analyser analyser = AnalyserOf(attributes.Get("value"));
    m_analysers[m_instrument] = analyser;
    m_configurations[m_instrument].m_analysers.push_back(analyser);
    if (m_analysers.size() == 1) m_default_analyser = analyser;
  } else if (name == "dataProcessing" && !attributes.Get("centroided").empty()) {
    m_default_mode = attributes.Get("centroided") == "1" ? PeakMode::kCentroid : PeakMode::kUnknown;
  }
}

void MzxmlReader::OnEnd(std::string_view name) {
  if (name == "scan") {
    EndScan();
  } else if (name == "precursorMz") {
    EndPrecursor();
  } else if (name == "peaks") {
    EndPeaks();
  }
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
  // The number of a nested scan is higher, so the outer one goes first.
  if (!m_open.empty() && m_open.back().m_has_peaks) HandOn(m_open.back());
  ExtractedScan& scan = m_open.emplace_back().m_scan;
  scan.m_id = IdOf(attributes.Get("num"));
  scan.m_position = m_position++;
  scan.m_ms_level = ParseInteger(attributes.Get("msLevel"));
  const auto count = ScanInteger64(attributes.Get("peaksCount"));
  scan.m_peak_count = count.m_status == NumberStatus::kOk ? count.m_value : kUnknownCount;
  scan.m_rt_seconds = SecondsOf(attributes.Get("retentionTime"));
  scan.m_injection_ms = FiniteReal(attributes.Get("ionInjectionTime")).value_or(0.0);
  scan.m_faims_volts = FiniteReal(attributes.Get("compensationVoltage"));
  scan.m_filter = attributes.Get("filterLine");
  scan.m_polarity = PolarityOf(attributes.Get("polarity"));
  scan.m_mode = ModeOf(attributes.Get("centroided"), m_default_mode);
  const std::string_view instrument = attributes.Get("msInstrumentID");
  const auto analyser = m_analysers.find(instrument);
  scan.m_has_own_analyser = !instrument.empty() && analyser != m_analysers.end();
  scan.m_analyser = scan.m_has_own_analyser ? analyser->second : m_default_analyser;
  auto configuration = m_configurations.find(instrument);
  if (configuration == m_configurations.end() || instrument.empty())
    configuration = m_configurations.find(m_default_instrument);
  if (configuration != m_configurations.end()) scan.m_configuration = &configuration->second;
}

void MzxmlReader::StartPrecursor(const XmlAttributes& attributes) {
  if (m_open.empty()) return;
  DeclaredPrecursor& precursor = m_open.back().m_scan.m_precursors.emplace_back();
  precursor.m_scan_ref = IdOf(attributes.Get("precursorScanNum"));
  precursor.m_activation = ActivationOf(attributes.Get("activationMethod"));
  if (precursor.m_activation == kActivationOther)
    precursor.m_other_activation = attributes.Get("activationMethod");
  if (const auto width = FiniteReal(attributes.Get("windowWideness")); width && *width > 0.0)
    precursor.m_lower_offset = precursor.m_upper_offset = *width / 2.0;
  SelectedIon& ion = precursor.m_ions.emplace_back();
  ion.m_charge = ParseInteger(attributes.Get("precursorCharge"));
  for (const std::string_view charge : Split(attributes.Get("possibleCharges"), ", "))
    if (!charge.empty()) ion.m_possible_charges.push_back(ParseInteger(charge));
  m_text.clear();
  m_collects_text = true;
}

void MzxmlReader::EndPrecursor() {
  m_collects_text = false;
  if (m_open.empty() || m_open.back().m_scan.m_precursors.empty()) return;
  m_open.back().m_scan.m_precursors.back().m_ions.front().m_mz = FiniteReal(m_text).value_or(0.0);
}

void MzxmlReader::StartPeaks(const XmlAttributes& attributes) {
  if (m_open.empty()) return;
  OpenScan& open = m_open.back();
  if (open.m_has_peaks) Fail(open, "has several peaks elements, which is not supported");
  open.m_has_peaks = true;
  open.m_wants_peaks = m_consumer->WantsPeaks(open.m_scan);
  m_format = FormatOf(attributes);
  m_text.clear();
  if (open.m_wants_peaks && open.m_scan.m_peak_count < 0) Fail(open, "declares no peak count");
  m_collects_text = open.m_wants_peaks && open.m_scan.m_peak_count > 0;
}

void MzxmlReader::EndPeaks() {
  if (!std::exchange(m_collects_text, false)) return;
  OpenScan& open = m_open.back();
  if (!m_format.m_error.empty()) Fail(open, m_format.m_error);
  try {
    m_decoder.Decode(m_text, m_format.m_encoding, 2 * open.m_scan.m_peak_count, "peaks", m_numbers);
  } catch (const std::string& detail) {
    Fail(open, detail);
  }
  open.m_peaks.resize(m_numbers.size() / 2);
  for (std::size_t i = 0; i < open.m_peaks.size(); ++i)
    open.m_peaks[i] = {m_numbers[2 * i], m_numbers[2 * i + 1]};
}

void MzxmlReader::HandOn(OpenScan& open) {
  if (std::exchange(open.m_handed_on, true)) return;
  const bool lacks_peaks = !open.m_has_peaks && open.m_scan.m_peak_count > 0;
  if (lacks_peaks && m_consumer->WantsPeaks(open.m_scan)) Fail(open, "has no peaks element");
  m_consumer->OnScan(open.m_scan, open.m_peaks);
}

void MzxmlReader::EndScan() {
  HandOn(m_open.back());
  m_open.pop_back();
}

}  // namespace

std::unique_ptr<XmlHandler> MakeMzxmlReader(ScanConsumer& consumer) {
  return std::make_unique<MzxmlReader>(consumer);
}

}  // namespace tarvek::extractor
