#include "ToolsProgram.h"

#include <filesystem>
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

void InstallPrograms(const std::string& home) {
  namespace fs = std::filesystem;
  const fs::path root = home;
  for (const char* folder : {"bin", "libexec/tarvek", "share/tarvek"})
    fs::create_directories(root / folder);
  fs::copy_file(TARVEK_PROGRAM, root / "bin/tarvek");
  fs::copy_file(TARVEK_TOOLS_PROGRAM, root / "bin/tarvek-tools");
  fs::copy_file(TARVEK_EXTRACTOR_DIRECTORY "/morvex_xml.exe",
                root / "libexec/tarvek/morvex_xml.exe");
  fs::copy_file(TARVEK_SOURCE_DIR "/data/IPV.txt", root / "share/tarvek/IPV.txt");
  fs::copy(TARVEK_SOURCE_DIR "/data/presets", root / "share/tarvek/presets");
}

}  // namespace tarvek::test
