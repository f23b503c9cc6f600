// extractor/NativeId.h: the ids of spectra and their scan numbers.
// Does:     reads the number where an id is of a form that has one; lists in BASE.nativeid.tsv which
//           spectrum a scan number stands for where the id does not tell.
// Owns:     the list, which has its final name once Commit has returned.
// Throws:   NativeIdList what UnfinishedFile throws; else nothing.
// Not here: the numbers of spectra whose ids have none (ScanRules.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "UnfinishedFile.h"

namespace tarvek::extractor {

/// The scan number of "controllerType=C controllerNumber=K scan=N", "scan=N", "scanId=N"; nothing
/// for every other form, whose numbers count something else.
std::optional<std::int32_t> ScanNumberOf(std::string_view native_id);

/// A line for each written scan that is numbered by its position; for every one when the whole file
/// is numbered so; no file when there is none.
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
