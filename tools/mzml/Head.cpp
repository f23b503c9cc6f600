#include "mzml/Head.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "mzml/TagStream.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kRoomForCount = 12;
constexpr std::string_view kIndexedStart =
    "<indexedmzML xmlns=\"http://psi.hupo.org/ms/mzml\" "
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xsi:schemaLocation=\"http://psi.hupo.org/ms/mzml "
    "http://psidev.info/files/ms/mzML/xsd/mzML1.1.2_idx.xsd\">\n";

/// More spectra than a file can hold.
constexpr std::int64_t kLargestCount = 1'000'000'000'000;

/// The whole of text as a number, at most kLargestCount.
std::optional<std::int64_t> CountIn(std::string_view text) {
  std::int64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, count);
  if (result.ec != std::errc() || result.ptr != end || count < 0 || count > kLargestCount)
    return std::nullopt;
  return count;
}

/// A list of the head: its start tag and the place of its end tag.
struct ListPlace {
  std::size_t m_begin = 0;
  std::string_view m_start_tag;
  std::size_t m_end = 0;
};

std::optional<ListPlace> FindList(std::string_view head, std::string_view name) {
  std::optional<ListPlace> place;
  for (TagFinder tags(head); tags.Next();) {
    if (tags.Present().Starts(name)) place = {tags.Begin(), tags.Present().Text(), 0};
    if (!place || !tags.Present().Ends(name)) continue;
    place->m_end = tags.Begin();
    return place;
  }
  return std::nullopt;
}

/// Adds element to the end of a list and to its count.
std::string WithElement(const std::string& head, const ListPlace& list, std::string_view element) {
  const Tag start(list.m_start_tag);
  const auto count = CountIn(start.Attribute("count").value_or(""));
  const std::string tag = count ? WithAttribute(start, "count", std::to_string(*count + 1))
                                : std::string(list.m_start_tag);
  // The blanks before the end tag stay before it.
  std::size_t last = head.find_last_not_of(" \t", list.m_end - 1) + 1;
  const std::string blanks = head.substr(last, list.m_end - last);
  const bool has_lines = last > 0 && head[last - 1] == '\n';
  const std::string line =
      has_lines ? blanks + "  " + std::string(element) + '\n' : std::string(element);
  if (!has_lines) last = list.m_end;
  const std::size_t tag_end = list.m_begin + list.m_start_tag.size();
  return head.substr(0, list.m_begin) + tag + head.substr(tag_end, last - tag_end) + line +
         head.substr(last);
}

/// The name that the head has for the vocabulary of mass spectrometry.
std::string VocabularyOf(std::string_view head) {
  for (TagFinder tags(head); tags.Next();)
    if (tags.Present().Starts("cvParam") &&
        tags.Present().Attribute("accession").value_or("").starts_with("MS:"))
      return std::string(tags.Present().Attribute("cvRef").value_or("MS"));
  return "MS";
}

/// start, with "_2", "_3", ... appended while the head already has that id.
std::string FreeId(const std::string& head, const std::string& start) {
  std::set<std::string_view, std::less<>> taken;
  for (TagFinder tags(head); tags.Next();)
    if (const auto id = tags.Present().Attribute("id"); id && id->starts_with(start))
      taken.insert(*id);
  std::string id = start;
  for (int number = 2; taken.contains(id); ++number) id = start + '_' + std::to_string(number);
  return id;
}

/// Adds tarvek to the programs that made the file; a head without lists stays unchanged.
std::string WithNote(const std::string& head) {
  const auto software = FindList(head, "softwareList");
  if (!software || !FindList(head, "dataProcessingList")) return head;
  const std::string param = "<cvParam cvRef=\"" + VocabularyOf(head) + "\" accession=\"MS:";
  const std::string software_id = FreeId(head, "tarvek");
  const std::string text = WithElement(
      head, *software,
      "<software id=\"" + software_id + "\" version=\"" TARVEK_VERSION "\">" + param +
          "1000799\" name=\"custom unreleased software tool\" value=\"tarvek\"/></software>");
  return WithElement(text, *FindList(text, "dataProcessingList"),
                     "<dataProcessing id=\"" + FreeId(head, "tarvek_precursors") +
                         "\"><processingMethod order=\"0\" softwareRef=\"" + software_id + "\">" +
                         param +
                         "1000780\" name=\"precursor recalculation\" "
                         "value=\"\"/></processingMethod></dataProcessing>");
}

/// The root must be indexedmzML or mzML; the latter is wrapped in the former.
std::string AsIndexed(std::string_view head) {
  TagFinder tags(head);
  const bool has_root = tags.Next();
  if (has_root && tags.Present().Starts("indexedmzML")) return std::string(head);
  if (!has_root || !tags.Present().Starts("mzML")) throw std::string("this is no mzML");
  std::string text(head);
  return text.insert(tags.Begin(), kIndexedStart);
}

}  // namespace

MzmlHead::MzmlHead(std::string_view head, bool has_room) : m_text(WithNote(AsIndexed(head))) {
  const std::size_t tag_begin = m_text.rfind("<spectrumList");
  const Tag tag(std::string_view(m_text).substr(tag_begin));
  const auto value = tag.Attribute("count");
  const auto count = value ? CountIn(*value) : std::nullopt;
  if (!count) throw std::string("the spectrumList has no count of spectra");
  m_declared = *count;
  m_count_begin = static_cast<std::size_t>(value->data() - m_text.data());
  m_count_size = value->size() + 1;
  if (!has_room) return;
  m_text.insert(m_count_begin + m_count_size, kRoomForCount, ' ');
  m_count_size += kRoomForCount;
}

bool MzmlHead::SetCount(std::int64_t count) {
  std::string text = std::to_string(count) + m_text[m_text.find_first_of("\"'", m_count_begin)];
  if (text.size() > m_count_size) return false;
  text.resize(m_count_size, ' ');
  m_text.replace(m_count_begin, m_count_size, text);
  return true;
}

}  // namespace tarvek::tools
