// IO/records/InputFormats.h: the input formats, a row for each.
// Does:     knows for each format its word, its file extensions, its input path and the extractor
//           program that converts it; finds the row for a word or a file name.
// Throws:   nothing but std::bad_alloc.
// Not here: file contents (the readers); how to add a format (CONTRIBUTING.md).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "StringUtils.h"

namespace tarvek {

enum class InputPath {
  kText,   // its spectra are read directly
  kMgf,    // only rewritten
  kXml,    // its extractor reads the file itself
  kVendor  // its extractor has another program convert the file
};

struct InputFormat {
  std::string_view m_word;  // the value of input_format; after a dot, the extension of the files
  InputPath m_input_path;
  std::string_view m_extractor;      // empty where none is needed
  std::string_view m_packed_ending;  // of files packed with gzip that are read directly
};

/// In the order in which messages list them.
inline constexpr std::array<InputFormat, 6> kInputFormats = {{
    {"ms1", InputPath::kText, "", ""},
    {"mgf", InputPath::kMgf, "", ""},
    {"raw", InputPath::kVendor, "morvex_raw.exe", ""},
    {"wiff", InputPath::kVendor, "morvex_wiff.exe", ""},
    {"mzxml", InputPath::kXml, "morvex_xml.exe", ".mzxml.gz"},
    {"mzml", InputPath::kXml, "morvex_xml.exe", ".mzml.gz"},
}};

/// The same for people: the words of `tarvek-tools run --format`, two of its texts, and a list for
/// messages.
inline constexpr std::array kInputWords = {"mzml", "mzxml", "raw", "wiff", "ms1", "mgf"};
inline constexpr const char* kInputNames = "mzML, mzXML (also .gz), raw, wiff, ms1, mgf";
inline constexpr const char* kKnownInputs =
    "Known are mzML and mzXML (also .gz), raw, wiff, ms1 and mgf.";
inline constexpr const char* kInputWordList = "ms1, mgf, raw, wiff, mzxml and mzml";

/// The format of a word in lower case; null when there is none.
constexpr const InputFormat* FindInputFormat(std::string_view word) {
  const auto found = std::ranges::find(kInputFormats, word, &InputFormat::m_word);
  return found == kInputFormats.end() ? nullptr : &*found;
}

/// Whether an extractor first converts files of the format with this word.
constexpr bool IsInstrumentFormat(std::string_view word) {
  // Without pointers: with sanitizers, GCC does not compare them in constant expressions.
  return std::ranges::any_of(kInputFormats, [word](const InputFormat& format) {
    return format.m_word == word && !format.m_extractor.empty();
  });
}

/// The words of the formats that an extractor converts.
inline constexpr auto kInstrumentFormats = [] {
  constexpr auto takes = [](const InputFormat& format) {
    return IsInstrumentFormat(format.m_word);
  };
  std::array<std::string_view, std::ranges::count_if(kInputFormats, takes)> words;
  auto next = words.begin();
  for (const InputFormat& format : kInputFormats)
    if (takes(format)) *next++ = format.m_word;
  return words;
}();

/// The format of a packed file by its name; null when the name is not one of a packed file.
inline const InputFormat* PackedFormatOf(std::string_view name) {
  const auto found = std::ranges::find_if(kInputFormats, [name](const InputFormat& format) {
    return !format.m_packed_ending.empty() && EndsWithIgnoreCase(name, format.m_packed_ending);
  });
  return found == kInputFormats.end() ? nullptr : &*found;
}

/// The parts of a file name: its format, and the length of the ending ("mzML.gz" with its dot).
struct NamedFormat {
  const InputFormat* m_format = nullptr;  // null when the name is not one of an input
  std::size_t m_ending_size = 0;
};

/// Ignores letter case. A name that consists of an ending only has none.
inline NamedFormat FormatOfName(std::string_view name) {
  const InputFormat* const packed = PackedFormatOf(name);
  if (packed != nullptr && name.size() > packed->m_packed_ending.size())
    return {packed, packed->m_packed_ending.size()};
  const std::string_view trimmed = TrimRight(name);
  const std::string_view word = trimmed.substr(trimmed.rfind('.') + 1);  // all without a dot
  const InputFormat* const format = FindInputFormat(ToLower(word));
  if (format == nullptr || trimmed.size() <= word.size() + 1) return {};
  return {format, word.size() + 1};
}

}  // namespace tarvek
