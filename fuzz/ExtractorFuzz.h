// fuzz/ExtractorFuzz.h: one input through the extractor.
// Does:     extracts it in the scratch directory; the marker must exist only after success.
// Throws:   what RunReader lets through.
#pragma once

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Extraction.h"
#include "ExtractorOptions.h"
#include "FileUtils.h"
#include "FuzzSupport.h"

namespace tarvek::fuzz {

/// Whether the file could be extracted.
inline bool ExtractFile(const std::string& path, const char* option) {
  const auto options = extractor::ParseOptions(std::vector<std::string>{option, path});
  bool is_done = false;
  RunReader([&] {
    std::ostringstream report;
    extractor::Marker marker(options);
    extractor::Extract(options, path, marker, report);
    is_done = true;
  });
  Require(FileExists(extractor::MarkerPath(options)) == is_done, "the marker says the truth");
  return is_done;
}

inline void ExtractInput(std::string_view content, std::string_view name, const char* option) {
  static const std::string path = ScratchPath(name);
  WriteInput(path, content);
  ExtractFile(path, option);
}

}  // namespace tarvek::fuzz
