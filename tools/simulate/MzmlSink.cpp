#include "simulate/MzmlSink.h"

#include <zlib.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "Check.h"
#include "FileUtils.h"
#include "LittleEndian.h"
#include "NumberText.h"
#include "outputs/Encoding.h"
#include "outputs/FileBlocks.h"

namespace tarvek::tools {
namespace {

constexpr int kFilterMzDecimals = 4;
constexpr std::size_t kCountDigits = 10;
constexpr double kSecondsPerMinute = 60.0;

// Up to the instrument configurations. Nothing in it depends on the path or the time: the files of a seed
// never differ.
constexpr std::string_view kHeadStart = R"(<?xml version="1.0" encoding="utf-8"?>
<indexedmzML xmlns="http://psi.hupo.org/ms/mzml" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:schemaLocation="http://psi.hupo.org/ms/mzml http://psidev.info/files/ms/mzML/xsd/mzML1.1.2_idx.xsd">
  <mzML xmlns="http://psi.hupo.org/ms/mzml" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:schemaLocation="http://psi.hupo.org/ms/mzml http://psidev.info/files/ms/mzML/xsd/mzML1.1.0.xsd" id="simulated_run" version="1.1.0">
    <cvList count="2">
      <cv id="MS" fullName="Proteomics Standards Initiative Mass Spectrometry Ontology" version="4.1.0" URI="https://raw.githubusercontent.com/HUPO-PSI/psi-ms-CV/master/psi-ms.obo"/>
      <cv id="UO" fullName="Unit Ontology" version="09:04:2014" URI="https://raw.githubusercontent.com/bio-ontology-research-group/unit-ontology/master/unit.obo"/>
    </cvList>
    <fileDescription>
      <fileContent>
        <cvParam cvRef="MS" accession="MS:1000579" name="MS1 spectrum" value=""/>
        <cvParam cvRef="MS" accession="MS:1000580" name="MSn spectrum" value=""/>
        <cvParam cvRef="MS" accession="MS:1000127" name="centroid spectrum" value=""/>
      </fileContent>
    </fileDescription>
    <softwareList count="1">
      <software id="tarvek-tools" version=")" TARVEK_VERSION R"(">
        <cvParam cvRef="MS" accession="MS:1000799" name="custom unreleased software tool" value="tarvek-tools simulate"/>
      </software>
    </softwareList>
    <instrumentConfigurationList count="2">
)";

// The rest, up to the number of spectra.
constexpr std::string_view kHeadEnd = R"(    </instrumentConfigurationList>
    <dataProcessingList count="1">
      <dataProcessing id="simulation">
        <processingMethod order="0" softwareRef="tarvek-tools">
          <cvParam cvRef="MS" accession="MS:1000544" name="Conversion to mzML" value=""/>
        </processingMethod>
      </dataProcessing>
    </dataProcessingList>
    <run id="simulated_run" defaultInstrumentConfigurationRef="FTMS">
      <spectrumList defaultDataProcessingRef="simulation" count=")";

/// A term of the PSI-MS vocabulary, or a unit of measurement of it or of the Unit Ontology.
struct Term {
  std::string_view m_accession;
  std::string_view m_name;
};

constexpr Term kMsLevel{"MS:1000511", "ms level"};
constexpr Term kMs1{"MS:1000579", "MS1 spectrum"};
constexpr Term kMsn{"MS:1000580", "MSn spectrum"};
constexpr Term kCentroid{"MS:1000127", "centroid spectrum"};
constexpr Term kNegative{"MS:1000129", "negative scan"};
constexpr Term kPositive{"MS:1000130", "positive scan"};
constexpr Term kNoCombination{"MS:1000795", "no combination"};
constexpr Term kScanStartTime{"MS:1000016", "scan start time"};
constexpr Term kFilterString{"MS:1000512", "filter string"};
constexpr Term kIonInjectionTime{"MS:1000927", "ion injection time"};
constexpr Term kScanLowerLimit{"MS:1000501", "scan window lower limit"};
constexpr Term kScanUpperLimit{"MS:1000500", "scan window upper limit"};
constexpr Term kIsolationTarget{"MS:1000827", "isolation window target m/z"};
constexpr Term kIsolationLower{"MS:1000828", "isolation window lower offset"};
constexpr Term kIsolationUpper{"MS:1000829", "isolation window upper offset"};
constexpr Term kSelectedMz{"MS:1000744", "selected ion m/z"};
constexpr Term kChargeState{"MS:1000041", "charge state"};
constexpr Term kFloat64{"MS:1000523", "64-bit float"};
constexpr Term kFloat32{"MS:1000521", "32-bit float"};
constexpr Term kZlib{"MS:1000574", "zlib compression"};
constexpr Term kMzArray{"MS:1000514", "m/z array"};
constexpr Term kIntensityArray{"MS:1000515", "intensity array"};

constexpr Term kMinute{"UO:0000031", "minute"};
constexpr Term kMillisecond{"UO:0000028", "millisecond"};
constexpr Term kMz{"MS:1000040", "m/z"};
constexpr Term kCountsPerSecond{"MS:1000814", "counts per second"};

constexpr Term kCid{"MS:1000133", "collision-induced dissociation"};
constexpr Term kHcd{"MS:1000422", "beam-type collision-induced dissociation"};
constexpr Term kEtd{"MS:1000598", "electron transfer dissociation"};
constexpr Term kSupplementalHcd{"MS:1002678",
                                "supplemental beam-type collision-induced dissociation"};
constexpr Term kSupplementalCid{"MS:1002679", "supplemental collision-induced dissociation"};

/// One of kActivationTypes in the words of mzML and of filter strings.
struct Activation {
  std::string_view m_type;
  std::vector<Term> m_terms;
  std::string_view m_filter_mode;  // text before "Full ms2"
  std::string_view m_filter_text;  // text after the m/z
};

const Activation& ActivationOf(std::string_view type) {
  static const std::array<Activation, 5> kActivations{
      {{"CID", {kCid}, "d", "@cid"},
       {"HCD", {kHcd}, "d", "@hcd"},
       {"ETD", {kEtd}, "d", "@etd"},
       {"ETCID", {kEtd, kSupplementalCid}, "d sa", "@etd@cid"},
       {"ETHCD", {kEtd, kSupplementalHcd}, "d sa", "@etd@hcd"}}};
  for (const Activation& activation : kActivations)
    if (activation.m_type == type) return activation;
  TARVEK_CHECK(false, "type is one of kActivationTypes", "MzmlSink");
  return kActivations.front();
}

/// Lines of XML, two blanks deeper inside each element.
class XmlLines {
 public:
  XmlLines(std::string& text, std::size_t depth) : m_text(text), m_depth(depth) {}

  /// start: name and attributes.
  void Open(std::string_view start) {
    Line({"<", start, ">"});
    ++m_depth;
  }

  void Close(std::string_view name) {
    --m_depth;
    Line({"</", name, ">"});
  }

  void Line(std::initializer_list<std::string_view> parts) {
    m_text.append(2 * m_depth, ' ');
    for (const std::string_view part : parts) m_text += part;
    m_text += '\n';
  }

  /// value: without characters that XML must escape.
  void Put(const Term& term, std::string_view value = "") {
    Line({R"(<cvParam cvRef="MS" accession=")", term.m_accession, R"(" name=")", term.m_name,
          R"(" value=")", value, R"("/>)"});
  }

  void Put(const Term& term, std::string_view value, const Term& unit) {
    Line({R"(<cvParam cvRef="MS" accession=")", term.m_accession, R"(" name=")", term.m_name,
          R"(" value=")", value, R"(" unitCvRef=")", unit.m_accession.substr(0, 2),
          R"(" unitAccession=")", unit.m_accession, R"(" unitName=")", unit.m_name, R"("/>)"});
  }

  void Put(const Term& term, double value, const Term& unit) { Put(term, ExactText(value), unit); }

 private:
  std::string& m_text;
  std::size_t m_depth;
};

void PutComponent(XmlLines& lines, const std::string& name, char order, const Term& kind) {
  lines.Open(name + R"( order=")" + order + '"');
  lines.Put(kind);
  lines.Close(name);
}

void PutConfiguration(XmlLines& lines, const std::string& id, const Term& analyser,
                      const Term& detector) {
  lines.Open(R"(instrumentConfiguration id=")" + id + '"');
  lines.Put({"MS:1000031", "instrument model"}, "simulated");
  lines.Open(R"(componentList count="3")");
  PutComponent(lines, "source", '1', {"MS:1000398", "nanoelectrospray"});
  PutComponent(lines, "analyzer", '2', analyser);
  PutComponent(lines, "detector", '3', detector);
  lines.Close("componentList");
  lines.Close("instrumentConfiguration");
}

/// The file up to its first spectrum, of the same length for every number of spectra.
std::string Head(std::int64_t spectra) {
  std::string text(kHeadStart);
  XmlLines lines(text, 3);
  PutConfiguration(lines, "FTMS", {"MS:1000484", "orbitrap"}, {"MS:1000624", "inductive detector"});
  PutConfiguration(lines, "ITMS", {"MS:1000083", "radial ejection linear ion trap"},
                   {"MS:1000253", "electron multiplier"});
  text += kHeadEnd;
  const std::size_t start = text.size();
  AppendInteger(text, spectra);
  text += '"';
  text.append(start + kCountDigits + 1 - text.size(), ' ');
  return text += ">\n";
}

constexpr std::size_t kSpectrumDepth = 4;

std::string NativeId(std::int32_t scan_no) {
  return "controllerType=0 controllerNumber=1 scan=" + std::to_string(scan_no);
}

/// zlib's form of bytes in base64.
std::string Packed(std::string_view bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::vector<unsigned char> compressed(size);
  const int status =
      compress2(compressed.data(), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                static_cast<uLong>(bytes.size()), Z_BEST_SPEED);
  TARVEK_CHECK(status == Z_OK, "status == Z_OK", "MzmlSink");
  return Base64Text({reinterpret_cast<const char*>(compressed.data()), size});
}

void PutArray(XmlLines& lines, std::string_view bytes, const Term& type, const Term& content,
              const Term& unit) {
  const std::string packed = Packed(bytes);
  lines.Open(R"(binaryDataArray encodedLength=")" + std::to_string(packed.size()) + '"');
  lines.Put(type);
  lines.Put(kZlib);
  lines.Put(content, "", unit);
  lines.Line({"<binary>", packed, "</binary>"});
  lines.Close("binaryDataArray");
}

void PutArrays(XmlLines& lines, const std::vector<Peak>& peaks) {
  std::string mz;
  std::string intensity;
  for (const Peak& peak : peaks) {
    PutReal(mz, peak.m_mz);
    PutInt32(intensity, std::bit_cast<std::int32_t>(static_cast<float>(peak.m_intensity)));
  }
  lines.Open(R"(binaryDataArrayList count="2")");
  PutArray(lines, mz, kFloat64, kMzArray, kMz);
  PutArray(lines, intensity, kFloat32, kIntensityArray, kCountsPerSecond);
  lines.Close("binaryDataArrayList");
}

std::string FilterStart(const std::string& analyser, bool is_negative) {
  return analyser + (is_negative ? " - c NSI " : " + c NSI ");
}

std::string SurveyFilter(const std::string& analyser, bool is_negative, double low_mz,
                         double high_mz) {
  std::string text = FilterStart(analyser, is_negative) + "Full ms [";
  AppendFixed(text, low_mz, kFilterMzDecimals);
  text += '-';
  AppendFixed(text, high_mz, kFilterMzDecimals);
  return text += ']';
}

/// Neither energy nor range: the simulation has no energy, and the range follows from each
/// precursor.
std::string FragmentsFilter(const MS2Spectrum& scan, bool is_negative) {
  const Activation& activation = ActivationOf(scan.m_activation_type);
  std::string text = FilterStart(scan.m_instrument_type, is_negative);
  text.append(activation.m_filter_mode).append(" Full ms2 ");
  AppendFixed(text, scan.m_activation_center, kFilterMzDecimals);
  return text.append(activation.m_filter_text);
}

/// From the start of the spectrum; index: from 0.
template <class Spectrum>
void OpenSpectrum(XmlLines& lines, const Spectrum& scan, std::int64_t index, int level,
                  bool is_negative) {
  lines.Open(R"(spectrum index=")" + std::to_string(index) + R"(" id=")" +
             NativeId(scan.m_scan_no) + R"(" defaultArrayLength=")" +
             std::to_string(scan.m_peaks.size()) + '"');
  lines.Put(kMsLevel, level == 1 ? "1" : "2");
  lines.Put(level == 1 ? kMs1 : kMsn);
  lines.Put(kCentroid);
  lines.Put(is_negative ? kNegative : kPositive);
}

/// Leaves the element scan open.
template <class Spectrum>
void OpenScan(XmlLines& lines, const Spectrum& scan, std::string_view filter) {
  lines.Open(R"(scanList count="1")");
  lines.Put(kNoCombination);
  lines.Open(R"(scan instrumentConfigurationRef=")" + scan.m_instrument_type + '"');
  lines.Put(kScanStartTime, scan.m_rt / kSecondsPerMinute, kMinute);
  lines.Put(kFilterString, filter);
  lines.Put(kIonInjectionTime, scan.m_ion_injection_time, kMillisecond);
}

void CloseScan(XmlLines& lines) {
  lines.Close("scan");
  lines.Close("scanList");
}

void PutScanWindow(XmlLines& lines, double low_mz, double high_mz) {
  lines.Open(R"(scanWindowList count="1")");
  lines.Open("scanWindow");
  lines.Put(kScanLowerLimit, low_mz, kMz);
  lines.Put(kScanUpperLimit, high_mz, kMz);
  lines.Close("scanWindow");
  lines.Close("scanWindowList");
}

void PutSelectedIons(XmlLines& lines, const std::vector<Precursor>& declared) {
  lines.Open(R"(selectedIonList count=")" + std::to_string(declared.size()) + '"');
  for (const Precursor& precursor : declared) {
    lines.Open("selectedIon");
    lines.Put(kSelectedMz, precursor.m_mz, kMz);
    if (precursor.m_charge != 0)  // without sign: see the polarity of the scan
      lines.Put(kChargeState, std::to_string(std::abs(precursor.m_charge)));
    lines.Close("selectedIon");
  }
  lines.Close("selectedIonList");
}

void PutPrecursor(XmlLines& lines, const MS2Spectrum& scan, double half_width_mz) {
  lines.Open(R"(precursorList count="1")");
  lines.Open(R"(precursor spectrumRef=")" + NativeId(scan.m_precursor_scan) + '"');
  lines.Open("isolationWindow");
  lines.Put(kIsolationTarget, scan.m_activation_center, kMz);
  lines.Put(kIsolationLower, half_width_mz, kMz);
  lines.Put(kIsolationUpper, half_width_mz, kMz);
  lines.Close("isolationWindow");
  PutSelectedIons(lines, scan.m_orig_precursors);
  lines.Open("activation");
  for (const Term& term : ActivationOf(scan.m_activation_type).m_terms) lines.Put(term);
  lines.Close("activation");
  lines.Close("precursor");
  lines.Close("precursorList");
}

}  // namespace

MzmlSink::MzmlSink(const std::string& out_base, const SimulateOptions& options)
    : m_is_negative(options.m_is_negative),
      m_half_width_mz(0.5 * options.m_isolation_width_mz),
      m_low_mz(options.m_low_mz),
      m_high_mz(options.m_high_mz),
      m_mzml(out_base + ".mzML", "mzML"),
      m_truth(out_base) {
  m_index.emplace(out_base + ".mzML.index", "mzML index");
  m_mzml.File().Write(Head(0));
}

void MzmlSink::TakeSurvey(const MS1Spectrum& scan) {
  m_text.clear();
  XmlLines lines(m_text, kSpectrumDepth);
  OpenSpectrum(lines, scan, m_spectra, 1, m_is_negative);
  OpenScan(lines, scan, SurveyFilter(scan.m_instrument_type, m_is_negative, m_low_mz, m_high_mz));
  PutScanWindow(lines, m_low_mz, m_high_mz);
  CloseScan(lines);
  PutArrays(lines, scan.m_peaks);
  lines.Close("spectrum");
  WriteSpectrum(scan.m_scan_no);
}

void MzmlSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  m_text.clear();
  XmlLines lines(m_text, kSpectrumDepth);
  OpenSpectrum(lines, scan, m_spectra, 2, m_is_negative);
  OpenScan(lines, scan, FragmentsFilter(scan, m_is_negative));
  CloseScan(lines);
  PutPrecursor(lines, scan, m_half_width_mz);
  PutArrays(lines, scan.m_peaks);
  lines.Close("spectrum");
  WriteSpectrum(scan.m_scan_no);
  m_truth.Write(truth);
}

void MzmlSink::WriteSpectrum(std::int32_t scan_no) {
  const std::int64_t start = m_mzml.File().PositionBytes();
  m_mzml.File().Write(m_text);
  ++m_spectra;
  m_text.clear();
  XmlLines(m_text, 3).Line({R"(<offset idRef=")", NativeId(scan_no), R"(">)",
                            std::to_string(start + static_cast<std::int64_t>(2 * kSpectrumDepth)),
                            "</offset>"});
  m_index->File().Write(m_text);
}

void MzmlSink::WriteIndex() {
  OutputFile& mzml = m_mzml.File();
  mzml.Write("      </spectrumList>\n    </run>\n  </mzML>\n  ");
  const std::int64_t start = mzml.PositionBytes();
  mzml.Write("<indexList count=\"1\">\n    <index name=\"spectrum\">\n");
  m_index->Close();
  ReadBlocks(m_index->TemporaryPath(), 0, [&](std::string_view block) { mzml.Write(block); });
  m_index.reset();
  mzml.Write("    </index>\n  </indexList>\n  <indexListOffset>" + std::to_string(start) +
             "</indexListOffset>\n");
}

// It covers everything up to and including its own start tag, so it needs the final number of
// spectra.
void MzmlSink::WriteChecksum() {
  OutputFile& mzml = m_mzml.File();
  mzml.Write("  <fileChecksum>");
  mzml.Flush();
  const std::string head = Head(m_spectra);
  Sha1 sha1;
  sha1.Take(head);
  ReadBlocks(m_mzml.TemporaryPath(), static_cast<std::int64_t>(head.size()),
             [&](std::string_view block) { sha1.Take(block); });
  mzml.Write(sha1.Hex() + "</fileChecksum>\n</indexedmzML>\n");
  mzml.OverwriteStart(head);
}

void MzmlSink::Complete() {
  WriteIndex();
  WriteChecksum();
  m_truth.CompleteWith({&m_mzml});
}

}  // namespace tarvek::tools
