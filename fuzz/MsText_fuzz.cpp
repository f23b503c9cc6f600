// Any bytes as an .ms1 and as an .ms2 file.
#include <cmath>

#include "FuzzSupport.h"
#include "MsTextReader.h"

namespace tarvek::fuzz {
namespace {

template <class Reader, class Spectrum>
void ReadAll(const std::string& path) {
  Reader reader(path, "r");
  Spectrum scan;
  while (reader.ReadNext(scan)) {
    Require(!scan.m_peaks.empty(), "a scan has peaks");
    RequireAscending(scan.m_peaks);
    for (const Peak& peak : scan.m_peaks)
      Require(peak.m_intensity > kZeroTolerance, "every intensity counts");
  }
  Require(reader.FractionRead() <= 1.0, "no more is read than there is");
  reader.Finish();
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.ms2");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::ReadAll<Ms1TextReader, MS1Spectrum>(path); });
  fuzz::RunReader([] { fuzz::ReadAll<Ms2TextReader, MS2Spectrum>(path); });
  return 0;
}
