// Truncated input, full disks and interruptions of the programs: a message, no marker, no
// incomplete file under a final name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ExtractorTestSupport.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using test::RunExtractor;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

/// Programs for another system start slowly.
int Cuts() { return tarvek::test::TestsForeignPrograms() ? 20 : 200; }

std::string MzmlRun() { return test::MzmlRun(40, true); }

std::string MzxmlRun() {
  std::vector<test::TestMzxmlScan> scans(40);
  for (std::size_t i = 0; i < scans.size(); ++i) scans[i].m_number = static_cast<int>(i) + 1;
  return test::Mzxml(scans);
}

/// The entries of a directory except one.
std::vector<std::string> OthersThan(const std::string& name, const TemporaryDirectory& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory.Path()))
    if (entry.path().filename() != name) names.push_back(entry.path().filename().string());
  return names;
}

/// Cuts content at many places before its last '>' and expects a failure at each.
void ExpectFailureAtManyCuts(const std::string& content, const std::string& name) {
  const std::size_t end = content.rfind('>');
  const auto cuts = static_cast<std::size_t>(Cuts());
  for (std::size_t cut = 0; cut < cuts; ++cut) {
    const std::size_t size = end * cut / (cuts - 1);
    SCOPED_TRACE(size);
    const TemporaryDirectory directory;
    WriteFile(directory / name, content.substr(0, size));
    WriteFile(directory / "run.morvex", "of an earlier run");
    const auto result = RunExtractor("xml", {"-ms", directory / name});
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr(directory / name));
    EXPECT_THAT(OthersThan(name, directory), testing::IsEmpty());
  }
}

TEST(TruncatedInput, FailsAtManyOffsetsOfAnMzml) { ExpectFailureAtManyCuts(MzmlRun(), "run.mzML"); }

TEST(TruncatedInput, FailsAtManyOffsetsOfAnMzxml) {
  ExpectFailureAtManyCuts(MzxmlRun(), "run.mzXML");
}

TEST(MissingInput, IsNamedAndLosesTheMarker) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.morvex", "of an earlier run");
  const auto result = RunExtractor("xml", {directory / "run.mzML"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr(directory / "run.mzML"));
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
}

void ExpectFailureOnFullDisk(const std::string& output, const std::vector<std::string>& options) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", MzmlRun());
  fs::create_symlink("/dev/full", directory / (output + "_unfinished"));
  std::vector<std::string> arguments = options;
  arguments.push_back(directory / "run.mzML");
  const auto result = RunExtractor("xml", arguments);
  EXPECT_EQ(result.m_exit_status, 1) << output;
  EXPECT_THAT(result.m_err, HasSubstr("Cannot write " + (directory / output)));
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
  EXPECT_FALSE(fs::exists(directory / output));
}

TEST(FullDisk, LeavesNoMarkerAndNoOutput) {
  ExpectFailureOnFullDisk("run.ms1", {});
  ExpectFailureOnFullDisk("run.ms2", {});
  ExpectFailureOnFullDisk("run.mzml.msb", {"-msb"});
  ExpectFailureOnFullDisk("run.mzml.mscsv", {"-msb"});
  ExpectFailureOnFullDisk("run.mgf", {"-mgf"});
}

TEST(FullDisk, LeavesNoMarkerWhenOnlyTheMarkerFails) { ExpectFailureOnFullDisk("run.morvex", {}); }

/// Feeds half a run through a pipe, sends the extractor a signal, feeds the rest; standard output
/// is only the status. before: commands of the shell before it becomes the extractor.
tarvek::test::ProcessResult ResultAfterSignal(const TemporaryDirectory& directory,
                                              const std::string& signal,
                                              const std::string& before = "") {
  const std::string xml = MzmlRun();
  WriteFile(directory / "first", xml.substr(0, xml.size() / 2));
  WriteFile(directory / "rest", xml.substr(xml.size() / 2));
  tarvek::test::ProcessRequest request;
  request.m_program = "/bin/sh";
  request.m_working_directory = directory.Path();
  request.m_arguments = {"-c", "mkfifo run.mzML; /bin/sh -c \"$1\" \"$0\" >/dev/null; echo $?",
                         test::ExtractorProgram("xml"),
                         "{ cat first; sleep 0.2; kill -" + signal +
                             " $$; sleep 0.2; cat rest; } >run.mzML 2>/dev/null & " + before +
                             "exec \"$0\" run.mzML"};
  return tarvek::test::RunProcess(request);
}

TEST(Interruption, RemovesWhatIsUnfinished) {
  std::vector<const char*> signals = {"INT"};
  if (!tarvek::test::TestsForeignPrograms())  // of POSIX systems
    signals.insert(signals.end(), {"TERM", "HUP"});
  for (const char* const signal : signals) {
    SCOPED_TRACE(signal);
    const TemporaryDirectory directory;
    const auto result = ResultAfterSignal(directory, signal);
    EXPECT_EQ(result.m_out, "1\n");
    EXPECT_THAT(result.m_err, HasSubstr("interrupted; nothing was extracted"));
    EXPECT_THAT(OthersThan("run.mzML", directory), testing::UnorderedElementsAre("first", "rest"));
  }
}

// As in a background job of a script, which must ignore Ctrl-C.
TEST(Interruption, IsNoneWhenTheSignalIsIgnoredFromTheStart) {
  if (tarvek::test::TestsForeignPrograms())
    GTEST_SKIP() << "programs of another system do not inherit this";
  for (const char* const signal : {"INT", "HUP"}) {
    SCOPED_TRACE(signal);
    const TemporaryDirectory directory;
    const std::string ignored = std::string("trap '' ") + signal + "; ";
    EXPECT_EQ(ResultAfterSignal(directory, signal, ignored).m_out, "0\n");
    EXPECT_TRUE(fs::exists(directory / "run.morvex"));
  }
}

TEST(Interruption, LeavesNothingUnderAFinalNameWhenKilled) {
  const TemporaryDirectory directory;
  EXPECT_EQ(ResultAfterSignal(directory, "KILL").m_out, "137\n");
  for (const char* const name : {"run.ms1", "run.ms2", "run.morvex"})
    EXPECT_FALSE(fs::exists(directory / name)) << name;
}

}  // namespace
}  // namespace tarvek::extractor
