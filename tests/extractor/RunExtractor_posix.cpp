#include "RunExtractor.h"

namespace tarvek::extractor::test {

std::string ExtractorFolder() { return tarvek::test::TestedFolder(TARVEK_EXTRACTOR_DIRECTORY); }

std::string ExtractorProgram(const std::string& kind) {
  return tarvek::test::TestedProgram(TARVEK_EXTRACTOR_DIRECTORY "/morvex_" + kind + ".exe");
}

tarvek::test::ProcessResult RunExtractor(const std::string& kind,
                                         const std::vector<std::string>& arguments,
                                         const std::map<std::string, std::string>& variables) {
  tarvek::test::ProcessRequest request;
  request.m_program = ExtractorProgram(kind);
  request.m_arguments = arguments;
  request.m_environment = variables;
  return tarvek::test::WithSlashes(tarvek::test::RunProcess(request));
}

}  // namespace tarvek::extractor::test
