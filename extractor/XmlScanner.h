// extractor/XmlScanner.h: a fast scanner for the XML of instrument files.
// Does:     passes elements and text to a handler. Takes UTF-8, US-ASCII and ISO-8859-1; tags with
//           ASCII names, attributes, text, comments, character references and the five entities of
//           XML. Returns kOdd for anything else and for every mistake.
// Owns:     the names of the open elements; borrows the handler as long as it lives.
// Throws:   what the handler throws.
// Not here: the rest of XML and the messages about mistakes (ExpatParser.h); reading (XmlStream.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "XmlHandler.h"

namespace tarvek::extractor {

class XmlScanner {
 public:
  enum class Outcome {
    kTook,  // took all bytes that it can without the next ones
    kOdd    // cannot handle the bytes from At() on
  };

  explicit XmlScanner(XmlHandler& handler) : m_handler(&handler) {}

  /// Scans bytes: those that the previous call did not take, and the next ones of the file. A zero
  /// must follow them.
  Outcome Scan(std::string_view bytes);

  /// How many bytes the last call took. While the handler runs, and after it threw: those up to the
  /// end of the tag or piece of text that it was called for. 0 until the root element has started.
  [[nodiscard]] std::size_t TakenBytes() const {
    return static_cast<std::size_t>(m_taken - m_begin);
  }

  [[nodiscard]] bool HasRoot() const { return m_has_root; }

  /// Whether the file may end after the bytes taken.
  [[nodiscard]] bool IsComplete() const { return m_has_root && m_open_sizes.empty(); }

  /// XML that opens the currently open elements, for a parser that continues after the bytes taken;
  /// empty before the root.
  [[nodiscard]] std::string Opening() const;

 private:
  enum class Encoding { kUtf8, kAscii, kLatin1 };
  enum class Step { kDone, kCut, kOdd };

  Step ScanProlog();
  Step ScanDeclaration();
  Step ScanContent();
  Step ScanEpilog();
  Step ScanMarkup();
  Step ScanText();
  Step ScanOddText();
  Step ScanReferenceInText();
  Step ScanStartTag();
  Step ScanAttributes(bool& is_empty);
  Step ScanAttribute();
  Step ScanValue(char quote, std::string_view& value);
  Step ScanOddValue(char quote, const char* begin, std::string_view& value);
  Step ScanEndTag();
  Step ScanComment();

  [[nodiscard]] Step StepAt(const char* at) const { return at == m_end ? Step::kCut : Step::kOdd; }
  Step SkipCharacter(const char*& at) const;
  Step TakeReference(const char*& at, std::string& text) const;
  Step TakeCharacter(const char*& at, std::string& text) const;
  bool AddAttribute(std::string_view name, std::string_view value);
  void EmitText(const char* end, std::string_view text);
  void Start(std::string_view name, const char* tag_end, bool is_empty);
  void CloseInnermost();

  XmlHandler* m_handler;
  Encoding m_encoding = Encoding::kUtf8;
  bool m_has_root = false;
  std::string m_open_names;                // one after the other, the innermost last
  std::vector<std::size_t> m_open_sizes;   // of the names
  std::vector<XmlAttribute> m_attributes;  // of the current tag
  std::uint64_t m_attribute_marks = 0;     // a bit per name; names may share one
  std::string m_values;                    // values of the current tag that differ from the file
  std::string m_character;

  // The bytes of the current call, and the scanner's position in them.
  const char* m_begin = nullptr;
  const char* m_end = nullptr;
  const char* m_taken = nullptr;
  const char* m_at = nullptr;
};

}  // namespace tarvek::extractor
