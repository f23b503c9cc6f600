#include "mgf/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "MgfWriter.h"
#include "NativePath.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;

/// Parses "mgf" and these arguments, and so runs the subcommand; its console text is returned.
test::ConsoleText RunMgf(std::vector<std::string> arguments) {
  return CaptureConsole([&] {
    CLI::App app;
    AddMgfCommand(app);
    arguments.insert(arguments.begin(), "mgf");
    std::ranges::reverse(arguments);  // the order in which App::parse takes a vector
    app.parse(arguments);
  });
}

constexpr const char* kPeaks = "100.50000 10.0\n200.25000 5.8\n";

std::string Block(const std::string& title, const std::string& charge, const std::string& mz,
                  const std::string& peaks = kPeaks) {
  return "BEGIN IONS\nTITLE=" + title + "\nCHARGE=" + charge +
         "\nRTINSECONDS=1234.5000000\nPEPMASS=" + mz + "\n" + peaks + "END IONS\n";
}

/// Scan 7 with two precursors and scan 9 with one.
std::string SmallRun(const std::string& run) {
  return Block(run + ".7.7.2.0.dta", "2+", "650.300000") +
         Block(run + ".7.7.3.1.dta", "3+", "433.900000") +
         Block(run + ".9.9.-2.0.dta", "2-", "500.250000");
}

class MgfCommandTest : public testing::Test {
 protected:
  MgfCommandTest() { std::filesystem::create_directory(m_directory / "in"); }

  [[nodiscard]] std::string In(const std::string& name) const {
    return test::Native(m_directory / ("in/" + name));
  }
  [[nodiscard]] std::string Out(const std::string& name = "") const {
    return test::Native(m_directory / ("out/" + name));
  }
  [[nodiscard]] std::vector<std::string> OutNames() const {
    std::vector<std::string> names;
    if (!std::filesystem::exists(Out())) return names;
    for (const auto& entry : std::filesystem::directory_iterator(Out()))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }
  /// text rewritten with the profile of engine.
  std::string Rewritten(const std::string& engine, const std::string& text) const {
    WriteFile(In("run_HCDFT.mgf"), text);
    RunMgf({"--engine", engine, "--out", Out(), In("run_HCDFT.mgf")});
    return ReadFile(Out("run_HCDFT.mgf"));
  }

  TemporaryDirectory m_directory;
};

TEST_F(MgfCommandTest, GivesCometTheScanNumber) {
  EXPECT_EQ(Rewritten("comet", Block("a.b.7.7.2.0.dta", "2+", "650.300000")),
            "BEGIN IONS\nTITLE=a_b.7.7.2.0.dta\nSCANS=7\nCHARGE=2+\nRTINSECONDS=1234.5000000\n"
            "PEPMASS=650.300000\n100.50000 10.0\n200.25000 5.8\nEND IONS\n");
}

// Comet calls a spectrum FILE_SCAN_CHARGE, so two of one scan and charge need two files.
TEST_F(MgfCommandTest, PartsBlocksOfOneScanAndChargeForComet) {
  const std::string first = Block("run.7.7.2.0.dta", "2+", "650.3");
  const std::string third = Block("run.7.7.3.1.dta", "3+", "433.9");
  const std::string second = Block("run.7.7.2.2.dta", "2+", "651.1");
  const std::string other = Block("run.8.8.2.0.dta", "2+", "500.2");
  const auto with_scan = [](const std::string& block, const std::string& scan) {
    std::string text = block;
    return text.insert(text.find("CHARGE="), "SCANS=" + scan + "\n");
  };
  WriteFile(In("run_HCDFT.mgf"), first + third + second + other);
  const test::ConsoleText console =
      RunMgf({"--engine", "comet", "--out", Out(), In("run_HCDFT.mgf")});
  EXPECT_EQ(console.m_out,
            Out("run_HCDFT.mgf") + "\n" + Out("run_HCDFT_2.mgf") + "\n2 scans, 4 precursors\n");
  EXPECT_EQ(ReadFile(Out("run_HCDFT.mgf")),
            with_scan(first, "7") + with_scan(third, "7") + with_scan(other, "8"));
  EXPECT_EQ(ReadFile(Out("run_HCDFT_2.mgf")), with_scan(second, "7"));
  EXPECT_EQ(ReadFile(Out("run_HCDFT_2.ids.tsv")),
            "file\tplace\tsource\trun\tscan\tprecursor\tcharge\tmz\trt_seconds\n"
            "run_HCDFT_2.mgf\t1\trun_HCDFT.mgf\trun\t7\t2\t2\t651.1\t1234.5000000\n");
}

/// Blocks of scan 5 with these numbers of precursors of charges 1, 2, ...
std::string BlocksOf(const std::vector<int>& precursors) {
  std::string text;
  int index = 0;
  for (std::size_t i = 0; i < precursors.size(); ++i) {
    const std::string charge = std::to_string(i + 1);
    for (int k = 0; k < precursors[i]; ++k)
      text += Block("run.5.5." + charge + "." + std::to_string(index++) + ".dta", charge + "+",
                    "650.3");
  }
  return text;
}

TEST_F(MgfCommandTest, RefusesMoreBlocksOfOneScanAndChargeThanFilesMayBeOpen) {
  WriteFile(In("run.mgf"), BlocksOf({1, 100}));
  RunMgf({"--engine", "comet", "--out", Out(), "--gzip", "--split", "1kb", In("run.mgf")});
  EXPECT_EQ(OutNames().size(), 200u);
  std::filesystem::remove_all(Out());

  WriteFile(In("run.mgf"), BlocksOf({1, 101}));
  EXPECT_EQ(MessageOf([&] {
              RunMgf({"--engine", "comet", "--out", Out(), In("run.mgf")});
            }),
            In("run.mgf") +
                ", scan 5: more than 100 precursors of one charge, each for another output; use "
                "--top");
  EXPECT_THAT(OutNames(), ElementsAre());
  EXPECT_THAT(RunMgf({"--engine", "comet", "--top", "101", "--out", Out(), In("run.mgf")}).m_out,
              HasSubstr("1 scans, 101 precursors"));
}

TEST_F(MgfCommandTest, RefusesMoreBlocksThanAnyScanHas) {
  WriteFile(In("run.mgf"), BlocksOf({2000}) + Block("run.6.6.2.0.dta", "2+", "650.3"));
  EXPECT_THAT(RunMgf({"--engine", "sage", "--out", Out(), In("run.mgf")}).m_out,
              HasSubstr("2 scans, 2001 precursors"));
  WriteFile(In("run.mgf"), BlocksOf({2001}));
  EXPECT_EQ(MessageOf([&] {
              RunMgf({"--engine", "sage", "--out", Out(), In("run.mgf")});
            }),
            In("run.mgf") + ":16008: more than 2000 blocks of scan 5");
}

TEST_F(MgfCommandTest, DeletesFurtherFilesThatAreNotNeededAnyMore) {
  const std::string twice =
      Block("run.7.7.2.0.dta", "2+", "650.3") + Block("run.7.7.2.1.dta", "2+", "651.1");
  Rewritten("comet", twice);
  EXPECT_THAT(OutNames(), ElementsAre("run_HCDFT.ids.tsv", "run_HCDFT.mgf", "run_HCDFT_2.ids.tsv",
                                      "run_HCDFT_2.mgf"));
  Rewritten("sage", twice);
  EXPECT_THAT(OutNames(), ElementsAre("run_HCDFT.ids.tsv", "run_HCDFT.mgf"));
}

TEST_F(MgfCommandTest, LeavesTheOutputOfAnotherRunThatIsCalledLikeAFurtherFile) {
  WriteFile(In("run_2.mgf"), SmallRun("run_2"));
  WriteFile(In("run.mgf"), SmallRun("run"));
  RunMgf({"--engine", "comet", "--out", Out(), In("run_2.mgf")});
  RunMgf({"--engine", "comet", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run.mgf", "run_2.ids.tsv", "run_2.mgf"));
}

TEST_F(MgfCommandTest, RefusesAFurtherFileThatIsTheOutputOfAnotherInput) {
  WriteFile(In("run_2.mgf"), SmallRun("run_2"));
  WriteFile(In("run.mgf"),
            Block("run.7.7.2.0.dta", "2+", "650.3") + Block("run.7.7.2.1.dta", "2+", "651.1"));
  const std::string message = MessageOf([&] {
    RunMgf({"--engine", "comet", "--out", Out(), m_directory / "in"});
  });
  EXPECT_THAT(message, HasSubstr("Blocks of one scan and charge of " + In("run.mgf") + " go to " +
                                 Out("run_2.mgf")));
  EXPECT_THAT(OutNames(), ElementsAre());
}

TEST_F(MgfCommandTest, GivesXTandemAndSageTheTitleAlone) {
  for (const char* engine : {"xtandem", "sage"})
    EXPECT_EQ(Rewritten(engine, Block("a.b.7.7.2.0.dta", "2+", "650.300000")),
              Block("a_b.7.7.2.0.dta", "2+", "650.300000"))
        << engine;
}

TEST_F(MgfCommandTest, GivesMsgfAndMascotTheScanNumber) {
  for (const char* engine : {"msgf", "mascot"})
    EXPECT_EQ(Rewritten(engine, Block("run.7.7.-2.0.dta", "2-", "650.300000")),
              "BEGIN IONS\nTITLE=run.7.7.-2.0.dta\nSCANS=7\nCHARGE=2-\n"
              "RTINSECONDS=1234.5000000\nPEPMASS=650.300000\n100.50000 10.0\n200.25000 5.8\n"
              "END IONS\n")
        << engine;
}

TEST_F(MgfCommandTest, GivesMsfraggerANumberOfItsOwnForEachBlock) {
  const std::string text = Rewritten("msfragger", SmallRun("a.b"));
  EXPECT_THAT(text, HasSubstr("TITLE=a_b.1.1.2\nSCANS=1\n"));
  EXPECT_THAT(text, HasSubstr("TITLE=a_b.2.2.3\nSCANS=2\n"));
  EXPECT_THAT(text, HasSubstr("TITLE=a_b.3.3.-2\nSCANS=3\n"));
}

TEST_F(MgfCommandTest, GivesMetaMorpheusUniqueScansAndTheFullTitle) {
  const std::string text = Rewritten("metamorpheus", SmallRun("run"));
  EXPECT_THAT(text, HasSubstr("TITLE=run.7.7.2.0.dta\nSCANS=1\n"));
  EXPECT_THAT(text, HasSubstr("TITLE=run.7.7.3.1.dta\nSCANS=2\n"));
  EXPECT_THAT(text, HasSubstr("TITLE=run.9.9.-2.0.dta\nSCANS=3\n"));
}

TEST_F(MgfCommandTest, MapsEachBlockToItsScan) {
  Rewritten("msfragger", SmallRun("a.b"));
  EXPECT_EQ(ReadFile(Out("run_HCDFT.ids.tsv")),
            "file\tplace\tsource\trun\tscan\tprecursor\tcharge\tmz\trt_seconds\n"
            "run_HCDFT.mgf\t1\trun_HCDFT.mgf\ta.b\t7\t0\t2\t650.300000\t1234.5000000\n"
            "run_HCDFT.mgf\t2\trun_HCDFT.mgf\ta.b\t7\t1\t3\t433.900000\t1234.5000000\n"
            "run_HCDFT.mgf\t3\trun_HCDFT.mgf\ta.b\t9\t0\t-2\t500.250000\t1234.5000000\n");
}

TEST_F(MgfCommandTest, LeavesTheBytesOfPeaksAlone) {
  const std::string peaks =
      "100.5 1e3 \n200.123456789\t5 2+\r\n0 0\n" + std::string(3000, '7') + " 1\n";
  const std::string text = Block("run.7.7.2.0.dta", "2+", "650.300000", peaks);
  EXPECT_EQ(Rewritten("xtandem", text), text);
}

TEST_F(MgfCommandTest, ReadsWhatTheWriterWrites) {
  MS2Spectrum scan;
  scan.m_scan_no = 12;
  scan.m_rt = 3.5;
  scan.m_precursors = {{-400.5, -3}, {300.25, 2}};
  scan.m_peaks = {{100.123456, 2000.66}, {150.0, 1.0}};
  CaptureConsole([&] {
    MgfWriter writer(In("run_ETDFT.mgf"), "w+", "run");
    writer.WriteMs2(scan);
    writer.Close();
  });
  RunMgf({"--engine", "sage", "--out", Out(), In("run_ETDFT.mgf")});
  EXPECT_EQ(ReadFile(Out("run_ETDFT.mgf")), ReadFile(In("run_ETDFT.mgf")));
  EXPECT_THAT(ReadFile(Out("run_ETDFT.mgf")), HasSubstr("run.12.12.-3.0.dta\nCHARGE=3-\n"));
}

TEST_F(MgfCommandTest, KeepsTheBestPrecursorsOfEachScan) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  RunMgf({"--engine", "sage", "--top", "1", "--out", Out(), In("run.mgf")});
  EXPECT_EQ(ReadFile(Out("run.mgf")), Block("run.7.7.2.0.dta", "2+", "650.300000") +
                                          Block("run.9.9.-2.0.dta", "2-", "500.250000"));
  RunMgf({"--engine", "sage", "--top", "2", "--out", Out(), In("run.mgf")});
  EXPECT_EQ(ReadFile(Out("run.mgf")), SmallRun("run"));
}

TEST_F(MgfCommandTest, MergesTheFilesOfARunInOrderOfScans) {
  const std::string first =
      Block("run.1.1.2.0.dta", "2+", "401.0") + Block("run.4.4.2.0.dta", "2+", "404.0");
  const std::string second = Block("run.2.2.2.0.dta", "2+", "402.0") +
                             Block("run.2.2.3.1.dta", "3+", "402.5") +
                             Block("run.5.5.2.0.dta", "2+", "405.0");
  WriteFile(In("run_CIDIT.mgf"), first);
  WriteFile(In("run_HCDFTMS.mgf"), second);
  WriteFile(In("other_HCDFTMS.mgf"), Block("other.3.3.2.0.dta", "2+", "403.0"));
  RunMgf({"--engine", "sage", "--merge", "--out", Out(), m_directory / "in"});
  EXPECT_THAT(OutNames(), ElementsAre("other.ids.tsv", "other.mgf", "run.ids.tsv", "run.mgf"));
  EXPECT_EQ(ReadFile(Out("run.mgf")),
            Block("run.1.1.2.0.dta", "2+", "401.0") + Block("run.2.2.2.0.dta", "2+", "402.0") +
                Block("run.2.2.3.1.dta", "3+", "402.5") + Block("run.4.4.2.0.dta", "2+", "404.0") +
                Block("run.5.5.2.0.dta", "2+", "405.0"));
  EXPECT_THAT(ReadFile(Out("run.ids.tsv")), HasSubstr("run.mgf\t2\trun_HCDFTMS.mgf\trun\t2\t0\t"));
}

/// Changes into a directory, and back at the end.
class WorkingIn {
 public:
  explicit WorkingIn(const std::string& directory) { std::filesystem::current_path(directory); }
  ~WorkingIn() { std::filesystem::current_path(m_former); }
  WorkingIn(const WorkingIn&) = delete;
  WorkingIn& operator=(const WorkingIn&) = delete;

 private:
  std::filesystem::path m_former = std::filesystem::current_path();
};

TEST_F(MgfCommandTest, MergesTheFilesOfARunHoweverTheirFolderIsSpelt) {
  const std::string first = Block("run.1.1.2.0.dta", "2+", "401.0");
  const std::string second = Block("run.2.2.2.0.dta", "2+", "402.0");
  WriteFile(In("run_CIDIT.mgf"), second);
  WriteFile(In("run_HCDFT.mgf"), first);
  const std::string full = In("run_CIDIT.mgf");
  for (const std::string& other : {std::string("./in/run_CIDIT.mgf"), full}) {
    const WorkingIn working(m_directory.Path());
    RunMgf({"--engine", "sage", "--merge", "--out", "out", "in/run_HCDFT.mgf", other});
    EXPECT_EQ(ReadFile("out/run.mgf"), first + second);
  }
  const WorkingIn working(m_directory / "in");
  RunMgf({"--engine", "sage", "--merge", "--out", "../bare", "run_HCDFT.mgf", "./run_CIDIT.mgf"});
  EXPECT_EQ(ReadFile("../bare/run.mgf"), first + second);
}

TEST_F(MgfCommandTest, RefusesAnInputThatIsGivenTwice) {
  WriteFile(In("run_HCDFT.mgf"), SmallRun("run"));
  const WorkingIn working(m_directory.Path());
  for (const char* again : {"in", "./in/run_HCDFT.mgf", "in/../in/run_HCDFT.mgf"})
    for (const char* merge : {"--merge", "--gzip"}) {
      const std::string message = MessageOf([&] {
        RunMgf({"--engine", "sage", merge, "--out", "out", "in/run_HCDFT.mgf", again});
      });
      EXPECT_THAT(message, HasSubstr("The input " + std::string(again))) << merge;
      EXPECT_THAT(message, HasSubstr(" is given twice"));
    }
  EXPECT_THAT(OutNames(), ElementsAre());
}

TEST_F(MgfCommandTest, SplitsBetweenScansAndCountsPlacesInEachPart) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  // Room for two blocks of about 130 bytes, so scan 9 goes to a new part.
  RunMgf({"--engine", "metamorpheus", "--split", "300", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run_part1.mgf", "run_part2.mgf"));
  const std::string second = ReadFile(Out("run_part2.mgf"));
  EXPECT_LE(ReadFile(Out("run_part1.mgf")).size(), 300u);
  EXPECT_THAT(second, HasSubstr("TITLE=run.9.9.-2.0.dta\nSCANS=1\n"));
  EXPECT_THAT(ReadFile(Out("run.ids.tsv")), HasSubstr("run_part2.mgf\t1\trun.mgf\trun\t9\t"));
}

TEST_F(MgfCommandTest, DeletesThePartsOfALongerOutput) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  // A scan larger than a part is not split.
  RunMgf({"--engine", "sage", "--split", "10", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run_part1.mgf", "run_part2.mgf"));
  RunMgf({"--engine", "sage", "--split", "1MB", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run_part1.mgf"));
  EXPECT_EQ(ReadFile(Out("run_part1.mgf")), SmallRun("run"));
}

std::string Gunzipped(const std::string& path) {
  const gzFile file = ::gzopen(path.c_str(), "rb");
  std::string text;
  char block[4096];
  for (int count = 0; (count = ::gzread(file, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  EXPECT_EQ(::gzclose(file), Z_OK) << "the stream is not complete";
  return text;
}

TEST_F(MgfCommandTest, CompressesAndAlwaysToTheSameBytes) {
  std::string text;
  for (int scan = 1; scan <= 3000; ++scan)
    text += Block("run." + std::to_string(scan) + "." + std::to_string(scan) + ".2.0.dta", "2+",
                  std::to_string(400 + scan * 0.123456));
  WriteFile(In("run.mgf"), text);
  EXPECT_EQ(RunMgf({"--engine", "sage", "--gzip", "--out", Out(), In("run.mgf")}).m_err, "");
  EXPECT_TRUE(Gunzipped(Out("run.mgf.gz")) == text);
  const std::string bytes = ReadFile(Out("run.mgf.gz"));
  RunMgf({"--engine", "sage", "--gzip", "--out", Out(), In("run.mgf")});
  EXPECT_TRUE(ReadFile(Out("run.mgf.gz")) == bytes);
}

TEST_F(MgfCommandTest, CompressesEachPartOfASplit) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  RunMgf({"--engine", "sage", "--gzip", "--split", "300", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run_part1.mgf.gz", "run_part2.mgf.gz"));
  EXPECT_EQ(Gunzipped(Out("run_part1.mgf.gz")) + Gunzipped(Out("run_part2.mgf.gz")),
            SmallRun("run"));
  EXPECT_THAT(ReadFile(Out("run.ids.tsv")), HasSubstr("run_part2.mgf.gz\t1\trun.mgf\trun\t9\t"));
}

TEST_F(MgfCommandTest, SaysThatAnEngineDoesNotReadCompressedFiles) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  EXPECT_EQ(RunMgf({"--engine", "comet", "--gzip", "--out", Out(), In("run.mgf")}).m_err,
            "tarvek-tools: comet does not read compressed MGF; unpack it before the search\n");
}

TEST_F(MgfCommandTest, SaysWhatItWrote) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  EXPECT_EQ(RunMgf({"--engine", "sage", "--out", m_directory / "out", In("run.mgf")}).m_out,
            Out("run.mgf") + "\n2 scans, 3 precursors\n");
}

TEST_F(MgfCommandTest, MakesAnEmptyFileOfAnEmptyFile) { EXPECT_EQ(Rewritten("comet", ""), ""); }

struct Defect {
  const char* m_name;
  std::string m_text;
  std::string m_message;  // after the path
};

class MgfDefects : public MgfCommandTest, public testing::WithParamInterface<Defect> {};

TEST_P(MgfDefects, AreNamedWithTheirLineAndLeaveNoOutput) {
  WriteFile(In("run.mgf"), SmallRun("run") + GetParam().m_text);
  const std::string message = MessageOf([&] {
    RunMgf({"--engine", "comet", "--out", Out(), In("run.mgf")});
  });
  EXPECT_EQ(message, In("run.mgf") + GetParam().m_message);
  EXPECT_THAT(OutNames(), ElementsAre());
}

// The three blocks before the defect have eight lines each.
INSTANTIATE_TEST_SUITE_P(
    Mgf, MgfDefects,
    testing::Values(
        Defect{"cut_in_a_peak", "BEGIN IONS\nTITLE=run.9.9.2.0.dta\n100.5",
               ":27: the file ends inside a block"},
        Defect{"cut_behind_a_peak", "BEGIN IONS\n100.5 1\n", ":26: the file ends inside a block"},
        Defect{"foreign_title", "BEGIN IONS\nTITLE=scan 5\n",
               ":26: the title is not of the form run.scan.scan.charge.index.dta"},
        Defect{"unequal_scans", "BEGIN IONS\nTITLE=run.5.6.2.0.dta\n",
               ":26: the title is not of the form run.scan.scan.charge.index.dta"},
        Defect{"no_run", "BEGIN IONS\nTITLE=5.5.2.0.dta\n",
               ":26: the title is not of the form run.scan.scan.charge.index.dta"},
        Defect{"foreign_key", "BEGIN IONS\nPEPTIDE=AK\n",
               ":26: the key PEPTIDE is none of those that tarvek writes"},
        Defect{"no_key", "BEGIN IONS\nabc\n", ":26: a line that is neither a key nor a peak"},
        Defect{"text_outside", "COM=x\n", ":25: expected BEGIN IONS"},
        Defect{"no_title", "BEGIN IONS\nEND IONS\n", ":26: the block has no TITLE"},
        Defect{"no_charge", "BEGIN IONS\nTITLE=a.1.1.2.0.dta\nRTINSECONDS=1\nPEPMASS=5\nEND IONS\n",
               ":29: the block has no CHARGE"},
        Defect{"no_time", "BEGIN IONS\nTITLE=a.1.1.2.0.dta\nCHARGE=2+\nPEPMASS=5\nEND IONS\n",
               ":29: the block has no RTINSECONDS"},
        Defect{"no_mass", "BEGIN IONS\nTITLE=a.1.1.2.0.dta\nCHARGE=2+\nRTINSECONDS=1\nEND IONS\n",
               ":29: the block has no PEPMASS"}),
    [](const testing::TestParamInfo<Defect>& test) { return test.param.m_name; });

TEST_F(MgfCommandTest, RefusesTwoInputsForOneOutput) {
  WriteFile(In("a.b.mgf"), SmallRun("run"));
  WriteFile(In("a_b.mgf"), SmallRun("run"));
  const std::string message = MessageOf([&] {
    RunMgf({"--engine", "comet", "--out", Out(), m_directory / "in"});
  });
  EXPECT_EQ(message,
            In("a.b.mgf") + " and " + In("a_b.mgf") + " would both become " + Out("a_b.mgf"));
  EXPECT_THAT(OutNames(), ElementsAre());
}

TEST_F(MgfCommandTest, RefusesTheMgfOfARunThatDidNotFinish) {
  WriteFile(In("run_HCDFT.mgf"), SmallRun("run"));
  WriteFile(In("run.csv_unfinished"), "");
  const auto message = [&] {
    return MessageOf([&] { RunMgf({"--engine", "comet", "--out", Out(), m_directory / "in"}); });
  };
  EXPECT_THAT(message(), HasSubstr("The run of " + In("run_HCDFT.mgf") + " did not finish"));
  EXPECT_THAT(OutNames(), ElementsAre());
  WriteFile(In("run.csv"), "");  // of an earlier end of the same run
  EXPECT_EQ(message(), "(nothing was thrown)");
}

TEST_F(MgfCommandTest, RefusesTheMgfOfARunThatExportedNothing) {
  WriteFile(In("run_HCDFT.mgf"), "");
  WriteFile(In("run.csv"), "");
  WriteFile(In("run.tarvek"),
            "count\tms2_exported\t0\ncount\tms2_read\t7\n"
            "left_out\tno usable precursor\t2\nleft_out\tanalyser not known\t5\n");
  const std::string message = MessageOf([&] {
    RunMgf({"--engine", "comet", "--out", Out(), In("run_HCDFT.mgf")});
  });
  EXPECT_THAT(message, HasSubstr("The run of " + In("run_HCDFT.mgf") + " exported nothing"));
  EXPECT_THAT(message, HasSubstr("5 left out: analyser not known"));
  EXPECT_THAT(OutNames(), ElementsAre());
}

TEST_F(MgfCommandTest, NamesTheRunsOfAFolderThatHaveNoMgf) {
  const std::string table =
      "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n";
  WriteFile(In("good_HCDFT.mgf"), SmallRun("good"));
  for (const char* name : {"good.csv", "lost.csv", "bare.csv", "late.csv_unfinished"})
    WriteFile(In(name), table);
  WriteFile(In("other.csv"), "a,b\n");
  WriteFile(In("lost.tarvek"),
            "count\tms2_exported\t0\ncount\tms2_read\t7\nleft_out\tanalyser not known\t7\n");
  const test::ConsoleText console =
      RunMgf({"--engine", "comet", "--out", Out(), m_directory / "in"});
  const std::string start = "tarvek-tools: the run ";
  EXPECT_EQ(console.m_err,
            start + In("bare") + " has no MGF: it exported none, or its files were moved\n" +
                start + In("lost") +
                " has no MGF: none of 7 MS2 scans is exported; 7 left out: analyser not known\n" +
                start + In("late") + " has no MGF: it did not finish\n");
  EXPECT_THAT(OutNames(), ElementsAre("good_HCDFT.ids.tsv", "good_HCDFT.mgf"));
}

TEST_F(MgfCommandTest, TakesAnMgfThatIsNoOutputWhateverRunLiesBesideIt) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  WriteFile(In("run.csv_unfinished"), "");
  RunMgf({"--engine", "comet", "--out", Out(), In("run.mgf")});
  EXPECT_THAT(OutNames(), ElementsAre("run.ids.tsv", "run.mgf"));
}

TEST_F(MgfCommandTest, NamesNoOutputWhenALaterInputIsCut) {
  WriteFile(In("a.mgf"), SmallRun("a"));
  WriteFile(In("b.mgf"), SmallRun("b") + "BEGIN IONS\n100.5 1\n");
  EXPECT_EQ(MessageOf([&] {
              RunMgf({"--engine", "comet", "--out", Out(), m_directory / "in"});
            }),
            In("b.mgf") + ":26: the file ends inside a block");
  EXPECT_THAT(OutNames(), ElementsAre());
}

TEST_F(MgfCommandTest, RefusesToReplaceItsInput) {
  WriteFile(In("run.mgf"), SmallRun("run"));
  const std::string message = MessageOf([&] {
    RunMgf({"--engine", "comet", "--out", m_directory / "out/../in", In("run.mgf")});
  });
  EXPECT_THAT(message, HasSubstr("holds the input"));
  EXPECT_EQ(ReadFile(In("run.mgf")), SmallRun("run"));
}

TEST_F(MgfCommandTest, NamesAnInputThatIsNotThere) {
  EXPECT_EQ(MessageOf([&] {
              RunMgf({"--engine", "comet", "--out", Out(), In("none.mgf")});
            }),
            "No MGF file: " + In("none.mgf"));
}

TEST_F(MgfCommandTest, RefusesAnEngineThatItDoesNotKnow) {
  EXPECT_THROW(RunMgf({"--engine", "other", "--out", Out(), In("run.mgf")}), CLI::ValidationError);
}

}  // namespace
}  // namespace tarvek::tools
