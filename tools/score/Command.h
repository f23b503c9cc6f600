// tools/score/Command.h: "tarvek-tools score", which compares a precursor table with a truth table.
// Throws:   while parsing, a CLI::ParseError; when reading, a std::string naming file and line.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "score/Score.h"

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddScoreCommand(CLI::App& app);

/// The check of options that are a number above 0. Also refuses "nan" and infinity, which
/// CLI::PositiveNumber accepts.
CLI::Validator PositiveReal();

/// Adds the option --tol, a number above 0 in ppm, to command.
void AddTolerance(CLI::App& command, double& tol_ppm, const std::string& description);

/// The report for people, and as one JSON object.
std::string ScoreText(const ScoreReport& report);
std::string ScoreJson(const ScoreReport& report);

}  // namespace tarvek::tools
