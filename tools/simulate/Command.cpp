#include "simulate/Command.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "NumberText.h"
#include "ipv/AveragineTable.h"
#include "simulate/Acquisition.h"
#include "simulate/FileSink.h"
#include "simulate/MzmlSink.h"

namespace tarvek::tools {
namespace {

constexpr std::int64_t kMostScans = 100'000'000;

/// What the options hold before they are checked against each other.
struct SimulateArguments {
  SimulateOptions m_options;
  std::string m_label = "none";
  std::vector<std::string> m_activations{"HCD"};
  std::vector<std::string> m_analysers{"FTMS"};
  std::int64_t m_ms2_scans = 0;
  double m_gradient_minutes = 0.0;
  std::string m_format = "text";
  std::string m_out_base;
};

/// Accepts finite numbers from low to high; "nan" fails.
CLI::Validator Between(double low, double high, const std::string& range) {
  return {[low, high, range](const std::string& text) -> std::string {
            const ScannedNumber<double> number = ScanReal(text);
            const bool is_inside = number.m_status == NumberStatus::kOk && number.m_value >= low &&
                                   number.m_value <= high;
            return is_inside ? "" : "must be " + range + ", not " + text;
          },
          "NUMBER"};
}

/// An option with a number in a range; the help shows its default.
template <typename Number>
void AddNumber(CLI::App& command, const char* name, Number& value, const char* text,
               const CLI::Validator& range) {
  command.add_option(name, value, text)->check(range)->capture_default_str();
}

void PairMethods(SimulateArguments& arguments) {
  const auto& activations = arguments.m_activations;
  const auto& analysers = arguments.m_analysers;
  const std::size_t count = std::max(activations.size(), analysers.size());
  if ((activations.size() != 1 && activations.size() != count) ||
      (analysers.size() != 1 && analysers.size() != count))
    throw CLI::ValidationError("--analyser", "needs one value, or one for each --activation");
  arguments.m_options.m_methods.clear();
  for (std::size_t i = 0; i < count; ++i)
    arguments.m_options.m_methods.push_back(
        {activations[i % activations.size()], analysers[i % analysers.size()]});
}

std::unique_ptr<RunSink> MakeSink(const SimulateArguments& arguments) {
  const std::string& out_base = arguments.m_out_base;
  if (arguments.m_format == "msb") return MakeMsbSink(out_base);
  if (arguments.m_format == "mzml")
    return std::make_unique<MzmlSink>(out_base, arguments.m_options);
  return MakeTextSink(out_base);
}

void RunSimulate(SimulateArguments arguments) {
  PairMethods(arguments);
  SimulateOptions& options = arguments.m_options;
  if (arguments.m_label == "n15") options.m_n15_enrichment = kUsualEnrichment;
  if (arguments.m_ms2_scans > 0) options.m_ms2_scans = arguments.m_ms2_scans;
  if (arguments.m_gradient_minutes > 0.0) options.m_gradient_minutes = arguments.m_gradient_minutes;
  SimulateRun(options, *MakeSink(arguments));
}

void AddRunOptions(CLI::App& command, SimulateArguments& arguments) {
  SimulateOptions& options = arguments.m_options;
  command.add_option("--seed", options.m_seed, "The same seed writes the same bytes")
      ->capture_default_str();
  command
      .add_option("--ms2", arguments.m_ms2_scans,
                  "Stop after this many MS2 scans; the gradient follows unless it is given")
      ->check(Between(1, static_cast<double>(kMostScans), "a whole number from 1 to 100000000"));
  command
      .add_option("--gradient", arguments.m_gradient_minutes,
                  "Length of the run in minutes (60 without --ms2)")
      ->check(Between(0.01, 1e4, "from 0.01 to 10000 minutes"));
  AddNumber(command, "--top", options.m_top, "Precursors taken from a survey at most",
            Between(1, 100, "a whole number from 1 to 100"));
  command
      .add_option("--label", arguments.m_label, "Isotope label of the peptides: none or n15 (99 %)")
      ->check(CLI::IsMember({"none", "n15"}))
      ->capture_default_str();
  command
      .add_option("--format", arguments.m_format,
                  "Form of the scans: text (.ms1 and .ms2), msb (.msb and .mscsv) or mzml (.mzML)")
      ->check(CLI::IsMember(std::vector<std::string>{"text", "msb", "mzml"}))
      ->capture_default_str();
  command.add_flag("--negative", options.m_is_negative, "Negative ions");
  command.add_option("OUTBASE", arguments.m_out_base, "Path of the files without their endings")
      ->required();
}

void AddInstrumentOptions(CLI::App& command, SimulateArguments& arguments) {
  SimulateOptions& options = arguments.m_options;
  AddNumber(command, "--isolation-width", options.m_isolation_width_mz,
            "Width of the isolation window in m/z", Between(0.1, 100, "from 0.1 to 100"));
  AddNumber(command, "--ion-trap-surveys", options.m_ion_trap_share,
            "Share of the surveys that are taken by the ion trap",
            Between(0, 0.9, "from 0 to 0.9"));
  command
      .add_option("--activation", arguments.m_activations,
                  "Ways to fragment each precursor, in turn: CID, HCD, ETD, ETCID, ETHCD")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(
          CLI::IsMember(std::vector<std::string>(kActivationTypes.begin(), kActivationTypes.end())))
      ->capture_default_str();
  command
      .add_option("--analyser", arguments.m_analysers,
                  "Analyser of the fragments, FTMS or ITMS; one, or one for each activation")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(std::vector<std::string>{"FTMS", "ITMS"}))
      ->capture_default_str();
  AddNumber(command, "--resolution", options.m_resolution,
            "Resolving power of the surveys at m/z 400",
            Between(1000, 1e7, "from 1000 to 10000000"));
  AddNumber(command, "--noise", options.m_noise, "Noise peaks, as a multiple of the usual number",
            Between(0, 100, "from 0 to 100"));
  AddNumber(command, "--realism", options.m_realism,
            "How uneven elution, spray, background and errors are: 1 as in real runs, 0 not",
            Between(0, 3, "from 0 to 3"));
}

}  // namespace

void AddSimulateCommand(CLI::App& app) {
  const auto arguments = std::make_shared<SimulateArguments>();
  CLI::App* simulate =
      app.add_subcommand("simulate", "Write a simulated run with its true precursors");
  AddRunOptions(*simulate, *arguments);
  AddInstrumentOptions(*simulate, *arguments);
  simulate->callback([arguments] { RunSimulate(*arguments); });
}

}  // namespace tarvek::tools
