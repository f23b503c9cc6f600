// extractor/ByteSource.h: the bytes of a plain or gzip file.
// Does:     delivers them from front to back; a file that begins as gzip does is inflated, ahead of
//           the reader by other threads where these are allowed.
// Owns:     the open file, the threads and what they have ready.
// Throws:   std::string: OpenFile's message, File::Read's, or path + ": ..." for a damaged gzip file
//           and one that unpacks to too much; a TruncatedFile (GzipStream.h) for one that is cut
//           off; what ThreadsAllowed throws.
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
  std::size_t ReadSome(char* bytes, std::size_t size);
  void ReadMembers(GzipStream::Place place);
  bool NextBlock();

  StoredFile m_file;
  std::size_t m_threads;
  std::int64_t m_given_bytes = 0;
  std::optional<GzipStream> m_stream;   // inflates in this thread
  Block m_block;                        // the current one
  std::string_view m_ahead;             // into m_block
  std::optional<BlocksAhead> m_blocks;  // declared last, destroyed first: it uses the file
};

}  // namespace tarvek::extractor
