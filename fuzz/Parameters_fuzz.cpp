// Any bytes as a parameter file. Its directories are replaced, so that an input cannot reach files
// outside the scratch directory.
#include "FileUtils.h"
#include "FuzzSupport.h"
#include "LineReader.h"
#include "ParameterFile.h"
#include "UserParameters.h"

namespace tarvek::fuzz {
namespace {

ParameterTable ReadTable(const std::string& path) {
  File file = OpenFile(path, "r", "");
  LineReader reader(file);
  ParameterTable table;
  std::string_view line;
  while (reader.ReadPiece(line)) AddParameterLine(line, table);
  return table;
}

void KeepInsideScratch(ParameterTable& table) {
  for (auto& [key, value] : table)
    if (key.starts_with("datapath") || key == "logfilepath" || key == "outputpath")
      value = ScratchDirectory();
  table.try_emplace("logfilepath", ScratchDirectory());
}

void Complete(const std::string& path) {
  ParameterTable table = ReadTable(path);
  KeepInsideScratch(table);
  const UserParameters record = CompleteParameters(table);
  Require(record.m_mz_digits >= 0 && record.m_mz_digits <= 9, "m/z digits are checked");
  Require(record.m_intensity_digits >= 0 && record.m_intensity_digits <= 9,
          "intensity digits are checked");
  Require(record.m_peak_format.size() == 10, "the peak format has its form");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.cfg");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::Complete(path); });
  return 0;
}
