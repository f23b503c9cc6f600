// extractor/Base64.h: base64 text to bytes.
// Does:     decodes strictly: the standard alphabet with padding, white space anywhere between;
//           by vector instructions where the processor has them.
// Throws:   nothing but std::bad_alloc; a text that is no base64 gives false.
// Not here: what the bytes mean (BinaryArray.h).
#pragma once

#include <string_view>

#include "ByteBuffer.h"

namespace tarvek::extractor {

/// Replaces bytes by what text encodes; false when text is no base64, and bytes are anything then.
bool DecodeBase64(std::string_view text, ByteBuffer& bytes);

/// The same without vector instructions: what DecodeBase64 does on a processor that has none.
bool DecodeBase64Portably(std::string_view text, ByteBuffer& bytes);

}  // namespace tarvek::extractor
