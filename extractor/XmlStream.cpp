#include "XmlStream.h"

#include <expat.h>

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "ByteSource.h"
#include "HeaderRepair.h"

namespace tarvek::extractor {
namespace {

constexpr int kBlockBytes = 1 << 16;

struct FreeParser {
  void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, FreeParser>;

/// What the parser's callbacks work on. No exception may pass through the parser, which is C: it is
/// kept here, the parser stopped, and thrown again behind it.
class Callbacks {
 public:
  Callbacks(XML_Parser parser, XmlHandler& handler) : m_parser(parser), m_handler(&handler) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &OnStart, &OnEnd);
    XML_SetCharacterDataHandler(parser, &OnText);
    XML_SetEntityDeclHandler(parser, &OnEntity);
    XML_SetUnknownEncodingHandler(parser, &OnEncoding, nullptr);
  }
  Callbacks(const Callbacks&) = delete;
  Callbacks& operator=(const Callbacks&) = delete;

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
    self.Run([&] { self.m_handler->OnStart(name, XmlAttributes(attributes)); });
  }
  static void XMLCALL OnEnd(void* user, const XML_Char* name) {
    Callbacks& self = Of(user);
    self.Run([&] { self.m_handler->OnEnd(name); });
  }
  static void XMLCALL OnText(void* user, const XML_Char* text, int size) {
    Callbacks& self = Of(user);
    self.Run([&] { self.m_handler->OnText({text, static_cast<std::size_t>(size)}); });
  }
  // Entities can blow a small file up, and no instrument file declares any.
  static void XMLCALL OnEntity(void* user, const XML_Char*, int, const XML_Char*, int,
                               const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
    Callbacks& self = Of(user);
    self.Run([] { throw std::string("declares XML entities, which are not supported"); });
  }
  // Windows-1252, GB2312 and the like: bytes below 0x80 are ASCII wherever markup may begin or end,
  // and nothing else has a meaning here.
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
  std::exception_ptr m_exception;
};

std::string Place(const std::string& path, XML_Parser parser) {
  return path + ": line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ", byte " +
         std::to_string(XML_GetCurrentByteIndex(parser)) + ": ";
}

[[noreturn]] void ThrowParserError(const std::string& path, XML_Parser parser) {
  const XML_Error code = XML_GetErrorCode(parser);
  const bool is_cut = code == XML_ERROR_NO_ELEMENTS || code == XML_ERROR_UNCLOSED_TOKEN ||
                      code == XML_ERROR_PARTIAL_CHAR || code == XML_ERROR_UNCLOSED_CDATA_SECTION;
  const std::string what = XML_ErrorString(code);
  if (is_cut) throw TruncatedFile(Place(path, parser) + "the file is truncated: " + what);
  throw Place(path, parser) + "not well-formed XML: " + what;
}

void ParseBlock(const std::string& path, XML_Parser parser, Callbacks& callbacks, int size) {
  XML_Status status = XML_STATUS_ERROR;
  status = XML_ParseBuffer(parser, size, size == 0 ? XML_TRUE : XML_FALSE);
  try {
    callbacks.ThrowKept();
  } catch (const std::string& detail) {
    throw Place(path, parser) + detail;
  }
  if (status != XML_STATUS_OK) ThrowParserError(path, parser);
}

}  // namespace

std::string_view XmlAttributes::Get(std::string_view name) const {
  for (const char** pair = m_pairs; *pair != nullptr; pair += 2)
    if (name == *pair) return *(pair + 1);
  return {};
}

void ReadXmlFile(const std::string& path, XmlHandler& handler,
                 const std::function<void(const ReadingState&)>& on_block) {
  ByteSource source(path);
  const Parser parser(XML_ParserCreate(nullptr));
  if (!parser) throw std::bad_alloc();
  Callbacks callbacks(parser.get(), handler);
  bool is_header = true;
  for (std::size_t size = 1; size > 0;) {
    void* const block = XML_GetBuffer(parser.get(), kBlockBytes);
    if (block == nullptr) throw std::bad_alloc();
    size = source.Read(static_cast<char*>(block), kBlockBytes);
    if (std::exchange(is_header, false)) BlankRepeatedAttributes({static_cast<char*>(block), size});
    ParseBlock(path, parser.get(), callbacks, static_cast<int>(size));
    on_block({source.StoredBytes(), source.StoredBytesRead()});
  }
}

}  // namespace tarvek::extractor
