#include "XmlScanner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace tarvek::extractor {
namespace {

// The classes of a byte. Zero is in none of them, so it ends every run of bytes.
enum ByteClass : std::uint8_t {
  kNameStart = 1,
  kNameByte = 2,
  kSpace = 4,
  kTextByte = 8,      // stands for itself in text
  kValueByte = 16,    // stands for itself in a value, whatever the quote
  kCommentByte = 32,  // needs no special care in a comment
};

constexpr bool IsAsciiLetter(int byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

constexpr std::uint8_t ClassOf(int byte) {
  unsigned result = 0;
  const bool is_space = byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
  const bool starts_name = IsAsciiLetter(byte) || byte == '_' || byte == ':';
  const bool is_printed = byte >= ' ' && byte < 0x80;
  if (starts_name) result |= kNameStart | kNameByte;
  if ((byte >= '0' && byte <= '9') || byte == '-' || byte == '.') result |= kNameByte;
  if (is_space) result |= kSpace;
  if ((is_printed || byte == '\t' || byte == '\n') && byte != '<' && byte != '&' && byte != ']')
    result |= kTextByte;
  if (is_printed && byte != '<' && byte != '&' && byte != '"' && byte != '\'') result |= kValueByte;
  if ((is_printed || is_space) && byte != '-') result |= kCommentByte;
  return static_cast<std::uint8_t>(result);
}

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int byte = 0; byte < 256; ++byte) classes[static_cast<std::size_t>(byte)] = ClassOf(byte);
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

inline bool Is(char c, ByteClass wanted) {
  return (kClasses[static_cast<unsigned char>(c)] & wanted) != 0;
}

inline const char* Skip(const char* at, ByteClass wanted) {
  while (Is(*at, wanted)) ++at;
  return at;
}

inline std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

// Sixteen bytes that the compiler processes at once, on any machine.
using Lanes = signed char __attribute__((vector_size(16)));
constexpr std::ptrdiff_t kBlockBytes = 4 * sizeof(Lanes);

// A lane is not 0 when its byte is not printable (those beyond ASCII are negative) or may be
// special.
inline Lanes OddLanes(const char* bytes) {
  Lanes lanes;
  std::memcpy(&lanes, bytes, sizeof(lanes));
  return (lanes < 0x20) | (lanes == '<') | (lanes == '&') | (lanes == ']');
}

// Whether all bytes of a block are printable and stand for themselves.
inline bool IsPlainBlock(const char* block) {
  constexpr std::size_t kStep = sizeof(Lanes);
  const Lanes odd = OddLanes(block) | OddLanes(block + kStep) | OddLanes(block + 2 * kStep) |
                    OddLanes(block + 3 * kStep);
  std::array<std::uint64_t, 2> halves{};
  std::memcpy(halves.data(), &odd, sizeof(odd));
  return (halves[0] | halves[1]) == 0;
}

// Long texts contain no line ends; short ones are mostly line ends and blanks.
const char* SkipText(const char* at, const char* end) {
  for (;;) {
    while (end - at >= kBlockBytes && IsPlainBlock(at)) at += kBlockBytes;
    const char* const stop = at + std::min<std::ptrdiff_t>(kBlockBytes, end - at);
    while (at < stop && Is(*at, kTextByte)) ++at;
    if (at < stop || at == end) return at;
  }
}

inline bool IsFollowing(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// The length in bytes of the UTF-8 character that begins with lead, 0 when none does.
int Utf8Length(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

bool IsCharacterCode(std::uint32_t code) {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code <= 0xD7FF || (code >= 0xE000 && code <= 0xFFFD) ||
         (code >= 0x10000 && code <= 0x10FFFF);
}

// The code of a character of two bytes or more, which must be complete; 0 when invalid.
std::uint32_t CodeOf(std::string_view bytes) {
  constexpr std::array<std::uint32_t, 5> kLowest = {0, 0, 0x80, 0x800, 0x10000};
  std::uint32_t code = static_cast<unsigned char>(bytes[0]) & (0xFFU >> (bytes.size() + 1));
  for (const char c : bytes.substr(1)) {
    if (!IsFollowing(c)) return 0;
    code = code << 6 | (static_cast<unsigned char>(c) & 0x3FU);
  }
  return code >= kLowest[bytes.size()] ? code : 0;
}

void AppendUtf8(std::uint32_t code, std::string& text) {
  const auto append = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto append_rest = [&](unsigned shift) { append(0x80U | (code >> shift & 0x3FU)); };
  if (code < 0x80) return append(code);
  if (code < 0x800) {
    append(0xC0U | code >> 6);
    return append_rest(0);
  }
  if (code < 0x10000) {
    append(0xE0U | code >> 12);
  } else {
    append(0xF0U | code >> 18);
    append_rest(12);
  }
  append_rest(6);
  append_rest(0);
}

struct KnownEntity {
  std::string_view m_name;
  std::uint32_t m_code;
};
constexpr std::array<KnownEntity, 5> kEntities = {
    {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};

// The character for the text of a reference between '&' and ';'; 0 for others.
std::uint32_t ReferredCode(std::string_view reference) {
  if (!reference.starts_with('#')) {
    for (const KnownEntity& one : kEntities)
      if (one.m_name == reference) return one.m_code;
    return 0;
  }
  const bool is_hex = reference.starts_with("#x");
  const std::string_view digits = reference.substr(is_hex ? 2 : 1);
  std::uint32_t code = 0;
  const auto [rest, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), code, is_hex ? 16 : 10);
  const bool is_number = error == std::errc() && rest == digits.data() + digits.size();
  return is_number && IsCharacterCode(code) ? code : 0;
}

std::string ToLowerAscii(std::string_view text) {
  std::string result(text);
  for (char& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

/// Takes one part of an XML declaration in its usual form (blanks, name, '=', a quoted word) from
/// the front of text. False when text does not begin with it.
bool TakePart(std::string_view& text, std::string_view name, std::string_view& value) {
  std::string_view rest = text;
  const char* const begin = Skip(rest.data(), kSpace);
  if (begin == rest.data()) return false;
  rest.remove_prefix(static_cast<std::size_t>(begin - rest.data()));
  if (!rest.starts_with(name)) return false;
  rest.remove_prefix(name.size());
  if (!rest.starts_with("=\"") && !rest.starts_with("='")) return false;
  const std::size_t close = rest.find(rest[1], 2);
  if (close == std::string_view::npos) return false;
  value = rest.substr(2, close - 2);
  text = rest.substr(close + 1);
  return true;
}

// One bit for a name. Names with the same bit are then compared.
std::uint64_t MarkOf(std::string_view name) {
  const std::size_t first = static_cast<unsigned char>(name.front());
  const std::size_t last = static_cast<unsigned char>(name.back());
  return std::uint64_t{1} << ((name.size() * 5 + first * 3 + last) % 64);
}

// More attributes than any element has; a limit because their names are compared in pairs.
constexpr std::size_t kMostAttributes = 64;

// "&#x10FFFF;" without its ends, plus some zeros.
constexpr std::ptrdiff_t kLongestReference = 16;

}  // namespace

XmlScanner::Outcome XmlScanner::Scan(std::string_view bytes) {
  m_begin = m_taken = m_at = bytes.data();
  m_end = bytes.data() + bytes.size();
  Step step = Step::kDone;
  if (!m_has_root) step = ScanProlog();
  if (step == Step::kDone && !m_open_sizes.empty()) step = ScanContent();
  if (step == Step::kDone) step = ScanEpilog();
  return step == Step::kOdd ? Outcome::kOdd : Outcome::kTook;
}

std::string XmlScanner::Opening() const {
  if (!m_has_root) return {};
  std::string opening = "<?xml version=\"1.0\" encoding=\"";
  opening += m_encoding == Encoding::kLatin1  ? "ISO-8859-1"
             : m_encoding == Encoding::kAscii ? "US-ASCII"
                                              : "UTF-8";
  opening += "\"?>";
  if (m_open_sizes.empty()) return opening + "<root/>";
  std::size_t at = 0;
  for (const std::size_t size : m_open_sizes) {
    opening += "<" + m_open_names.substr(at, size) + ">";
    at += size;
  }
  return opening;
}

// A prolog that is cut off is scanned again with the next bytes, because nothing is taken before
// the root.
XmlScanner::Step XmlScanner::ScanProlog() {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  constexpr std::string_view kDeclaration = "<?xml";
  const std::string_view bytes = Between(m_begin, m_end);
  if (bytes.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(bytes)) return Step::kCut;
  if (bytes.starts_with(kByteOrderMark)) m_at += kByteOrderMark.size();
  const std::string_view head = Between(m_at, m_end).substr(0, kDeclaration.size());
  if (head.size() < kDeclaration.size() && kDeclaration.starts_with(head)) return Step::kCut;
  if (head == kDeclaration)
    if (const Step step = ScanDeclaration(); step != Step::kDone) return step;
  for (;;) {
    m_at = Skip(m_at, kSpace);
    if (*m_at != '<') return StepAt(m_at);
    if (Is(m_at[1], kNameStart)) return ScanStartTag();
    if (m_at[1] != '!') return StepAt(m_at + 1);
    if (const Step step = ScanComment(); step != Step::kDone) return step;
  }
}

XmlScanner::Step XmlScanner::ScanDeclaration() {
  const std::string_view bytes = Between(m_at, m_end);
  const std::size_t end = bytes.find("?>");
  if (end == std::string_view::npos) return Step::kCut;
  std::string_view rest = bytes.substr(5, end - 5);
  std::string_view version;
  std::string_view encoding = "utf-8";
  std::string_view standalone = "no";
  if (!TakePart(rest, "version", version) || version != "1.0") return Step::kOdd;
  TakePart(rest, "encoding", encoding);
  TakePart(rest, "standalone", standalone);
  if (Skip(rest.data(), kSpace) != rest.data() + rest.size()) return Step::kOdd;
  if (standalone != "no" && standalone != "yes") return Step::kOdd;
  const std::string name = ToLowerAscii(encoding);
  const bool has_mark = m_at != m_begin;  // which says UTF-8
  if (name != "utf-8" && (has_mark || (name != "us-ascii" && name != "iso-8859-1")))
    return Step::kOdd;
  m_encoding = name == "utf-8"      ? Encoding::kUtf8
               : name == "us-ascii" ? Encoding::kAscii
                                    : Encoding::kLatin1;
  m_at = bytes.data() + end + 2;
  return Step::kDone;
}

XmlScanner::Step XmlScanner::ScanContent() {
  while (!m_open_sizes.empty()) {
    const Step step = *m_at == '<' ? ScanMarkup() : ScanText();
    if (step != Step::kDone) return step;
    m_taken = m_at;
  }
  return Step::kDone;
}

// Does not split a line end of two bytes, so that the lines after it are counted correctly.
XmlScanner::Step XmlScanner::ScanEpilog() {
  for (;;) {
    m_at = Skip(m_at, kSpace);
    m_taken = m_at > m_taken && m_at[-1] == '\r' ? m_at - 1 : m_at;
    if (*m_at != '<') return StepAt(m_at);
    m_taken = m_at;
    if (m_at[1] != '!') return StepAt(m_at + 1);
    if (const Step step = ScanComment(); step != Step::kDone) return step;
    m_taken = m_at;
  }
}

XmlScanner::Step XmlScanner::ScanMarkup() {
  if (Is(m_at[1], kNameStart)) return ScanStartTag();
  if (m_at[1] == '/') return ScanEndTag();
  if (m_at[1] == '!') return ScanComment();
  return StepAt(m_at + 1);
}

void XmlScanner::EmitText(const char* end, std::string_view text) {
  m_at = m_taken = end;
  m_handler->OnText(text);
}

XmlScanner::Step XmlScanner::ScanText() {
  const char* const begin = m_at;
  const char* const end = SkipText(begin, m_end);
  if (end > begin) EmitText(end, Between(begin, end));
  if (*m_at == '<') return Step::kDone;
  return m_at == m_end ? Step::kCut : ScanOddText();
}

// Handles a byte of text that may be special.
XmlScanner::Step XmlScanner::ScanOddText() {
  const char* at = m_at;
  switch (*at) {
    case '&':
      return ScanReferenceInText();
    case '\r':
      if (at + 1 == m_end) return Step::kCut;
      EmitText(at + (at[1] == '\n' ? 2 : 1), "\n");
      return Step::kDone;
    case ']':
      if (at + 1 == m_end || (at[1] == ']' && at + 2 == m_end)) return Step::kCut;
      if (at[1] == ']' && at[2] == '>') return Step::kOdd;
      EmitText(at + 1, "]");
      return Step::kDone;
    default:
      m_character.clear();
      const Step step = TakeCharacter(at, m_character);
      if (step == Step::kDone) EmitText(at, m_character);
      return step;
  }
}

XmlScanner::Step XmlScanner::ScanReferenceInText() {
  const char* at = m_at;
  m_character.clear();
  const Step step = TakeReference(at, m_character);
  if (step == Step::kDone) EmitText(at, m_character);
  return step;
}

// at: the '&'; afterwards the byte after the reference.
XmlScanner::Step XmlScanner::TakeReference(const char*& at, std::string& text) const {
  const char* const begin = at + 1;
  const char* const limit = begin + std::min<std::ptrdiff_t>(kLongestReference, m_end - begin);
  const char* const close = std::find(begin, limit, ';');
  if (close == limit) return StepAt(limit);
  const std::uint32_t code = ReferredCode(Between(begin, close));
  if (code == 0) return Step::kOdd;
  AppendUtf8(code, text);
  at = close + 1;
  return Step::kDone;
}

// at: a character beyond ASCII; afterwards the byte after it.
XmlScanner::Step XmlScanner::TakeCharacter(const char*& at, std::string& text) const {
  const char* const begin = at;
  const Step step = SkipCharacter(at);
  if (step != Step::kDone) return step;
  if (m_encoding == Encoding::kLatin1)
    AppendUtf8(static_cast<unsigned char>(*begin), text);
  else
    text.append(begin, at);
  return Step::kDone;
}

XmlScanner::Step XmlScanner::SkipCharacter(const char*& at) const {
  const auto lead = static_cast<unsigned char>(*at);
  if (lead < 0x80 || m_encoding == Encoding::kAscii) return StepAt(at);
  if (m_encoding == Encoding::kLatin1) {
    ++at;
    return Step::kDone;
  }
  const int length = Utf8Length(lead);
  if (length == 0) return Step::kOdd;
  if (m_end - at < length) return Step::kCut;
  const std::uint32_t code = CodeOf({at, static_cast<std::size_t>(length)});
  if (!IsCharacterCode(code)) return Step::kOdd;
  at += length;
  return Step::kDone;
}

XmlScanner::Step XmlScanner::ScanStartTag() {
  const char* const name = m_at + 1;
  m_at = Skip(name, kNameByte);
  const std::string_view name_text = Between(name, m_at);
  m_attributes.clear();
  m_attribute_marks = 0;
  m_values.clear();
  bool is_empty = false;
  if (const Step step = ScanAttributes(is_empty); step != Step::kDone) return step;
  Start(name_text, m_at, is_empty);
  return Step::kDone;
}

// The element is opened or closed before the handler is called, so that nothing happens twice when
// the handler throws.
void XmlScanner::Start(std::string_view name, const char* tag_end, bool is_empty) {
  m_has_root = true;
  m_taken = tag_end;
  if (!is_empty) {
    m_open_names += name;
    m_open_sizes.push_back(name.size());
  }
  m_handler->OnStart(name, XmlAttributes(m_attributes));
  if (is_empty) m_handler->OnEnd(name);
}

// Starts after the name of a tag; ends after the tag.
XmlScanner::Step XmlScanner::ScanAttributes(bool& is_empty) {
  for (;;) {
    const char* const behind = m_at;
    m_at = Skip(m_at, kSpace);
    if (*m_at == '>') {
      ++m_at;
      return Step::kDone;
    }
    if (*m_at == '/') {
      if (m_at[1] != '>') return StepAt(m_at + 1);
      is_empty = true;
      m_at += 2;
      return Step::kDone;
    }
    if (m_at == behind || !Is(*m_at, kNameStart)) return StepAt(m_at);
    if (const Step step = ScanAttribute(); step != Step::kDone) return step;
  }
}

XmlScanner::Step XmlScanner::ScanAttribute() {
  const char* const name = m_at;
  m_at = Skip(name, kNameByte);
  const std::string_view name_text = Between(name, m_at);
  if (*m_at != '=') m_at = Skip(m_at, kSpace);
  if (*m_at != '=') return StepAt(m_at);
  ++m_at;
  if (Is(*m_at, kSpace)) m_at = Skip(m_at, kSpace);
  const char quote = *m_at;
  if (quote != '"' && quote != '\'') return StepAt(m_at);
  ++m_at;
  std::string_view value;
  if (const Step step = ScanValue(quote, value); step != Step::kDone) return step;
  return AddAttribute(name_text, value) ? Step::kDone : Step::kOdd;
}

XmlScanner::Step XmlScanner::ScanValue(char quote, std::string_view& value) {
  const char* const begin = m_at;
  for (;;) {
    m_at = Skip(m_at, kValueByte);
    if (*m_at == quote) break;
    if (*m_at != '"' && *m_at != '\'') return ScanOddValue(quote, begin, value);
    ++m_at;
  }
  value = Between(begin, m_at);
  ++m_at;
  return Step::kDone;
}

// Writes out the value for the handler. Room for all values of a tag is reserved, so that none
// moves: a byte becomes at most two.
XmlScanner::Step XmlScanner::ScanOddValue(char quote, const char* begin, std::string_view& value) {
  if (m_at == m_end) return Step::kCut;
  if (m_values.empty()) m_values.reserve(2 * static_cast<std::size_t>(m_end - begin));
  const std::size_t start = m_values.size();
  m_values.append(begin, m_at);
  while (*m_at != quote) {
    Step step = Step::kDone;
    if (Is(*m_at, kValueByte) || *m_at == '"' || *m_at == '\'') {
      m_values.push_back(*m_at++);
    } else if (Is(*m_at, kSpace)) {
      if (*m_at == '\r' && m_at[1] == '\n') ++m_at;
      m_values.push_back(' ');
      ++m_at;
    } else if (*m_at == '&') {
      step = TakeReference(m_at, m_values);
    } else {
      step = TakeCharacter(m_at, m_values);
    }
    if (step != Step::kDone) return step;
  }
  value = std::string_view(m_values).substr(start);
  ++m_at;
  return Step::kDone;
}

// False when the tag already has the name, or has too many attributes.
bool XmlScanner::AddAttribute(std::string_view name, std::string_view value) {
  const std::uint64_t mark = MarkOf(name);
  if ((m_attribute_marks & mark) != 0)
    for (const XmlAttribute& one : m_attributes)
      if (one.m_name == name) return false;
  m_attribute_marks |= mark;
  m_attributes.push_back({name, value});
  return m_attributes.size() <= kMostAttributes;
}

XmlScanner::Step XmlScanner::ScanEndTag() {
  const char* const name = m_at + 2;
  const std::size_t size = m_open_sizes.back();
  const std::string_view open(m_open_names.data() + m_open_names.size() - size, size);
  const std::string_view rest = Between(name, m_end);
  if (!rest.starts_with(open)) return open.starts_with(rest) ? Step::kCut : Step::kOdd;
  const char* const close = Skip(name + size, kSpace);
  if (*close != '>') return StepAt(close);
  m_at = m_taken = close + 1;
  CloseInnermost();
  m_handler->OnEnd({name, size});
  return Step::kDone;
}

void XmlScanner::CloseInnermost() {
  m_open_names.resize(m_open_names.size() - m_open_sizes.back());
  m_open_sizes.pop_back();
}

// At "<!", which may also begin something else.
XmlScanner::Step XmlScanner::ScanComment() {
  constexpr std::string_view kOpening = "<!--";
  const std::string_view rest = Between(m_at, m_end);
  if (!rest.starts_with(kOpening)) return kOpening.starts_with(rest) ? Step::kCut : Step::kOdd;
  const char* at = m_at + kOpening.size();
  for (;;) {
    at = Skip(at, kCommentByte);
    if (*at == '-') {
      if (at[1] != '-') {
        ++at;
        continue;
      }
      if (at[2] != '>') return StepAt(at + 2);
      m_at = at + 3;
      return Step::kDone;
    }
    if (const Step step = SkipCharacter(at); step != Step::kDone) return step;
  }
}

}  // namespace tarvek::extractor
