#include "ToolsProgram.h"

#include <utility>

namespace tarvek::test {

ProcessRequest ToolsRequest(std::vector<std::string> arguments,
                            const std::string& working_directory) {
  ProcessRequest request;
  request.m_program = TestedProgram(TARVEK_TOOLS_PROGRAM);
  request.m_arguments = std::move(arguments);
  request.m_working_directory = working_directory;
  return request;
}

ProcessResult RunTools(std::vector<std::string> arguments, const std::string& working_directory) {
  return RunProcess(ToolsRequest(std::move(arguments), working_directory));
}

}  // namespace tarvek::test
