// What is reported for a processed file and for one that was finished before: the last line, the
// record next to the table, and the warnings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "FakeExtractor.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// The summaries in text, with their level word and "T" instead of the time.
std::vector<std::string> SummariesIn(const std::string& text) {
  static const std::regex summary("\\[Tarvek\\] <(.*)> - (.* read, .*, in )[0-9]+\\.[0-9]( s.*)");
  std::vector<std::string> lines;
  std::smatch parts;
  for (const std::string& line : LinesOf(text))
    if (std::regex_match(line, parts, summary))
      lines.push_back(parts[1].str() + ": " + parts[2].str() + "T" + parts[3].str());
  return lines;
}

/// What tests/golden says about its pair.
const std::string kGoldenCounts =
    ": 9 MS2 scans read, 6 exported with 13 precursors, 3 left out (1 activation type not known, 1 "
    "analyser not known, 1 no usable precursor declared or determined), in T s";

std::string ScanOf(int scan_no, const std::string& activation) {
  const std::string number = std::to_string(scan_no);
  return "S\t" + number + "\t" + number + "\nI\tInstrumentType\tFTMS\nI\tActivationType\t" +
         activation + "\nI\tActivationCenter\t500.25\nZ\t2\t0\n200.0 5.0\n";
}

// ------------------------------------------------------------ the line

class Summary : public PairTest {
 protected:
  const ProcessResult& RunPair(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"-D", "run.ms1", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

TEST_F(Summary, SaysWhatWasReadExportedAndLeftOut) {
  RunPair();
  EXPECT_THAT(SummariesIn(m_result.m_out), ElementsAre("INFO: run.ms1" + kGoldenCounts));
  EXPECT_THAT(SummariesIn(Content("out/TarvekPlusLog.txt")),
              ElementsAre("INFO: run.ms1" + kGoldenCounts));
}
TEST_F(Summary, IsTheLastLineOfItsFile) {
  RunPair();
  const std::vector<std::string> lines = LinesOf(m_result.m_out);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[lines.size() - 3], "[Tarvek] <INFO> - Scan Number in out/run.csv: 6");
  EXPECT_EQ(SummariesIn(lines[lines.size() - 2] + "\n").size(), 1u);
}
TEST_F(Summary, IsThereForEachFile) {
  MakeFolder("in");
  PlacePair("in", "a");
  PlacePair("in", "b");
  Run({"-D", "in", "-F", "ms1", "-O", "out"});
  EXPECT_THAT(SummariesIn(m_result.m_out),
              testing::UnorderedElementsAre("INFO: in/a.ms1" + kGoldenCounts,
                                            "INFO: in/b.ms1" + kGoldenCounts));
}
TEST_F(Summary, IsAWarningWithTheMainReasonWhenNothingIsExported) {
  Write("run.ms2", ScanOf(51, "PQD") + ScanOf(52, "PQD") +
                       "S\t53\t53\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n1 1\n");
  EXPECT_EQ(RunPair().m_exit_status, 0);
  EXPECT_THAT(SummariesIn(m_result.m_err),
              ElementsAre("WARN: run.ms1: 3 MS2 scans read, 0 exported with 0 precursors, 3 left "
                          "out (2 activation type not known, 1 no usable precursor declared or "
                          "determined), in T s. Nothing was exported; the main reason: activation "
                          "type not known."));
  EXPECT_THAT(SummariesIn(m_result.m_out), ElementsAre());
}
TEST_F(Summary, IsAWarningWhenThereIsNoMs2Scan) {
  Write("run.ms2", "");
  EXPECT_EQ(RunPair().m_exit_status, 0);
  EXPECT_THAT(SummariesIn(m_result.m_err),
              ElementsAre("WARN: run.ms1: 0 MS2 scans read, 0 exported with 0 precursors, in T s. "
                          "Nothing was exported: there is no MS2 scan in it."));
}
TEST_F(Summary, IsNotThereForAFinishedFile) {
  RunPair();
  RunPair();
  EXPECT_THAT(SummariesIn(m_result.m_out), ElementsAre());
}
TEST_F(Summary, OfMgfCountsItsSpectra) {
  Write("run.mgf", ReadFile(GoldenFolder() + "/default/run_HCDFT.mgf"));
  Run({"-D", "run.mgf", "-O", "out"});
  const std::vector<std::string> lines = SummariesIn(m_result.m_out);
  ASSERT_EQ(lines.size(), 1u);
  // The index has 8 bytes for each spectrum, the MGF a block for each precursor.
  const std::string spectra =
      std::to_string(ReadFile(GoldenFolder() + "/default/run_HCDFT.pf2idx").size() / 8);
  EXPECT_THAT(lines[0], testing::StartsWith("INFO: run.mgf: " + spectra + " MS2 scans read, " +
                                            spectra + " exported with "));
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("count\tms2_exported\t" + spectra + "\n"));
}
TEST_F(Summary, OfMgfIsAWarningWhenPfOutputIsOff) {
  Write("run.mgf", "BEGIN IONS\nTITLE=run.7.7.2.0.dta\nPEPMASS=500\n1 1\nEND IONS\n");
  EXPECT_EQ(Run({"-D", "run.mgf", "-O", "out", "-p", "0"}).m_exit_status, 0);
  EXPECT_THAT(SummariesIn(m_result.m_err),
              ElementsAre("WARN: run.mgf: 1 MS2 scan read, 0 exported with 0 precursors, 1 left "
                          "out (1 output_pf is 0), in T s. Nothing was exported; the main reason: "
                          "output_pf is 0."));
  EXPECT_FALSE(Exists("out/run.tarvek"));
}

// ------------------------------------------------------------ the record, and running again

class Rerun : public Summary {
 protected:
  static std::string OtherSettings(const std::string& input, const std::string& difference) {
    return "[Tarvek] <WARN> - The results of " + input + " have other settings: " + difference +
           ". Give -r 1 to process it again.\n";
  }
};

TEST_F(Rerun, WithTheSameSettingsSaysNothingMore) {
  RunPair({"-W", "3"});
  RunPair({"-W", "3.0"});
  EXPECT_EQ(m_result.m_err, "");
  EXPECT_THAT(m_result.m_out, HasSubstr("run.ms1 has existed results, skipping...\n"));
}
TEST_F(Rerun, WithOtherSettingsNamesBothValues) {
  RunPair();
  const std::string table = Content("out/run.csv");
  EXPECT_EQ(RunPair({"-W", "3", "-c", "2t4"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err,
            OtherSettings("run.ms1",
                          "charge_range 2t6, now 2t4; isolation_width 2.000000, now "
                          "3.000000"));
  EXPECT_THAT(m_result.m_out, HasSubstr("run.ms1 has existed results, skipping...\n"));
  EXPECT_EQ(Content("out/run.csv"), table);
}
TEST_F(Rerun, SaysThatAfterTheLineOfTheSkippedFile) {
  RunPair();
  RunPair({"-C", "0"});
  const std::string log = Content("out/TarvekPlusLog.txt");
  EXPECT_THAT(log, HasSubstr("[Tarvek] <INFO> - run.ms1 has existed results, skipping...\n" +
                             OtherSettings("run.ms1", "co-elute 1, now 0")));
}
TEST_F(Rerun, WithAnotherIsotopeTableIsNoticed) {
  RunPair();
  Write("IPV.txt", "1 2 3 4 5\n" + GoldenInput("IPV.txt"));
  RunPair();
  EXPECT_THAT(m_result.m_err, HasSubstr("other settings: isotope_table 804665a93b2cad58, now "));
}
TEST_F(Rerun, ThatRewritesHasTheNewSettings) {
  RunPair();
  RunPair({"-W", "3", "-r", "1"});
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("other settings")));
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("setting\tisolation_width\t3.000000\n"));
  EXPECT_EQ(RunPair({"-W", "3"}).m_err, "");
}
TEST_F(Rerun, WithoutARecordSaysNothingMore) {
  RunPair();
  fs::remove(Path("out/run.tarvek"));
  EXPECT_EQ(RunPair({"-W", "3"}).m_err, "");
}
TEST_F(Rerun, WithADamagedRecordSaysSo) {
  RunPair();
  Write("out/run.tarvek", "count\tms2_read\tmany\n");
  EXPECT_EQ(RunPair({"-W", "3"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <WARN> - out/run.tarvek: line 1: \"many\" is no count. With which settings "
            "it was processed is not known.\n");
}
TEST_F(Rerun, InAnotherPlaceGivesTheSameRecord) {
  RunPair();
  MakeFolder("elsewhere");
  PlacePair("elsewhere");
  Run({"-D", "elsewhere/run.ms1", "-O", "other", "-L", "log"});
  EXPECT_EQ(Content("other/run.tarvek"), Content("out/run.tarvek"));
}

// ------------------------------------------------------------ instrument files

class ExtractedRun : public FakeExtractorTest {
 protected:
  /// An extractor that leaves this as its marker.
  void PlaceWithMarker(const std::string& marker) {
    Write("prepared/marker", marker);
    PlaceExtractor(std::string(kCopyTextPair) + "cp prepared/marker \"$out/$base.morvex\"\n");
  }
  const ProcessResult& RunRaw(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"-D", "run.raw", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ProcessRequest request = Request(arguments);
    request.m_environment = m_environment;
    return RunRequest(request);
  }
  std::map<std::string, std::string> m_environment;
};

const std::string kCountsOfAll =
    "All spectra of run were extracted.\ncount\tsurveys\t14\ncount\tms2_read\t12\n"
    "width\t2.00\t9\nleft_out\tempty\t2\nleft_out\tanalyser not known\t1\n";

TEST_F(ExtractedRun, CountsTheScansOfTheInstrumentFile) {
  PlaceWithMarker(kCountsOfAll);
  RunRaw();
  EXPECT_THAT(SummariesIn(m_result.m_out),
              ElementsAre("INFO: run.raw: 12 MS2 scans read, 6 exported with 13 precursors, 6 "
                          "left out (2 analyser not known, 2 empty, 1 activation type not known, "
                          "1 no usable precursor declared or determined), in T s"));
  EXPECT_THAT(
      Content("out/run.tarvek"),
      HasSubstr("count\tms2_exported\t6\ncount\tms2_read\t12\ncount\tprecursors\t13\n"
                "count\tsurveys\t13\nwidth\t2.00\t9\nleft_out\tactivation type not known\t1\n"
                "left_out\tanalyser not known\t2\nleft_out\tempty\t2\n"));
}
TEST_F(ExtractedRun, CountsThemAlsoWhenTheMarkerIsDeleted) {
  PlaceWithMarker(kCountsOfAll);
  RunRaw({"-d", "1"});
  EXPECT_FALSE(Exists("out/run.morvex"));
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("count\tms2_read\t12\n"));
}
TEST_F(ExtractedRun, CountsThemAlsoWhenItWasExtractedBefore) {
  PlaceWithMarker(kCountsOfAll);
  RunRaw();
  fs::remove(Path("out/run.csv"));
  RunRaw();
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("count\tms2_read\t12\n"));
}
TEST_F(ExtractedRun, OfAMarkerWithoutEntriesCountsItsSpectra) {
  PlaceWithMarker("done");
  RunRaw();
  EXPECT_THAT(SummariesIn(m_result.m_out), ElementsAre("INFO: run.raw" + kGoldenCounts));
  EXPECT_THAT(m_result.m_err, Not(HasSubstr(".morvex")));
}
TEST_F(ExtractedRun, OfAMarkerThatCannotBeReadWarnsAndCountsItsSpectra) {
  PlaceWithMarker("done\ncount\tms2_read\tx\n");
  EXPECT_EQ(RunRaw().m_exit_status, 0);
  EXPECT_THAT(m_result.m_err,
              HasSubstr("[Tarvek] <WARN> - out/run.morvex: line 2: \"x\" is no count. What the "
                        "extraction left out is not counted.\n"));
  EXPECT_THAT(SummariesIn(m_result.m_out), ElementsAre("INFO: run.raw" + kGoldenCounts));
}
TEST_F(ExtractedRun, MissesScansThatItsSpectraDoNotHold) {
  PlaceWithMarker("done\ncount\tms2_read\t20\n");
  RunRaw();
  ASSERT_EQ(SummariesIn(m_result.m_out).size(), 1u);
  EXPECT_THAT(SummariesIn(m_result.m_out)[0],
              HasSubstr("20 MS2 scans read, 6 exported with 13 precursors, 14 left out (11 "
                        "extracted and not in the spectra read, "));
}
TEST_F(ExtractedRun, RecordsWhatTheEnvironmentTellsTheExtractor) {
  PlaceExtractor(kCopyTextPair);
  m_environment = {{"TARVEK_ANALYSER", " ms2=ITMS "}, {"TARVEK_ACTIVATION", " "}};
  RunRaw();
  const std::string record = Content("out/run.tarvek");
  EXPECT_THAT(record, HasSubstr("setting\tanalyser\tms2=ITMS\n"));
  EXPECT_THAT(record, Not(HasSubstr("activation\t")));
}
TEST_F(ExtractedRun, NoticesAnotherEnvironment) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  m_environment = {{"TARVEK_ACTIVATION", "ETD"}};
  RunRaw();
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <WARN> - The results of run.raw have other settings: activation not set, now "
            "ETD. Give -r 1 to process it again.\n");
}
TEST_F(ExtractedRun, RecordsTheSettingsOfTheTimeOfTheExtraction) {
  PlaceWithMarker(kCountsOfAll + "setting\tanalyser\tFTMS\n");
  m_environment = {{"TARVEK_ANALYSER", "ftms"}};
  EXPECT_THAT(RunRaw().m_err, Not(HasSubstr("other settings")));
  fs::remove(Path("out/run.csv"));
  EXPECT_THAT(RunRaw().m_err, Not(HasSubstr("other settings")));
  fs::remove(Path("out/run.csv"));
  m_environment = {{"TARVEK_ANALYSER", "ITMS"}, {"TARVEK_ACTIVATION", "ETD"}};
  EXPECT_THAT(RunRaw().m_err,
              HasSubstr("[Tarvek] <WARN> - The spectra of run.raw were extracted with other "
                        "settings: activation not set, now ETD; analyser FTMS, now ITMS. Give -r 1 "
                        "to extract it again.\n"));
  EXPECT_EQ(Starts(), 1);
  const std::string record = Content("out/run.tarvek");
  EXPECT_THAT(record, HasSubstr("setting\tanalyser\tFTMS\n"));
  EXPECT_THAT(record, Not(HasSubstr("setting\tactivation\t")));
}
TEST_F(ExtractedRun, NoticesOtherDecimalsOfAnEarlierExtraction) {
  PlaceWithMarker(kCountsOfAll + "setting\tm/z\t5\nsetting\tintensity\t1\n");
  RunRaw();
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("other settings")));
  fs::remove(Path("out/run.csv"));
  RunRaw({"-z", "3"});
  EXPECT_THAT(m_result.m_err,
              HasSubstr("[Tarvek] <WARN> - The spectra of run.raw were extracted with other "
                        "settings: m/z 5, now 3. Give -r 1 to extract it again.\n"));
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("setting\tm/z\t3 (extracted with 5)\n"));
  EXPECT_THAT(RunRaw({"-z", "3"}).m_err, HasSubstr("m/z 3 (extracted with 5), now 3. "));
}
TEST_F(ExtractedRun, BelievesTheEnvironmentBesideAMarkerThatDoesNotSay) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  fs::remove(Path("out/run.csv"));
  m_environment = {{"TARVEK_ANALYSER", "ITMS"}};
  EXPECT_THAT(RunRaw().m_err, Not(HasSubstr("other settings")));
  EXPECT_THAT(Content("out/run.tarvek"), HasSubstr("setting\tanalyser\tITMS\n"));
}
TEST_F(ExtractedRun, OfSpectraDoesNotMindTheEnvironment) {
  PlaceExtractor(kCopyTextPair);
  m_environment = {{"TARVEK_ANALYSER", "FTMS"}};
  RunRaw();
  m_environment.clear();
  Run({"-D", "out/run.ms1", "-O", "out"});
  EXPECT_EQ(m_result.m_err, "");
  EXPECT_THAT(m_result.m_out, HasSubstr("out/run.ms1 has existed results, skipping...\n"));
}

// ------------------------------------------------------------ packed files

class PackedFile : public FakeExtractorTest {
 protected:
  PackedFile() {
    PlaceExtractor("base=${base%.mzML}\nbase=${base%.mzXML}\nbase=${base%.MZML}\n" +
                       std::string(kCopyTextPair),
                   "morvex_xml.exe");
    MakeFolder("in");
  }
};

TEST_F(PackedFile, IsTakenForWhatIsInIt) {
  for (const char* const name : {"one.mzML.gz", "two.mzXML.gz", "THREE.MZML.GZ"}) {
    SCOPED_TRACE(name);
    Write(name, "x");
    EXPECT_EQ(Run({"-D", name, "-O", "out"}).m_exit_status, 0) << m_result.m_err;
    const std::string base = std::string(name).substr(0, std::string(name).find('.'));
    EXPECT_TRUE(Exists("out/" + base + ".csv"));
    EXPECT_TRUE(Exists("out/" + base + ".tarvek"));
    EXPECT_THAT(Content("out/" + base + "_HCDFT.mgf"), HasSubstr("TITLE=" + base + ".51.51."));
  }
}
TEST_F(PackedFile, IsTakenOfADirectory) {
  Write("in/a.mzML", "x");
  Write("in/b.mzML.gz", "x");
  Write("in/c.mzXML.gz", "x");
  EXPECT_EQ(Run({"-D", "in", "-F", "mzml", "-O", "out"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/a.csv"));
  EXPECT_TRUE(Exists("out/b.csv"));
  EXPECT_FALSE(Exists("out/c.csv"));
}
TEST_F(PackedFile, OfAnotherKindHasAnUnknownFormat) {
  Write("a.ms1.gz", "x");
  EXPECT_EQ(Run({"-D", "a.ms1.gz", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr("<WARN> - Data path a.ms1.gz has the format 'gz'."));
}

// ------------------------------------------------------------ the same base name twice

class SameName : public PackedFile {};

TEST_F(SameName, OfAPackedAndAnUnpackedFileIsAWarning) {
  Write("in/a.mzML", "x");
  Write("in/a.mzML.gz", "x");
  Write("in/b.mzML", "x");
  EXPECT_EQ(Run({"-D", "in", "-F", "mzml", "-O", "out"}).m_exit_status, 0);
  const std::string end =
      " have the same outputs, out/a.*: the second is skipped when the first is finished, and "
      "replaces it with -r 1. Give each its own output directory.\n";
  // In the order of the system's listing.
  EXPECT_THAT(m_result.m_err,
              testing::AnyOf(HasSubstr("<WARN> - in/a.mzML and in/a.mzML.gz" + end),
                             HasSubstr("<WARN> - in/a.mzML.gz and in/a.mzML" + end)));
  EXPECT_EQ(Starts("morvex_xml.exe"), 2);  // the second a is skipped
}
TEST_F(SameName, InTwoDirectoriesWithOneOutputDirectoryIsAWarning) {
  MakeFolder("more");
  PlacePair("in", "a");
  PlacePair("more", "a");
  Write("run.cfg",
        "datanum = 2\ndatapath1 = in\ndatapath2 = more\ninput_format = ms1\n"
        "outputpath = out\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, testing::EndsWith(" directory.\n"));
  EXPECT_THAT(m_result.m_err,
              HasSubstr("<WARN> - in/a.ms1 and more/a.ms1 have the same outputs, "));
  EXPECT_THAT(m_result.m_out, HasSubstr("more/a.ms1 has existed results, skipping...\n"));
}
TEST_F(SameName, WithAnEndingInAnotherLetterCaseIsAWarning) {
  if (TestsForeignPrograms()) GTEST_SKIP() << "Windows does not tell the cases apart";
  Write("in/a.mzML", "x");
  Write("in/a.mzml", "xyz");
  EXPECT_EQ(Run({"-D", "in", "-F", "mzml", "-O", "out"}).m_exit_status, 0);
  // In the order in which the system lists them.
  EXPECT_THAT(
      m_result.m_err,
      testing::AnyOf(HasSubstr("<WARN> - in/a.mzML and in/a.mzml have the same outputs, "),
                     HasSubstr("<WARN> - in/a.mzml and in/a.mzML have the same outputs, ")));
  EXPECT_EQ(Starts("morvex_xml.exe"), 1);
}
TEST_F(SameName, OfAnotherRunBeforeIsAWarning) {
  MakeFolder("more");
  Write("in/a.mzML", "x");
  Write("more/a.mzML", "xyz");
  EXPECT_EQ(Run({"-D", "in/a.mzML", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(Run({"-D", "in/a.mzML", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("another input")));
  const std::string others =
      "out/a.* are the results of another input, a.mzML (1 bytes), now a.mzML (3 bytes)";
  EXPECT_EQ(Run({"-D", "more/a.mzML", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("more/a.mzML has existed results, skipping...\n"));
  EXPECT_THAT(m_result.m_err,
              HasSubstr("<WARN> - more/a.mzML is skipped: " + others +
                        ". Give each its own output directory, or -r 1 to replace them.\n"));
  EXPECT_EQ(Run({"-D", "more/a.mzML", "-O", "out", "-r", "1"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr("<WARN> - " + others + ", and are replaced.\n"));
  EXPECT_THAT(Content("out/a.tarvek"), HasSubstr("source\tbytes\t3\nsource\tname\ta.mzML\n"));
  EXPECT_EQ(Run({"-D", "more/a.mzML", "-O", "out", "-r", "1"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("another input")));
}
TEST_F(SameName, OfAnMgfFileBeforeIsAWarning) {
  MakeFolder("more");
  const std::string block =
      "BEGIN IONS\nTITLE=a.7.7.2.0.dta\nCHARGE=2+\nPEPMASS=500.1\n200.1 5.0\nEND IONS\n";
  Write("in/a.mgf", block);
  Write("more/a.mgf", block + block);
  EXPECT_EQ(Run({"-D", "in/a.mgf", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(Run({"-D", "in/a.mgf", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("another input")));
  EXPECT_EQ(Run({"-D", "more/a.mgf", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr("another input, a.mgf ("));
}
TEST_F(SameName, InTwoDirectoriesWithTheirOwnOutputsIsNone) {
  MakeFolder("more");
  PlacePair("in", "a");
  PlacePair("more", "a");
  Write("run.cfg", "datanum = 2\ndatapath1 = in\ndatapath2 = more\ninput_format = ms1\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("same outputs")));
  EXPECT_TRUE(Exists("in/a.csv"));
  EXPECT_TRUE(Exists("more/a.csv"));
}
TEST_F(SameName, InAnotherLetterCaseIsNone) {
  if (TestsForeignPrograms()) GTEST_SKIP() << "Windows does not tell the cases apart";
  PlacePair("in", "a");
  PlacePair("in", "A");
  EXPECT_EQ(Run({"-D", "in", "-F", "ms1", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("same outputs")));
}

}  // namespace
}  // namespace tarvek::test
