// The companion program tarvek-tools: picks the subcommand, turns its errors into an exit status, and
// suggests a subcommand or an option that is close to what was typed.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Check.h"
#include "FileUtils.h"
#include "InputFormats.h"
#include "Platform.h"
#include "ProductTexts.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "batch/Command.h"
#include "batch/RunCommand.h"
#include "batch/SettingsCommand.h"
#include "calibrate/Command.h"
#include "check/Command.h"
#include "explain/Command.h"
#include "features/Command.h"
#include "ipv/Command.h"
#include "mgf/Command.h"
#include "mzml/Command.h"
#include "psms/Command.h"
#include "report/Command.h"
#include "score/Command.h"
#include "simulate/Command.h"
#include "table/Command.h"

namespace {

constexpr int kFailure = 1;

int Fail(const std::string& message) {
  std::cerr << "tarvek-tools: " << tarvek::Shown(message) << '\n';
  return kFailure;
}

// Bad input can cause it in the readers of tarvek; check reports it as a finding.
[[noreturn]] void ThrowFailedCheck(const char* expression, const char* module) {
  throw "internal check failed: " + std::string(expression) + ", module " + module;
}

/// The candidate that differs from word by a letter or two; empty without one, or when word itself
/// is a candidate.
std::string NearMissOf(std::string_view word, const std::vector<std::string>& candidates) {
  constexpr std::size_t kMostLetters = 2;
  std::string nearest;
  std::size_t least = std::clamp<std::size_t>(word.size() / 3, 1, kMostLetters) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = tarvek::EditDistance(word, candidate);
    if (distance == 0) return {};
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

std::vector<std::string> SubcommandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* subcommand :
       app.get_subcommands([](const CLI::App* one) { return !one->get_name().empty(); }))
    names.push_back(subcommand->get_name());
  return names;
}

/// "--width" and so on.
std::vector<std::string> LongOptionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

/// The question about a mistyped argument; empty without a close candidate.
std::string NearMiss(const CLI::App& app, const std::vector<std::string>& arguments) {
  if (arguments.empty()) return {};
  const CLI::App* subcommand = nullptr;
  for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; }))
    if (one->get_name() == arguments.front()) subcommand = one;
  if (subcommand == nullptr && !arguments.front().starts_with('-'))
    return NearMissOf(arguments.front(), SubcommandsOf(app));
  const std::vector<std::string> options = LongOptionsOf(subcommand == nullptr ? app : *subcommand);
  for (const std::string& argument : arguments) {
    if (argument == "--") break;  // after it come options of tarvek
    if (!argument.starts_with("--")) continue;
    const std::string nearest = NearMissOf(argument.substr(0, argument.find('=')), options);
    if (!nearest.empty()) return nearest;
  }
  return {};
}

/// Like CLI11_PARSE, with a question after the error.
int Parse(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
    return 0;
  } catch (const CLI::ParseError& error) {
    std::ostringstream problem;
    const int status = app.exit(error, std::cout, problem);
    std::cerr << tarvek::ShownLines(problem.str()) << std::flush;
    const std::string nearest =
        status == 0 || error.get_name() == "RuntimeError"
            ? ""
            : NearMiss(app, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
    if (!nearest.empty()) std::cerr << "Did you mean " << nearest << "?" << std::endl;
    return status;
  }
}

/// The arguments, with "./" before the name of an input that begins as an option does.
std::vector<std::string> WithPlainInputs(int argc, const char* const* argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  for (std::string& argument : arguments)
    if (argument.starts_with('-') && tarvek::FormatOfName(argument).m_format != nullptr &&
        tarvek::FileExists(argument))
      argument.insert(0, "./");
  return arguments;
}

int RunCommand(int argc, const char* const* argv) {
  try {
    tarvek::SetCheckFailureHandler(&ThrowFailedCheck);
    CLI::App app("Companion programs of tarvek", "tarvek-tools");
    app.require_subcommand(1);
    app.set_version_flag("--version", "tarvek-tools " + std::string(tarvek::ProductVersion()),
                         "Print name and version");
    app.allow_windows_style_options(false);  // a path may begin with '/' on every system
    tarvek::tools::AddRunCommand(app);
    tarvek::tools::AddSettingsCommand(app);
    tarvek::tools::AddCheckCommand(app);
    tarvek::tools::AddIpvCommand(app);
    tarvek::tools::AddSimulateCommand(app);
    tarvek::tools::AddScoreCommand(app);
    tarvek::tools::AddFeaturesCommand(app);
    tarvek::tools::AddMgfCommand(app);
    tarvek::tools::AddPsmsCommand(app);
    tarvek::tools::AddBatchCommand(app);
    tarvek::tools::AddReportCommand(app);
    tarvek::tools::AddExplainCommand(app);
    tarvek::tools::AddCalibrateCommand(app);
    tarvek::tools::AddTableCommand(app);
    tarvek::tools::AddMzmlCommand(app);
    const std::vector<std::string> arguments = WithPlainInputs(argc, argv);
    std::vector<const char*> words;
    for (const std::string& argument : arguments) words.push_back(argument.c_str());
    return Parse(app, argc, words.data());
  } catch (const char* message) {  // of the parameters of tarvek
    return Fail(message);
  } catch (const tarvek::FileFault& fault) {
    return Fail(fault.NamingLine());
  } catch (const std::string& message) {  // of the file helpers
    return Fail(message);
  } catch (const std::bad_alloc&) {
    return Fail(std::string(tarvek::kNoMemory));
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
}

// What was to be read on standard output and did not get there makes a success a failure.
int WithCheckedOutput(int status) {
  std::cout.flush();
  if (std::cout) return status;
  const int failure = Fail("Cannot write standard output");
  return status == 0 ? failure : status;
}

int Run(int argc, const char* const* argv) { return WithCheckedOutput(RunCommand(argc, argv)); }

}  // namespace

int main(int argc, char** argv) { return tarvek::CallMain(argc, argv, &Run); }
