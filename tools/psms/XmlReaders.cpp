#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "FileUtils.h"
#include "NumberText.h"
#include "SpectrumRecords.h"
#include "StringUtils.h"
#include "XmlStream.h"
#include "psms/Peptide.h"
#include "psms/Readers.h"

namespace tarvek::tools {
namespace {

using extractor::XmlAttributes;
using extractor::XmlHandler;

constexpr EngineScores kXtandem = {"X!Tandem", "expect", true, "hyperscore"};

void GiveMatchesOf(const EngineMatch& spectrum, std::vector<EngineMatch>& matches,
                   const MatchTaker& take) {
  for (EngineMatch& match : matches) {
    match.m_run = spectrum.m_run;
    match.m_title = spectrum.m_title;
    match.m_scan_no = spectrum.m_scan_no;
    match.m_place = spectrum.m_place;
    match.m_index = spectrum.m_index;
    take(match);
  }
}

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
  XtandemHandler(const std::string& path, const MatchTaker& take) : m_take(&take) {
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
    if (m_is_title) m_text += text;
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
    m_domain.m_sequence = attributes.Get("seq");
    m_domain_start = IntegerOf(attributes, "start");
    m_modifications.clear();
    m_domain.m_proteins = {m_protein};
    if (std::string why = WhyNoSequence(m_domain.m_sequence); !why.empty()) throw why;
  }

  // Places count within the protein.
  void AddModification(const XmlAttributes& attributes) {
    const std::int64_t place = IntegerOf(attributes, "at") - m_domain_start;
    m_modifications.emplace_back(place, attributes.Get("modified"));
  }

  void EndDomain() {
    std::ranges::stable_sort(m_modifications, {}, &std::pair<std::int64_t, std::string>::first);
    m_domain.m_peptide.clear();
    std::size_t next = 0;
    for (std::int32_t i = 0; i < std::ssize(m_domain.m_sequence); ++i) {
      m_domain.m_peptide += m_domain.m_sequence[static_cast<std::size_t>(i)];
      for (; next < m_modifications.size() && m_modifications[next].first <= i; ++next)
        m_domain.m_peptide += '[' + m_modifications[next].second + ']';
    }
    m_best.push_back(m_domain);
  }

  // X!Tandem puts the retention time after the title.
  void EndTitle() {
    std::string_view title = m_text;
    title = Trim(title.substr(0, title.find(" RTINSECONDS=")));
    TakeTitle(m_spectrum, title);
  }

  void EndSpectrum() {
    m_is_model = false;
    GiveMatchesOf(m_spectrum, m_best, *m_take);
  }

  const MatchTaker* m_take;
  int m_depth = 0;  // of groups
  bool m_is_model = false, m_is_title = false;
  std::string m_protein, m_text;
  EngineMatch m_spectrum, m_domain;
  std::int64_t m_domain_start = 0;
  std::vector<std::pair<std::int64_t, std::string>> m_modifications;
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
  MzidHandler(const std::string& path, const MatchTaker& take) : m_take(&take) {
    m_path_run = StemOf(path);
  }

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    if (name == "DBSequence") {
      m_proteins.emplace(attributes.Get("id"), attributes.Get("accession"));
    } else if (name == "Peptide") {
      m_peptide_id = attributes.Get("id");
      m_peptide = {};
    } else if (name == "Modification" && !m_peptide_id.empty()) {
      const std::string_view delta = attributes.Get("monoisotopicMassDelta");
      m_modifications.emplace_back(IntegerOf(attributes, "location"), delta);
    } else if (name == "PeptideSequence") {
      m_is_text = !m_peptide_id.empty();
      m_text.clear();
    } else if (name == "PeptideEvidence") {
      AddEvidence(attributes);
    } else if (name == "SpectraData") {
      m_files.emplace(attributes.Get("id"),
                      StemOf(attributes.Get("location")).substr(0, kMostRunNameBytes));
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
    if (m_is_text) m_text += text;
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
    std::string m_protein;
    bool m_is_decoy = false;
  };

  void AddEvidence(const XmlAttributes& attributes) {
    const auto protein = m_proteins.find(std::string(attributes.Get("dBSequence_ref")));
    if (protein == m_proteins.end())
      throw "an evidence names the protein '" + std::string(attributes.Get("dBSequence_ref")) +
          "', which is not there";
    m_evidences.emplace(attributes.Get("id"),
                        Evidence{protein->second, attributes.Get("isDecoy") == "true" ||
                                                      attributes.Get("isDecoy") == "1"});
  }

  // A location counts from 1; 0 is the N-terminus.
  void EndPeptide() {
    std::ranges::stable_sort(m_modifications, {}, &std::pair<std::int64_t, std::string>::first);
    std::size_t next = 0;
    const auto add = [&](std::int32_t last) {
      for (; next < m_modifications.size() && m_modifications[next].first <= last; ++next)
        m_peptide.m_modified += '[' + m_modifications[next].second + ']';
    };
    add(0);
    for (std::int32_t i = 0; i < std::ssize(m_peptide.m_sequence); ++i) {
      m_peptide.m_modified += m_peptide.m_sequence[static_cast<std::size_t>(i)];
      add(i + 1);
    }
    m_modifications.clear();
    m_peptides.emplace(std::exchange(m_peptide_id, {}), std::move(m_peptide));
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
    TakeTitle(m_spectrum, id);
    if (m_spectrum.m_index < 0) m_spectrum.m_title.clear();
  }

  void StartItem(const XmlAttributes& attributes) {
    m_item = {};
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
    const std::string& protein = evidence->second.m_protein;
    if (std::ranges::find(m_item.m_proteins, protein) == m_item.m_proteins.end())
      m_item.m_proteins.push_back(protein);
    m_are_decoys = m_are_decoys && evidence->second.m_is_decoy;
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
      TakeTitle(m_spectrum, attributes.Get("value"));
    } else if (m_is_result && accession == "MS:1001115" && m_spectrum.m_scan_no == 0) {
      m_spectrum.m_scan_no =
          NumberOrUnknown(ScanInteger(attributes.Get("value")).m_value);  // scan number(s)
    }
  }

  void EndItem() {
    m_is_item = false;
    if (m_score == nullptr) throw std::string("a match without a score that is known here");
    m_item.m_is_called_decoy = m_are_decoys && !m_item.m_proteins.empty();
    m_items.push_back(std::move(m_item));
  }

  void EndResult() {
    m_is_result = false;
    if (m_spectrum.m_scan_no == 0 && m_spectrum.m_place == 0)
      throw "the spectrum '" + m_spectrum_id + "' has neither a scan number nor a title of tarvek";
    GiveMatchesOf(m_spectrum, m_items, *m_take);
  }

  const MatchTaker* m_take;
  std::string m_path_run, m_text, m_peptide_id, m_spectrum_id;
  std::unordered_map<std::string, std::string> m_proteins, m_files;
  std::unordered_map<std::string, Peptide> m_peptides;
  std::unordered_map<std::string, Evidence> m_evidences;
  Peptide m_peptide;
  std::vector<std::pair<std::int64_t, std::string>> m_modifications;
  EngineMatch m_spectrum, m_item;
  std::vector<EngineMatch> m_items;
  const KnownScore* m_score = nullptr;
  bool m_is_text = false, m_is_result = false, m_is_item = false, m_are_decoys = false;
};

/// Chooses the handler by the root element.
class RootHandler final : public XmlHandler {
 public:
  RootHandler(const std::string& path, const MatchTaker& take) : m_path(path), m_take(&take) {}

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    if (!m_handler) m_handler = HandlerOf(name);
    m_handler->OnStart(name, attributes);
  }
  void OnText(std::string_view text) override {
    if (m_handler) m_handler->OnText(text);
  }
  void OnEnd(std::string_view name) override { m_handler->OnEnd(name); }

 private:
  [[nodiscard]] std::unique_ptr<XmlHandler> HandlerOf(std::string_view root) const {
    if (root == "bioml") return std::make_unique<XtandemHandler>(m_path, *m_take);
    if (root == "MzIdentML") return std::make_unique<MzidHandler>(m_path, *m_take);
    throw "neither X!Tandem's XML nor mzIdentML: the root element is " + std::string(root);
  }

  std::string m_path;
  const MatchTaker* m_take;
  std::unique_ptr<XmlHandler> m_handler;
};

}  // namespace

void ReadXmlMatches(const std::string& path, const MatchTaker& take) {
  RootHandler handler(path, take);
  extractor::ReadXmlFile(path, handler, [](const extractor::ReadingState&) {});
}

}  // namespace tarvek::tools
