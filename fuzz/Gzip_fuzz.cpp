// Any bytes as a gzip file.
#include "ByteSource.h"
#include "FuzzSupport.h"

namespace tarvek::fuzz {
namespace {

// A few bytes can inflate to a thousand times as many; more than this teaches nothing new.
constexpr std::size_t kMostBytes = std::size_t{1} << 22;

void ReadAll(const std::string& path) {
  extractor::ByteSource source(path);
  std::array<char, 4096> block{};
  std::size_t total = 0;
  while (total < kMostBytes) {
    const std::size_t count = source.Read(block.data(), block.size());
    Require(count <= block.size(), "no more comes than was asked for");
    Require(source.StoredBytesRead() <= source.StoredBytes(), "no more is read than there is");
    if (count == 0) break;
    total += count;
  }
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.mzML.gz");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::ReadAll(path); });
  return 0;
}
