#include "ExtractorTestSupport.h"

#include <zlib.h>

#include <bit>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "Extraction.h"
#include "ExtractorOptions.h"

namespace tarvek::extractor::test {
namespace {

std::string Packed(std::string_view bytes, int window_bits) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, window_bits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::runtime_error("deflateInit2");
  std::string packed(deflateBound(&stream, static_cast<uLong>(bytes.size())) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(packed.size() - stream.avail_out);
  deflateEnd(&stream);
  return packed;
}

template <class Bits>
void PutLittle(std::string& bytes, Bits bits) {
  for (std::size_t i = 0; i < sizeof bits; ++i) bytes += static_cast<char>(bits >> (8 * i) & 0xFFu);
}

std::string PrecursorXml(const TestPrecursor& precursor) {
  std::string xml = "<precursor " + precursor.m_attributes;
  if (!precursor.m_ref.empty()) xml += " spectrumRef=\"" + precursor.m_ref + "\"";
  xml += ">";
  if (!precursor.m_target.empty())
    xml += "<isolationWindow>" + Cv(1000827, precursor.m_target) + Cv(1000828, precursor.m_lower) +
           Cv(1000829, precursor.m_upper) + "</isolationWindow>";
  xml += "<selectedIonList>";
  for (const std::string& ion : precursor.m_ions) xml += "<selectedIon>" + ion + "</selectedIon>";
  return xml + "</selectedIonList><activation>" + precursor.m_activation +
         "</activation></precursor>";
}

std::string SpectrumXml(const TestScan& scan, std::size_t index) {
  std::string xml = "<spectrum index=\"" + std::to_string(index) + "\" id=\"" + scan.m_id +
                    "\" defaultArrayLength=\"" + std::to_string(scan.m_length) + "\">\n" +
                    scan.m_params + "<scanList count=\"1\"><scan " + scan.m_scan_attributes + ">" +
                    scan.m_scan_params + "</scan></scanList>\n";
  if (!scan.m_precursors.empty()) xml += "<precursorList>";
  for (const TestPrecursor& precursor : scan.m_precursors) xml += PrecursorXml(precursor);
  if (!scan.m_precursors.empty()) xml += "</precursorList>\n";
  xml += "<binaryDataArrayList>";
  for (const TestArray& array : scan.m_arrays)
    xml += "<binaryDataArray " + array.m_attributes + ">" + array.m_params + "<binary>" +
           array.m_text + "</binary></binaryDataArray>\n";
  return xml + "</binaryDataArrayList></spectrum>\n";
}

std::string Configuration(const std::string& id, const std::vector<int>& analysers) {
  std::string xml = "<instrumentConfiguration id=\"" + id + "\"><componentList>";
  int order = 2;
  for (const int analyser : analysers)
    xml += "<analyzer order=\"" + std::to_string(order++) + "\">" + Cv(analyser) + "</analyzer>";
  return xml + "</componentList></instrumentConfiguration>";
}

std::string MzxmlScanXml(const TestMzxmlScan& scan) {
  std::vector<double> numbers;
  for (const Peak& peak : scan.m_peaks) {
    numbers.push_back(peak.m_mz);
    numbers.push_back(peak.m_intensity);
  }
  std::string xml = "<scan num=\"" + std::to_string(scan.m_number) + "\" peaksCount=\"" +
                    std::to_string(scan.m_peaks.size()) + "\" " + scan.m_attributes + ">" +
                    scan.m_precursor;
  xml += scan.m_peaks_element.empty()
             ? "<peaks precision=\"32\" byteOrder=\"network\" contentType=\"m/z-int\" "
               "compressionType=\"none\">" +
                   EncodeBase64(NetworkReals32(numbers)) + "</peaks>"
             : scan.m_peaks_element;
  for (const TestMzxmlScan& nested : scan.m_nested) xml += MzxmlScanXml(nested);
  return xml + "</scan>\n";
}

std::string WithoutHeader(const std::string& path) {
  if (!std::filesystem::exists(path)) return {};
  std::istringstream in(ReadFile(path));
  std::string text;
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("H\t")) text += line + "\n";
  return text;
}

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k)
      bits = bits << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    for (std::size_t k = 0; k < 4; ++k)
      text += i + k <= bytes.size() ? kAlphabet[bits >> (18 - 6 * k) & 63u] : '=';
  }
  return text;
}

std::string Deflated(std::string_view bytes) { return Packed(bytes, MAX_WBITS); }

std::string Gzipped(std::string_view bytes) { return Packed(bytes, MAX_WBITS + 16); }

std::string Reals64(const std::vector<double>& numbers) {
  std::string bytes;
  for (const double number : numbers) PutLittle(bytes, std::bit_cast<std::uint64_t>(number));
  return bytes;
}

std::string Reals32(const std::vector<double>& numbers) {
  std::string bytes;
  for (const double number : numbers)
    PutLittle(bytes, std::bit_cast<std::uint32_t>(static_cast<float>(number)));
  return bytes;
}

std::string NetworkReals32(const std::vector<double>& numbers) {
  std::string bytes;
  for (const double number : numbers) {
    const std::string little = Reals32({number});
    bytes.append(little.rbegin(), little.rend());
  }
  return bytes;
}

std::string Cv(int accession, const std::string& value, const std::string& unit) {
  return "<cvParam cvRef=\"MS\" accession=\"MS:" + std::to_string(accession) + "\" name=\"term " +
         std::to_string(accession) + "\" value=\"" + value + "\"" +
         (unit.empty() ? "" : " unitAccession=\"" + unit + "\"") + "/>";
}

TestArray MzArray(const std::vector<double>& mz) {
  return {Cv(1000514) + Cv(1000523) + Cv(1000574), EncodeBase64(Deflated(Reals64(mz))), ""};
}

TestArray IntensityArray(const std::vector<double>& intensity) {
  return {Cv(1000515) + Cv(1000521) + Cv(1000576), EncodeBase64(Reals32(intensity)), ""};
}

TestScan Survey(int number) {
  TestScan scan;
  scan.m_id = "scan=" + std::to_string(number);
  return scan;
}

TestScan Fragment(int number, const TestPrecursor& precursor) {
  TestScan scan = Survey(number);
  scan.m_params = Cv(1000511, "2");
  scan.m_precursors = {precursor};
  return scan;
}

void SetPeaks(TestScan& scan, const std::vector<Peak>& peaks) {
  std::vector<double> mz;
  std::vector<double> intensity;
  for (const Peak& peak : peaks) {
    mz.push_back(peak.m_mz);
    intensity.push_back(peak.m_intensity);
  }
  scan.m_arrays = {MzArray(mz), IntensityArray(intensity)};
  scan.m_length = static_cast<std::int64_t>(peaks.size());
}

std::string Mzml(const std::vector<TestScan>& scans, bool indexed) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  if (indexed) xml += "<indexedmzML xmlns=\"http://psi.hupo.org/ms/mzml\">\n";
  xml += "<mzML version=\"1.1.0\"><instrumentConfigurationList>" +
         Configuration("IC1", {1000081, 1000484}) + Configuration("IC2", {1000083}) +
         Configuration("IC3", {1000081, 1000084}) + Configuration("IC4", {1000081}) +
         "</instrumentConfigurationList><run defaultInstrumentConfigurationRef=\"IC1\">"
         "<spectrumList count=\"" +
         std::to_string(scans.size()) + "\">\n";
  for (std::size_t i = 0; i < scans.size(); ++i) xml += SpectrumXml(scans[i], i);
  xml += "</spectrumList></run></mzML>";
  if (indexed)
    xml +=
        "\n<indexList count=\"0\"></indexList><indexListOffset>0</indexListOffset>\n</indexedmzML>";
  return xml + "\n";
}

std::string MzmlRun(int scan_count, bool indexed) {
  std::vector<TestScan> scans;
  for (int number = 1; number < scan_count; number += 2) {
    scans.push_back(Survey(number));
    TestPrecursor precursor;
    precursor.m_ref = "scan=" + std::to_string(number);
    scans.push_back(Fragment(number + 1, precursor));
  }
  return Mzml(scans, indexed);
}

std::string Mzxml(const std::vector<TestMzxmlScan>& scans, const std::string& analyser) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<mzXML><msRun scanCount=\"" +
                    std::to_string(scans.size()) +
                    "\"><parentFile fileName=\"x\" fileType=\"\"/><msInstrument>"
                    "<msMassAnalyzer category=\"msMassAnalyzer\" value=\"" +
                    analyser + "\"/></msInstrument>\n";
  for (const TestMzxmlScan& scan : scans) xml += MzxmlScanXml(scan);
  return xml + "</msRun></mzXML>\n";
}

Extracted ExtractXml(const std::string& xml, const std::vector<std::string>& options,
                     const std::string& file_name) {
  const TemporaryDirectory directory;
  WriteFile(directory / file_name, xml);
  std::vector<std::string> arguments = options;
  arguments.push_back(directory / file_name);
  std::ostringstream report;
  const ExtractorOptions parsed = ParseOptions(arguments);
  Marker marker(parsed);
  Extract(parsed, parsed.m_input, marker, report);
  const std::string base = directory / parsed.m_base_name;
  if (!std::filesystem::exists(base + ".morvex")) throw std::runtime_error("no marker");
  return {WithoutHeader(base + ".ms1"), WithoutHeader(base + ".ms2"), report.str()};
}

std::string ExtractionError(const std::string& xml, const std::string& file_name) {
  return tarvek::test::MessageOf([&] { ExtractXml(xml, {}, file_name); });
}

std::vector<std::string> LinesFrom(const std::string& text, std::string_view start) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    if (line.starts_with(start)) lines.push_back(line);
  return lines;
}

}  // namespace tarvek::extractor::test
