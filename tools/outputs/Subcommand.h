// tools/outputs/Subcommand.h: a subcommand that takes one or more runs, files or folders.
// Throws:   what CLI11 throws for a name that is taken.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace tarvek::tools {

/// Adds a subcommand to app with one required positional argument, which goes into target: a string
/// or a vector of strings.
template <class Target>
CLI::App* AddSubcommand(CLI::App& app, const std::string& name, const std::string& description,
                        const std::string& argument, Target& target,
                        const std::string& argument_description) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option(argument, target, argument_description)->required();
  return command;
}

}  // namespace tarvek::tools
