#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Charge.h"
#include "FileUtils.h"
#include "NumberText.h"
#include "ReadingLimits.h"
#include "SpectrumRecords.h"
#include "StringUtils.h"
#include "XmlStream.h"
#include "psms/Peptide.h"
#include "psms/Readers.h"
#include "psms/ResultLimits.h"

namespace tarvek::tools {
namespace {

using extractor::XmlAttributes;
using extractor::XmlHandler;

constexpr EngineScores kXtandem = {"X!Tandem", "expect", true, "hyperscore"};

void GiveMatchesOf(const EngineMatch& spectrum, std::vector<EngineMatch>& matches,
                   XmlResultLimits& limits, const MatchTaker& take) {
  for (EngineMatch& match : matches) {
    limits.HoldText(spectrum.m_run.size() + spectrum.m_title.size());
    match.m_run = spectrum.m_run;
    match.m_title = spectrum.m_title;
    match.m_scan_no = spectrum.m_scan_no;
    match.m_place = spectrum.m_place;
    match.m_index = spectrum.m_index;
    take(match);
  }
  limits.EndSpectrum();
}

/// The text of an element, which may come in many pieces.
void AppendText(std::string& all, std::string_view piece, std::string_view what) {
  CheckXmlText(all.size() + piece.size(), what);
  all += piece;
}

constexpr std::string_view kPeptide = "a peptide", kTitle = "a title";

void TakeXmlTitle(EngineMatch& match, std::string_view title) {
  CheckXmlText(title.size(), kTitle);
  TakeTitle(match, title);
}

/// The modifications of a peptide.
class Modifications {
 public:
  void Clear() {
    m_all.clear();
    m_text_bytes = 0;
  }

  /// place: of the letter before it, from 0; -1 at the front.
  void Add(std::int64_t place, std::string_view text) {
    m_text_bytes += text.size() + 2;
    CheckXmlText(m_text_bytes, kPeptide);
    m_all.emplace_back(place, text);
  }

  /// The sequence, with each in brackets.
  [[nodiscard]] std::string WithThem(std::string_view sequence) {
    std::ranges::stable_sort(m_all, {}, &std::pair<std::int64_t, std::string>::first);
    std::string modified;
    modified.reserve(sequence.size() + m_text_bytes);
    std::size_t next = 0;
    const auto add_to = [&](std::int64_t last) {
      for (; next < m_all.size() && m_all[next].first <= last; ++next)
        modified += '[' + m_all[next].second + ']';
    };
    add_to(-1);
    for (std::int64_t i = 0; i < std::ssize(sequence); ++i) {
      modified += sequence[static_cast<std::size_t>(i)];
      add_to(i);
    }
    return modified;
  }

 private:
  std::vector<std::pair<std::int64_t, std::string>> m_all;
  std::size_t m_text_bytes = 0;
};

// The XML reader adds the place in the file to these messages.
double RealOf(const XmlAttributes& attributes, std::string_view name) {
  const std::string_view text = attributes.Get(name);
  const auto value = FiniteReal(text);
  if (!value)
    throw "the attribute " + std::string(name) + " is '" + std::string(text) + "', not a number";
  return *value;
}

std::int32_t IntegerOf(const XmlAttributes& attributes, std::string_view name) {
  const std::string_view text = attributes.Get(name);
  const auto scanned = ScanInteger(text);
  if (scanned.m_status != NumberStatus::kOk)
    throw "the attribute " + std::string(name) + " is '" + std::string(text) + "', not a number";
  return scanned.m_value;
}

std::string StemOf(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  return std::string(name.substr(0, name.rfind('.')));
}

/// X!Tandem: a group for each spectrum, in it a domain for each peptide in each protein, and after
/// them the title.
class XtandemHandler final : public XmlHandler {
 public:
  XtandemHandler(const std::string& path, std::int64_t stored_bytes, const MatchTaker& take)
      : m_limits(stored_bytes), m_take(&take) {
    m_spectrum.m_run = StemOf(path);
    m_spectrum.m_scores = kXtandem;
  }

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "group") {
      ++m_depth;
      if (m_depth == 1) StartSpectrum(attributes);
    } else if (!m_is_model) {
      return;
    } else if (name == "protein") {
      m_protein = TokenAt(attributes.Get("label"), ' ', 0);
      if (attributes.Get("label").ends_with(":reversed") && !m_protein.ends_with(":reversed"))
        m_protein += ":reversed";
    } else if (name == "domain") {
      StartDomain(attributes);
    } else if (name == "aa") {
      AddModification(attributes);
    } else if (name == "note") {
      m_is_title = m_depth == 2 && attributes.Get("label") == "Description";
      m_text.clear();
    }
  }

  void OnText(std::string_view text) override {
    if (m_is_title) AppendText(m_text, text, kTitle);
  }

  void OnEnd(std::string_view name) override {
    if (name == "note" && std::exchange(m_is_title, false)) EndTitle();
    if (name == "domain" && m_is_model) EndDomain();
    if (name == "group" && --m_depth == 0 && m_is_model) EndSpectrum();
  }

 private:
  void StartSpectrum(const XmlAttributes& attributes) {
    m_is_model = attributes.Get("type") == "model";
    if (!m_is_model) return;
    m_best.clear();
    m_spectrum.m_title.clear();
    m_spectrum.m_scan_no = 0;
    m_spectrum.m_index = -1;
    m_spectrum.m_place = NumberOrUnknown(IntegerOf(attributes, "id"));
    m_spectrum.m_charge = ChargeWithoutSign(IntegerOf(attributes, "z"));
    m_spectrum.m_searched_mass_da = RealOf(attributes, "mh") - kProtonMass;
  }

  void StartDomain(const XmlAttributes& attributes) {
    m_domain = m_spectrum;
    m_domain.m_score = RealOf(attributes, "expect");
    m_domain.m_second_score = RealOf(attributes, "hyperscore");
    m_domain.m_calculated_mass_da = RealOf(attributes, "mh") - kProtonMass;
    CheckXmlText(attributes.Get("seq").size(), kPeptide);
    m_domain.m_sequence = attributes.Get("seq");
    m_domain_start = IntegerOf(attributes, "start");
    m_modifications.Clear();
    m_domain.m_proteins = {m_protein};
    if (std::string why = WhyNoSequence(m_domain.m_sequence); !why.empty()) throw why;
  }

  // Places count within the protein.
  void AddModification(const XmlAttributes& attributes) {
    const std::int64_t place = IntegerOf(attributes, "at") - m_domain_start;
    m_modifications.Add(std::max(place, std::int64_t{0}), attributes.Get("modified"));
  }

  void EndDomain() {
    m_domain.m_peptide = m_modifications.WithThem(m_domain.m_sequence);
    m_limits.Hold(m_domain);
    m_limits.HoldProtein(m_domain.m_proteins.front());
    m_best.push_back(m_domain);
  }

  // X!Tandem puts the retention time after the title.
  void EndTitle() {
    std::string_view title = m_text;
    title = Trim(title.substr(0, title.find(" RTINSECONDS=")));
    TakeXmlTitle(m_spectrum, title);
  }

  void EndSpectrum() {
    m_is_model = false;
    GiveMatchesOf(m_spectrum, m_best, m_limits, *m_take);
  }

  XmlResultLimits m_limits;
  const MatchTaker* m_take;
  int m_depth = 0;  // of groups
  bool m_is_model = false, m_is_title = false;
  std::string m_protein, m_text;
  EngineMatch m_spectrum, m_domain;
  std::int64_t m_domain_start = 0;
  Modifications m_modifications;
  std::vector<EngineMatch> m_best;  // of the current spectrum
};

/// Scores of the PSI vocabulary that order matches, the most reliable first. An item's score is the
/// first of them that it has.
struct KnownScore {
  std::string_view m_accession;
  EngineScores m_scores;
};
constexpr KnownScore kKnownScores[] = {
    {"MS:1002052", {"MS-GF+", "MS-GF:SpecEValue", true, ""}},
    {"MS:1002053", {"MS-GF+", "MS-GF:EValue", true, ""}},
    {"MS:1002257", {"Comet", "Comet:expectation value", true, ""}},
    {"MS:1001330", {"X!Tandem", "X!Tandem:expect", true, ""}},
    {"MS:1001172", {"Mascot", "Mascot:expectation value", true, ""}},
    {"MS:1001328", {"OMSSA", "OMSSA:evalue", true, ""}},
    {"MS:1003347", {"MSFragger", "MSFragger:expectation value", true, ""}},
    {"MS:1002354", {"PSM-level", "PSM-level q-value", true, ""}},
    {"MS:1001171", {"Mascot", "Mascot:score", false, ""}},
    {"MS:1001950", {"PEAKS", "PEAKS:peptideScore", false, ""}},
    {"MS:1002252", {"Comet", "Comet:xcorr", false, ""}},
    {"MS:1001331", {"X!Tandem", "X!Tandem:hyperscore", false, ""}},
    {"MS:1002995", {"Andromeda", "Andromeda:score", false, ""}},
    {"MS:1002338", {"Andromeda", "Andromeda:score", false, ""}},
};

const KnownScore* FindScore(std::string_view accession) {
  const auto* found = std::ranges::find(kKnownScores, accession, &KnownScore::m_accession);
  return found == std::end(kKnownScores) ? nullptr : found;
}

/// mzIdentML 1.1 to 1.3: proteins, peptides and their evidences first, then a result for each spectrum
/// with an item for each match.
class MzidHandler final : public XmlHandler {
 public:
  MzidHandler(const std::string& path, std::int64_t stored_bytes, const MatchTaker& take)
      : m_limits(stored_bytes), m_take(&take) {
    m_path_run = StemOf(path);
  }

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "DBSequence") {
      Keep(m_proteins, attributes.Get("id"), std::string(attributes.Get("accession")),
           attributes.Get("accession").size());
    } else if (name == "Peptide") {
      m_peptide_id = attributes.Get("id");
      m_peptide = {};
    } else if (name == "Modification" && !m_peptide_id.empty()) {
      const std::string_view delta = attributes.Get("monoisotopicMassDelta");
      m_modifications.Add(IntegerOf(attributes, "location") - std::int64_t{1}, delta);
    } else if (name == "PeptideSequence") {
      m_is_text = !m_peptide_id.empty();
      m_text.clear();
    } else if (name == "PeptideEvidence") {
      AddEvidence(attributes);
    } else if (name == "SpectraData") {
      Keep(m_files, attributes.Get("id"),
           StemOf(attributes.Get("location")).substr(0, kMostRunNameBytes), kMostRunNameBytes);
    } else if (name == "SpectrumIdentificationResult") {
      StartResult(attributes);
    } else if (name == "SpectrumIdentificationItem") {
      StartItem(attributes);
    } else if (name == "PeptideEvidenceRef") {
      AddEvidenceOfItem(attributes.Get("peptideEvidence_ref"));
    } else if (name == "cvParam") {
      TakeTerm(attributes);
    }
  }

  void OnText(std::string_view text) override {
    if (m_is_text) AppendText(m_text, text, kPeptide);
  }

  void OnEnd(std::string_view name) override {
    if (std::exchange(m_is_text, false)) m_peptide.m_sequence = Trim(m_text);
    if (name == "Peptide") EndPeptide();
    if (name == "SpectrumIdentificationItem") EndItem();
    if (name == "SpectrumIdentificationResult") EndResult();
  }

 private:
  struct Peptide {
    std::string m_sequence;
    std::string m_modified;
  };
  struct Evidence {
    const std::string* m_protein;  // in m_proteins
    bool m_is_decoy = false;
  };

  /// An entry with texts of so many bytes besides its id. The first one of an id stays.
  template <class Entries, class Value>
  void Keep(Entries& entries, std::string_view id, Value value, std::size_t text_bytes) {
    if (entries.emplace(id, std::move(value)).second)
      m_limits.Keep(sizeof(typename Entries::value_type) + id.size() + text_bytes);
  }

  void AddEvidence(const XmlAttributes& attributes) {
    const auto protein = m_proteins.find(std::string(attributes.Get("dBSequence_ref")));
    if (protein == m_proteins.end())
      throw "an evidence names the protein '" + std::string(attributes.Get("dBSequence_ref")) +
          "', which is not there";
    const std::string_view is_decoy = attributes.Get("isDecoy");
    Keep(m_evidences, attributes.Get("id"),
         Evidence{&protein->second, is_decoy == "true" || is_decoy == "1"}, 0);
  }

  // A location counts from 1; 0 is the N-terminus.
  void EndPeptide() {
    m_peptide.m_modified = m_modifications.WithThem(m_peptide.m_sequence);
    m_modifications.Clear();
    const std::size_t bytes = m_peptide.m_sequence.size() + m_peptide.m_modified.size();
    Keep(m_peptides, std::exchange(m_peptide_id, {}), std::move(m_peptide), bytes);
  }

  void StartResult(const XmlAttributes& attributes) {
    m_spectrum = {};
    m_items.clear();
    m_is_result = true;
    const auto file = m_files.find(std::string(attributes.Get("spectraData_ref")));
    m_spectrum.m_run = file == m_files.end() ? m_path_run : file->second;
    m_spectrum_id = attributes.Get("spectrumID");
    const std::string_view id = m_spectrum_id;
    if (id.starts_with("index="))
      m_spectrum.m_place = NumberOrUnknown(ScanInteger(id.substr(6)).m_value) + std::int64_t{1};
    const std::size_t scan = id.rfind("scan=");
    if (scan != std::string_view::npos)
      m_spectrum.m_scan_no = NumberOrUnknown(ScanInteger(id.substr(scan + 5)).m_value);
    TakeXmlTitle(m_spectrum, id);
    if (m_spectrum.m_index < 0) m_spectrum.m_title.clear();
  }

  void StartItem(const XmlAttributes& attributes) {
    m_item = {};
    m_item_proteins.clear();
    m_score = nullptr;
    m_is_item = true;
    m_are_decoys = true;
    m_item.m_charge = ChargeWithoutSign(IntegerOf(attributes, "chargeState"));
    m_item.m_rank = IntegerOf(attributes, "rank");
    if (m_item.m_charge == 0) throw std::string("a match without a charge");
    const auto mass = [&](std::string_view name) {
      return (RealOf(attributes, name) - kProtonMass) * m_item.m_charge;
    };
    m_item.m_searched_mass_da = mass("experimentalMassToCharge");
    // The calculated one is optional.
    m_item.m_calculated_mass_da = attributes.Get("calculatedMassToCharge").empty()
                                      ? m_item.m_searched_mass_da
                                      : mass("calculatedMassToCharge");
    const std::string_view reference = attributes.Get("peptide_ref");
    const auto peptide = m_peptides.find(std::string(reference));
    if (peptide == m_peptides.end())
      throw "a match names the peptide '" + std::string(reference) + "', which is not there";
    m_item.m_sequence = peptide->second.m_sequence;
    m_item.m_peptide = peptide->second.m_modified;
    if (std::string why = WhyNoSequence(m_item.m_sequence); !why.empty()) throw why;
  }

  void AddEvidenceOfItem(std::string_view reference) {
    const auto evidence = m_evidences.find(std::string(reference));
    if (evidence == m_evidences.end())
      throw "a match names the evidence '" + std::string(reference) + "', which is not there";
    if (!m_is_item) return;
    m_limits.Repeat(evidence->second.m_protein->size());
    m_item_proteins.emplace_back(*evidence->second.m_protein);
    // Not for each protein, which would take long.
    if (m_item_proteins.size() > 2 * kMostProteins) RemoveRepeatedProteins();
    m_are_decoys = m_are_decoys && evidence->second.m_is_decoy;
  }

  void RemoveRepeatedProteins() {
    RemoveRepeats(m_item_proteins);
    if (m_item_proteins.size() > kMostProteins) throw TooManyProteins();
  }

  void TakeTerm(const XmlAttributes& attributes) {
    const std::string_view accession = attributes.Get("accession");
    if (m_is_item) {
      const KnownScore* score = FindScore(accession);
      if (score == nullptr || (m_score != nullptr && m_score <= score)) return;
      m_score = score;
      m_item.m_score = RealOf(attributes, "value");
      m_item.m_scores = score->m_scores;
    } else if (m_is_result && accession == "MS:1000796") {  // spectrum title
      TakeXmlTitle(m_spectrum, attributes.Get("value"));
    } else if (m_is_result && accession == "MS:1001115" && m_spectrum.m_scan_no == 0) {
      m_spectrum.m_scan_no =
          NumberOrUnknown(ScanInteger(attributes.Get("value")).m_value);  // scan number(s)
    }
  }

  void EndItem() {
    m_is_item = false;
    if (m_score == nullptr) throw std::string("a match without a score that is known here");
    RemoveRepeatedProteins();
    m_limits.Hold(m_item);
    for (const std::string_view protein : m_item_proteins) m_limits.HoldProtein(protein);
    m_item.m_proteins.assign(m_item_proteins.begin(), m_item_proteins.end());
    m_item.m_is_called_decoy = m_are_decoys && !m_item.m_proteins.empty();
    m_items.push_back(std::move(m_item));
  }

  void EndResult() {
    m_is_result = false;
    if (m_spectrum.m_scan_no == 0 && m_spectrum.m_place == 0)
      throw "the spectrum '" + m_spectrum_id + "' has neither a scan number nor a title of tarvek";
    GiveMatchesOf(m_spectrum, m_items, m_limits, *m_take);
  }

  XmlResultLimits m_limits;
  const MatchTaker* m_take;
  std::string m_path_run, m_text, m_peptide_id, m_spectrum_id;
  std::unordered_map<std::string, std::string> m_proteins, m_files;
  std::unordered_map<std::string, Peptide> m_peptides;
  std::unordered_map<std::string, Evidence> m_evidences;
  Peptide m_peptide;
  Modifications m_modifications;
  EngineMatch m_spectrum, m_item;
  std::vector<std::string_view> m_item_proteins;  // in m_proteins
  std::vector<EngineMatch> m_items;
  const KnownScore* m_score = nullptr;
  bool m_is_text = false, m_is_result = false, m_is_item = false, m_are_decoys = false;
};

/// Chooses the handler by the root element.
class RootHandler final : public XmlHandler {
 public:
  RootHandler(const std::string& path, const MatchTaker& take) : m_path(path), m_take(&take) {}

  void OnStoredBytes(std::int64_t bytes) override {
    m_stored_bytes = bytes;
    m_elements = extractor::ElementLimit(bytes);
  }
  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    m_elements.Take();
    if (!m_handler) m_handler = HandlerOf(name);
    m_handler->OnStart(name, attributes);
  }
  void OnText(std::string_view text) override {
    if (m_handler) m_handler->OnText(text);
  }
  void OnEnd(std::string_view name) override { m_handler->OnEnd(name); }

 private:
  [[nodiscard]] std::unique_ptr<XmlHandler> HandlerOf(std::string_view root) const {
    if (root == "bioml") return std::make_unique<XtandemHandler>(m_path, m_stored_bytes, *m_take);
    if (root == "MzIdentML") return std::make_unique<MzidHandler>(m_path, m_stored_bytes, *m_take);
    throw "neither X!Tandem's XML nor mzIdentML: the root element is " + std::string(root);
  }

  std::string m_path;
  std::int64_t m_stored_bytes = 0;
  extractor::ElementLimit m_elements;
  const MatchTaker* m_take;
  std::unique_ptr<XmlHandler> m_handler;
};

}  // namespace

void ReadXmlMatches(const std::string& path, const MatchTaker& take) {
  RootHandler handler(path, take);
  extractor::ReadXmlFile(path, handler, [](const extractor::ReadingState&) {});
}

}  // namespace tarvek::tools
