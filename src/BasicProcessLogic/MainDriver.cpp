#include "MainDriver.h"

#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "CommandLine.h"
#include "FileUtils.h"
#include "LineReader.h"
#include "Logger.h"
#include "NumberText.h"
#include "ParameterFile.h"
#include "ParameterText.h"
#include "Platform.h"
#include "ProductTexts.h"
#include "RunDriver.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "UserParameters.h"

namespace tarvek {
namespace {

constexpr int kFailure = -1;
constexpr std::string_view kPlatformWord = "x64";
constexpr const char* kReleaseNotes = "Tarvek_Release.txt";

std::string VersionText() {
  return "-Release-" + std::string(ProductVersion()) + "(" + std::string(kPlatformWord) + ")";
}

std::string CrashMessage() {
  return "Tarvek has encountered a problem and will exit.\n You can send your " +
         std::string(kLogFileName) + " to " + std::string(kSupportAddress) + " for help.";
}

void PrintBanner() {
  const std::string stars = "\t  " + std::string(45, '*') + "\n";
  std::cout << "\n"
            << stars << "\t /       Tarvek2.0 (" << kPlatformWord << ")" << kMaker << "\\\n"
            << "\t |       E-mail: " << kSupportAddress << "\n"
            << "\t |       Web: " << kWebSite << "\n"
            << stars << std::endl;
}

void RecordCommandLine(int argc, const char* const* argv) {
  std::string record;
  for (int i = 0; i < argc; ++i) record += Shown(argv[i]) + " ";
  appendToLog(record + "\n");
}

void PrintReleaseNotes() {
  File notes = File::Open(kReleaseNotes, "r");
  if (!notes.IsOpen()) return;
  LineReader reader(notes);
  std::string_view line;
  while (reader.ReadPiece(line)) std::cout << line;
}

void StartWithoutArguments() {
  std::cout << "Tarvek Version" << VersionText() << "\n\n\nRELEASES:\n";
  PrintReleaseNotes();
  std::cout << "\n\nATTENTION:\n"
               "\tCarefully configured parameter file is required!\n"
               "\tA standard parameter file named 'Tarvek.params' is generated.\n";
  WriteParameterTemplate();
  PrintUsage();
}

UserParameters ReadParameters(int argc, const char* const* argv) {
  if (argc == 2) {
    const std::string path(Trim(argv[1]));
    if (IsParameterFile(path)) return ReadParameterFile(path, logMessage);
  }
  return ReadCommandLine(argc, argv, logMessage);
}

void RunWithArguments(int argc, const char* const* argv) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  const UserParameters parameters = ReadParameters(argc, argv);
  setLogDirectory(parameters.m_logfilepath);  // also writes the lines kept so far
  runAllDataPaths(parameters);
  std::string report = " == == == Time elapsed: ";
  AppendInteger(report, (MonotonicMilliseconds() - start_ms) / 1000);
  logInfo(report + " seconds. == == == = ");
}

// "--help" and "--version" count only when alone and when no such file exists.
bool AnswersQuestion(int argc, const char* const* argv) {
  if (argc != 2 || FileExists(argv[1])) return false;
  const std::string_view argument = argv[1];
  if (argument == "--version")
    std::cout << "Tarvek Version" << VersionText() << std::endl;
  else if (argument == "--help")
    PrintUsage();
  else
    return false;
  return true;
}

void RunGuarded(int argc, const char* const* argv) {
  if (AnswersQuestion(argc, argv)) return;
  PrintBanner();
  RecordCommandLine(argc, argv);
  if (argc <= 1)
    StartWithoutArguments();
  else
    RunWithArguments(argc, argv);
}

int EndFailed() {
  logLines(kExit, CrashMessage());
  return kFailure;
}

int Fail(std::string_view message) {
  logMessage(kError, message);
  return EndFailed();
}

int Fail(const FileFault& fault) {
  logLines(kError, fault);
  logMessage(kError, fault.NamingLine());
  return EndFailed();
}

}  // namespace

int RunTarvek(int argc, const char* const* argv) {
  try {
    std::ios::sync_with_stdio(false);
    RunGuarded(argc, argv);
    std::cout.flush();
    return 0;
  } catch (const char* message) {
    return Fail(message);
  } catch (const FileFault& fault) {
    return Fail(fault);
  } catch (const std::string& message) {
    return Fail(message);
  } catch (const std::exception& error) {
    return Fail(error.what());
  } catch (...) {
    return EndFailed();
  }
}

}  // namespace tarvek
