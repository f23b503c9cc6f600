#include <algorithm>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor::test {

tarvek::test::ProcessResult RunExtractor(const std::string& kind,
                                         const std::vector<std::string>& arguments,
                                         const std::map<std::string, std::string>& variables) {
  tarvek::test::ProcessRequest request;
  request.m_program =
      tarvek::test::TestedProgram(TARVEK_EXTRACTOR_DIRECTORY "/morvex_" + kind + ".exe");
  request.m_arguments = arguments;
  request.m_environment = variables;
  tarvek::test::ProcessResult result = tarvek::test::RunProcess(request);
  // Expected paths are written with '/'.
  if (tarvek::test::TestsForeignPrograms()) std::ranges::replace(result.m_err, '\\', '/');
  return result;
}

}  // namespace tarvek::extractor::test
