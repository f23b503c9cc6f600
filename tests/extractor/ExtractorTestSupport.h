// tests/extractor/ExtractorTestSupport.h: small instrument files made by hand.
// Does:     writes mzML and mzXML with its own encoder; extracts them and returns the outputs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SpectrumRecords.h"
#include "TestSupport.h"

namespace tarvek::extractor::test {

using tarvek::test::ReadFile;
using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;

std::string EncodeBase64(std::string_view bytes);
std::string Deflated(std::string_view bytes);
std::string Gzipped(std::string_view bytes);

/// Little-endian binary64 and binary32, big-endian binary32.
std::string Reals64(const std::vector<double>& numbers);
std::string Reals32(const std::vector<double>& numbers);
std::string NetworkReals32(const std::vector<double>& numbers);

/// <cvParam accession="MS:..."/>, the number without "MS:".
std::string Cv(int accession, const std::string& value = {}, const std::string& unit = {});

/// One binaryDataArray element: its parameters and its text.
struct TestArray {
  std::string m_params;
  std::string m_text;
  std::string m_attributes;
};
TestArray MzArray(const std::vector<double>& mz);                // 64 bit, zlib
TestArray IntensityArray(const std::vector<double>& intensity);  // 32 bit, not compressed

/// A precursor element.
struct TestPrecursor {
  std::string m_ref;  // spectrumRef
  std::string m_attributes;
  std::string m_target = "500.25";  // empty: no isolation window
  std::string m_lower = "1";
  std::string m_upper = "1";
  std::vector<std::string> m_ions = {Cv(1000744, "500.5") + Cv(1000041, "2")};
  std::string m_activation = Cv(1000422);
};

struct TestScan {
  std::string m_id = "scan=1";
  std::string m_params = Cv(1000511, "1");  // of the spectrum
  std::string m_scan_attributes;
  std::string m_scan_params = Cv(1000016, "0.5", "UO:0000031");
  std::vector<TestPrecursor> m_precursors;
  std::vector<TestArray> m_arrays = {MzArray({400.25, 401.5}), IntensityArray({10.0, 20.0})};
  std::int64_t m_length = 2;
};

TestScan Survey(int number);
TestScan Fragment(int number, const TestPrecursor& precursor = {});
void SetPeaks(TestScan& scan, const std::vector<Peak>& peaks);

/// An orbitrap is "IC1", the default of the run; an ion trap is "IC2"; a quadrupole and a time of
/// flight are "IC3"; a quadrupole alone is "IC4".
std::string Mzml(const std::vector<TestScan>& scans, bool indexed = false);

/// The mzML of a run with one fragment scan after each survey.
std::string MzmlRun(int scan_count, bool indexed = false);

/// One mzXML scan; m_nested is inside it, after its peaks.
struct TestMzxmlScan {
  int m_number = 1;
  std::string m_attributes = "msLevel=\"1\" retentionTime=\"PT30S\"";
  std::string m_precursor;
  std::vector<Peak> m_peaks = {{400.25, 10.0}, {401.5, 20.0}};
  std::string m_peaks_element;  // instead of that for m_peaks
  std::vector<TestMzxmlScan> m_nested;
};
std::string Mzxml(const std::vector<TestMzxmlScan>& scans,
                  const std::string& analyser = "Orbitrap");

/// The result of an extraction in this process. Texts have no header lines.
struct Extracted {
  std::string m_ms1;
  std::string m_ms2;
  std::string m_report;
};
Extracted ExtractXml(const std::string& xml, const std::vector<std::string>& options = {},
                     const std::string& file_name = "run.mzML");

/// The message with which extracting xml fails.
std::string ExtractionError(const std::string& xml, const std::string& file_name = "run.mzML");

/// The lines of text that begin with start.
std::vector<std::string> LinesFrom(const std::string& text, std::string_view start);

}  // namespace tarvek::extractor::test
