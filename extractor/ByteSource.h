// extractor/ByteSource.h: the bytes of a plain or gzip file.
// Does:     delivers them from front to back; inflates a file that begins like gzip, in advance by
//           other threads when these are allowed.
// Owns:     the open file, the threads and their finished blocks.
// Throws:   std::string: OpenFile's message, File::Read's, or path + ": ..." for a damaged gzip
//           file; a TruncatedFile (GzipStream.h) for a file that is cut off; what ThreadsAllowed
//           throws.
// Not here: XML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "BlocksAhead.h"
#include "GzipStream.h"
#include "StoredFile.h"

namespace tarvek::extractor {

class ByteSource {
 public:
  explicit ByteSource(const std::string& path);

  /// Reads up to size bytes and returns how many came; 0 only at the end.
  std::size_t Read(char* bytes, std::size_t size);

  /// Size of the stored file, and how many of its bytes the results of Read needed.
  [[nodiscard]] std::int64_t StoredBytes() const noexcept { return m_file.SizeBytes(); }
  [[nodiscard]] std::int64_t StoredBytesRead() const noexcept;

 private:
  void ReadMembers(GzipStream::Place place);
  bool NextBlock();

  StoredFile m_file;
  std::size_t m_threads;
  std::optional<GzipStream> m_stream;   // inflates in this thread
  Block m_block;                        // the current one
  std::string_view m_ahead;             // into m_block
  std::optional<BlocksAhead> m_blocks;  // declared last, destroyed first: it uses the file
};

}  // namespace tarvek::extractor
