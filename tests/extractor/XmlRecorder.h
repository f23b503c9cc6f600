// tests/extractor/XmlRecorder.h: what a handler learns of an XML file, as one text.
// Does:     reads a file and writes down its elements, attributes and joined text, and the error.
// Throws:   what is no error of reading.
#pragma once

#include <limits>
#include <string>

#include "ByteSource.h"
#include "XmlStream.h"

namespace tarvek::extractor::test {

class XmlRecorder final : public XmlHandler {
 public:
  /// Throws in place of noting the start or end of an element for the given time, counted from 0.
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

  /// The text behind the last tag is of no account when an error follows.
  void EndWith(const std::string& error) {
    m_events.erase(m_behind_tag);
    m_events += "\nerror: " + error;
  }

  [[nodiscard]] const std::string& Events() const { return m_events; }

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

inline std::string EventsOf(const std::string& path, const XmlReading& reading,
                            XmlRecorder recorder = XmlRecorder()) {
  try {
    ReadXmlFile(
        path, recorder, [](const ReadingState&) {}, reading);
  } catch (const TruncatedFile& error) {
    recorder.EndWith("truncated, " + error);
  } catch (const std::string& error) {
    recorder.EndWith(error);
  }
  return recorder.Events();
}

}  // namespace tarvek::extractor::test
