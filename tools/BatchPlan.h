// tools/BatchPlan.h: what a batch has to run: one task for each input file.
// Does:     reads the arguments of tarvek, options or a parameter file; lists the input files as
//           tarvek does; gives each its own log directory; refuses inputs whose outputs or logs
//           would meet.
// Throws:   a character string or a std::string, each the whole message: those of tarvek for its
//           arguments, and those that name a data path or two inputs.
// Not here: running the tasks (BatchRunner.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek::tools {

/// Unless told otherwise a batch makes this folder beside the outputs, with a folder for each base
/// name in it that holds the log of the run.
inline constexpr std::string_view kBatchLogFolder = "batch_logs";

struct BatchTask {
  std::string m_input;
  std::string m_log_directory;
  std::string m_table;  // whose presence says that the input is finished; empty when nothing does
  bool m_is_finished = false;
  std::int64_t m_size_bytes = 0;         // of the input, as a measure of the work
  std::vector<std::string> m_arguments;  // of tarvek, without the program
  std::string m_parameter_file;          // to be written to ParameterFileOf, empty for options
};

/// Where the parameter file of a task is.
std::string ParameterFileOf(const BatchTask& task);

/// words: either one parameter file, or options of tarvek, of which -D takes any number of paths
/// and may be repeated; words before the first option are paths too.
/// The tasks in the order of the paths, those of a directory in the order of their names.
std::vector<BatchTask> PlanBatch(std::span<const std::string> words);

}  // namespace tarvek::tools
