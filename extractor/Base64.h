// extractor/Base64.h: base64 text to bytes.
// Does:     decodes strictly: the standard alphabet with padding, white space anywhere between.
// Throws:   nothing but std::bad_alloc; a text that is no base64 gives false.
// Not here: what the bytes mean (BinaryArray.h).
#pragma once

#include <string>
#include <string_view>

namespace tarvek::extractor {

/// Replaces bytes by what text encodes; false when text is no base64.
bool DecodeBase64(std::string_view text, std::string& bytes);

}  // namespace tarvek::extractor
