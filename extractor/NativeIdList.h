// extractor/NativeIdList.h: which spectrum a scan number stands for, where its id does not tell.
// Does:     writes BASE.nativeid.tsv, a line for each written scan that is numbered by its position;
//           for every one when the whole file is numbered so; no file when there is none.
// Owns:     the file, which has its final name once Commit has returned.
// Throws:   what UnfinishedFile throws.
// Not here: the numbers (ScanRules.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "UnfinishedFile.h"

namespace tarvek::extractor {

class NativeIdList {
 public:
  /// takes_all: every scan is numbered by its position, whatever its id holds.
  explicit NativeIdList(std::string path, bool takes_all = false)
      : m_path(std::move(path)), m_takes_all(takes_all) {}

  /// Takes note of a scan that is written, unless its id holds this number.
  void Add(std::int32_t scan_no, std::string_view native_id);

  void Close();

  /// Also removes the list of an earlier extraction when there is none now.
  void Commit();

 private:
  std::string m_path;
  bool m_takes_all;
  std::optional<UnfinishedFile> m_file;
};

}  // namespace tarvek::extractor
