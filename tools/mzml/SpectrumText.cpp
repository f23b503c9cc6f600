#include "mzml/SpectrumText.h"

#include <cmath>
#include <cstdlib>

#include "Charge.h"
#include "NumberText.h"
#include "StringUtils.h"
#include "mzml/TagStream.h"

namespace tarvek::tools {
namespace {

constexpr int kMzDecimals = 6;  // of tarvek's tables
constexpr double kSecondsPerMinute = 60.0;

/// The place of the first precursor's selected ions, present or to be added.
struct IonPlace {
  std::size_t m_begin = 0;
  std::size_t m_end = 0;  // m_begin where the precursor has none
};

/// tags: at the start of the precursor, left at its end. Only its own children count, so that whole
/// elements are replaced wherever a damaged file repeats the names.
IonPlace IonPlaceInPrecursor(TagFinder& tags) {
  std::optional<IonPlace> place;
  bool is_in_list = false;
  for (int depth = 0; tags.Next();) {
    const Tag& tag = tags.Present();
    if (tag.IsEnd() && --depth < 0) break;
    if (depth == 0 && is_in_list && tag.IsEnd()) {
      place->m_end = tags.End();
      is_in_list = false;
    } else if (depth == 0 && tag.Starts("selectedIonList")) {
      if (!place || place->m_begin == place->m_end) {
        place = IonPlace{tags.Begin(), tags.End()};
        is_in_list = !tag.IsEmpty();
      }
    } else if (depth == 0 && tag.Starts("activation") && !place) {
      place = IonPlace{tags.Begin(), tags.Begin()};
    }
    if (!tag.IsEnd() && !tag.IsEmpty()) ++depth;
  }
  return place.value_or(IonPlace{tags.Begin(), tags.Begin()});
}

std::optional<IonPlace> FindIonPlace(std::string_view spectrum) {
  TagFinder tags(spectrum);
  while (tags.Next() && !tags.Present().Starts("binaryDataArrayList")) {
    if (!tags.Present().Starts("precursor") || tags.Present().IsEmpty()) continue;
    return IonPlaceInPrecursor(tags);
  }
  return std::nullopt;
}

/// Line end and blanks before a place; both empty when other text is on the line before it.
struct Indentation {
  std::string m_line_end;
  std::string m_blanks;
};

Indentation IndentationAt(std::string_view text, std::size_t place) {
  const std::string_view before = text.substr(0, place);
  const std::size_t line_feed = before.rfind('\n');
  if (line_feed == std::string_view::npos) return {};
  const std::string_view blanks = before.substr(line_feed + 1);
  if (!Trim(blanks).empty()) return {};
  const bool has_return = line_feed > 0 && before[line_feed - 1] == '\r';
  return {has_return ? "\r\n" : "\n", std::string(blanks)};
}

/// The name that the file has for the vocabulary of mass spectrometry.
std::string VocabularyOf(std::string_view spectrum) {
  TagFinder tags(spectrum);
  while (tags.Next())
    if (tags.Present().Starts("cvParam") &&
        tags.Present().Attribute("accession").value_or("").starts_with("MS:"))
      return std::string(tags.Present().Attribute("cvRef").value_or("MS"));
  return "MS";
}

/// Puts elements on separate lines, indented one step deeper than their surroundings.
class IonLines {
 public:
  explicit IonLines(const Indentation& around) : m_around(around) {
    m_step = around.m_blanks.starts_with('\t') ? "\t" : "  ";
  }

  void Put(int depth, std::string_view element) {
    if (!m_text.empty()) {
      m_text += m_around.m_line_end;
      if (!m_around.m_line_end.empty()) m_text += m_around.m_blanks;
      for (int i = 0; i < depth && !m_around.m_line_end.empty(); ++i) m_text += m_step;
    }
    m_text += element;
  }

  [[nodiscard]] std::string Text() && { return std::move(m_text); }

 private:
  const Indentation& m_around;
  std::string m_step;
  std::string m_text;
};

std::string IonListText(std::span<const Precursor> ions, const Indentation& around,
                        const std::string& vocabulary) {
  IonLines lines(around);
  const std::string param = "<cvParam cvRef=\"" + vocabulary + "\" accession=\"";
  lines.Put(0, "<selectedIonList count=\"" + std::to_string(ions.size()) + "\">");
  for (const Precursor& ion : ions) {
    lines.Put(1, "<selectedIon>");
    lines.Put(2, param + "MS:1000744\" name=\"selected ion m/z\" value=\"" +
                     Fixed(std::fabs(ion.m_mz), kMzDecimals) + "\" unitCvRef=\"" + vocabulary +
                     "\" unitAccession=\"MS:1000040\" unitName=\"m/z\"/>");
    lines.Put(2, param + "MS:1000041\" name=\"charge state\" value=\"" +
                     std::to_string(ChargeWithoutSign(ion.m_charge)) + "\"/>");
    lines.Put(1, "</selectedIon>");
  }
  lines.Put(0, "</selectedIonList>");
  return std::move(lines).Text();
}

std::optional<double> ValueOf(const Tag& param) {
  const auto value = param.Attribute("value");
  return value ? FiniteReal(*value) : std::nullopt;
}

/// Minutes where the unit does not say seconds.
std::optional<double> SecondsOf(const Tag& param) {
  const auto value = ValueOf(param);
  if (!value) return std::nullopt;
  return param.Attribute("unitAccession") == "UO:0000010" ? *value : *value * kSecondsPerMinute;
}

/// A parameter of the first precursor.
void TakePrecursorParam(const Tag& param, SpectrumFacts& facts) {
  const std::string_view term = param.Attribute("accession").value_or("");
  if (term == "MS:1000827" && !facts.m_target_mz) facts.m_target_mz = ValueOf(param);
  const bool is_ion_mz = term == "MS:1000744" || term == "MS:1000040";
  if (is_ion_mz && facts.m_ions == 1 && !facts.m_ion_mz) facts.m_ion_mz = ValueOf(param);
}

}  // namespace

SpectrumFacts FactsOf(std::string_view spectrum) {
  SpectrumFacts facts;
  int precursors = 0;
  TagFinder tags(spectrum);
  while (tags.Next() && !tags.Present().Starts("binaryDataArrayList")) {
    const Tag& tag = tags.Present();
    if (tag.Starts("precursor")) {
      facts.m_has_precursor = facts.m_has_precursor || (precursors == 0 && !tag.IsEmpty());
      ++precursors;
    }
    if (tag.Starts("selectedIon") && precursors == 1) ++facts.m_ions;
    if (!tag.Starts("cvParam")) continue;
    if (tag.Attribute("accession") == "MS:1000016" && !facts.m_rt_s) facts.m_rt_s = SecondsOf(tag);
    if (precursors == 1) TakePrecursorParam(tag, facts);
  }
  return facts;
}

std::string WithSelectedIons(std::string_view spectrum, std::span<const Precursor> ions) {
  const auto place = FindIonPlace(spectrum);
  if (!place) return std::string(spectrum);
  const Indentation around = IndentationAt(spectrum, place->m_begin);
  std::string text(spectrum.substr(0, place->m_begin));
  text += IonListText(ions, around, VocabularyOf(spectrum));
  if (place->m_begin == place->m_end) text.append(around.m_line_end).append(around.m_blanks);
  return text.append(spectrum.substr(place->m_end));
}

std::string WithIdAndIndex(std::string_view spectrum, std::string_view id, std::int64_t index) {
  TagFinder tags(spectrum);
  if (!tags.Next()) return std::string(spectrum);
  const std::string with_id = WithAttribute(tags.Present(), "id", id);
  std::string text = WithAttribute(Tag(with_id), "index", std::to_string(index));
  return text.append(spectrum.substr(tags.End()));
}

}  // namespace tarvek::tools
