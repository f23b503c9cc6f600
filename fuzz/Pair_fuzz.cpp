// Any bytes as an .ms1 file, a NUL byte, and its .ms2 file, through everything from readers to
// writers. A finished table exists after success and never after an error.
#include "FileUtils.h"
#include "FuzzSupport.h"
#include "IsotopeTable.h"
#include "Ms2Loop.h"
#include "OutputSet.h"

namespace tarvek::fuzz {
namespace {

UserParameters Prepare() {
  const std::string table = ScratchPath("IPV.txt");
  std::string rows;
  for (int i = 0; i < 2000; ++i) rows += "100 60 20 5 1\n";
  WriteInput(table, rows);
  LoadIsotopeTable(table);
  UserParameters parameters = CompleteParameters({{"datapath", ScratchDirectory()},
                                                  {"logfilepath", ScratchDirectory()},
                                                  {"outputpath", ScratchDirectory()},
                                                  {"rewrite_files", "1"}});
  SetCurrentFile(parameters, ScratchPath("run.ms1"));
  return parameters;
}

void Process(const UserParameters& parameters) {
  bool is_done = false;
  RunReader([&] {
    OutputClaim claim(parameters);
    processTextSpectra(parameters, claim);
    is_done = true;
  });
  Require(FileExists(ScratchPath("run.csv")) == is_done, "the table says the truth");
  RemoveFile(ScratchPath("run.csv"));
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const UserParameters parameters = fuzz::Prepare();
  const std::string_view input = fuzz::InputText(data, size);
  const std::size_t nul = std::min(input.find('\0'), input.size());
  fuzz::WriteInput(fuzz::ScratchPath("run.ms1"), input.substr(0, nul));
  fuzz::WriteInput(fuzz::ScratchPath("run.ms2"), input.substr(std::min(nul + 1, input.size())));
  fuzz::Process(parameters);
  return 0;
}
