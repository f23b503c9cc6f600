// tests/extractor/XmlRecorder.h: all that a handler gets from an XML file, as one text.
// Does:     reads a file with both parsers and records its elements, attributes and joined text,
//           and the error.
// Throws:   anything except an error of reading.
#pragma once

#include <limits>
#include <string>

#include "ByteSource.h"
#include "XmlStream.h"

namespace tarvek::extractor::test {

class XmlRecorder final : public XmlHandler {
 public:
  /// Throws at the start or end of an element with this number, counted from 0.
  explicit XmlRecorder(int throws_at = std::numeric_limits<int>::max()) : m_calls(throws_at) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    CountDown();
    Note("\n<", name);
    for (const auto& [attribute, value] : attributes.All()) {
      Note("\n  ", attribute);
      Note("=", value);
    }
    Note("\n>", {});
  }
  void OnEnd(std::string_view name) override {
    CountDown();
    Note("\n</", name);
    Note("\n>", {});
  }
  void OnText(std::string_view text) override { m_events += text; }

  /// The text after the last tag does not count when an error follows.
  void EndWith(const std::string& error) {
    m_events.erase(m_behind_tag);
    m_events += "\nerror: " + error;
  }

  [[nodiscard]] const std::string& Events() const { return m_events; }

  bool m_is_by_expat = false;  // at the end of a file without error

 private:
  void CountDown() {
    if (m_calls-- == 0) throw std::string("thrown by the handler");
  }
  void Note(std::string_view mark, std::string_view word) {
    m_events += mark;
    m_events += word;
    m_behind_tag = m_events.size();
  }

  int m_calls;
  std::string m_events;
  std::size_t m_behind_tag = 0;
};

inline XmlRecorder ReadRecorded(const std::string& path, const XmlReading& reading = {},
                                XmlRecorder recorder = XmlRecorder()) {
  const auto on_block = [&](const ReadingState& state) {
    recorder.m_is_by_expat = state.m_is_by_expat;
  };
  try {
    ReadXmlFile(path, recorder, on_block, reading);
  } catch (const TruncatedFile& error) {
    recorder.EndWith("truncated, " + error);
  } catch (const std::string& error) {
    recorder.EndWith(error);
  }
  return recorder;
}

inline std::string EventsOf(const std::string& path, const XmlReading& reading = {},
                            const XmlRecorder& recorder = XmlRecorder()) {
  return ReadRecorded(path, reading, recorder).Events();
}

inline std::string WithoutLine(std::string events) {
  const std::size_t begin = events.rfind("line ");
  const std::size_t end = events.find("byte ", begin);
  return begin < end && end != std::string::npos ? events.erase(begin, end - begin) : events;
}

/// The events of a small file, read in small blocks by the scanner and by expat alone. Both must be
/// equal. Blocks have two bytes or more: expat guesses the encoding from the first ones.
struct ReadBothWays {
  // text: the content of the file. Repeated attributes are blanked only in the first block. Expat
  // counts two lines where the block border splits a two-byte line end before or after the root.
  ReadBothWays(const std::string& path, const std::string& text, std::size_t block_bytes,
               const XmlRecorder& recorder = XmlRecorder())
      : m_events(EventsOf(path, {.m_block_bytes = block_bytes}, recorder)),
        m_by_expat(EventsOf(path, {true, block_bytes}, recorder)) {
    if (block_bytes >= text.size() || text.find("\r\n") == std::string::npos) return;
    m_events = WithoutLine(m_events);
    m_by_expat = WithoutLine(m_by_expat);
  }

  std::string m_events;
  std::string m_by_expat;
};

}  // namespace tarvek::extractor::test
