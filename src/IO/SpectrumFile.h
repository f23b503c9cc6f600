// IO/SpectrumFile.h: what every spectrum file has in common, read or written.
// Does:     keeps path, mode and record counter; gives notice of start, close and end of a file;
//           SpectrumReader delivers lines or bytes, SpectrumWriter takes bytes.
// Owns:     the open file, which is closed at the latest when the object is destroyed.
// Throws:   a std::string: "Cannot open " + kind + " File, Path: " + path when opening, "Cannot
//           write " + path when writing or finishing, "Cannot read " + path + ": it became shorter
//           while it was read." when finishing; a buffered reader also "Line ... is too
//           long!". Destructors throw nothing.
// Not here: the formats, each in a class derived from one of these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "BufferedLineReader.h"
#include "LineReader.h"
#include "Notice.h"
#include "Platform.h"
#include "UnfinishedFile.h"

namespace tarvek {

class SpectrumFile {
 public:
  SpectrumFile(const SpectrumFile&) = delete;
  SpectrumFile& operator=(const SpectrumFile&) = delete;
  /// Gives notice of "Closed " + path unless Finish did.
  virtual ~SpectrumFile();

  /// Closes the file and gives notice of "Closed " + path, "Finished Operations on " + path and
  /// "Scan Number in " + path + ": " + record count. Finishing twice is harmless.
  void Finish();

  /// Records read or written so far.
  [[nodiscard]] std::int32_t RecordCount() const noexcept { return m_record_count; }
  [[nodiscard]] const std::string& Path() const noexcept { return m_path; }
  [[nodiscard]] const std::string& Mode() const noexcept { return m_mode; }
  [[nodiscard]] bool IsOpen() const noexcept { return m_is_open; }

 protected:
  enum class Announce { kYes, kNo };

  /// Gives notice of "Start to process " + path when announced. The derived class opens the file and
  /// then calls MarkOpen.
  SpectrumFile(std::string path, std::string_view mode, NoticeTaker notice, Announce announce);

  /// The function that takes the notices of the file.
  [[nodiscard]] NoticeTaker Notice() const noexcept { return m_notice; }

  void MarkOpen() noexcept { m_is_open = true; }
  void CountRecord() noexcept { ++m_record_count; }

 private:
  virtual void CloseStream() = 0;

  std::int32_t m_record_count = 0;
  std::string m_path;
  std::string m_mode;
  NoticeTaker m_notice;
  bool m_is_open = false;
};

/// A spectrum file that is read from front to back, by lines or by bytes but not by both.
class SpectrumReader : public SpectrumFile {
 public:
  /// Share of the file that was read, 0 to 1; 0 when its size is unknown.
  [[nodiscard]] double FractionRead() const noexcept;

 protected:
  /// kind goes into the message when path cannot be opened. A read buffer of more than 0 bytes
  /// selects the buffered form of ReadLine.
  SpectrumReader(const std::string& path, std::string_view mode, const std::string& kind,
                 NoticeTaker notice, std::size_t read_buffer_bytes = 0,
                 Announce announce = Announce::kYes);

  /// The next line, valid until the next call; false at the end of the file. Unbuffered form: with
  /// its end-of-line, in pieces of at most 1023 bytes (LineReader.h). Buffered form: without
  /// end-of-line, an over-long line is an error (BufferedLineReader.h).
  bool ReadLine(std::string_view& line) {
    return m_buffered_lines ? m_buffered_lines->ReadLine(line) : m_lines.ReadPiece(line);
  }

  /// For formats that parse their common lines directly from the bytes read ahead; unbuffered form
  /// only.
  [[nodiscard]] LineReader& Lines() noexcept { return m_lines; }

  [[nodiscard]] std::int64_t SizeBytes() const noexcept { return m_size_bytes; }

  /// For binary formats.
  [[nodiscard]] File& Stream() noexcept { return m_file; }

 private:
  void CloseStream() override;

  File m_file;
  std::int64_t m_size_bytes = 0;
  LineReader m_lines{m_file};
  std::optional<BufferedLineReader> m_buffered_lines;
};

/// A spectrum file that is written from front to back. With Naming::kWhenComplete it is removed
/// when Finish was not reached.
class SpectrumWriter : public SpectrumFile {
 protected:
  SpectrumWriter(const std::string& path, std::string_view mode, const std::string& kind,
                 NoticeTaker notice, Naming naming = Naming::kAtOnce);

  [[nodiscard]] OutputFile& Stream() noexcept { return m_file.File(); }

 private:
  void CloseStream() override;

  UnfinishedFile m_file;
};

}  // namespace tarvek
