#include "batch/SettingsCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "ShownText.h"
#include "batch/AutoSettings.h"
#include "batch/Plan.h"
#include "batch/Presets.h"
#include "batch/RunCommand.h"
#include "batch/RunInputs.h"

namespace tarvek::tools {
namespace {

struct SettingsArguments {
  ParameterTable m_named;
  std::string m_preset;
  bool m_is_auto = false;
  bool m_prints_options = false;
  std::vector<std::string> m_words;
};

/// The settings in force for one input, width and charges first. Leaves out the isotope table,
/// which a run writes.
std::vector<AutoChoice> SettingsFor(const std::string& input, const SettingsArguments& arguments,
                                    const ParameterTable& preset) {
  std::vector<AutoChoice> settings;
  ParameterTable table = arguments.m_named;
  for (const auto& [key, value] : table) settings.push_back({key, value, "it is named"});
  for (const auto& [key, value] : preset)
    if (key != kIsotopeTableKey && table.try_emplace(key, value).second)
      settings.push_back({key, value, "the preset " + arguments.m_preset + " says so"});
  if (arguments.m_is_auto)
    for (AutoChoice& choice : AddFittingSettings(input, table))
      settings.push_back(std::move(choice));
  std::ranges::stable_sort(settings, {}, [](const AutoChoice& setting) {
    return setting.m_key == "isolation_width" ? 0 : setting.m_key == "charge_range" ? 1 : 2;
  });
  return settings;
}

std::string OptionsText(const std::vector<AutoChoice>& settings) {
  std::string text;
  for (const AutoChoice& setting : settings)
    text += (text.empty() ? "" : " ") + OptionOf(setting.m_key) + " " + setting.m_value;
  return text;
}

void RunSettings(const SettingsArguments& arguments) {
  const ParameterTable preset =
      arguments.m_preset.empty() ? ParameterTable() : ReadPreset(arguments.m_preset);
  for (const std::string& input : FindRunInputs(arguments.m_words, "").m_files) {
    const std::vector<AutoChoice> settings = SettingsFor(input, arguments, preset);
    if (arguments.m_prints_options) {
      std::cout << OptionsText(settings) << '\n';
      continue;
    }
    for (const AutoChoice& setting : settings)
      std::cout << Shown(input) << ": " << ChoiceText(setting) << '\n';
  }
  std::cout << std::flush;
}

}  // namespace

void AddSettingsCommand(CLI::App& app) {
  const auto arguments = std::make_shared<SettingsArguments>();
  CLI::App* settings = app.add_subcommand("settings", "Print the settings that fit input files");
  settings
      ->add_option("INPUT", arguments->m_words, "Files, folders, or patterns, as run takes them")
      ->required();
  settings->add_flag("--auto", arguments->m_is_auto, "Look at each input, as run --auto does");
  settings->add_option("--preset", arguments->m_preset, "Settings for a kind of run");
  settings
      ->add_option_function<std::string>(
          "--width",
          [arguments](const std::string& text) { arguments->m_named["isolation_width"] = text; },
          "Width that is named and wins")
      ->check(CLI::PositiveNumber);
  settings->add_option_function<std::string>(
      "--charges",
      [arguments](const std::string& text) {
        arguments->m_named["charge_range"] = ChargeRangeOf(text);
      },
      "Charges that are named and win");
  settings->add_flag("--options", arguments->m_prints_options,
                     "Print a line of tarvek's options for each input, -W and -c first");
  settings->callback([arguments] { RunSettings(*arguments); });
}

}  // namespace tarvek::tools
