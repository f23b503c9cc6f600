// Any bytes as a scan table, a NUL byte, and the .msb file that it accompanies.
#include <cmath>

#include "FuzzSupport.h"
#include "MsbReader.h"

namespace tarvek::fuzz {
namespace {

void RequirePeaks(const std::vector<Peak>& peaks) {
  Require(peaks.size() <= static_cast<std::size_t>(kMaxMsbPeaks), "peaks are within the limit");
  RequireAscending(peaks);
}

void ReadAll(const std::string& base_path) {
  MsbReader reader(base_path);
  MS1Spectrum ms1;
  MS2Spectrum ms2;
  std::int32_t count = 0;
  while (reader.TakeMs2(ms2)) {
    ++count;
    RequirePeaks(ms2.m_peaks);
    Require(ms2.m_precursors.size() == 1, "an MS2 scan has one precursor");
  }
  while (reader.TakeMs1(ms1)) {
    ++count;
    RequirePeaks(ms1.m_peaks);
  }
  Require(reader.RecordCount() == count + 1, "the count is one more than the records");
  Require(reader.FractionRead() <= 1.0, "no more is read than there is");
  reader.Finish();
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string base_path = fuzz::ScratchPath("run");
  const std::string_view input = fuzz::InputText(data, size);
  const std::size_t nul = std::min(input.find('\0'), input.size());
  fuzz::WriteInput(base_path + ".mscsv", input.substr(0, nul));
  fuzz::WriteInput(base_path + ".msb", input.substr(std::min(nul + 1, input.size())));
  fuzz::RunReader([] { fuzz::ReadAll(base_path); });
  return 0;
}
