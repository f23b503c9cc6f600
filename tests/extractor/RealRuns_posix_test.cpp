// Real runs, compared scan by scan with an independent reading of the same files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ExtractorTestSupport.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> InstrumentFiles() {
  std::vector<std::string> paths;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(TARVEK_SHARED_FOLDER "/data", error)) {
    const std::string name = entry.path().string();
    if (name.ends_with(".mzML.gz") || name.ends_with(".mzXML.gz")) paths.push_back(name);
  }
  return paths;
}

TEST(RealRuns, AgreeWithAnIndependentReader) {
  const std::vector<std::string> paths = InstrumentFiles();
  if (paths.empty()) GTEST_SKIP() << "no real runs beside the project";
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    const test::TemporaryDirectory directory;
    ASSERT_EQ(test::RunExtractor("xml", {"-o", directory.Path(), path}).m_exit_status, 0);
    const std::string name = fs::path(path).stem().stem().string();
    tarvek::test::ProcessRequest request;
    request.m_program = TARVEK_PYTHON;
    request.m_arguments = {TARVEK_SOURCE_DIR "/scripts/check_extraction.py", path,
                           directory / name};
    const auto result = tarvek::test::RunProcess(request);
    EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
    EXPECT_THAT(result.m_out, testing::HasSubstr("0 differences"));
  }
}

}  // namespace
}  // namespace tarvek::extractor
