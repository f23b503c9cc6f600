#include "CheckTestSupport.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "ProcessRunner.h"
#include "ToolsProgram.h"

namespace tarvek::tools::test {
namespace {

using tarvek::test::ProcessRequest;
using tarvek::test::ProcessResult;
using tarvek::test::RunProcess;
using tarvek::test::RunTools;
using tarvek::test::TestedFolder;
using tarvek::test::TestedProgram;
using tarvek::test::WithSlashes;

void RequireSuccess(const ProcessResult& result, const std::string& what) {
  if (result.m_exit_status != 0)
    throw std::runtime_error(what + " failed:\n" + result.m_out + result.m_err);
}

ProcessResult RunCheck(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "check");
  if (std::ranges::find(arguments, "-I") == arguments.end())
    arguments.insert(arguments.end(), {"-I", IsotopeTable()});
  return RunTools(std::move(arguments));
}

}  // namespace

std::string IsotopeTable() { return TARVEK_SOURCE_DIR "/data/IPV.txt"; }

void Simulate(std::vector<std::string> arguments, const std::string& base) {
  arguments.insert(arguments.begin(), "simulate");
  arguments.push_back(base);
  RequireSuccess(RunTools(std::move(arguments)), "simulate");
}

void Process(const std::string& input, const std::string& out,
             const std::vector<std::string>& arguments) {
  ProcessRequest request;
  request.m_program = TestedProgram(TARVEK_PROGRAM);
  request.m_arguments = {"-D", input, "-O", out, "-L", out, "-I", IsotopeTable()};
  request.m_arguments.insert(request.m_arguments.end(), arguments.begin(), arguments.end());
  // The folder in which tarvek looks for the extractor.
  request.m_working_directory = TestedFolder(TARVEK_EXTRACTOR_DIRECTORY);
  std::filesystem::create_directories(out);
  RequireSuccess(RunProcess(request), "tarvek");
}

std::vector<std::string> CheckResult::Findings(bool with_notes) const {
  std::set<std::string> found;
  for (const auto& finding : m_report.at("findings")) {
    const std::string severity = finding.at("severity");
    if (with_notes || severity != "note")
      found.insert(severity + " " + finding.at("code").get<std::string>());
  }
  return {found.begin(), found.end()};
}

CheckResult Check(std::vector<std::string> arguments) {
  arguments.emplace_back("--json");
  const ProcessResult result = RunCheck(std::move(arguments));
  if (result.m_out.empty()) throw std::runtime_error("check printed nothing:\n" + result.m_err);
  return {result.m_exit_status, nlohmann::json::parse(result.m_out), result.m_err};
}

std::string CheckedText(std::vector<std::string> arguments) {
  return WithSlashes(RunCheck(std::move(arguments))).m_out;
}

}  // namespace tarvek::tools::test
