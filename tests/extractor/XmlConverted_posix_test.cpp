// Files of other converters, read by the scanner and by expat.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ExtractorTestSupport.h"
#include "ProcessRunner.h"
#include "XmlRecorder.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

const std::string kRun = TARVEK_SHARED_FOLDER "/data/ltqft-small/small-peakpicking-vendor.mzML.gz";

class XmlConverted : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(kRun)) GTEST_SKIP() << "no real runs beside the project";
  }

  static tarvek::test::ProcessResult Run(const std::string& program,
                                         const std::vector<std::string>& arguments) {
    tarvek::test::ProcessRequest request;
    request.m_program = program;
    request.m_arguments = arguments;
    return tarvek::test::RunProcess(request);
  }

  static bool IsInstalled(const std::string& converter) {
    return Run("/usr/bin/which", {converter}).m_exit_status == 0;
  }

  static void Convert(const std::vector<std::string>& command) {
    const auto result = Run("/usr/bin/env", command);
    ASSERT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  }

  void ExpectScanned() const {
    int files = 0;
    for (const auto& entry : fs::directory_iterator(m_directory.Path())) {
      const std::string path = entry.path().string();
      const test::XmlRecorder scanned = test::ReadRecorded(path);
      EXPECT_FALSE(scanned.m_is_by_expat) << path;
      EXPECT_THAT(scanned.Events(), testing::HasSubstr("\n<scan"));
      EXPECT_TRUE(scanned.Events() == test::EventsOf(path, {.m_by_expat_alone = true})) << path;
      ++files;
    }
    EXPECT_EQ(files, 1);
  }

  const test::TemporaryDirectory m_directory;
};

TEST_F(XmlConverted, FilesOfMsconvert) {
  if (!IsInstalled("msconvert")) GTEST_SKIP() << "msconvert is not installed";
  const std::vector<std::vector<std::string>> forms = {
      {"--mzML", "--zlib"}, {"--mzML", "--numpressAll", "--noindex"}, {"--mzXML"}};
  for (const auto& form : forms) {
    std::vector<std::string> command = {"msconvert", kRun, "-o", m_directory.Path()};
    command.insert(command.end(), form.begin(), form.end());
    Convert(command);
    ExpectScanned();
    for (const auto& entry : fs::directory_iterator(m_directory.Path())) fs::remove(entry);
  }
}

TEST_F(XmlConverted, FilesOfFileConverter) {
  if (!IsInstalled("FileConverter")) GTEST_SKIP() << "FileConverter is not installed";
  const test::TemporaryDirectory input;
  const std::string run = input / "run.mzML.gz";
  fs::copy_file(kRun, run);  // it takes the name for the kind of the file
  for (const char* const name : {"run.mzML", "run.mzXML"}) {
    Convert({"FileConverter", "-in", run, "-out", m_directory / name});
    ExpectScanned();
    fs::remove(m_directory / name);
  }
}

}  // namespace
}  // namespace tarvek::extractor
