// extractor/NativeIdList.h: which spectrum a scan number stands for, where its id does not tell.
// Does:     writes BASE.nativeid.tsv, a line for each written scan that is numbered by its position;
//           no file when there is none.
// Owns:     the file, which has its final name once Commit has returned.
// Throws:   what TemporaryOutput throws.
// Not here: the numbers (ScanRules.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "TemporaryOutput.h"

namespace tarvek::extractor {

class NativeIdList {
 public:
  explicit NativeIdList(std::string path) : m_path(std::move(path)) {}

  /// Takes note of a scan that is written, unless its id holds the number.
  void Add(std::int32_t scan_no, std::string_view native_id);

  void Close();

  /// Also removes the list of an earlier extraction when there is none now.
  void Commit();

 private:
  std::string m_path;
  std::optional<TemporaryOutput> m_file;
};

}  // namespace tarvek::extractor
