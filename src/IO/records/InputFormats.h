// IO/records/InputFormats.h: the input formats, a row for each.
// Does:     knows the word of each, the endings of its files, the road from it to the outputs and the
//           extractor program that converts it; finds the row of a word or of a file name.
// Throws:   nothing but std::bad_alloc.
// Not here: what is in the files (their readers); how to add one (CONTRIBUTING.md).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "StringUtils.h"

namespace tarvek {

enum class InputRoad {
  kText,   // its spectra are read as they are
  kMgf,    // rewritten only
  kXml,    // its extractor reads the file itself
  kVendor  // its extractor has another program convert the file
};

struct InputFormat {
  std::string_view m_word;  // of input_format; behind a dot, the ending of the files
  InputRoad m_road;
  std::string_view m_extractor;      // empty where none is needed
  std::string_view m_packed_ending;  // of files packed with gzip that are read as they are
};

/// In the order of the messages that list them.
inline constexpr std::array<InputFormat, 6> kInputFormats = {{
    {"ms1", InputRoad::kText, "", ""},
    {"mgf", InputRoad::kMgf, "", ""},
    {"raw", InputRoad::kVendor, "morvex_raw.exe", ""},
    {"wiff", InputRoad::kVendor, "morvex_wiff.exe", ""},
    {"mzxml", InputRoad::kXml, "morvex_xml.exe", ".mzxml.gz"},
    {"mzml", InputRoad::kXml, "morvex_xml.exe", ".mzml.gz"},
}};

/// The same for people: the words of `tarvek-tools run --format`, two texts of it, one of messages.
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

/// Whether a word is that of a format that an extractor converts first.
constexpr bool IsInstrumentFormat(std::string_view word) {
  // Without pointers, which GCC compares in no constant expression under its sanitizers.
  return std::ranges::any_of(kInputFormats, [word](const InputFormat& format) {
    return format.m_word == word && !format.m_extractor.empty();
  });
}

/// The words of these formats.
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

/// The format of a packed file by its name; null when it is none.
inline const InputFormat* PackedFormatOf(std::string_view name) {
  const auto found = std::ranges::find_if(kInputFormats, [name](const InputFormat& format) {
    return !format.m_packed_ending.empty() && EndsWithIgnoreCase(name, format.m_packed_ending);
  });
  return found == kInputFormats.end() ? nullptr : &*found;
}

/// What a file name says: its format, and the length of the ending ("mzML.gz" with its dot).
struct NamedFormat {
  const InputFormat* m_format = nullptr;  // null when it is that of no input
  std::size_t m_ending_size = 0;
};

/// Endings are taken in any case; a name that is all ending has none.
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
