// One suite for every reader of line-based spectra. Each is compared with a slow reading of the
// same bytes that follows the description of the format sentence by sentence.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "IoTestSupport.h"
#include "MsTextReader.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::Describe;

/// What a reader made of a file: every record as text, and the warnings.
struct Reading {
  std::string m_records;
  std::string m_warnings;
};

bool operator==(const Reading& a, const Reading& b) {
  return a.m_records == b.m_records && a.m_warnings == b.m_warnings;
}

std::ostream& operator<<(std::ostream& out, const Reading& reading) {
  return out << reading.m_records << reading.m_warnings;
}

/// What fgets with a buffer of 1024 bytes followed by the C string functions would see.
std::vector<std::string> PiecesOf(const std::string& content) {
  std::vector<std::string> pieces;
  std::string piece;
  for (const char c : content) {
    piece += c;
    if (c == '\n' || piece.size() == 1023) {
      pieces.emplace_back(piece.c_str());
      piece.clear();
    }
  }
  if (!piece.empty()) pieces.emplace_back(piece.c_str());
  return pieces;
}

std::vector<std::string> Fields(const std::string& line, char separator) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == separator) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  fields.resize(std::max<std::size_t>(fields.size(), 3));
  return fields;
}

double Real(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

std::int32_t Integer(const std::string& text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long>(value, Limits::min(), Limits::max()));
}

std::string From(const std::string& line, std::size_t start) {
  return start < line.size() ? line.substr(start) : "";
}

/// The reference reader of .ms1 and .ms2 text. It fills the wider record for both kinds.
class ReferenceReader {
 public:
  ReferenceReader(const std::string& content, bool is_ms2)
      : m_lines(PiecesOf(content)), m_is_ms2(is_ms2) {}

  Reading ReadAll() {
    Reading reading;
    MS2Spectrum scan;
    while (Next(scan)) {
      Finalise(scan, reading.m_warnings);
      reading.m_records +=
          m_is_ms2 ? Describe(scan)
                   : Describe(MS1Spectrum{scan.m_scan_no, scan.m_rt, scan.m_ion_injection_time,
                                          scan.m_instrument_type, scan.m_peaks});
    }
    return reading;
  }

 private:
  bool Next(MS2Spectrum& scan) {
    scan = MS2Spectrum();
    bool seen_scan_line = false;
    bool repeat = false;
    for (; m_at < m_lines.size(); ++m_at) {
      const std::string& line = m_lines[m_at];
      if (line.empty()) continue;
      if (line[0] >= '0' && line[0] <= '9') {
        const auto fields = Fields(line, ' ');
        if (!repeat && Real(fields[1]) > 1e-6)
          scan.m_peaks.push_back({Real(fields[0]), Real(fields[1])});
      }
      if (line[0] == 'I') Attribute(line, repeat, scan);
      if (line[0] == 'Z' && m_is_ms2) Charge(line, scan);
      if (line[0] != 'S') continue;
      const std::int32_t number = Integer(Fields(line, '\t')[1]);
      if (seen_scan_line && number == scan.m_scan_no) {
        repeat = true;
      } else if (!scan.m_peaks.empty()) {
        return true;  // m_at stays on the "S" line, which starts the next scan
      } else {
        scan.m_scan_no = number;
        seen_scan_line = true;
        repeat = false;
      }
    }
    return !scan.m_peaks.empty();
  }

  void Attribute(const std::string& line, bool repeat, MS2Spectrum& scan) const {
    const std::string padded = line + std::string(20, '\0');
    if (padded[2] == 'R') scan.m_rt = Real(From(line, 10));
    if (padded[2] == 'I' && padded[3] == 'o') scan.m_ion_injection_time = Real(From(line, 19));
    if (padded[2] == 'I' && padded[3] == 'n') {
      const char c = padded[17];
      scan.m_instrument_type = c == 'F' || c == 'Q' ? "FT" : c == 'I' ? "IT" : "Unknown";
    }
    if (!m_is_ms2 || repeat) return;
    if (padded[2] == 'A' && padded[12] == 'T') {
      std::string value = From(line, 17);
      const auto blank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
      while (!value.empty() && blank(value.back())) value.pop_back();
      while (!value.empty() && blank(value.front())) value.erase(0, 1);
      scan.m_activation_type = value;
    }
    if (padded[2] == 'A' && padded[12] == 'C') scan.m_activation_center = Real(From(line, 19));
    if (padded[2] == 'P') scan.m_precursor_scan = Integer(From(line, 16));
  }

  static void Charge(const std::string& line, MS2Spectrum& scan) {
    const auto fields = Fields(line, '\t');
    int charge = Integer(fields[1]);
    if (charge < 1) charge = 2;
    const double mass = Real(fields[2]);
    const double mz = std::abs(mass) < 1e-6 ? scan.m_activation_center
                                            : (mass + (charge - 1) * 1.007276) / charge;
    scan.m_precursors.push_back({mz, charge});
  }

  static void Finalise(MS2Spectrum& scan, std::string& warnings) {
    std::stable_sort(scan.m_peaks.begin(), scan.m_peaks.end(),
                     [](const Peak& a, const Peak& b) { return a.m_mz < b.m_mz; });
    for (std::size_t i = scan.m_precursors.size(); i-- > 0;) {
      const double mz = scan.m_precursors[i].m_mz;
      if (!(mz > -1e-6 && mz < 1e-6) && scan.m_precursors[i].m_charge != 0) continue;
      scan.m_precursors.erase(scan.m_precursors.begin() + static_cast<std::ptrdiff_t>(i));
      warnings += "[Tarvek] <WARN> - Scan " + std::to_string(scan.m_scan_no) +
                  " has incorrect precursor infomation, skipping this precursor...\n";
    }
    scan.m_orig_precursors = scan.m_precursors;
  }

  std::vector<std::string> m_lines;
  std::size_t m_at = 0;
  bool m_is_ms2;
};

/// A reader under test, its twin, and a small file with every kind of line.
struct ReaderCase {
  std::string m_name;
  std::function<Reading(const std::string& path)> m_read;
  std::function<Reading(const std::string& content)> m_reference;
  std::string m_sample;
};

void PrintTo(const ReaderCase& reader, std::ostream* out) { *out << reader.m_name; }

template <class Reader, class Spectrum>
Reading ReadWith(const std::string& path) {
  Reading reading;
  const auto console = test::CaptureConsole([&] {
    Reader reader(path, "r");
    Spectrum scan;
    while (reader.ReadNext(scan)) reading.m_records += Describe(scan);
  });
  reading.m_warnings = console.m_err;
  return reading;
}

const std::string kSample =
    "H\tCreationDate\tSat Nov 14 23:38:05 2026\nH\tExtractor\tTarvek\n"
    "S\t10\t10\t500.25\nI\tRetTime\t61.5\nI\tIonInjectionTime\t12.75\nI\tInstrumentType\tFTMS\n"
    "I\tActivationType\tHCD\nI\tActivationCenter\t500.25\nI\tPrecursorScan\t9\nZ\t2\t999.4927\n"
    "150.5 20.25\n140.25 1e3\n140.25 0\n160 0.5\n"
    "S\t10\t10\t501.5\nI\tActivationCenter\t501.5\nZ\t3\t0\n170.5 9\n"
    "S\t11\t11\nI\tInstrumentType\tITMS\nI\tActivationType\tCID\nZ\t0\t0\n200 7\n"
    "S\t12\t12\nZ\t1\t700.5\nS\t13\t13\nI\tInstrumentType\tTOF\n300.125 8\n100.5 3\n";

std::vector<ReaderCase> ReaderCases() {
  return {{"Ms1Text", ReadWith<Ms1TextReader, MS1Spectrum>,
           [](const std::string& content) { return ReferenceReader(content, false).ReadAll(); },
           kSample},
          {"Ms2Text", ReadWith<Ms2TextReader, MS2Spectrum>,
           [](const std::string& content) { return ReferenceReader(content, true).ReadAll(); },
           kSample}};
}

class TextReaderConformance : public testing::TestWithParam<ReaderCase> {
 protected:
  Reading Read(const std::string& content) {
    test::WriteFile(m_directory / "run", content);
    return GetParam().m_read(m_directory / "run");
  }

  void ExpectAgreement(const std::string& content) {
    EXPECT_EQ(Read(content), GetParam().m_reference(content));
  }

 private:
  test::TemporaryDirectory m_directory;
};

TEST_P(TextReaderConformance, ReadsNothingFromAnEmptyFile) { EXPECT_EQ(Read(""), Reading{}); }

TEST_P(TextReaderConformance, ReadsSomethingFromTheSample) {
  EXPECT_GT(Read(GetParam().m_sample).m_records.size(), 100u);
  ExpectAgreement(GetParam().m_sample);
}

TEST_P(TextReaderConformance, ReadsCrLfLikeLf) {
  std::string with_cr;
  for (const char c : GetParam().m_sample) with_cr += c == '\n' ? "\r\n" : std::string(1, c);
  EXPECT_EQ(Read(with_cr), Read(GetParam().m_sample));
}

TEST_P(TextReaderConformance, NeedsNoLineFeedOnTheLastLine) {
  std::string cut = GetParam().m_sample;
  cut.pop_back();
  EXPECT_EQ(Read(cut), Read(GetParam().m_sample));
}

TEST_P(TextReaderConformance, ReadsAnOverLongLineInPieces) {
  for (const std::size_t length : {1021u, 1022u, 1023u, 1024u, 2045u, 2046u, 2047u, 5000u}) {
    SCOPED_TRACE(length);
    ExpectAgreement(GetParam().m_sample + std::string(length, 'x') + "\n" + GetParam().m_sample);
    ExpectAgreement(GetParam().m_sample + std::string(length, '7') + " 5\n" + GetParam().m_sample);
  }
}

TEST_P(TextReaderConformance, EndsALineAtAZeroByte) {
  for (std::size_t at = 0; at < GetParam().m_sample.size(); ++at) {
    SCOPED_TRACE(at);
    std::string content = GetParam().m_sample;
    content[at] = '\0';
    ExpectAgreement(content);
  }
}

TEST_P(TextReaderConformance, ReadsAFileCutAtAnyByte) {
  for (std::size_t size = 0; size <= GetParam().m_sample.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectAgreement(GetParam().m_sample.substr(0, size));
  }
}

std::string Mutated(std::string content, std::mt19937& random) {
  using namespace std::string_literals;
  static const std::string kAlphabet = "\t\n\r \0SIZHTCPEAR0123456789.-+exX\xff"s;
  const auto below = [&random](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  for (std::size_t step = 1 + below(8); step > 0 && !content.empty(); --step) {
    const std::size_t at = below(content.size());
    const char c = kAlphabet[below(kAlphabet.size())];
    switch (below(5)) {
      case 0:
        content[at] = c;
        break;
      case 1:
        content.insert(at, 1, c);
        break;
      case 2:
        content.erase(at, 1 + below(12));
        break;
      case 3:
        content.insert(at, content.substr(below(content.size()), below(80)));
        break;
      default:
        content.insert(at, below(20) == 0 ? 1500 : 3, c);
        break;
    }
  }
  return content;
}

TEST_P(TextReaderConformance, AgreesWithTheReferenceOnMutatedFiles) {
  for (unsigned seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::string content = Mutated(GetParam().m_sample, random);
    ExpectAgreement(content);
    if (HasFailure()) FAIL() << content;
  }
}

TEST_P(TextReaderConformance, ReadsAFileLargerThanOneBlock) {
  std::string content;
  while (content.size() < 700000) {
    content += GetParam().m_sample;
    content += "S\t" + std::to_string(content.size()) + "\n";
  }
  ExpectAgreement(content);
}

INSTANTIATE_TEST_SUITE_P(Readers, TextReaderConformance, testing::ValuesIn(ReaderCases()),
                         [](const auto& reader) { return reader.param.m_name; });

}  // namespace
}  // namespace tarvek
