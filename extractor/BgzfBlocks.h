// extractor/BgzfBlocks.h: a gzip file of many small members that state their length.
// Does:     inflates members as bgzip writes them, a few at a time in any order; stops before
//           anything else (another kind of member, damage, the end) and leaves it to GzipStream.
// Owns:     nothing; borrows the file, which must outlive it.
// Throws:   what StoredFile throws.
// Not here: threads (BlocksAhead.h).
#pragma once

#include <string_view>

#include "BlocksAhead.h"
#include "StoredFile.h"

namespace tarvek::extractor {

/// Whether bytes, the start of a file, begin a member that states its length.
bool BeginsBgzf(std::string_view bytes);

/// The last block, which may be empty, says where in the file to continue.
class BgzfBlocks final : public BlockMaker {
 public:
  explicit BgzfBlocks(StoredFile& file) : m_file(&file) {}
  bool Take(Block& block) override;
  void Finish(Block& block) const override;

 private:
  bool TakeMember(Block& block);

  StoredFile* m_file;
  bool m_at_end = false;
};

}  // namespace tarvek::extractor
