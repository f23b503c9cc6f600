#include "CommandLine.h"

#include <algorithm>
#include <iostream>
#include <string>

#include "ParameterText.h"

namespace tarvek {
namespace {

constexpr std::string_view kAdvice = "! Please check the options or the *.cfg files.";

// Texts and blanks: frozen, see docs/frozen-names.md.
constexpr std::string_view kUsageHead =
    "\n"
    "USAGE:\n"
    "Usage via config files:\n"
    "\tTarvek.exe Tarvek.params\n"
    "Usage via command options:\n"
    "\tTarvek.exe -D D:\\Dataset\\1.raw\n"
    "\tOr\n"
    "\tTarvek.exe -D D:\\Dataset\n"
    "\tOr\n"
    "\tTarvek.exe -D \"D:\\A Dataset\"\n"
    "\tOr (in linux)\n"
    "\tTarvek.exe -D \"/A Dataset/1.raw\"\n"
    "Note: \n"
    "\tIf spaces appear in file path, the file path must be enclosed in double quotation marks. \n"
    "\n"
    "OPTIONS:\n";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

[[noreturn]] void Refuse(std::string_view reason, std::string_view option) {
  throw std::string(reason) + std::string(option) + std::string(kAdvice);
}

std::string_view KeyOfOption(std::string_view option) {
  if (option.size() != 2 || option[0] != '-' || !IsLetter(option[1]))
    Refuse("Incorrect parameters", option);
  const auto row = std::ranges::find(OptionLetters, option[1], &OptionLetter::m_letter);
  if (row == OptionLetters.end()) Refuse("Unknown parameter option!", option);
  return row->m_key;
}

}  // namespace

ParameterTable ParseCommandLine(int argc, const char* const* argv) {
  if (argc == 2) return {{"datapath", argv[1]}};
  if (argc % 2 == 0)
    throw "Incorrect parameters number! Please check the options or the *.cfg files.";
  ParameterTable table;
  for (int i = 1; i < argc; i += 2) table[std::string(KeyOfOption(argv[i]))] = argv[i + 1];
  return table;
}

UserParameters ReadCommandLine(int argc, const char* const* argv, NoticeTaker notice) {
  return CompleteParameters(ParseCommandLine(argc, argv), notice);
}

void PrintUsage() {
  ParameterTable defaults = ToParameterTable(UserParameters());
  std::string text(kUsageHead);
  for (const auto& [letter, key] : OptionLetters) {
    text.append("\t-").append(1, letter).append("\t").append(key);
    text += "\t\tdefault: " + defaults[std::string(key)] + "\n";
    text.append(ParameterComment(key)).append("\n");
  }
  std::cout << text;
}

}  // namespace tarvek
