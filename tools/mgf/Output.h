// tools/mgf/Output.h: the rewritten MGF of one run: one file or several parts, and their id map.
// Does:     writes the blocks in the form of an engine, splits by size between scans, compresses,
//           and notes for each block where it came from.
// Owns:     the open files, named with "_unfinished" at the end until Finish; unfinished files are
//           removed.
// Throws:   a std::string of the file helpers naming the path, or "Cannot compress " + path.
// Not here: which blocks, and in which order (mgf/Command.h).
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "UnfinishedFile.h"
#include "mgf/Blocks.h"
#include "mgf/Profiles.h"

namespace tarvek::tools {

struct MgfOutputForm {
  const MgfProfile* m_profile = nullptr;  // never null
  bool m_gzip = false;
  std::uint64_t m_split_bytes = 0;  // largest part before compression; 0 for one file
};

/// Deletes the files of an earlier output of this base, its map first, when its first block came
/// from one of sources according to the map. Returns whether there was such an output.
bool RemoveOutputOf(const std::string& base, const std::vector<std::string>& sources);

class MgfOutput {
 public:
  /// base: the path without ending. Files: base.mgf, or base_part1.mgf, base_part2.mgf, ... when
  /// the form splits; with ".gz" at the end when it compresses; and the map base.ids.tsv.
  MgfOutput(std::string base, const MgfOutputForm& form);
  MgfOutput(const MgfOutput&) = delete;
  ~MgfOutput();

  /// Writes the blocks of one scan into one part, even above its size; source: name of the file
  /// that they came from, for the map.
  void WriteScan(std::span<const MgfBlock> blocks, const std::string& source);

  /// Completes all files under their unfinished names: nothing more can be written, and a full disk
  /// can no longer make it fail.
  void Close();

  /// Closes and gives all files their names, the map last; an old map is deleted first. Also
  /// deletes files that an earlier output of the same base left in another form: further parts, or
  /// its only file, packed or not. A part with its own map is the output of another run. Returns
  /// the paths of the parts.
  std::vector<std::string> Finish();

  /// Blocks written so far.
  [[nodiscard]] std::int64_t BlockCount() const noexcept { return m_block_count; }

 private:
  class Part;

  [[nodiscard]] std::string PartPath(std::size_t number) const;
  void OpenPart();
  void RenderScan(std::span<const MgfBlock> blocks);
  void NoteScan(std::span<const MgfBlock> blocks, const std::string& source);
  void RemoveOldOutputs(const std::set<std::string>& written) const;

  std::string m_base;
  MgfOutputForm m_form;
  UnfinishedFile m_map;
  std::vector<std::unique_ptr<Part>> m_parts;  // only the last is open
  std::int64_t m_place = 0;                    // of the last block within its part
  std::int64_t m_block_count = 0;
  std::string m_text;  // reused from scan to scan
};

}  // namespace tarvek::tools
