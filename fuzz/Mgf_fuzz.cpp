// Any bytes as an .mgf file.
#include "FuzzSupport.h"
#include "MgfReader.h"

namespace tarvek::fuzz {
namespace {

void ReadAll(const std::string& path) {
  MgfReader reader(path, "r");
  MS2Spectrum scan;
  std::int32_t count = 0;
  while (reader.ReadNext(scan)) {
    Require(!scan.m_peaks.empty(), "a scan has peaks");
    RequireAscending(scan.m_peaks);
    for (const Precursor& precursor : scan.m_precursors)
      Require(IsUsable(precursor), "every precursor says something");
    Require(scan.m_precursors.size() == scan.m_orig_precursors.size(), "both lists are the same");
    Require(reader.RecordCount() == ++count, "every scan is counted");
  }
  reader.Finish();
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.mgf");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::ReadAll(path); });
  return 0;
}
