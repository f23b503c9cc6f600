// extractor/GzipStream.h: a gzip file, member by member.
// Does:     inflates from front to back; ignores data after the last member that is not a member.
// Owns:     the state of the inflater; borrows the file, which must outlive it.
// Throws:   std::string path + ": ..." for a damaged file, a TruncatedFile for one that is cut off;
//           what StoredFile throws.
// Not here: many members at once (BgzfBlocks.h), threads (BlocksAhead.h).
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "BlocksAhead.h"
#include "Inflater.h"
#include "StoredFile.h"

namespace tarvek::extractor {

inline constexpr std::string_view kGzipMagic = "\x1f\x8b";

/// The message for a file that ends too early; other code catches it as a plain std::string.
class TruncatedFile : public std::string {
 public:
  explicit TruncatedFile(std::string message) : std::string(std::move(message)) {}
};

class GzipStream {
 public:
  enum class Place { kFirstMember, kBehindMember };

  /// place: what comes next in the file; after a member another one, padding or the end may follow.
  GzipStream(StoredFile& file, Place place);

  /// Reads up to size bytes and returns how many came; 0 only at the end.
  std::size_t Read(char* bytes, std::size_t size);

 private:
  void StartNextMember();

  StoredFile* m_file;
  Inflater m_inflater{StreamKind::kGzip};
  bool m_at_end = false;
};

/// The bytes of a GzipStream in blocks. The bytes before an error are a separate block.
class GzipBlocks final : public BlockMaker {
 public:
  GzipBlocks(StoredFile& file, GzipStream::Place place) : m_file(&file), m_stream(file, place) {}
  bool Take(Block& block) override;
  void Finish(Block&) const override {}

 private:
  StoredFile* m_file;
  GzipStream m_stream;
  std::exception_ptr m_error;
};

}  // namespace tarvek::extractor
