// The companion program tarvek-tools: picks the subcommand and turns its errors into an exit
// status.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "Check.h"
#include "Platform.h"
#include "batch/Command.h"
#include "batch/RunCommand.h"
#include "calibrate/Command.h"
#include "check/Command.h"
#include "explain/Command.h"
#include "features/Command.h"
#include "ipv/Command.h"
#include "mgf/Command.h"
#include "report/Command.h"
#include "score/Command.h"
#include "simulate/Command.h"

namespace {

constexpr int kFailure = 1;

int Fail(const std::string& message) {
  std::cerr << "tarvek-tools: " << message << '\n';
  return kFailure;
}

// Bad input can cause it in the readers of tarvek, and check makes a finding of that.
[[noreturn]] void ThrowFailedCheck(const char* expression, const char* module) {
  throw "internal check failed: " + std::string(expression) + ", module " + module;
}

int Run(int argc, const char* const* argv) {
  try {
    tarvek::SetCheckFailureHandler(&ThrowFailedCheck);
    tarvek::ConnectStandardStreams();
    CLI::App app("Companion programs of tarvek", "tarvek-tools");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with '/' on every system
    tarvek::tools::AddRunCommand(app);
    tarvek::tools::AddCheckCommand(app);
    tarvek::tools::AddIpvCommand(app);
    tarvek::tools::AddSimulateCommand(app);
    tarvek::tools::AddScoreCommand(app);
    tarvek::tools::AddFeaturesCommand(app);
    tarvek::tools::AddMgfCommand(app);
    tarvek::tools::AddBatchCommand(app);
    tarvek::tools::AddReportCommand(app);
    tarvek::tools::AddExplainCommand(app);
    tarvek::tools::AddCalibrateCommand(app);
    CLI11_PARSE(app, argc, argv);
    return 0;
  } catch (const char* message) {  // of the parameters of tarvek
    return Fail(message);
  } catch (const std::string& message) {  // of the file helpers
    return Fail(message);
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) { return tarvek::CallMain(argc, argv, &Run); }
