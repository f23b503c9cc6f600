#include "XmlReaders.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ActivationWords.h"
#include "BinaryArray.h"
#include "ElementNesting.h"
#include "InstrumentTerms.h"
#include "NumberText.h"
#include "ReadingLimits.h"

namespace tarvek::extractor {
namespace {

using enum Element;

/// One cvParam or userParam; its texts borrow from the parser or from a stored group.
struct Param {
  std::int32_t m_accession = 0;  // the number of an MS: term, 0 for others
  std::string_view m_value;
  std::string_view m_unit;  // accession of the unit
  std::string_view m_name;
};

struct StoredParam {
  std::int32_t m_accession;
  std::string m_value;
  std::string m_unit;
  std::string m_name;
};

struct ParamGroup {
  std::vector<StoredParam> m_params;
  std::uint64_t m_bytes = 0;  // of the texts, and something for each parameter
};

enum class ArrayKind { kOther, kMz, kIntensity };

std::string NameOf(ArrayKind kind) {
  return kind == ArrayKind::kMz ? "m/z array" : "intensity array";
}

std::int32_t AccessionOf(std::string_view text) {
  return text.starts_with("MS:") ? ParseInteger(text.substr(3)) : 0;
}

Param ParamOf(const XmlAttributes& attributes) {
  Param param;
  for (const auto& [name, value] : attributes.All()) {
    switch (name.size()) {  // distinguishes most attributes
      case 4:
        if (name == "name") param.m_name = value;
        break;
      case 5:
        if (name == "value") param.m_value = value;
        break;
      case 9:
        if (name == "accession") param.m_accession = AccessionOf(value);
        break;
      case 13:
        if (name == "unitAccession") param.m_unit = value;
        break;
      default:
        break;
    }
  }
  return param;
}

/// Seconds in a unit of time; 0 for others and without one. The MS: terms occur in old files.
double SecondsPer(std::string_view unit) {
  if (unit == "UO:0000010" || unit == "MS:1000039") return 1.0;
  if (unit == "UO:0000031" || unit == "MS:1000038") return 60.0;
  if (unit == "UO:0000028") return 1e-3;
  return unit == "UO:0000032" ? 3600.0 : 0.0;
}

/// The analyser of each instrument component, with its place in the order of components.
struct OrderedAnalyser {
  std::int32_t m_order = 0;
  Analyser m_analyser = Analyser::kUnknown;
};

Numpress NumpressOf(std::int32_t accession) {
  switch (accession) {
    case 1002312:
    case 1002746:
      return Numpress::kLinear;
    case 1002313:
    case 1002747:
      return Numpress::kPic;
    case 1002314:
    case 1002748:
      return Numpress::kSlof;
    default:
      return Numpress::kNone;
  }
}

// Number types and compressions that have a term but that we cannot decode.
bool IsUnsupported(std::int32_t accession) {
  return accession == 1000520 ||                            // 16-bit float
         accession == 1001479 ||                            // null-terminated ASCII string
         (accession >= 1003088 && accession <= 1003090) ||  // truncation and prediction
         (accession >= 1003780 && accession <= 1003785);    // zstd, alone and after others
}

void ApplyEncoding(const Param& param, ArrayEncoding& encoding) {
  if (const Numpress numpress = NumpressOf(param.m_accession); numpress != Numpress::kNone) {
    constexpr std::int32_t kFirstWithZlib = 1002746;
    encoding.m_numpress = numpress;
    encoding.m_zlib = encoding.m_zlib || param.m_accession >= kFirstWithZlib;
  }
  if (IsUnsupported(param.m_accession))
    encoding.m_unsupported =
        param.m_name.empty() ? "MS:" + std::to_string(param.m_accession) : param.m_name;
  if (param.m_accession == 1000519) encoding.m_type = NumberType::kInt32;
  if (param.m_accession == 1000521) encoding.m_type = NumberType::kFloat32;
  if (param.m_accession == 1000522) encoding.m_type = NumberType::kInt64;
  if (param.m_accession == 1000523) encoding.m_type = NumberType::kFloat64;
  if (param.m_accession == 1000574) encoding.m_zlib = true;
}

class MzmlReader final : public XmlHandler {
 public:
  MzmlReader(ScanConsumer& consumer, const SizeLimits& limits)
      : m_consumer(&consumer), m_limits(limits) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override;
  void OnEnd(std::string_view name) override;
  void OnText(std::string_view text) override {
    if (m_collects_text && m_nesting.Outer(0) == kBinary) TakeArrayText(text);
  }

 private:
  Element Enter(std::string_view name);
  void Start(Element element, const XmlAttributes& attributes);
  void StartInSpectrum(Element element, const XmlAttributes& attributes);
  void StartConfiguration(const XmlAttributes& attributes);
  void EndConfiguration();
  void StartSpectrum(const XmlAttributes& attributes);
  void StartScan(const XmlAttributes& attributes);
  void StartPrecursor(const XmlAttributes& attributes);
  void StartArray(const XmlAttributes& attributes);
  void StartBinary();
  void TakeArrayText(std::string_view text);
  void EndSpectrum();
  void EndArray();

  void Apply(const Param& param);
  void ApplyGroup(std::string_view id);
  void KeepInGroup(const Param& param);
  void CountHeaderBytes(std::size_t bytes);
  void ApplyToConfiguration(const Param& param);
  void ApplyInSpectrum(const Param& param);
  void ApplyToSpectrum(const Param& param);
  void ApplyToScan(const Param& param);
  void ApplyTime(const Param& param);
  void ApplyToWindow(const Param& param);
  void ApplyToIon(const Param& param);
  void ApplyToActivation(const Param& param);
  void ApplyToArray(const Param& param);

  [[nodiscard]] std::int64_t LengthOf(std::string_view text) const;
  const InstrumentConfiguration* ConfigurationOfScan() const;
  bool WantsPeaks();
  void RefuseBehindArrays(const char* name) const;
  void JoinPeaks();
  [[noreturn]] void Fail(const std::string& detail) const;

  ScanConsumer* m_consumer;
  SizeLimits m_limits;
  ElementNesting m_nesting{MzmlRules()};
  std::map<std::string, ParamGroup, std::less<>> m_groups;
  ParamGroup* m_group = nullptr;  // that is being read, inside its element
  std::size_t m_header_bytes = 0;
  std::uint64_t m_elements = 0;
  std::uint64_t m_group_bytes = 0;  // of all references

  // The consumer borrows them for a call, so they must not move.
  std::map<std::string, InstrumentConfiguration, std::less<>> m_configurations;
  InstrumentConfiguration* m_configuration = nullptr;  // like m_group
  std::vector<OrderedAnalyser> m_analysers;            // of m_configuration
  std::string m_default_configuration;

  ExtractedScan m_scan;
  std::int64_t m_position = 0;
  bool m_in_spectrum = false;
  int m_scan_elements = 0;
  std::size_t m_selected_ions = 0;
  std::string m_scan_configuration;
  ActivationTerms m_activation;
  std::optional<bool> m_wants_peaks;

  ArrayEncoding m_encoding;
  ArrayKind m_array_kind = ArrayKind::kOther;
  bool m_has_own_length = false;
  std::int64_t m_array_length = 0;
  bool m_collects_text = false;
  std::size_t m_most_text = 0;
  std::string m_text;
  ArrayDecoder m_decoder;
  std::optional<std::vector<double>> m_mz;
  std::optional<std::vector<double>> m_intensity;
  std::vector<double> m_spare_mz;
  std::vector<double> m_spare_intensity;
  std::vector<Peak> m_peaks;
};

void MzmlReader::Fail(const std::string& detail) const {
  throw m_in_spectrum ? FaultOf(m_scan, detail) : detail;
}

Element MzmlReader::Enter(std::string_view name) {
  try {
    return m_nesting.Enter(name);
  } catch (const std::string& detail) {
    Fail(detail);
  }
}

void MzmlReader::OnStart(std::string_view name, const XmlAttributes& attributes) {
  ++m_elements;
  const Element element = Enter(name);
  switch (element) {
    case kPassedOver:
      return;
    case kCvParam:
    case kUserParam:
      return Apply(ParamOf(attributes));
    case kReferenceableParamGroupRef:
      return ApplyGroup(attributes.Get("ref"));
    default:
      break;
  }
  if (m_in_spectrum)
    StartInSpectrum(element, attributes);
  else
    Start(element, attributes);
}

void MzmlReader::Start(Element element, const XmlAttributes& attributes) {
  switch (element) {
    case kReferenceableParamGroup:
      CountHeaderBytes(kParamBytes + attributes.Get("id").size());
      m_group = &m_groups[std::string(attributes.Get("id"))];
      *m_group = {};  // of two groups with one id the later holds
      return;
    case kInstrumentConfiguration:
      return StartConfiguration(attributes);
    case kAnalyzer:
      if (m_analysers.size() >= kMaxAnalysers)
        throw std::string("declares too many analysers of one instrument");
      m_analysers.push_back({ParseInteger(attributes.Get("order")), Analyser::kUnknown});
      return;
    case kRun:
      m_default_configuration = KeptText(attributes.Get("defaultInstrumentConfigurationRef"));
      return;
    case kSpectrumList:
      if (const std::string_view count = attributes.Get("count"); !count.empty())
        m_consumer->OnDeclaredCount(ParseInteger(count));
      return;
    case kSpectrum:
      return StartSpectrum(attributes);
    default:
      return;
  }
}

// The table of elements guarantees that a selected ion, a window and an activation have a precursor
// around them, and a binary its array.
void MzmlReader::StartInSpectrum(Element element, const XmlAttributes& attributes) {
  switch (element) {
    case kScan:
      return StartScan(attributes);
    case kPrecursor:
      return StartPrecursor(attributes);
    case kSelectedIon:
      if (++m_selected_ions > kMaxDeclaredPrecursors) Fail(TooManyPrecursorsText());
      m_scan.m_precursors.back().m_ions.emplace_back();
      return;
    case kBinaryDataArray:
      return StartArray(attributes);
    case kBinary:
      return StartBinary();
    default:
      return;
  }
}

void MzmlReader::OnEnd(std::string_view) {
  switch (m_nesting.Leave()) {
    case kReferenceableParamGroup:
      m_group = nullptr;
      return;
    case kInstrumentConfiguration:
      return EndConfiguration();
    case kBinary:
      m_collects_text = false;
      return;
    case kBinaryDataArray:
      if (m_in_spectrum) EndArray();
      return;
    case kSpectrum:
      return EndSpectrum();
    default:
      return;
  }
}

// Of two configurations with one id the later counts.
void MzmlReader::StartConfiguration(const XmlAttributes& attributes) {
  CountHeaderBytes(kConfigurationBytes);
  m_configuration = &m_configurations[std::string(KeptText(attributes.Get("id")))];
  *m_configuration = {};
  m_analysers.clear();
}

void MzmlReader::EndConfiguration() {
  std::ranges::stable_sort(m_analysers, {}, &OrderedAnalyser::m_order);
  for (const OrderedAnalyser& one : m_analysers)
    m_configuration->m_analysers.push_back(one.m_analyser);
  m_configuration = nullptr;
}

// kUnknownLength for an empty text; then the arrays decide.
std::int64_t MzmlReader::LengthOf(std::string_view text) const {
  if (text.empty()) return kUnknownLength;
  const auto length = ScanInteger64(text);
  if (length.m_status != NumberStatus::kOk || length.m_value < 0)
    Fail("declares an array length that cannot be: " + std::string(text));
  return length.m_value;
}

void MzmlReader::StartSpectrum(const XmlAttributes& attributes) {
  m_scan = {};
  m_scan.m_id = attributes.Get("id");
  m_scan.m_position = m_position++;
  m_in_spectrum = true;
  m_scan.m_peak_count = LengthOf(attributes.Get("defaultArrayLength"));
  m_scan_elements = 0;
  m_selected_ions = 0;
  m_scan_configuration.clear();
  m_wants_peaks.reset();
}

// The consumer decided about the peaks before this element, without its information.
void MzmlReader::RefuseBehindArrays(const char* name) const {
  if (m_wants_peaks) Fail("element " + std::string(name) + " must not come after the arrays");
}

void MzmlReader::StartScan(const XmlAttributes& attributes) {
  RefuseBehindArrays("scan");
  if (++m_scan_elements == 1)
    m_scan_configuration = KeptText(attributes.Get("instrumentConfigurationRef"));
}

void MzmlReader::StartPrecursor(const XmlAttributes& attributes) {
  RefuseBehindArrays("precursor");
  if (m_scan.m_precursors.size() >= kMaxDeclaredPrecursors) Fail(TooManyPrecursorsText());
  m_activation = {};
  DeclaredPrecursor& precursor = m_scan.m_precursors.emplace_back();
  // A spectrum of another file is of no use here.
  if (attributes.Get("externalSpectrumID").empty())
    precursor.m_scan_ref = attributes.Get("spectrumRef");
}

void MzmlReader::StartArray(const XmlAttributes& attributes) {
  m_encoding = {};
  m_array_kind = ArrayKind::kOther;
  m_text.clear();
  const std::int64_t own_length = LengthOf(attributes.Get("arrayLength"));
  m_has_own_length = own_length != kUnknownLength;
  m_array_length = m_has_own_length ? own_length : m_scan.m_peak_count;
}

void MzmlReader::StartBinary() {
  if (m_array_kind == ArrayKind::kOther) return;
  if (m_has_own_length && m_array_length > 0 && !m_wants_peaks)
    m_scan.m_peak_count = m_array_length;
  m_collects_text = WantsPeaks();
  if (m_collects_text && m_array_length > m_limits.m_of_array && m_array_length <= kMaxArrayLength)
    Fail(NameOf(m_array_kind) + " declares " + std::to_string(m_array_length) +
         " numbers, more than a file of this size can hold");
  m_most_text =
      MostArrayText(m_array_length == kUnknownLength ? m_limits.m_of_array : m_array_length);
}

void MzmlReader::TakeArrayText(std::string_view text) {
  if (m_text.size() + text.size() > m_most_text)
    Fail(NameOf(m_array_kind) + " has more text than " +
         (m_array_length == kUnknownLength
              ? "a file of this size can hold"
              : "the " + std::to_string(m_array_length) + " numbers declared take"));
  m_text += text;
}

const InstrumentConfiguration* MzmlReader::ConfigurationOfScan() const {
  const auto found = m_configurations.find(m_scan_configuration.empty() ? m_default_configuration
                                                                        : m_scan_configuration);
  if (found != m_configurations.end()) return &found->second;
  return m_configurations.size() == 1 ? &m_configurations.begin()->second : nullptr;
}

// Asks the consumer before decoding, so that unwanted peaks cost no time.
bool MzmlReader::WantsPeaks() {
  if (!m_wants_peaks) {
    m_scan.m_configuration = ConfigurationOfScan();
    if (m_scan.m_configuration != nullptr)
      m_scan.m_analyser = LastKnownAnalyser(*m_scan.m_configuration);
    m_scan.m_has_own_analyser =
        !m_scan_configuration.empty() && m_configurations.contains(m_scan_configuration);
    m_wants_peaks = m_consumer->WantsPeaks(m_scan);
  }
  return *m_wants_peaks;
}

void MzmlReader::EndArray() {
  if (m_array_kind == ArrayKind::kOther || m_scan.m_peak_count == 0 || !WantsPeaks()) return;
  const bool is_mz = m_array_kind == ArrayKind::kMz;
  std::optional<std::vector<double>>& numbers = is_mz ? m_mz : m_intensity;
  numbers.emplace(std::move(is_mz ? m_spare_mz : m_spare_intensity));
  if (m_array_length == 0) {
    numbers->clear();
    return;
  }
  try {
    m_decoder.Decode(m_text, m_encoding, m_array_length, NameOf(m_array_kind), *numbers,
                     m_limits.m_of_array);
    m_limits.Take(numbers->size());
  } catch (const std::string& detail) {
    Fail(detail);
  }
}

void MzmlReader::JoinPeaks() {
  if (!m_mz) Fail("has no m/z array");
  if (!m_intensity) Fail("has no intensity array");
  if (m_mz->size() != m_intensity->size())
    Fail("has " + std::to_string(m_mz->size()) + " m/z values and " +
         std::to_string(m_intensity->size()) + " intensities");
  m_peaks.resize(m_mz->size());
  for (std::size_t i = 0; i < m_peaks.size(); ++i) m_peaks[i] = {(*m_mz)[i], (*m_intensity)[i]};
}

void MzmlReader::EndSpectrum() {
  m_peaks.clear();
  // A spectrum that declares no arrays and has none is empty.
  if (m_scan.m_peak_count == kUnknownLength && !m_wants_peaks) m_scan.m_peak_count = 0;
  if (WantsPeaks() && (m_scan.m_peak_count > 0 || m_mz || m_intensity)) JoinPeaks();
  if (m_mz) {
    m_scan.m_peak_count = static_cast<std::int64_t>(m_mz->size());
    m_spare_mz = std::move(*m_mz);
  }
  if (m_intensity) m_spare_intensity = std::move(*m_intensity);
  m_mz.reset();
  m_intensity.reset();
  m_in_spectrum = false;
  m_consumer->OnScan(m_scan, m_peaks);
}

void MzmlReader::ApplyGroup(std::string_view id) {
  if (m_group != nullptr)
    throw std::string(
        "element referenceableParamGroupRef must not be inside "
        "referenceableParamGroup");
  const auto group = m_groups.find(id);
  if (group == m_groups.end()) return;
  m_group_bytes += group->second.m_bytes;
  if (m_group_bytes > kFreeGroupBytes + kGroupBytesPerElement * m_elements)
    Fail("refers to large groups of parameters too often");
  for (const StoredParam& param : group->second.m_params)
    Apply({param.m_accession, param.m_value, param.m_unit, param.m_name});
}

// The innermost element is that of the parameter, or of the reference to its group.
void MzmlReader::Apply(const Param& param) {
  if (m_in_spectrum) return ApplyInSpectrum(param);
  switch (m_nesting.Outer(1)) {
    case kReferenceableParamGroup:
      return KeepInGroup(param);
    case kInstrumentConfiguration:
      return ApplyToConfiguration(param);
    case kAnalyzer:
      if (const Analyser analyser = AnalyserOfTerm(param.m_accession);
          analyser != Analyser::kUnknown)
        m_analysers.back().m_analyser = analyser;
      return;
    case kDetector:
      if (IsInductiveTerm(param.m_accession) || IsInductiveWord(param.m_name))
        m_configuration->m_has_inductive_detector = true;
      return;
    default:
      return;
  }
}

void MzmlReader::KeepInGroup(const Param& param) {
  const std::size_t bytes =
      kParamBytes + param.m_value.size() + param.m_unit.size() + param.m_name.size();
  CountHeaderBytes(bytes);
  m_group->m_bytes += bytes;
  m_group->m_params.push_back({param.m_accession, std::string(param.m_value),
                               std::string(param.m_unit), std::string(param.m_name)});
}

// What is kept to the end of the file.
void MzmlReader::CountHeaderBytes(std::size_t bytes) {
  m_header_bytes += bytes;
  if (m_header_bytes > kMaxHeaderBytes)
    throw std::string("more than 16 MB of parameter groups and instrument configurations");
}

// The first term that may be a model is it; without one, a text.
void MzmlReader::ApplyToConfiguration(const Param& param) {
  if (m_configuration->m_model_accession != 0) return;
  if (MayBeModel(param.m_accession, param.m_name)) {
    m_configuration->m_model_accession = param.m_accession;
    m_configuration->m_model_name = KeptText(param.m_name);
    return;
  }
  if (HasModelValue(param.m_accession, param.m_name) && !param.m_value.empty())
    m_configuration->m_model_name = KeptText(param.m_value);
}

void MzmlReader::ApplyInSpectrum(const Param& param) {
  switch (m_nesting.Outer(1)) {
    case kSpectrum:
    case kSpectrumDescription:
      ApplyToSpectrum(param);
      return ApplyToScan(param);
    case kScan:
      if (m_scan_elements == 1) ApplyToScan(param);
      return;
    case kIsolationWindow:
      if (m_nesting.Outer(2) == kPrecursor) ApplyToWindow(param);
      return;
    case kSelectedIon:
      return ApplyToIon(param);
    case kActivation:
      return ApplyToActivation(param);
    case kBinaryDataArray:
      return ApplyToArray(param);
    default:
      return;
  }
}

void MzmlReader::ApplyToSpectrum(const Param& param) {
  constexpr std::int32_t kMs1 = 1000579;
  constexpr std::int32_t kRadiation = 1000804;   // electromagnetic,
  constexpr std::int32_t kAbsorption = 1000806;  // and emission between the two
  if (param.m_accession == 1000511) m_scan.m_ms_level = ParseInteger(param.m_value);
  if (param.m_accession == kMs1 && m_scan.m_ms_level == 0) m_scan.m_ms_level = 1;
  if (param.m_accession >= kRadiation && param.m_accession <= kAbsorption)
    m_scan.m_is_mass_spectrum = false;
  if (param.m_accession == 1000127) m_scan.m_mode = PeakMode::kCentroid;
  if (param.m_accession == 1000128) m_scan.m_mode = PeakMode::kProfile;
}

// The terms for the scan; some files have them in the spectrum.
void MzmlReader::ApplyToScan(const Param& param) {
  if (param.m_accession == 1000129) m_scan.m_polarity = Polarity::kNegative;
  if (param.m_accession == 1000130) m_scan.m_polarity = Polarity::kPositive;
  if (param.m_accession == 1000927)
    m_scan.m_injection_ms = PossibleReal(param.m_value).value_or(0.0);
  if (param.m_accession == 1000512) m_scan.m_filter = param.m_value;
  if (param.m_accession == 1001581) m_scan.m_faims_volts = PossibleReal(param.m_value);
  ApplyTime(param);
}

// A scan start time without unit is in minutes, as most writers mean it. The other terms only count
// without a start time, and only with a unit.
void MzmlReader::ApplyTime(const Param& param) {
  constexpr std::int32_t kStartTime = 1000016;
  constexpr std::int32_t kElutionTime = 1000826;
  constexpr std::int32_t kRetentionTime = 1000894;
  const bool is_start = param.m_accession == kStartTime;
  if (!is_start && param.m_accession != kElutionTime && param.m_accession != kRetentionTime) return;
  double unit = SecondsPer(param.m_unit);
  if (is_start && unit == 0.0) unit = 60.0;
  if (unit == 0.0 || (!is_start && m_scan.m_rt_seconds)) return;
  if (const auto time = PossibleReal(param.m_value)) m_scan.m_rt_seconds = *time * unit;
}

void MzmlReader::ApplyToWindow(const Param& param) {
  DeclaredPrecursor& precursor = m_scan.m_precursors.back();
  if (param.m_accession == 1000827) precursor.m_target_mz = PossibleReal(param.m_value);
  if (param.m_accession == 1000828) precursor.m_lower_offset = PossibleReal(param.m_value);
  if (param.m_accession == 1000829) precursor.m_upper_offset = PossibleReal(param.m_value);
}

// Some writers, and old files, use the term "m/z" instead of "selected ion m/z".
void MzmlReader::ApplyToIon(const Param& param) {
  SelectedIon& ion = m_scan.m_precursors.back().m_ions.back();
  const double mz = PossibleReal(param.m_value).value_or(0.0);
  if (param.m_accession == 1000744) ion.m_mz = mz;
  if (param.m_accession == 1000040 && ion.m_mz == 0.0) ion.m_mz = mz;
  if (param.m_accession == 1000041) ion.m_charge = ParseInteger(param.m_value);
  if (param.m_accession == 1000633) AddPossibleCharge(ion, ParseInteger(param.m_value));
}

void MzmlReader::ApplyToActivation(const Param& param) {
  m_activation.Add(param.m_accession, param.m_name, param.m_value);
  m_scan.m_precursors.back().m_activation = m_activation.Bits();
  m_scan.m_precursors.back().m_other_activation = m_activation.OtherName();
}

void MzmlReader::ApplyToArray(const Param& param) {
  if (param.m_accession == 1000514) m_array_kind = ArrayKind::kMz;
  if (param.m_accession == 1000515) m_array_kind = ArrayKind::kIntensity;
  if (IsMobilityArray(param.m_accession, param.m_name, param.m_value))
    m_scan.m_has_mobility_array = true;
  ApplyEncoding(param, m_encoding);
}

}  // namespace

std::unique_ptr<XmlHandler> MakeMzmlReader(ScanConsumer& consumer, const SizeLimits& limits) {
  return std::make_unique<MzmlReader>(consumer, limits);
}

}  // namespace tarvek::extractor
