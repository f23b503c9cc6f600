// One suite for every reader of outside data. Each is compared with a slow reading of the same
// bytes (ReferenceReaders.h): the same records, the same warnings, the same error.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "IoTestSupport.h"
#include "IsotopeTable.h"
#include "Logger.h"
#include "MgfReader.h"
#include "MsTextReader.h"
#include "MsbReader.h"
#include "ParameterFile.h"
#include "ReferenceReaders.h"
#include "ScanTable.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::Describe;
using test::Int32Bytes;
using test::Reading;
using test::RealBytes;

/// A reader under test, its twin, and its inputs.
struct ReaderCase {
  std::string m_name;
  /// Reads the file at a path that content was written to.
  std::function<Reading(const std::string& path)> m_read;
  std::function<Reading(const std::string& content, const std::string& path)> m_reference;
  std::string m_sample;      // a small file with every kind of line or record
  std::string m_over_limit;  // more peaks, or rows, than a record or table takes
  std::string m_empty_error;
  std::string m_limit_error;
};

void PrintTo(const ReaderCase& reader, std::ostream* out) { *out << reader.m_name; }

/// Runs read, which adds to records, and notes what it logged and threw.
Reading Observe(const std::function<void(std::string& records)>& read) {
  Reading reading;
  const auto console = test::CaptureConsole([&] {
    bool finished = false;
    const std::string message = test::MessageOf([&] {
      read(reading.m_records);
      finished = true;
    });
    if (!finished) reading.m_error = message;
  });
  reading.m_warnings = console.m_err;
  return reading;
}

template <class Reader, class Spectrum>
Reading ReadWith(const std::string& path) {
  return Observe([&](std::string& records) {
    Reader reader(path, "r", logMessage);
    Spectrum scan;
    while (reader.ReadNext(scan)) records += Describe(scan);
  });
}

Reading ReadMgf(const std::string& path) { return ReadWith<MgfReader, MS2Spectrum>(path); }

Reading ReadMgfSlowly(const std::string& content, const std::string& path) {
  return test::ReferenceMgfReader(content, path).ReadAll();
}

// Only the message of an error is compared, not the records read before it.
Reading Caught(const std::function<Reading()>& read) {
  try {
    return read();
  } catch (const std::string& message) {
    return {"", "", message};
  }
}

Reading ReadScanTable(const std::string& path) {
  return Observe([&](std::string& records) {
    const ScanTable table = LoadScanTable(path, logMessage);
    records = std::to_string(table.Size()) + " entries\n";
    // No sample has larger numbers; mutated ones show only in the size.
    for (std::int32_t scan_no = 0; scan_no < 2000; ++scan_no)
      if (const ScanTableEntry* const entry = table.Find(scan_no)) records += Describe(*entry);
  });
}

Reading ReadScanTableSlowly(const std::string& content, const std::string& path) {
  return Caught([&] {
    const auto table = test::ReferenceTableReader(content, path).ReadAll();
    const std::int64_t size = table.empty() ? 0 : std::int64_t{table.rbegin()->first} + 1;
    std::string records = std::to_string(size) + " entries\n";
    for (std::int32_t scan_no = 0; scan_no < std::min<std::int64_t>(size, 2000); ++scan_no)
      records += Describe(table.contains(scan_no) ? table.at(scan_no) : ScanTableEntry{});
    return Reading{records, "", ""};
  });
}

Reading ReadPair(const std::string& base_path) {
  Reading reading = Observe([&](std::string& records) {
    MsbReader reader(base_path, logMessage);
    MS1Spectrum ms1;
    MS2Spectrum ms2;
    while (reader.TakeMs1(ms1)) records += Describe(ms1);
    while (reader.TakeMs2(ms2)) records += Describe(ms2);
  });
  if (!reading.m_error.empty()) reading.m_records.clear();
  return reading;
}

Reading ReadPairSlowly(const std::string& msb, const std::string& mscsv, const std::string& path) {
  return Caught([&] {
    const auto table = test::ReferenceTableReader(mscsv, path).ReadAll();
    return test::ReferenceMsbReader(msb, table).ReadAll();
  });
}

std::string RecordText(const UserParameters& record) {
  std::string text;
  for (const auto& [key, value] : ToParameterTable(record)) text += key + "=" + value + "\n";
  return text;
}

Reading ReadParameters(const std::string& path) {
  Reading reading = Observe(
      [&](std::string& records) { records = RecordText(ReadParameterFile(path, logMessage)); });
  return reading;
}

// The reader does not interpret the table, so both sides share that part.
Reading ReadParametersSlowly(const std::string& content, const std::string&) {
  return Observe([&](std::string& records) {
    records = RecordText(CompleteParameters(test::ReferenceParameterTable(content), logMessage));
  });
}

std::string IsotopeText(const std::vector<double>& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size(); ++i)
    if (numbers[i] != 0.0) text += std::to_string(i) + ":" + test::ExactText(numbers[i]);
  return text;
}

Reading ReadIsotopes(const std::string& path) {
  return Observe([&](std::string& records) {
    std::vector<double> numbers;
    for (const IsotopeRow& row : ParseIsotopeTable(test::ReadFile(path), path))
      numbers.insert(numbers.end(), row.begin(), row.end());
    records = IsotopeText(numbers);
  });
}

Reading ReadIsotopesSlowly(const std::string& content, const std::string& path) {
  return Caught([&] {
    return Reading{IsotopeText(test::ReferenceIsotopeNumbers(content, path)), "", ""};
  });
}

std::string PeakLines(int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) lines += std::to_string(100 + i) + ".5 10\n";
  return lines;
}

const std::string kTextSample =
    "H\tCreationDate\tSat Nov 14 23:38:05 2026\nH\tExtractor\tTarvek\n"
    "S\t10\t10\t500.25\nI\tRetTime\t61.5\nI\tIonInjectionTime\t12.75\nI\tInstrumentType\tFTMS\n"
    "I\tActivationType\tHCD\nI\tActivationCenter\t500.25\nI\tPrecursorScan\t9\nZ\t2\t999.4927\n"
    "150.5 20.25\n140.25 1e3\n140.25 0\n160 0.5\n"
    "S\t10\t10\t501.5\nI\tActivationCenter\t501.5\nZ\t3\t0\n170.5 9\n"
    "S\t11\t11\nI\tInstrumentType\tITMS\nI\tActivationType\tCID\nZ\t0\t0\n200 7\n"
    "S\t12\t12\nZ\t1\t700.5\nS\t13\t13\nI\tInstrumentType\tTOF\n300.125 8\n100.5 3\n";

const std::string kMgfSample =
    "COM=a comment\nBEGIN IONS\nTITLE=run1.10.10.2.0.dta\nCHARGE=2+\nRTINSECONDS=61.5\n"
    "PEPMASS=650.3\n150.5 20.25\n140.25 1e3\n140.25 0.000001\n160 0\nEND IONS\n"
    "BEGIN IONS\nTITLE=run1.10.10.3.1.dta\nPEPMASS=433.9\n150.5 20.25\nEND IONS\n"
    "BEGIN IONS\nPEPMASS=350.25 12\nCHARGE=3-\nTITLE=run1.11.11.-3.0.dta\n300 5\nEND IONS\n"
    "BEGIN IONS\nTITLE=run1.12.12.2.0.dta\nPEPMASS=0\n99.5 3\nEND IONS\n";

std::string TableLine(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) line += (line.empty() ? "" : "\t") + field;
  return line + "\n";
}

const std::string kTableSample =
    TableLine({test::kScanTableColumns.begin(), test::kScanTableColumns.end()}) +
    TableLine({"1", "-1", "0", "0.5", "12", "x", "FTMS", "2", "0", "40", "0", "0"}) +
    TableLine(
        {"2", "1", "500.25", "0.75", "20", " HCD ", "ITMS", "1", "40", "64", "2.9", "499.75"}) +
    TableLine({"5", "-1", "0", "1.5e1", "12", "", "FTMS", "0", "64", "72", "-0.5", "7"});

// m/z 300.5 and 200.25 with intensities 10 and 5; then 150.5 with 7; then no peaks. The doubles are
// written as bit patterns.
const std::string kMsbSample =
    Int32Bytes(1) + Int32Bytes(2) + RealBytes(0x4072C80000000000) + RealBytes(0x4069080000000000) +
    RealBytes(0x4024000000000000) + RealBytes(0x4014000000000000) + Int32Bytes(2) + Int32Bytes(1) +
    RealBytes(0x4062D00000000000) + RealBytes(0x401C000000000000) + Int32Bytes(5) + Int32Bytes(0);

const std::string kParameterSample =
    "[Basic Options]\ndatanum = 1\ndatapath1 = .\nMARS_Model = 4  # comment\n; note\n\n"
    "charge_range = 2t6\nIntensity=1\nmars_threshold=-0.34\nmstol=20\nmstolppm=\noutput_mgf=0\n"
    "input_format = mzXML\ninput_format = mzML # a = b\n";

const std::string kIsotopeSample =
    "0.5 0.25 0.125 0.0625 0.03125\n1 0 0 0 0\n+0.75 1e-3 .5 5. -2\n";

ReaderCase Ms1Case() {
  return {"Ms1Text",
          ReadWith<Ms1TextReader, MS1Spectrum>,
          [](const std::string& content, const std::string& path) {
            return test::ReferenceTextReader(content, path, false).ReadAll();
          },
          kTextSample,
          "S\t1\t1\n" + PeakLines(10001),
          "",
          ""};
}

ReaderCase Ms2Case() {
  return {"Ms2Text",
          ReadWith<Ms2TextReader, MS2Spectrum>,
          [](const std::string& content, const std::string& path) {
            return test::ReferenceTextReader(content, path, true).ReadAll();
          },
          kTextSample,
          "S\t1\t1\n" + PeakLines(10001),
          "",
          ""};
}

ReaderCase MgfCase() {
  return {"Mgf",
          ReadMgf,
          ReadMgfSlowly,
          kMgfSample,
          "BEGIN IONS\nTITLE=a.1\n" + PeakLines(10001) + "END IONS\n",
          "",
          ""};
}

ReaderCase ScanTableCase() {
  std::string long_table = kTableSample;
  for (int scan = 6; scan < 10100; ++scan)
    long_table +=
        TableLine({std::to_string(scan), "-1", "0", "0", "0", "", "", "10001", "0", "0", "0", "0"});
  return {"ScanTable",
          ReadScanTable,
          ReadScanTableSlowly,
          kTableSample,
          long_table,
          "mscsv file is empty!",
          ""};
}

ReaderCase ParameterCase() {
  std::string many_keys = kParameterSample;
  for (int i = 0; i < 10001; ++i) many_keys += "key" + std::to_string(i) + "=1\n";
  return {"ParameterFile",
          ReadParameters,
          ReadParametersSlowly,
          kParameterSample,
          many_keys,
          "Unable to find User Defined Parameter: datapath",
          ""};
}

ReaderCase IsotopeCase() {
  std::string too_many;
  for (int i = 0; i < 75000; ++i) too_many += "1 ";
  return {
      "IsotopeTable", ReadIsotopes, ReadIsotopesSlowly, kIsotopeSample, too_many + "1 x", "", ""};
}

/// The .msb file varies; its table is the sample.
ReaderCase MsbCase() {
  return {"Msb",
          [](const std::string& path) {
            std::filesystem::rename(path, path + ".msb");
            test::WriteFile(path + ".mscsv", kTableSample);
            return ReadPair(path);
          },
          [](const std::string& content, const std::string& path) {
            return ReadPairSlowly(content, kTableSample, path + ".mscsv");
          },
          kMsbSample,
          kMsbSample + Int32Bytes(1) + Int32Bytes(10001) + std::string(16 * 10001, 'A'),
          "",
          "The peak num is too large!"};
}

/// The table varies; its .msb file is the sample.
ReaderCase MsbTableCase() {
  std::string other_count = kTableSample;
  other_count.replace(other_count.find("FTMS\t2"), 6, "FTMS\t10001");
  return {"TableOfMsb",
          [](const std::string& path) {
            std::filesystem::rename(path, path + ".mscsv");
            test::WriteFile(path + ".msb", kMsbSample);
            return ReadPair(path);
          },
          [](const std::string& content, const std::string& path) {
            return ReadPairSlowly(kMsbSample, content, path + ".mscsv");
          },
          kTableSample,
          other_count,
          "mscsv file is empty!",
          "The peak num is not equal!"};
}

/// The working directory of every test is two levels inside a temporary one: a mutated parameter
/// file puts its log nowhere else.
class ReaderConformance : public testing::TestWithParam<ReaderCase> {
 protected:
  ReaderConformance() : m_former(std::filesystem::current_path()) {
    std::filesystem::create_directories(m_directory / "in/in");
    std::filesystem::current_path(m_directory / "in/in");
  }
  ~ReaderConformance() override { std::filesystem::current_path(m_former); }

  // Each file is new: replacing contents or files waits for the disk on some systems.
  Reading Read(const std::string& content) {
    for (const char* name : {"run", "run.msb", "run.mscsv"}) std::filesystem::remove(name);
    test::WriteFile("run", content);
    return GetParam().m_read("run");
  }

  void ExpectAgreement(const std::string& content) {
    Reading expected = GetParam().m_reference(content, "run");
    Reading reading = Read(content);
    // Not all twins report what they read before an error of the whole file.
    if (!expected.m_error.empty() && expected.m_records.empty()) reading.m_records.clear();
    EXPECT_EQ(reading, expected);
  }

 private:
  test::TemporaryDirectory m_directory;
  std::filesystem::path m_former;
};

TEST_P(ReaderConformance, ReadsNothingFromAnEmptyFile) {
  EXPECT_EQ(Read("").m_error, GetParam().m_empty_error);
  ExpectAgreement("");
}

TEST_P(ReaderConformance, ReadsTheSampleWhole) {
  const Reading reading = Read(GetParam().m_sample);
  EXPECT_EQ(reading.m_error, "");
  EXPECT_GT(reading.m_records.size(), 100u);
  ExpectAgreement(GetParam().m_sample);
}

TEST_P(ReaderConformance, KnowsTheLimitOfPeaks) {
  EXPECT_EQ(Read(GetParam().m_over_limit).m_error, GetParam().m_limit_error);
  ExpectAgreement(GetParam().m_over_limit);
}

TEST_P(ReaderConformance, TakesAZeroByteAnywhere) {
  for (std::size_t at = 0; at < GetParam().m_sample.size(); ++at) {
    SCOPED_TRACE(at);
    std::string content = GetParam().m_sample;
    content[at] = '\0';
    ExpectAgreement(content);
  }
}

TEST_P(ReaderConformance, ReadsAFileCutAtAnyByte) {
  for (std::size_t size = 0; size <= GetParam().m_sample.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectAgreement(GetParam().m_sample.substr(0, size));
  }
}

std::string Mutated(std::string content, std::mt19937& random) {
  using namespace std::string_literals;
  static const std::string kAlphabet = "\t\n\r \0SIZHTCPEAR0123456789.-+=#;exX\x7f\xff"s;
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

TEST_P(ReaderConformance, AgreesWithTheReferenceOnMutatedFiles) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::string content = Mutated(GetParam().m_sample, random);
    ExpectAgreement(content);
    if (HasFailure()) FAIL() << content;
  }
}

// Changes of single bytes reach code that the coarse mutations above rarely reach.
TEST_P(ReaderConformance, AgreesWithTheReferenceOnFilesWithOneOtherByte) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string content = GetParam().m_sample;
    content[random() % content.size()] = static_cast<char>(random() % 256);
    ExpectAgreement(content);
    if (HasFailure()) FAIL() << content;
  }
}

INSTANTIATE_TEST_SUITE_P(Readers, ReaderConformance,
                         testing::Values(Ms1Case(), Ms2Case(), MgfCase(), ScanTableCase(),
                                         ParameterCase(), IsotopeCase(), MsbCase(), MsbTableCase()),
                         [](const auto& reader) { return reader.param.m_name; });

class TextReaderConformance : public ReaderConformance {};

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

TEST_P(TextReaderConformance, ReadsAnOverLongLineLikeItsReference) {
  const std::string& sample = GetParam().m_sample;
  for (const std::size_t length : {1021u, 1022u, 1023u, 1024u, 2045u, 2046u, 2047u, 5000u}) {
    SCOPED_TRACE(length);
    ExpectAgreement(sample + std::string(length, 'x') + "\n" + sample);
    ExpectAgreement(sample + std::string(length, '7') + " 5\n" + sample);
    ExpectAgreement(sample + std::string(length, ' ') + "\n" + sample);
    ExpectAgreement(std::string(length, '#') + "\n" + sample);
    ExpectAgreement(sample.substr(0, sample.size() - 1) + std::string(length, '\t') + "\n");
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

INSTANTIATE_TEST_SUITE_P(Readers, TextReaderConformance,
                         testing::Values(Ms1Case(), Ms2Case(), MgfCase(), ScanTableCase(),
                                         ParameterCase(), IsotopeCase(), MsbTableCase()),
                         [](const auto& reader) { return reader.param.m_name; });

}  // namespace
}  // namespace tarvek
