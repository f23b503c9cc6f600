// tools/outputs/FileBlocks.h: the bytes of a file that was just written.
// Throws:   a std::string naming the file that cannot be opened or read; what take throws.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tarvek::tools {

/// Calls take with the bytes of the mzML file, or of a part of it, from offset_bytes on, block by
/// block.
void ReadBlocks(const std::string& path, std::int64_t offset_bytes,
                const std::function<void(std::string_view)>& take);

}  // namespace tarvek::tools
