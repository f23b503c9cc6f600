// log/Logger.h: the one logger of the process.
// Does:     shows each message on the console and appends it to the log file; keeps messages in
//           memory until the file is open.
// Owns:     the open log file and the text not yet written to it.
// Throws:   SetLogDirectory and Dump the message of OpenFile when the log cannot be opened. A write
//           that fails, to the console or to the file, is ignored: logging never ends a run.
// Not here: the wording of messages.
#pragma once

#include <string>
#include <string_view>

#include "Notice.h"
#include "Platform.h"

namespace tarvek {

inline constexpr std::string_view kLogFileName = "TarvekPlusLog.txt";

// More levels, in addition to those of a notice.
inline constexpr std::string_view kError = "ERROR";
inline constexpr std::string_view kExit = "EXIT";
/// Lines of a child process: shown and stored unchanged, including their line end.
inline constexpr std::string_view kSubprocess = "SUBPROCESS";

/// The start of a line of this level, "[Tarvek] <ERROR> - ", for writing and recognising it. Lines
/// of a child process have no such start.
std::string LinePrefix(std::string_view level);

class Logger {
 public:
  /// Starts the buffer with the time stamp line, e.g. "Sat Nov 14 23:38:05 2026\n".
  Logger();

  /// Writes "[Tarvek] <LEVEL> - text\n" (a SUBPROCESS text as it is) to standard error for WARN and
  /// ERROR, to standard output otherwise, and to the log. The text is Shown (ShownText.h), in one line.
  void Message(std::string_view level, std::string_view text);

  /// The same for a text of several lines, in which names are Shown already.
  void Lines(std::string_view level, std::string_view text);

  /// Shows one line on standard error that the next one, or a message, replaces; it is not logged.
  /// For terminals only. An empty text clears the line.
  void ShowStatus(std::string_view text);

  /// Adds text to the log only, unchanged.
  void Append(std::string_view text);

  /// Opens (appending) the log file in directory, logs its path, and writes the kept text.
  void SetLogDirectory(const std::string& directory);

  /// Writes the kept text to the log file; opens it at its present path when needed.
  void Dump();

 private:
  void Write(std::string_view level, const std::string& line);

  File m_file;
  std::string m_buffer;
  std::string m_path{kLogFileName};
  std::size_t m_status_length = 0;  // of the visible status line
};

/// The process-wide logger, created on first use.
Logger& GlobalLogger();

void logMessage(std::string_view level, std::string_view text);
void logInfo(std::string_view text);
void logLines(std::string_view level, std::string_view text);
void appendToLog(std::string_view text);
void setLogDirectory(const std::string& directory);
void dumpLog();

}  // namespace tarvek
