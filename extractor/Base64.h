// extractor/Base64.h: base64 text to bytes.
// Does:     decodes strictly: the standard alphabet with padding, white space anywhere between;
//           uses vector instructions when the processor has them.
// Throws:   nothing but std::bad_alloc; returns false for text that is not base64.
// Not here: what the bytes mean (BinaryArray.h).
#pragma once

#include <string_view>

#include "ByteBuffer.h"

namespace tarvek::extractor {

/// Replaces bytes by the decoded text; false, with bytes undefined, when text is not base64.
bool DecodeBase64(std::string_view text, ByteBuffer& bytes);

/// The same without vector instructions, for processors that have none.
bool DecodeBase64Portably(std::string_view text, ByteBuffer& bytes);

}  // namespace tarvek::extractor
