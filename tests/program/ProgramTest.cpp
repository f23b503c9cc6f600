#include "ProgramTest.h"

#include <algorithm>
#include <chrono>
#include <sstream>
#include <thread>
#include <utility>

namespace tarvek::test {

namespace fs = std::filesystem;

namespace {

/// The lines of the log in text with '/' in place of '\\': expected paths are written with '/'.
std::string LogWithSlashes(const std::string& text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    std::string line = text.substr(at, end - at);
    if (line.starts_with("[Tarvek] <")) std::ranges::replace(line, '\\', '/');
    result += line;
    at = end;
  }
  return result;
}

}  // namespace

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

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

bool Appears(const std::string& path) {
  return Eventually([&] { return fs::exists(path); });
}

ProcessRequest ProgramTest::Request(std::vector<std::string> arguments) const {
  ProcessRequest request;
  request.m_program = TestedProgram(TARVEK_PROGRAM);
  request.m_arguments = std::move(arguments);
  request.m_working_directory = m_directory.Path();
  return request;
}

const ProcessResult& ProgramTest::Run(std::vector<std::string> arguments) {
  return RunRequest(Request(std::move(arguments)));
}

const ProcessResult& ProgramTest::RunRequest(const ProcessRequest& request) {
  m_result = RunProcess(request);
  if (TestsForeignPrograms()) {
    m_result.m_out = LogWithSlashes(m_result.m_out);
    m_result.m_err = LogWithSlashes(m_result.m_err);
  }
  return m_result;
}

std::string ProgramTest::Content(const std::string& name) const {
  const std::string content = ReadFile(Path(name));
  return TestsForeignPrograms() && name.ends_with(kLog) ? LogWithSlashes(content) : content;
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
