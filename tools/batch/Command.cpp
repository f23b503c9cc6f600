#include "batch/Command.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "ShownText.h"
#include "batch/Console.h"
#include "batch/Plan.h"

namespace tarvek::tools {
namespace {

struct BatchArguments {
  BatchOptions m_options;
  bool m_keep_going = false;
  std::vector<std::string> m_words;
};

void RunBatchCommand(const BatchArguments& arguments) {
  BatchSettings settings = PrepareBatch(arguments.m_options);
  settings.m_keep_going = arguments.m_keep_going;
  PlanExtras extras{arguments.m_options.m_preset, arguments.m_options.m_is_auto, {}};
  if (!arguments.m_options.m_is_quiet)
    extras.m_note = [](const std::string& text) {
      std::cout << "note: " << Shown(text) << std::endl;
    };
  BatchStyle style;
  style.m_is_quiet = arguments.m_options.m_is_quiet;
  if (!settings.m_keep_going) style.m_how_to_go_on = "with --keep-going the others would be";
  const int status = PerformBatch(PlanBatch(arguments.m_words, extras), settings, style);
  if (status != 0) throw CLI::RuntimeError(status);
}

}  // namespace

void AddBatchCommand(CLI::App& app) {
  const auto arguments = std::make_shared<BatchArguments>();
  CLI::App* batch = app.add_subcommand("batch", "Run one tarvek for each input file");
  AddBatchOptions(*batch, arguments->m_options);
  batch->add_flag("--keep-going", arguments->m_keep_going, "Start further files after a failure");
  batch
      ->add_option(
          "ARGS", arguments->m_words,
          "Behind --: a parameter file, or options of tarvek; -D takes any number of paths")
      ->required();
  batch->callback([arguments] { RunBatchCommand(*arguments); });
}

}  // namespace tarvek::tools
