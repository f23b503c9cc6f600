// extractor/NativeId.h: the ids of spectra and their scan numbers.
// Does:     reads the scan number from an id of a form that has one; lists in BASE.nativeid.tsv
//           which spectrum has which scan number when the id does not say.
// Owns:     the list, which gets its final name in Commit.
// Throws:   NativeIdList what UnfinishedFile throws; else nothing.
// Not here: the numbers of spectra without one in their ids (ScanRules.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "UnfinishedFile.h"

namespace tarvek::extractor {

/// The scan number in "controllerType=C controllerNumber=K scan=N", "scan=N" and "scanId=N";
/// std::nullopt for every other form, where numbers count other things.
std::optional<std::int32_t> ScanNumberOf(std::string_view native_id);

/// A line for each written scan that is numbered by its position, or for every scan when the whole
/// file is numbered so; no file when that gives no line.
class NativeIdList {
 public:
  /// takes_all: every scan is numbered by its position, whatever its id.
  explicit NativeIdList(std::string path, bool takes_all = false)
      : m_path(std::move(path)), m_takes_all(takes_all) {}

  /// Records a written scan, unless its id has this number.
  void Add(std::int32_t scan_no, std::string_view native_id);

  void Close();

  /// Also removes the list of an earlier extraction when this one is empty.
  void Commit();

 private:
  std::string m_path;
  bool m_takes_all;
  std::optional<UnfinishedFile> m_file;
};

}  // namespace tarvek::extractor
