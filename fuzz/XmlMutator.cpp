#include "XmlMutator.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <utility>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace tarvek::fuzz {
namespace {

/// A stretch of the text.
struct Stretch {
  std::size_t m_begin = 0;
  std::size_t m_end = 0;

  [[nodiscard]] std::size_t Size() const { return m_end - m_begin; }
  [[nodiscard]] bool Holds(std::size_t at) const { return m_begin <= at && at < m_end; }
};

/// Whole: with its tags. Inner: what is between them; empty at the end of an empty element's tag.
struct Element {
  Stretch m_whole;
  Stretch m_tag;  // the start tag
  Stretch m_inner;
  std::string_view m_name;
};

constexpr std::string_view kNameEnds = " \t\r\n/>";

std::string_view NameAt(std::string_view text, std::size_t at) {
  const std::size_t end = text.find_first_of(kNameEnds, at);
  return text.substr(at, end == std::string_view::npos ? end : end - at);
}

/// The end of a tag that begins at a '<', behind its '>'; a '>' inside quotes does not count.
std::size_t EndOfTag(std::string_view text, std::size_t begin) {
  char quote = '\0';
  for (std::size_t at = begin; at < text.size(); ++at) {
    const char c = text[at];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return at + 1;
    }
  }
  return std::string_view::npos;
}

/// The elements that are closed, in no special order. Comments, declarations and the like are passed over.
std::vector<Element> ElementsOf(std::string_view text) {
  std::vector<Element> closed;
  std::vector<Element> open;
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    const std::size_t end = EndOfTag(text, at);
    if (end == std::string_view::npos) break;
    const std::size_t name_at = at + 1;
    if (text[name_at] == '/') {
      const std::string_view name = NameAt(text, name_at + 1);
      if (!open.empty() && open.back().m_name == name) {
        Element element = open.back();
        open.pop_back();
        element.m_inner = {element.m_tag.m_end, at};
        element.m_whole.m_end = end;
        closed.push_back(element);
      }
    } else if (text[name_at] != '!' && text[name_at] != '?') {
      Element element{{at, end}, {at, end}, {end, end}, NameAt(text, name_at)};
      if (text[end - 2] == '/')
        closed.push_back(element);
      else
        open.push_back(element);
    }
    at = end;
  }
  return closed;
}

/// The attributes of a start tag, each with the blank before it and its quotes.
std::vector<Stretch> AttributesOf(std::string_view text, const Stretch& tag) {
  std::vector<Stretch> attributes;
  std::size_t at = tag.m_begin;
  while (true) {
    const std::size_t begin = text.find(' ', at);
    const std::size_t quote = text.find_first_of("\"'", begin);
    if (begin >= tag.m_end || quote >= tag.m_end) return attributes;
    const std::size_t end = text.find(text[quote], quote + 1);
    if (end >= tag.m_end) return attributes;
    attributes.push_back({begin, end + 1});
    at = end + 1;
  }
}

Stretch ValueOf(std::string_view text, const Stretch& attribute) {
  const std::size_t quote = text.find_first_of("\"'", attribute.m_begin);
  return {quote + 1, attribute.m_end - 1};
}

constexpr auto kValues =
    std::to_array<std::string_view>({"",
                                     "0",
                                     "1",
                                     "-1",
                                     "2",
                                     "3",
                                     "nan",
                                     "inf",
                                     "-inf",
                                     "1e999",
                                     "-1e999",
                                     "1e308",
                                     "1e-320",
                                     "2147483647",
                                     "2147483648",
                                     "-2147483648",
                                     "4294967296",
                                     "9223372036854775807",
                                     "99999999999999999999",
                                     "1,5",
                                     "0x1",
                                     " 5 ",
                                     "abc",
                                     "PT1H1M1S",
                                     "PT",
                                     "scan=1",
                                     "scan=",
                                     "controllerType=0 controllerNumber=1 scan=5",
                                     "MS:1000511",
                                     "MS:1000514",
                                     "MS:1000515",
                                     "MS:1000574",
                                     "MS:1000744",
                                     "MS:1000041",
                                     "MS:1000827",
                                     "MS:1000521",
                                     "MS:1000523",
                                     "MS:1002312",
                                     "MS:1002314",
                                     "MS:1002746",
                                     "UO:0000031",
                                     "&#10;",
                                     "&amp;"});

/// Texts of arrays: none, not base64, and 8, 16 and 24 bytes of numbers, compressed and not.
constexpr auto kArrays = std::to_array<std::string_view>(
    {"", "A", "====", "!", "AAAAAAAAAAA=", "AAAAAADgf0A=", "AAAAAAAA+H8=",
     "AAAAAAAA8H8AAAAAAADwfw==", "Q8ggAEEgAABDyCAQQaAAAEPIwABAoAAA",
     "eJxjYAAClkqHuF2ePExAGsRlkKh0AAArPgO7", "AAAAAAAAWUAAAAAAAABpQAAAAAAAwHJA",
     "AAAgQQAAoEEAAKBA"});

class Changer {
 public:
  Changer(std::string text, std::uint32_t seed) : m_text(std::move(text)), m_random(seed) {}

  /// One change; false when there is no element.
  bool Change();

  [[nodiscard]] std::string Take() { return std::move(m_text); }

 private:
  std::size_t Below(std::size_t count) { return count == 0 ? 0 : m_random() % count; }

  template <class List>
  auto& OneOf(List& list) {
    return list[Below(std::size(list))];
  }

  std::string Copy(const Stretch& stretch) const {
    return m_text.substr(stretch.m_begin, stretch.Size());
  }
  void Replace(const Stretch& stretch, std::string_view by) {
    m_text.replace(stretch.m_begin, stretch.Size(), by);
  }

  void Move(std::span<const Element> elements);
  void Nest(std::span<const Element> elements);
  void Repeat(const Element& element);
  void Swap(std::span<const Element> elements);
  void Rename(const Element& element, std::string_view name);
  void ChangeAttribute(std::span<const Element> elements);
  void SwapAttributes(std::span<const Element> elements);
  void ReplaceArray(std::span<const Element> elements);
  bool EditNumber();

  std::string m_text;
  std::minstd_rand m_random;
};

bool Changer::Change() {
  const std::vector<Element> elements = ElementsOf(m_text);
  if (elements.empty()) return false;
  const Element& element = OneOf(elements);
  switch (Below(16)) {
    case 0:
    case 1:
      Move(elements);
      break;
    case 2:
    case 3:
      Nest(elements);
      break;
    case 4:
      Repeat(element);
      break;
    case 5:
      Swap(elements);
      break;
    case 6:
    case 7:
      Replace(element.m_whole, {});
      break;
    case 8:  // unwraps
      Replace(element.m_whole, Copy(element.m_inner));
      break;
    case 9:  // empties
      Replace(element.m_inner, {});
      break;
    case 10:
      Rename(element, OneOf(elements).m_name);
      break;
    case 11:
    case 12:
      ChangeAttribute(elements);
      break;
    case 13:
      SwapAttributes(elements);
      break;
    case 14:
      ReplaceArray(elements);
      break;
    default:
      if (!EditNumber()) ChangeAttribute(elements);
  }
  return true;
}

/// A place for a whole element: before, behind or at either end of the inside of another.
std::size_t PlaceAt(const Element& element, std::size_t choice) {
  switch (choice) {
    case 0:
      return element.m_whole.m_begin;
    case 1:
      return element.m_whole.m_end;
    case 2:
      return element.m_inner.m_begin;
    default:
      return element.m_inner.m_end;
  }
}

void Changer::Move(std::span<const Element> elements) {
  const Stretch from = OneOf(elements).m_whole;
  std::size_t to = PlaceAt(OneOf(elements), Below(4));
  if (from.Holds(to)) return;
  const std::string moved = Copy(from);
  m_text.insert(to, moved);
  Replace(
      to <= from.m_begin ? Stretch{from.m_begin + moved.size(), from.m_end + moved.size()} : from,
      {});
}

/// Puts a copy of an element, now and then a chain of them, into another, or into itself.
void Changer::Nest(std::span<const Element> elements) {
  const std::string copy = Copy(OneOf(elements).m_whole);
  const std::size_t into = PlaceAt(OneOf(elements), Below(4));
  m_text.insert(into, copy);
}

void Changer::Repeat(const Element& element) {
  constexpr auto kTimes = std::to_array<std::size_t>({1, 1, 2, 5, 20});
  const std::string copy = Copy(element.m_whole);
  const std::size_t place = element.m_whole.m_end;
  for (std::size_t left = OneOf(kTimes); left > 0 && m_text.size() < (std::size_t{1} << 16); --left)
    m_text.insert(place, copy);
}

void Changer::Swap(std::span<const Element> elements) {
  Stretch first = OneOf(elements).m_whole;
  Stretch second = OneOf(elements).m_whole;
  if (second.m_begin < first.m_begin) std::swap(first, second);
  if (second.m_begin < first.m_end) return;
  const std::string one = Copy(first);
  const std::string two = Copy(second);
  Replace(second, one);
  Replace(first, two);
}

void Changer::Rename(const Element& element, std::string_view name) {
  const std::string new_name(name);  // borrows from the text, which changes
  const std::size_t old_size = element.m_name.size();
  if (element.m_inner.m_end != element.m_tag.m_end || element.m_whole.m_end != element.m_tag.m_end)
    Replace({element.m_inner.m_end + 2, element.m_inner.m_end + 2 + old_size}, new_name);
  Replace({element.m_tag.m_begin + 1, element.m_tag.m_begin + 1 + old_size}, new_name);
}

void Changer::ChangeAttribute(std::span<const Element> elements) {
  const std::vector<Stretch> attributes = AttributesOf(m_text, OneOf(elements).m_tag);
  if (attributes.empty()) return;
  const Stretch attribute = OneOf(attributes);
  switch (Below(6)) {
    case 0:
      Replace(attribute, {});
      break;
    case 1:  // twice in one tag, which is a mistake
      m_text.insert(attribute.m_end, Copy(attribute));
      break;
    case 2: {  // into another element
      const std::string copy = Copy(attribute);
      const Element& other = OneOf(elements);
      m_text.insert(other.m_tag.m_begin + 1 + other.m_name.size(), copy);
      break;
    }
    default:
      Replace(ValueOf(m_text, attribute), OneOf(kValues));
  }
}

/// Two values of the file change places.
void Changer::SwapAttributes(std::span<const Element> elements) {
  const std::vector<Stretch> some = AttributesOf(m_text, OneOf(elements).m_tag);
  const std::vector<Stretch> others = AttributesOf(m_text, OneOf(elements).m_tag);
  if (some.empty() || others.empty()) return;
  Stretch first = ValueOf(m_text, OneOf(some));
  Stretch second = ValueOf(m_text, OneOf(others));
  if (second.m_begin < first.m_begin) std::swap(first, second);
  if (second.m_begin < first.m_end) return;
  const std::string one = Copy(first);
  const std::string two = Copy(second);
  Replace(second, one);
  Replace(first, two);
}

void Changer::ReplaceArray(std::span<const Element> elements) {
  std::vector<Stretch> texts;
  for (const Element& element : elements)
    if (element.m_name == "binary" || element.m_name == "peaks" || element.m_name == "precursorMz")
      texts.push_back(element.m_inner);
  if (texts.empty()) return;
  const Stretch text = OneOf(texts);
  if (Below(4) == 0)
    Replace(text, Copy(OneOf(texts)));
  else
    Replace(text, OneOf(kArrays));
}

/// A run of digits, wherever it is, becomes another value.
bool Changer::EditNumber() {
  constexpr std::string_view kDigits = "0123456789";
  const std::size_t begin = m_text.find_first_of(kDigits, Below(m_text.size()));
  if (begin == std::string::npos) return false;
  const std::size_t end = std::min(m_text.find_first_not_of(kDigits, begin), m_text.size());
  Replace({begin, end}, OneOf(kValues));
  return true;
}

}  // namespace

std::string ChangedXml(std::string_view text, std::uint32_t seed) {
  Changer changer{std::string(text), seed};
  for (std::size_t changes = 1 + seed / 7 % 4; changes > 0 && changer.Change(); --changes) {
  }
  return changer.Take();
}

std::size_t MutateXml(std::uint8_t* data, std::size_t size, std::size_t max_size,
                      std::uint32_t seed) {
  if (seed % 10 != 0) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string changed = ChangedXml(text, seed);
    if (changed.size() <= max_size && !changed.empty() && changed != text) {
      std::memcpy(data, changed.data(), changed.size());
      return changed.size();
    }
  }
  return LLVMFuzzerMutate(data, size, max_size);
}

}  // namespace tarvek::fuzz
