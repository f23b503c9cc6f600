#include "ProgramTest.h"

#include <sstream>
#include <utility>

namespace tarvek::test {

namespace fs = std::filesystem;

FileMap OutputsIn(const std::string& directory) {
  FileMap files;
  if (!fs::is_directory(directory)) return files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    const std::string name = entry.path().filename().string();
    if (name != kLog && entry.is_regular_file()) files[name] = ReadFile(entry.path().string());
  }
  return files;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string GoldenFolder() { return TARVEK_SOURCE_DIR "/tests/golden"; }

std::string GoldenInput(const std::string& name) {
  return ReadFile(GoldenFolder() + "/input/" + name);
}

ProcessRequest ProgramTest::Request(std::vector<std::string> arguments) const {
  ProcessRequest request;
  request.m_program = TARVEK_PROGRAM;
  request.m_arguments = std::move(arguments);
  request.m_working_directory = m_directory.Path();
  return request;
}

const ProcessResult& ProgramTest::Run(std::vector<std::string> arguments) {
  return RunRequest(Request(std::move(arguments)));
}

const ProcessResult& ProgramTest::RunRequest(const ProcessRequest& request) {
  m_result = RunProcess(request);
  return m_result;
}

void ProgramTest::Write(const std::string& name, const std::string& content) const {
  WriteFile(Path(name), content);
}

void ProgramTest::MakeFolder(const std::string& name) const { fs::create_directories(Path(name)); }

void ProgramTest::PlacePair(const std::string& folder, const std::string& name) const {
  const std::string place = folder.empty() ? name : folder + "/" + name;
  Write(place + ".ms1", GoldenInput("run.ms1"));
  Write(place + ".ms2", GoldenInput("run.ms2"));
}

void ProgramTest::PlaceTable() const { Write("IPV.txt", GoldenInput("IPV.txt")); }

}  // namespace tarvek::test
