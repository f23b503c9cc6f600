// fuzz/XmlMutator.h: changes to XML that keep it XML.
// Does:     moves, nests, repeats, removes, unwraps and renames elements; swaps, repeats, removes and edits
//           attributes; edits numbers; replaces the text of <binary> and <peaks>. The result of a change to
//           well-formed text is well-formed, apart from attributes that are repeated on purpose.
// Throws:   nothing.
// Not here: changes of single bytes, which libFuzzer makes (a target mixes both).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvek::fuzz {

/// text after one to four changes that seed decides. Text without an element comes back as it is.
std::string ChangedXml(std::string_view text, std::uint32_t seed);

/// For LLVMFuzzerCustomMutator: in nine of ten calls ChangedXml, in the others, and where that finds no
/// element or exceeds max_size, bytes as libFuzzer changes them. Returns the new size.
std::size_t MutateXml(std::uint8_t* data, std::size_t size, std::size_t max_size,
                      std::uint32_t seed);

}  // namespace tarvek::fuzz
