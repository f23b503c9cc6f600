// IO/BufferedLineReader.h: lines of a text file through a read buffer of chosen size.
// Does:     delivers lines without their line feed. A NUL byte ends the data, like the end of the
//           file; a last line without a line feed is not delivered.
// Owns:     its buffer and the current line; borrows the File, which must outlive it.
// Throws:   a std::string "Line " + the 1024 characters read + " is too long!" when these contain
//           no line feed; what File::Read throws.
// Not here: reading over-long lines in pieces (LineReader.h), which the readers of spectra use.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Platform.h"

namespace tarvek {

class BufferedLineReader {
 public:
  /// buffer_bytes: the size of one block read, at least 1.
  BufferedLineReader(File& file, std::size_t buffer_bytes)
      : m_file(&file), m_buffer(buffer_bytes), m_position(buffer_bytes) {}

  /// The next line, valid until the next call; false at the end of the data.
  bool ReadLine(std::string_view& line);

 private:
  void Refill();

  File* m_file;
  std::vector<char> m_buffer;
  std::size_t m_position;
  std::string m_line;
};

}  // namespace tarvek
