// extractor/ByteSource.h: the bytes of a plain or gzip file.
// Does:     delivers them from front to back; a file that begins as gzip does is inflated.
// Owns:     the open file and a block of it.
// Throws:   std::string: OpenFile's message, File::Read's, or path + ": ..." for a damaged gzip file;
//           a TruncatedFile for one that is cut off.
// Not here: XML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Inflater.h"
#include "Platform.h"

namespace tarvek::extractor {

/// The message of a file that ends too early; caught as any other by those who do not ask why.
class TruncatedFile : public std::string {
 public:
  explicit TruncatedFile(std::string message) : std::string(std::move(message)) {}
};

class ByteSource {
 public:
  explicit ByteSource(const std::string& path);

  /// Reads up to size bytes and returns how many came; 0 only at the end.
  std::size_t Read(char* bytes, std::size_t size);

  /// Size of the file as it is stored, and how much of it was read.
  [[nodiscard]] std::int64_t StoredBytes() const noexcept { return m_stored_bytes; }
  [[nodiscard]] std::int64_t StoredBytesRead() const noexcept { return m_stored_bytes_read; }

 private:
  bool Refill();
  std::size_t ReadInflated(char* bytes, std::size_t size);
  void StartNextMember();

  std::string m_path;
  File m_file;
  std::int64_t m_stored_bytes = 0;
  std::int64_t m_stored_bytes_read = 0;
  std::vector<char> m_block;
  std::string_view m_ahead;  // into m_block
  std::optional<Inflater> m_inflater;
  bool m_at_end = false;
};

}  // namespace tarvek::extractor
