#include "MzmlReader.h"

#include <map>
#include <utility>

#include "AttributeNumber.h"
#include "BinaryArray.h"
#include "NumberText.h"

namespace tarvek::extractor {
namespace {

/// One cvParam; its texts borrow from the parser or from a stored group.
struct Param {
  std::int32_t m_accession = 0;  // the number of an MS: term, 0 for other vocabularies
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

/// What the cvParams of the present element speak of.
enum class Place {
  kOther,
  kGroup,
  kConfiguration,
  kAnalyser,
  kDetector,
  kSpectrum,
  kScan,
  kWindow,
  kIon,
  kActivation,
  kArray
};

enum class ArrayKind { kOther, kMz, kIntensity };

std::int32_t AccessionOf(std::string_view text) {
  return text.starts_with("MS:") ? ParseInteger(text.substr(3)) : 0;
}

Param ParamOf(const XmlAttributes& attributes) {
  Param param;
  for (const char** pair = attributes.Pairs(); *pair != nullptr; pair += 2) {
    const std::string_view name = *pair;
    if (name == "accession") param.m_accession = AccessionOf(*(pair + 1));
    if (name == "value") param.m_value = *(pair + 1);
    if (name == "unitAccession") param.m_unit = *(pair + 1);
    if (name == "name") param.m_name = *(pair + 1);
  }
  return param;
}

/// Seconds in the unit of a time; a time without unit is in minutes, as most writers have it.
double SecondsPer(std::string_view unit) {
  if (unit == "UO:0000010") return 1.0;
  if (unit == "UO:0000028") return 1e-3;
  return unit == "UO:0000032" ? 3600.0 : 60.0;
}

Analyser AnalyserOf(std::int32_t accession) {
  switch (accession) {
    case 1000484:  // orbitrap
    case 1000079:  // Fourier transform ion cyclotron resonance
    case 1003379:  // asymmetric track
      return Analyser::kFourier;
    case 1000084:
      return Analyser::kTimeOfFlight;
    case 1000264:  // ion trap
    case 1000291:  // linear ion trap
    case 1000082:  // quadrupole ion trap
    case 1000083:  // radial ejection linear ion trap
    case 1000078:  // axial ejection linear ion trap
      return Analyser::kIonTrap;
    case 1000080:  // magnetic sector
    case 1000081:  // quadrupole
    case 1000254:  // electrostatic energy analyser
    case 1000284:  // stored waveform inverse Fourier transform
    case 1000288:  // cyclotron
      return Analyser::kOther;
    default:
      return Analyser::kUnknown;
  }
}

/// The bit of a dissociation method; 0 for terms that are none.
unsigned ActivationOf(std::int32_t accession) {
  switch (accession) {
    case 1000133:
    case 1002472:
    case 1002679:  // supplemental collision-induced
      return kActivationCid;
    case 1000422:
    case 1002481:
    case 1002678:  // supplemental beam-type
      return kActivationHcd;
    case 1000598:
      return kActivationEtd;
    case 1002631:
      return kActivationEthcd;
    case 1003182:
      return kActivationEtcid;
    case 1000134:  // plasma desorption
    case 1000135:  // post-source decay
    case 1000136:  // surface-induced
    case 1000242:  // blackbody infrared radiative
    case 1000250:  // electron capture
    case 1000262:  // infrared multiphoton
    case 1000282:  // sustained off-resonance irradiation
    case 1000433:  // low-energy collision-induced
    case 1000435:  // photodissociation
    case 1000599:  // pulsed q
    case 1001880:  // in-source collision-induced
    case 1002000:  // LIFT
    case 1003246:  // ultraviolet
    case 1003247:  // negative electron transfer
    case 1003294:  // electron activated
      return kActivationOther;
    default:
      return 0;
  }
}

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

// Number types and compressions that have a term but no decoder here.
bool IsUnsupported(std::int32_t accession) {
  return accession == 1000520 ||                            // 16-bit float
         accession == 1001479 ||                            // null-terminated ASCII string
         (accession >= 1003088 && accession <= 1003090) ||  // truncation and prediction
         (accession >= 1003780 && accession <= 1003785);    // zstd, alone and behind others
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
  explicit MzmlReader(ScanConsumer& consumer) : m_consumer(&consumer) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override;
  void OnEnd(std::string_view name) override;
  void OnText(std::string_view text) override {
    if (m_collects_text) m_text += text;
  }

 private:
  Place Enter(std::string_view name, const XmlAttributes& attributes);
  Place EnterInSpectrum(std::string_view name, const XmlAttributes& attributes);
  void StartSpectrum(const XmlAttributes& attributes);
  void StartScan(const XmlAttributes& attributes);
  void StartPrecursor(const XmlAttributes& attributes);
  void StartArray(const XmlAttributes& attributes);
  void EndSpectrum();
  void EndArray();
  void FinishAnalyser();
  void ApplyToConfiguration(const Param& param);

  void Apply(const Param& param);
  void ApplyGroup(std::string_view id);
  void ApplyToSpectrum(const Param& param);
  void ApplyToScan(const Param& param);
  void ApplyToWindow(const Param& param);
  void ApplyToIon(const Param& param);
  void ApplyToActivation(const Param& param);
  void ApplyToArray(const Param& param);

  bool WantsPeaks();
  void JoinPeaks();
  [[noreturn]] void Fail(const std::string& detail) const;

  ScanConsumer* m_consumer;
  std::vector<Place> m_places;
  std::map<std::string, std::vector<StoredParam>, std::less<>> m_groups;
  std::vector<StoredParam>* m_group = nullptr;

  // The analyser of each instrument configuration is its last one.
  std::map<std::string, Analyser, std::less<>> m_analysers;
  std::string m_configuration;
  std::int32_t m_analyser_order = 0;
  std::int32_t m_best_order = 0;
  Analyser m_analyser = Analyser::kUnknown;
  std::string m_default_configuration;
  std::map<std::string, InstrumentConfiguration, std::less<>> m_configurations;

  ExtractedScan m_scan;
  std::int64_t m_position = 0;
  bool m_in_spectrum = false;
  bool m_in_product = false;
  int m_scan_elements = 0;
  std::string m_scan_configuration;
  std::optional<bool> m_wants_peaks;

  ArrayEncoding m_encoding;
  ArrayKind m_array_kind = ArrayKind::kOther;
  std::int64_t m_array_length = 0;
  bool m_collects_text = false;
  std::string m_text;
  ArrayDecoder m_decoder;
  std::optional<std::vector<double>> m_mz;
  std::optional<std::vector<double>> m_intensity;
  std::vector<double> m_spare_mz;
  std::vector<double> m_spare_intensity;
  std::vector<Peak> m_peaks;
};

void MzmlReader::Fail(const std::string& detail) const {
  throw "spectrum \"" + m_scan.m_id + "\": " + detail;
}

void MzmlReader::OnStart(std::string_view name, const XmlAttributes& attributes) {
  if (name == "cvParam") {
    Apply(ParamOf(attributes));
  } else if (name == "referenceableParamGroupRef") {
    ApplyGroup(attributes.Get("ref"));
  } else {
    m_places.push_back(m_in_spectrum ? EnterInSpectrum(name, attributes) : Enter(name, attributes));
  }
}

void MzmlReader::OnEnd(std::string_view name) {
  if (name == "cvParam" || name == "referenceableParamGroupRef") return;
  m_places.pop_back();
  if (name == "binary") m_collects_text = false;
  if (name == "binaryDataArray" && m_in_spectrum) EndArray();
  if (name == "product") m_in_product = false;
  if (name == "spectrum") EndSpectrum();
  if (name == "referenceableParamGroup") m_group = nullptr;
  if (name == "analyzer") FinishAnalyser();
}

Place MzmlReader::Enter(std::string_view name, const XmlAttributes& attributes) {
  if (name == "spectrum") {
    StartSpectrum(attributes);
    return Place::kSpectrum;
  }
  if (name == "referenceableParamGroup") {
    m_group = &m_groups[std::string(attributes.Get("id"))];
    return Place::kGroup;
  }
  if (name == "instrumentConfiguration") {
    m_configuration = attributes.Get("id");
    m_best_order = 0;
    return Place::kConfiguration;
  } else if (name == "detector") {
    return Place::kDetector;
  } else if (name == "analyzer") {
    m_analyser = Analyser::kUnknown;
    m_analyser_order = ParseInteger(attributes.Get("order"));
    return Place::kAnalyser;
  } else if (name == "run") {
    m_default_configuration = attributes.Get("defaultInstrumentConfigurationRef");
  } else if (name == "spectrumList") {
    m_consumer->OnDeclaredCount(ParseInteger(attributes.Get("count")));
  }
  return Place::kOther;
}

Place MzmlReader::EnterInSpectrum(std::string_view name, const XmlAttributes& attributes) {
  if (name == "spectrum") Fail("holds another spectrum");
  if (name == "product") m_in_product = true;
  if (name == "binaryDataArray") {
    StartArray(attributes);
    return Place::kArray;
  }
  if (name == "binary") m_collects_text = m_array_kind != ArrayKind::kOther && WantsPeaks();
  if (name == "scan") {
    StartScan(attributes);
    return m_scan_elements == 1 ? Place::kScan : Place::kOther;
  }
  if (name == "precursor") StartPrecursor(attributes);
  if (m_scan.m_precursors.empty() || m_in_product) return Place::kOther;
  if (name == "isolationWindow") return Place::kWindow;
  if (name == "activation") return Place::kActivation;
  if (name != "selectedIon") return Place::kOther;
  m_scan.m_precursors.back().m_ions.emplace_back();
  return Place::kIon;
}

void MzmlReader::StartSpectrum(const XmlAttributes& attributes) {
  m_scan = {};
  m_scan.m_id = attributes.Get("id");
  m_scan.m_position = m_position++;
  const auto length = ScanInteger64(attributes.Get("defaultArrayLength"));
  if (length.m_status != NumberStatus::kOk || length.m_value < 0) Fail("declares no array length");
  m_scan.m_peak_count = length.m_value;
  m_in_spectrum = true;
  m_scan_elements = 0;
  m_scan_configuration.clear();
  m_wants_peaks.reset();
}

void MzmlReader::StartScan(const XmlAttributes& attributes) {
  if (++m_scan_elements == 1) m_scan_configuration = attributes.Get("instrumentConfigurationRef");
}

void MzmlReader::StartPrecursor(const XmlAttributes& attributes) {
  DeclaredPrecursor& precursor = m_scan.m_precursors.emplace_back();
  // A spectrum of another file says nothing here.
  if (attributes.Get("externalSpectrumID").empty())
    precursor.m_scan_ref = attributes.Get("spectrumRef");
}

void MzmlReader::StartArray(const XmlAttributes& attributes) {
  m_encoding = {};
  m_array_kind = ArrayKind::kOther;
  m_text.clear();
  const std::string_view own_length = attributes.Get("arrayLength");
  m_array_length = own_length.empty() ? m_scan.m_peak_count : ScanInteger64(own_length).m_value;
}

// Known before the peaks come, so that unwanted ones cost nothing.
bool MzmlReader::WantsPeaks() {
  if (!m_wants_peaks) {
    const auto found = m_analysers.find(m_scan_configuration.empty() ? m_default_configuration
                                                                     : m_scan_configuration);
    if (found != m_analysers.end()) m_scan.m_analyser = found->second;
    const auto configuration = m_configurations.find(
        m_scan_configuration.empty() ? m_default_configuration : m_scan_configuration);
    if (configuration != m_configurations.end()) m_scan.m_configuration = &configuration->second;
    m_scan.m_has_own_analyser = !m_scan_configuration.empty();
    m_wants_peaks = m_consumer->WantsPeaks(m_scan);
  }
  return *m_wants_peaks;
}

void MzmlReader::EndArray() {
  if (m_array_kind == ArrayKind::kOther || m_array_length == 0 || !WantsPeaks()) return;
  const bool is_mz = m_array_kind == ArrayKind::kMz;
  std::optional<std::vector<double>>& numbers = is_mz ? m_mz : m_intensity;
  numbers.emplace(std::move(is_mz ? m_spare_mz : m_spare_intensity));
  try {
    m_decoder.Decode(m_text, m_encoding, m_array_length, is_mz ? "m/z array" : "intensity array",
                     *numbers);
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
  m_in_spectrum = false;
  m_peaks.clear();
  if (WantsPeaks() && (m_scan.m_peak_count > 0 || m_mz || m_intensity)) JoinPeaks();
  if (m_mz) m_spare_mz = std::move(*m_mz);
  if (m_intensity) m_spare_intensity = std::move(*m_intensity);
  m_mz.reset();
  m_intensity.reset();
  m_consumer->OnScan(m_scan, m_peaks);
}

void MzmlReader::FinishAnalyser() {
  m_configurations[m_configuration].m_analysers.push_back(m_analyser);
  if (m_analyser == Analyser::kUnknown || m_analyser_order < m_best_order) return;
  m_best_order = m_analyser_order;
  m_analysers[m_configuration] = m_analyser;
}

void MzmlReader::ApplyGroup(std::string_view id) {
  const auto group = m_groups.find(id);
  if (group == m_groups.end() || m_group != nullptr) return;
  for (const StoredParam& param : group->second)
    Apply({param.m_accession, param.m_value, param.m_unit, param.m_name});
}

void MzmlReader::Apply(const Param& param) {
  switch (m_places.empty() ? Place::kOther : m_places.back()) {
    case Place::kOther:
      return;
    case Place::kGroup:
      m_group->push_back({param.m_accession, std::string(param.m_value), std::string(param.m_unit),
                          std::string(param.m_name)});
      return;
    case Place::kAnalyser:
      if (AnalyserOf(param.m_accession) != Analyser::kUnknown)
        m_analyser = AnalyserOf(param.m_accession);
      return;
    case Place::kConfiguration:
      return ApplyToConfiguration(param);
    case Place::kDetector:
      if (param.m_accession == 1000624)
        m_configurations[m_configuration].m_has_inductive_detector = true;
      return;
    case Place::kSpectrum:
      return ApplyToSpectrum(param);
    case Place::kScan:
      return ApplyToScan(param);
    case Place::kWindow:
      return ApplyToWindow(param);
    case Place::kIon:
      return ApplyToIon(param);
    case Place::kActivation:
      return ApplyToActivation(param);
    case Place::kArray:
      return ApplyToArray(param);
  }
}

void MzmlReader::ApplyToConfiguration(const Param& param) {
  constexpr std::int32_t kSerialNumber = 1000529;
  constexpr std::int32_t kModel = 1000031;
  constexpr std::int32_t kCustomization = 1000032;
  InstrumentConfiguration& configuration = m_configurations[m_configuration];
  if (param.m_accession == 0 || param.m_accession == kSerialNumber ||
      param.m_accession == kCustomization)
    return;
  if (param.m_accession == kModel) {
    if (!param.m_value.empty()) configuration.m_model_name = param.m_value;
    return;
  }
  configuration.m_model_accession = param.m_accession;
  configuration.m_model_name = param.m_name;
}

void MzmlReader::ApplyToSpectrum(const Param& param) {
  switch (param.m_accession) {
    case 1000511:
      m_scan.m_ms_level = ParseInteger(param.m_value);
      break;
    case 1000579:  // MS1 spectrum
      if (m_scan.m_ms_level == 0) m_scan.m_ms_level = 1;
      break;
    case 1000804:  // electromagnetic radiation spectrum
    case 1000805:  // emission spectrum
    case 1000806:  // absorption spectrum
      m_scan.m_is_mass_spectrum = false;
      break;
    case 1000129:
      m_scan.m_polarity = Polarity::kNegative;
      break;
    case 1000130:
      m_scan.m_polarity = Polarity::kPositive;
      break;
    case 1000127:
      m_scan.m_mode = PeakMode::kCentroid;
      break;
    case 1000128:
      m_scan.m_mode = PeakMode::kProfile;
      break;
    case 1001581:
      m_scan.m_faims_volts = FiniteReal(param.m_value);
      break;
    default:
      break;
  }
}

void MzmlReader::ApplyToScan(const Param& param) {
  switch (param.m_accession) {
    case 1000016:
      if (const auto time = FiniteReal(param.m_value))
        m_scan.m_rt_seconds = *time * SecondsPer(param.m_unit);
      break;
    case 1000927:
      m_scan.m_injection_ms = FiniteReal(param.m_value).value_or(0.0);
      break;
    case 1000512:
      m_scan.m_filter = param.m_value;
      break;
    case 1001581:
      m_scan.m_faims_volts = FiniteReal(param.m_value);
      break;
    default:
      break;
  }
}

void MzmlReader::ApplyToWindow(const Param& param) {
  DeclaredPrecursor& precursor = m_scan.m_precursors.back();
  if (param.m_accession == 1000827) precursor.m_target_mz = FiniteReal(param.m_value);
  if (param.m_accession == 1000828) precursor.m_lower_offset = FiniteReal(param.m_value);
  if (param.m_accession == 1000829) precursor.m_upper_offset = FiniteReal(param.m_value);
}

void MzmlReader::ApplyToIon(const Param& param) {
  SelectedIon& ion = m_scan.m_precursors.back().m_ions.back();
  if (param.m_accession == 1000744) ion.m_mz = FiniteReal(param.m_value).value_or(0.0);
  if (param.m_accession == 1000041) ion.m_charge = ParseInteger(param.m_value);
  if (param.m_accession == 1000633) ion.m_possible_charges.push_back(ParseInteger(param.m_value));
}

void MzmlReader::ApplyToActivation(const Param& param) {
  DeclaredPrecursor& precursor = m_scan.m_precursors.back();
  const unsigned bit = ActivationOf(param.m_accession);
  precursor.m_activation |= bit;
  if (bit == kActivationOther) precursor.m_other_activation = param.m_name;
}

void MzmlReader::ApplyToArray(const Param& param) {
  if (param.m_accession == 1000514) m_array_kind = ArrayKind::kMz;
  if (param.m_accession == 1000515) m_array_kind = ArrayKind::kIntensity;
  ApplyEncoding(param, m_encoding);
}

}  // namespace

std::unique_ptr<XmlHandler> MakeMzmlReader(ScanConsumer& consumer) {
  return std::make_unique<MzmlReader>(consumer);
}

}  // namespace tarvek::extractor
