// tools/batch/Plan.h: the tasks of a batch, one for each input file.
// Does:     reads the arguments of tarvek, options or a parameter file; lists the input files as
//           tarvek does; gives each its own log directory; finds what is finished, and whether with
//           other settings; refuses inputs that would share an output or a log.
// Throws:   a character string or a std::string, each the whole message: tarvek's own for its
//           arguments, or one that names a data path or two inputs.
// Not here: running the tasks (batch/Runner.h); the inputs and options of "run" (batch/RunPlan.h).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "UserParameters.h"
#include "batch/AutoSettings.h"
#include "batch/FinishedRuns.h"

namespace tarvek::tools {

/// By default a batch makes this folder next to the outputs; in it the log of each run has a folder
/// named after the base name.
inline constexpr std::string_view kBatchLogFolder = "batch_logs";

struct BatchTask {
  std::string m_input;  // as shown to people
  std::string m_log_directory;
  std::string m_table;   // exists once the input is finished; empty when no file shows that
  std::string m_record;  // of the run, next to the table
  bool m_is_finished = false;
  bool m_has_record = false;      // before the batch
  std::string m_other_settings;   // of a finished input: "isolation_width 2.000000, now 3.000000"
  RunRecord m_wanted;             // settings that the record must have afterwards; empty: any
  std::string m_refusal;          // why it fails without being started; usually empty
  std::int64_t m_size_bytes = 0;  // of the input, as a measure of the work
  std::vector<std::string> m_arguments;    // of tarvek, without the program
  std::string m_parameter_file;            // to be written to ParameterFileOf, empty for options
  std::string m_working_directory;         // of the processes; empty: that of this one
  std::vector<std::string> m_check;        // arguments of tarvek-tools, before tarvek; may be empty
  std::vector<std::string> m_calibration;  // the same after tarvek
  std::vector<AutoChoice> m_choices;       // settings that were chosen for this input
  /// Try only the charges whose candidates are in the isotope table, where the check sees others.
  bool m_narrows_charges = false;
};

/// What both commands can ask for.
struct PlanExtras {
  ParameterTable m_preset;                         // used where the user sets nothing
  bool m_is_auto = false;                          // choose the rest from each input
  std::function<void(const std::string&)> m_note;  // receives notes for the user; may be empty
};

/// "-W" for isolation_width. key must be in OptionLetters.
std::string OptionOf(const std::string& key);

/// The path of a task's parameter file.
std::string ParameterFileOf(const BatchTask& task);

/// words: one parameter file, or options of tarvek. -D takes any number of paths and may be
/// repeated; words before the first option are paths too. The tasks in the order of the paths,
/// those of a directory in the order of their names.
std::vector<BatchTask> PlanBatch(std::span<const std::string> words, const PlanExtras& extras = {});

/// The folder for the logs of all tasks of an input: from the settings, else next to the outputs.
std::string LogFolderFor(const std::string& input, const UserParameters& settings);

/// The task of one input without the command to start. settings: of tarvek, directories as given.
BatchTask TaskFor(const std::string& input, const UserParameters& settings, FinishedRuns& finished);

/// Throws when two tasks would write one table, one record or one log.
void RefuseMeetings(const std::vector<BatchTask>& tasks);

}  // namespace tarvek::tools
