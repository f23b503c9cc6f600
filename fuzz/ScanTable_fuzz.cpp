// Any bytes as an .mscsv scan table.
#include "FuzzSupport.h"
#include "ScanTable.h"

namespace tarvek::fuzz {
namespace {

void Load(const std::string& path) {
  const ScanTable table = LoadScanTable(path);
  Require(table.Size() <= 100'000'001, "scan numbers stay below 100 million");
  if (table.Size() == 0) return;
  const auto last = static_cast<std::int32_t>(table.Size() - 1);
  const ScanTableEntry* const entry = table.Find(last);
  Require(entry != nullptr && entry->m_scan_no == last, "the last entry is its row");
  Require(table.Find(last + 1) == nullptr, "nothing follows the last entry");
  Require(table.Find(-1) == nullptr, "nothing precedes the first entry");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.mscsv");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::Load(path); });
  return 0;
}
