#include "ExpatParser.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <type_traits>
#include <vector>

#include "ByteSource.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kMostBytesAtOnce = std::size_t{1} << 20;

// Expat reads a token that is cut again from its start. Of a larger one it gets as much again at once,
// so that it does so seldom.
constexpr std::size_t kLargeTokenBytes = std::size_t{1} << 16;

struct FreeParser {
  void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, FreeParser>;

/// The data of the parser's callbacks. No exception may pass through the parser, which is C: we
/// keep it here, stop the parser, and rethrow it outside.
class Callbacks {
 public:
  Callbacks(XML_Parser parser, XmlHandler& handler) : m_parser(parser), m_handler(&handler) {}
  Callbacks(const Callbacks&) = delete;
  Callbacks& operator=(const Callbacks&) = delete;

  void Connect() {
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, &OnStart, &OnEnd);
    XML_SetCharacterDataHandler(m_parser, &OnText);
    XML_SetStartDoctypeDeclHandler(m_parser, &OnDoctype);
    XML_SetUnknownEncodingHandler(m_parser, &OnEncoding, nullptr);
  }

  void ThrowKept() {
    if (m_exception) std::rethrow_exception(m_exception);
  }

 private:
  template <class Action>
  void Run(Action action) {
    if (m_exception) return;
    try {
      action();
    } catch (...) {
      m_exception = std::current_exception();
      XML_StopParser(m_parser, XML_FALSE);
    }
  }
  static Callbacks& Of(void* user) { return *static_cast<Callbacks*>(user); }

  static void XMLCALL OnStart(void* user, const XML_Char* name, const XML_Char** attributes) {
    Callbacks& self = Of(user);
    self.Run([&] {
      self.m_attributes.clear();
      for (const XML_Char** pair = attributes; *pair != nullptr; pair += 2)
        self.m_attributes.push_back({*pair, *(pair + 1)});
      self.m_handler->OnStart(name, XmlAttributes(self.m_attributes));
    });
  }
  static void XMLCALL OnEnd(void* user, const XML_Char* name) {
    Callbacks& self = Of(user);
    self.Run([&] { self.m_handler->OnEnd(name); });
  }
  static void XMLCALL OnText(void* user, const XML_Char* text, int size) {
    Callbacks& self = Of(user);
    self.Run([&] { self.m_handler->OnText({text, static_cast<std::size_t>(size)}); });
  }
  // What it may declare, entities and defaults of attributes, can blow a small file up. No instrument
  // file has one.
  static void XMLCALL OnDoctype(void* user, const XML_Char*, const XML_Char*, const XML_Char*,
                                int) {
    Callbacks& self = Of(user);
    self.Run([] {
      throw std::string("has a document type declaration (DOCTYPE), which is not supported");
    });
  }
  // Windows-1252, GB2312 and the like: bytes below 0x80 are ASCII where markup can begin or end,
  // and the other bytes do not matter here.
  static int XMLCALL OnEncoding(void*, const XML_Char*, XML_Encoding* encoding) {
    constexpr int kReplacement = 0xFFFD;
    for (int byte = 0; byte < 256; ++byte) encoding->map[byte] = byte < 128 ? byte : kReplacement;
    encoding->data = nullptr;
    encoding->convert = nullptr;
    encoding->release = nullptr;
    return XML_STATUS_OK;
  }

  XML_Parser m_parser;
  XmlHandler* m_handler;
  std::vector<XmlAttribute> m_attributes;
  std::exception_ptr m_exception;
};

XML_Parser MadeParser() {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  if (parser == nullptr) throw std::bad_alloc();
  return parser;
}

}  // namespace

class ExpatParser::Implementation {
 public:
  Implementation(const std::string& path, XmlHandler& handler, const XmlPlace& start,
                 std::string_view opening)
      : m_path(path), m_parser(MadeParser()), m_callbacks(m_parser.get(), handler) {
    if (!opening.empty()) Feed(opening, false);
    m_lines_before = start.m_line - 1;
    m_bytes_before = start.m_byte - m_bytes_fed;
    m_callbacks.Connect();
  }

  void Parse(std::string_view bytes, bool is_last) {
    if (!m_waiting.empty()) bytes = m_waiting.append(bytes);
    if (!is_last && bytes.size() < m_bytes_to_wait_for) {
      if (m_waiting.empty()) m_waiting = bytes;
      return;
    }
    while (!bytes.empty()) {
      const std::string_view piece =
          bytes.substr(0, std::max(kMostBytesAtOnce, m_bytes_to_wait_for));
      Feed(piece, false);
      bytes.remove_prefix(piece.size());
    }
    m_waiting.clear();
    if (is_last) Feed({}, true);
  }

 private:
  void Feed(std::string_view bytes, bool is_last) {
    const int size = static_cast<int>(bytes.size());
    void* const block = XML_GetBuffer(m_parser.get(), std::max(size, 1));
    if (block == nullptr) throw std::bad_alloc();
    if (!bytes.empty()) std::memcpy(block, bytes.data(), bytes.size());
    m_bytes_fed += size;
    const XML_Status status = XML_ParseBuffer(m_parser.get(), size, is_last ? XML_TRUE : XML_FALSE);
    try {
      m_callbacks.ThrowKept();
    } catch (const std::string& detail) {
      throw Place() + detail;
    }
    if (status != XML_STATUS_OK) ThrowParserError();
    const std::size_t unfinished = UnfinishedBytes();
    if (unfinished > kMaxXmlTokenBytes) throw Place() + kHugeXmlToken;
    m_bytes_to_wait_for = unfinished < kLargeTokenBytes
                              ? 0
                              : std::min(unfinished, kMaxXmlTokenBytes + 1 - unfinished);
  }

  // Expat's index may have only 32 bits.
  [[nodiscard]] std::size_t UnfinishedBytes() const {
    using Index = std::make_unsigned_t<XML_Index>;
    return static_cast<Index>(static_cast<Index>(m_bytes_fed) -
                              static_cast<Index>(XML_GetCurrentByteIndex(m_parser.get())));
  }

  [[nodiscard]] std::string Place() const {
    XmlPlace place;
    place.m_line =
        m_lines_before + static_cast<std::int64_t>(XML_GetCurrentLineNumber(m_parser.get()));
    place.m_byte =
        m_bytes_before + static_cast<std::int64_t>(XML_GetCurrentByteIndex(m_parser.get()));
    return m_path + ": " + place.Text();
  }

  [[noreturn]] void ThrowParserError() const {
    const XML_Error code = XML_GetErrorCode(m_parser.get());
    const bool is_cut = code == XML_ERROR_NO_ELEMENTS || code == XML_ERROR_UNCLOSED_TOKEN ||
                        code == XML_ERROR_PARTIAL_CHAR || code == XML_ERROR_UNCLOSED_CDATA_SECTION;
    const std::string what = XML_ErrorString(code);
    if (is_cut) throw TruncatedFile(Place() + "the file is truncated: " + what);
    throw Place() + "not well-formed XML: " + what;
  }

  std::string m_path;
  Parser m_parser;
  Callbacks m_callbacks;
  std::string m_waiting;  // bytes that were not fed yet
  std::size_t m_bytes_to_wait_for = 0;
  std::int64_t m_bytes_fed = 0;
  std::int64_t m_lines_before = 0;
  std::int64_t m_bytes_before = 0;  // in the file, minus those of the opening
};

ExpatParser::ExpatParser(const std::string& path, XmlHandler& handler)
    : ExpatParser(path, handler, {}, {}) {}

ExpatParser::ExpatParser(const std::string& path, XmlHandler& handler, const XmlPlace& start,
                         std::string_view opening)
    : m_implementation(std::make_unique<Implementation>(path, handler, start, opening)) {}

ExpatParser::~ExpatParser() = default;

void ExpatParser::Parse(std::string_view bytes, bool is_last) {
  m_implementation->Parse(bytes, is_last);
}

}  // namespace tarvek::extractor
