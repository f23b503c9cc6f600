#include "outputs/FileBlocks.h"

#include "FileUtils.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

}  // namespace

void ReadBlocks(const std::string& path, std::int64_t offset_bytes,
                const std::function<void(std::string_view)>& take) {
  File file = OpenFile(path, "rb", "mzML");
  if (!file.Seek(offset_bytes)) throw "Cannot read " + path;
  std::string block(kBlockBytes, '\0');
  while (const std::size_t size = file.Read(block.data(), block.size()))
    take(std::string_view(block.data(), size));
}

}  // namespace tarvek::tools
