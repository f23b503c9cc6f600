// tools/batch/Plan.h: what a batch has to run: one task for each input file.
// Does:     reads the arguments of tarvek, options or a parameter file; lists the input files as
//           tarvek does; gives each its own log directory; says what is finished, and whether with
//           other settings; refuses inputs whose outputs or logs would meet.
// Throws:   a character string or a std::string, each the whole message: those of tarvek for its
//           arguments, and those that name a data path or two inputs.
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

/// Unless told otherwise a batch makes this folder beside the outputs, with a folder for each base
/// name in it that holds the log of the run.
inline constexpr std::string_view kBatchLogFolder = "batch_logs";

struct BatchTask {
  std::string m_input;  // as people see it
  std::string m_log_directory;
  std::string m_table;   // whose presence says that the input is finished; empty when nothing does
  std::string m_record;  // of the run, beside the table
  bool m_is_finished = false;
  bool m_has_record = false;     // before the batch
  std::string m_other_settings;  // of a finished input: "isolation_width 2.000000, now 3.000000"
  RunRecord m_wanted;     // settings that the record must have afterwards; none where any will do
  std::string m_refusal;  // why it fails without being started; empty for most
  std::int64_t m_size_bytes = 0;           // of the input, as a measure of the work
  std::vector<std::string> m_arguments;    // of tarvek, without the program
  std::string m_parameter_file;            // to be written to ParameterFileOf, empty for options
  std::string m_working_directory;         // of the processes; empty: that of this one
  std::vector<std::string> m_check;        // arguments of tarvek-tools, before tarvek; may be empty
  std::vector<std::string> m_calibration;  // the same after tarvek
  std::vector<AutoChoice> m_choices;       // settings that were chosen for this input
  /// Try only the charges whose candidates are in the isotope table, where the check sees others.
  bool m_narrows_charges = false;
};

/// What is asked for in the words of both commands.
struct PlanExtras {
  ParameterTable m_preset;  // settings that count where the user names none
  bool m_is_auto = false;   // choose what neither names by a look at each input
  std::function<void(const std::string&)>
      m_note;  // takes what people may want to know; may be empty
};

/// "-W" for isolation_width, which has one as all settings of OptionLetters.
std::string OptionOf(const std::string& key);

/// Where the parameter file of a task is.
std::string ParameterFileOf(const BatchTask& task);

/// words: either one parameter file, or options of tarvek, of which -D takes any number of paths
/// and may be repeated; words before the first option are paths too.
/// The tasks in the order of the paths, those of a directory in the order of their names.
std::vector<BatchTask> PlanBatch(std::span<const std::string> words, const PlanExtras& extras = {});

/// The folder of the logs of all tasks for an input: that of the settings, else one beside the
/// outputs.
std::string LogFolderFor(const std::string& input, const UserParameters& settings);

/// The task of one input, but for what is to be started. settings: of tarvek, its directories as
/// they were given.
BatchTask TaskFor(const std::string& input, const UserParameters& settings, FinishedRuns& finished);

/// Throws when two tasks would write one table, one record or one log.
void RefuseMeetings(const std::vector<BatchTask>& tasks);

}  // namespace tarvek::tools
