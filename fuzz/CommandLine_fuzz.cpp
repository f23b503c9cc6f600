// Any bytes, cut at each NUL, as the arguments of the program. Directories are replaced, so that an
// input cannot reach files outside the scratch directory.
#include "CommandLine.h"

#include "FuzzSupport.h"

namespace tarvek::fuzz {
namespace {

std::vector<std::string> Arguments(std::string_view input) {
  std::vector<std::string> arguments = {"tarvek"};
  while (!input.empty()) {
    const std::size_t size = std::min(input.find('\0'), input.size());
    arguments.emplace_back(input.substr(0, size));
    input.remove_prefix(std::min(size + 1, input.size()));
  }
  return arguments;
}

void KeepInsideScratch(ParameterTable& table) {
  for (const char* const key : {"datapath", "logfilepath", "outputpath"})
    table[key] = ScratchDirectory();
}

void Complete(const std::vector<std::string>& arguments) {
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  const int count = static_cast<int>(pointers.size());
  pointers.push_back(nullptr);
  ParameterTable table = ParseCommandLine(count, pointers.data());
  Require(count % 2 == 1 || count == 2, "options come in pairs");
  Require(table.size() <= OptionLetters.size(), "every key has an option");
  KeepInsideScratch(table);
  const UserParameters record = CompleteParameters(table);
  Require(record.m_mz_digits >= 0 && record.m_mz_digits <= 9, "m/z digits are checked");
  Require(record.m_peak_format.size() == 10, "the peak format has its form");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  fuzz::ScratchDirectory();
  const std::vector<std::string> arguments = fuzz::Arguments(fuzz::InputText(data, size));
  fuzz::RunReader([&] { fuzz::Complete(arguments); });
  return 0;
}
