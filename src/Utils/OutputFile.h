// Utils/OutputFile.h: a file that is written from front to back, every write checked.
// Does:     collects bytes and writes them in blocks; knows its write position.
// Owns:     the open file and the bytes not yet written.
// Throws:   a std::string: the message of OpenFile, or "Cannot write " + path as soon as a write, a
//           flush or the close fails. The destructor writes what it can and throws nothing.
// Not here: formats; the byte order of the binary ones (LittleEndian.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform.h"

namespace tarvek {

class OutputFile {
 public:
  /// Opens path with a C stdio mode; kind is the purpose word of OpenFile's message.
  OutputFile(const std::string& path, std::string_view mode, const std::string& kind);
  OutputFile(OutputFile&&) noexcept = default;
  OutputFile& operator=(OutputFile&&) = delete;
  ~OutputFile();

  void Write(std::string_view bytes);
  void Flush();

  /// Flushes, overwrites the first bytes of the file, and flushes again. Also throws "Cannot
  /// relocate to 0 in " + path. Write nothing afterwards, with one exception: empty bytes on an
  /// empty file only check that the file can be repositioned.
  void OverwriteStart(std::string_view bytes);

  /// Flushes and has the system store the bytes: File::Sync.
  void Sync();

  /// Flushes and closes. Closing twice is harmless.
  void Close();

  [[nodiscard]] bool IsOpen() const noexcept { return m_file.IsOpen(); }

  /// As File has it.
  [[nodiscard]] std::optional<FileIdentity> Identity() const noexcept { return m_file.Identity(); }

  /// Bytes written so far, those still collected included.
  [[nodiscard]] std::int64_t PositionBytes() const noexcept {
    return m_flushed_bytes + static_cast<std::int64_t>(m_buffer.size());
  }

 private:
  void WriteThrough(std::string_view bytes);
  [[noreturn]] void Fail() const;

  std::string m_path;
  File m_file;
  std::string m_buffer;
  std::int64_t m_flushed_bytes = 0;
};

}  // namespace tarvek
