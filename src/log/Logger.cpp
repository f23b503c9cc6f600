#include "Logger.h"

#include <iostream>

#include "FileUtils.h"
#include "ShownText.h"

namespace tarvek {
namespace {

constexpr std::string_view kPurpose = "Log Dump";

}  // namespace

Logger::Logger() : m_buffer(AsctimeText(CurrentLocalTime())) {}

void Logger::Message(std::string_view level, std::string_view text) {
  Write(level, level == kSubprocess ? std::string(text) : LinePrefix(level) + Shown(text) + "\n");
}

void Logger::Lines(std::string_view level, std::string_view text) {
  Write(level, LinePrefix(level) + ShownLines(text) + "\n");
}

void Logger::Write(std::string_view level, const std::string& line) {
  ShowStatus({});
  std::ostream& console = level == kWarn || level == kError ? std::cerr : std::cout;
  console << line << std::flush;
  console.clear();  // a console that failed may work again; its failure never ends a run
  Append(line);
}

// Uses blanks and carriage returns, because not every terminal knows escape sequences.
void Logger::ShowStatus(std::string_view text) {
  if (text.empty() && m_status_length == 0) return;
  const std::string blanks(m_status_length > text.size() ? m_status_length - text.size() : 0, ' ');
  std::cerr << '\r' << text << blanks << (text.empty() ? "\r" : "") << std::flush;
  std::cerr.clear();
  m_status_length = text.size();
}

void Logger::Append(std::string_view text) {
  m_buffer += text;
  if (m_file.IsOpen()) Dump();
}

void Logger::SetLogDirectory(const std::string& directory) {
  m_path = JoinPath({directory, kLogFileName});
  m_file = OpenFile(m_path, "a+", std::string(kPurpose));
  Message(kInfo, "Tarvek writes logs in " + m_path);
}

void Logger::Dump() {
  if (!m_file.IsOpen()) m_file = OpenFile(m_path, "a+", std::string(kPurpose));
  static_cast<void>(m_file.Write(m_buffer));
  m_buffer.clear();
}

std::string LinePrefix(std::string_view level) {
  return "[Tarvek] <" + std::string(level) + "> - ";
}

Logger& GlobalLogger() {
  static Logger logger;
  return logger;
}

void logMessage(std::string_view level, std::string_view text) {
  GlobalLogger().Message(level, text);
}
void logLines(std::string_view level, std::string_view text) { GlobalLogger().Lines(level, text); }
void logInfo(std::string_view text) { logMessage(kInfo, text); }
void appendToLog(std::string_view text) { GlobalLogger().Append(text); }
void setLogDirectory(const std::string& directory) { GlobalLogger().SetLogDirectory(directory); }
void dumpLog() { GlobalLogger().Dump(); }

}  // namespace tarvek
