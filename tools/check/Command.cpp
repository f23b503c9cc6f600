#include "check/Command.h"

#include <iostream>
#include <memory>

#include "NumberText.h"
#include "UserParameters.h"
#include "check/Check.h"

namespace tarvek::tools {
namespace {

struct CheckArguments {
  std::vector<std::string> m_paths;
  CheckOptions m_options;
  std::string m_charge_range = std::to_string(m_options.m_settings.m_charge_min) + "t" +
                               std::to_string(m_options.m_settings.m_charge_max);
  bool m_json = false;
};

// Same parsing as tarvek's own option.
void SetChargeRange(CheckOptions& options, const std::string& range) {
  UserParameters parameters;
  try {
    ApplyParameterTable(parameters, {{"charge_range", range}, {"datanum", "0"}});
  } catch (const char* message) {
    throw CLI::ValidationError("--charge-range", message);
  } catch (const std::string& message) {
    throw CLI::ValidationError("--charge-range", message);
  }
  options.m_settings.m_charge_min = parameters.m_charge_min;
  options.m_settings.m_charge_max = parameters.m_charge_max;
}

// Outputs are compared only with settings that were given.
void NotePlanned(const CLI::App& check, CheckArguments& arguments) {
  ParameterTable& planned = arguments.m_options.m_planned;
  const auto is_given = [&](const char* option) { return check.count(option) > 0; };
  if (is_given("-W"))
    AppendFixed(planned["isolation_width"], arguments.m_options.m_settings.m_isolation_width, 6);
  if (is_given("-c"))
    planned["charge_range"] = std::to_string(arguments.m_options.m_settings.m_charge_min) + "t" +
                              std::to_string(arguments.m_options.m_settings.m_charge_max);
  arguments.m_options.m_is_table_planned = is_given("-I");
  arguments.m_options.m_ipv_file_is_given = is_given("-I");
}

void RunCheck(const CLI::App& check, CheckArguments arguments) {
  SetChargeRange(arguments.m_options, arguments.m_charge_range);
  NotePlanned(check, arguments);
  const CheckReport report = CheckPaths(arguments.m_paths, arguments.m_options);
  std::cout << (arguments.m_json ? CheckJson(report) : CheckText(report)) << std::flush;
  if (report.Count(Severity::kDefect) > 0) throw CLI::RuntimeError(1);
}

}  // namespace

void AddCheckCommand(CLI::App& app) {
  const auto arguments = std::make_shared<CheckArguments>();
  CheckOptions& options = arguments->m_options;
  CLI::App* check = app.add_subcommand(
      "check", "Look at inputs before a run, or at outputs after it; status 1 with a defect");
  check
      ->add_option("PATH", arguments->m_paths,
                   "Files, directories, base names of runs, or parameter files")
      ->required();
  check
      ->add_option("-W,--isolation-width", options.m_settings.m_isolation_width,
                   "isolation_width of the run, to compare with what the inputs declare")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  check
      ->add_option("-c,--charge-range", arguments->m_charge_range,
                   "charge_range of the run, as 2t6 or -3t-1")
      ->capture_default_str();
  check
      ->add_option("-I,--ipv-file", options.m_ipv_file,
                   "Isotope table of the run; by default the one that a run would take")
      ->capture_default_str();
  check->add_flag("--json", arguments->m_json, "Print JSON");
  check->callback([arguments, check] { RunCheck(*check, *arguments); });
}

}  // namespace tarvek::tools
