#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "Charge.h"
#include "FileUtils.h"
#include "MgfText.h"
#include "NumberText.h"
#include "SpectrumRecords.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "psms/Peptide.h"
#include "psms/Readers.h"
#include "psms/ResultLimits.h"

namespace tarvek::tools {
namespace {

constexpr EngineScores kCometText = {"Comet", "e-value", true, "xcorr"};
constexpr EngineScores kCometPin = {"Comet", "lnExpect", true, "Xcorr"};
constexpr EngineScores kMsFragger = {"MSFragger", "expectscore", true, "hyperscore"};
constexpr EngineScores kSage = {"Sage", "sage_discriminant_score", false, "hyperscore"};
constexpr EngineScores kMsGf = {"MS-GF+", "SpecEValue", true, "MSGFScore"};

/// A tab-separated table with columns found by name.
class ResultTable {
 public:
  explicit ResultTable(const std::string& path) : m_lines(path) { NextRow(); }

  /// Moves to the next line, skipping empty ones. False at the end of the file.
  bool NextRow() {
    do {
      if (!m_lines.Next(m_line)) return false;
    } while (m_line.empty());
    CutLine();
    return true;
  }

  [[nodiscard]] const std::string& Line() const noexcept { return m_line; }

  /// Takes the column names from the current line.
  void TakeHeader() { m_names.assign(m_fields.begin(), m_fields.end()); }

  [[nodiscard]] bool Has(std::string_view name) const {
    return std::ranges::find(m_names, name) != m_names.end();
  }

  /// The column of the first of names that exists.
  [[nodiscard]] std::size_t Column(std::initializer_list<std::string_view> names) const {
    for (const std::string_view name : names) {
      const auto found = std::ranges::find(m_names, name);
      if (found != m_names.end()) return static_cast<std::size_t>(found - m_names.begin());
    }
    m_lines.Fail("no column '" + std::string(*names.begin()) + "'.");
  }

  [[nodiscard]] std::string_view Text(std::size_t column) const {
    if (column >= m_fields.size()) m_lines.Fail("too few fields.");
    return m_fields[column];
  }
  [[nodiscard]] double Real(std::size_t column) const {
    const double value = m_lines.Real(Text(column));
    if (!std::isfinite(value)) Fail("'" + std::string(Text(column)) + "' is not a number.");
    return value;
  }
  [[nodiscard]] std::int32_t Integer(std::size_t column) const {
    return m_lines.Integer(Text(column));
  }
  /// All fields from a column on.
  [[nodiscard]] std::span<const std::string_view> From(std::size_t column) const {
    (void)Text(column);
    return std::span(m_fields).subspan(column);
  }

  [[noreturn]] void Fail(const std::string& what) const { m_lines.Fail(what); }

 private:
  void CutLine() {
    m_fields.clear();
    const std::string_view line = m_line;
    std::size_t begin = 0;
    for (std::size_t tab = 0; (tab = line.find('\t', begin)) != std::string_view::npos;
         begin = tab + 1) {
      m_fields.push_back(line.substr(begin, tab - begin));
      if (m_fields.size() == kMostFields)
        Fail("more than " + std::to_string(kMostFields) + " fields, which cannot be.");
    }
    m_fields.push_back(line.substr(begin));
  }

  TextLines m_lines;
  std::string m_line;
  std::vector<std::string_view> m_fields;
  std::vector<std::string> m_names;
};

std::string StemOf(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  return std::string(name.substr(0, name.rfind('.')));
}

// The proteins in a field, into existing strings, to reuse their memory.
void SplitInto(std::vector<std::string>& parts, const ResultTable& table, std::size_t column,
               char delim) {
  const std::string_view text = table.Text(column);
  std::size_t count = 0;
  const auto add = [&](std::string_view part) {
    part = Trim(part);
    if (part.empty()) return;
    if (count == kMostProteins) table.Fail(TooManyProteins() + ".");
    if (count < parts.size())
      parts[count] = part;
    else
      parts.emplace_back(part);
    ++count;
  };
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find(delim, begin)) != std::string_view::npos;
       begin = end + 1)
    add(text.substr(begin, end - begin));
  add(text.substr(begin));
  parts.resize(count);
}

void CheckWhole(const ResultTable& table, const EngineMatch& match) {
  if (match.m_proteins.size() > kMostProteins) table.Fail(TooManyProteins() + ".");
  if (match.m_charge <= 0) table.Fail("a match without a charge.");
  if (const std::string why = WhyNoSequence(match.m_sequence); !why.empty()) table.Fail(why + ".");
}

// The scan of a match, for engines that report it.
std::int32_t ScanOf(const ResultTable& table, std::size_t column) {
  const std::int32_t scan = table.Integer(column);
  if (scan < 0) table.Fail("'" + std::string(table.Text(column)) + "' is not a scan number.");
  return scan;
}

}  // namespace

void TakeTitle(EngineMatch& match, std::string_view title) {
  match.m_title = Trim(title);
  match.m_index = -1;
  const auto parsed = ParseMgfTitle(match.m_title);
  if (!parsed || !parsed->m_is_whole) return;
  match.m_run = parsed->m_run;
  match.m_scan_no = parsed->m_scan_no;
  match.m_index = parsed->m_index;
}

void ReadCometText(const std::string& path, const MatchTaker& take) {
  ResultTable table(path);
  EngineMatch match;
  match.m_run = StemOf(path);
  // The first line names the searched file: program, file, date, proteins.
  if (table.Line().starts_with("CometVersion")) {
    const std::span<const std::string_view> notes = table.From(0);
    if (notes.size() > 1) match.m_run = FileNameOf(notes[1]);
    if (!table.NextRow()) table.Fail("the table is cut off.");
  }
  table.TakeHeader();
  match.m_scores = kCometText;
  const std::size_t scan = table.Column({"scan"}), rank = table.Column({"num"}),
                    charge = table.Column({"charge"}), mass = table.Column({"exp_neutral_mass"}),
                    calculated = table.Column({"calc_neutral_mass"}),
                    score = table.Column({"e-value"}), second = table.Column({"xcorr"}),
                    sequence = table.Column({"plain_peptide"}),
                    peptide = table.Column({"modified_peptide"}),
                    proteins = table.Column({"protein"});
  while (table.NextRow()) {
    match.m_scan_no = ScanOf(table, scan);
    match.m_rank = table.Integer(rank);
    match.m_charge = ChargeWithoutSign(table.Integer(charge));
    match.m_searched_mass_da = table.Real(mass);
    match.m_calculated_mass_da = table.Real(calculated);
    match.m_score = table.Real(score);
    match.m_second_score = table.Real(second);
    match.m_sequence = table.Text(sequence);
    match.m_peptide = table.Text(peptide);
    SplitInto(match.m_proteins, table, proteins, ',');
    CheckWhole(table, match);
    take(match);
  }
}

// An id is FILE_SCAN_CHARGE_RANK; masses are those of singly protonated ions.
void ReadCometPin(const std::string& path, const MatchTaker& take) {
  ResultTable table(path);
  table.TakeHeader();
  EngineMatch match;
  match.m_scores = kCometPin;
  const std::size_t id = table.Column({"SpecId"}), label = table.Column({"Label"}),
                    scan = table.Column({"ScanNr"}), mass = table.Column({"ExpMass"}),
                    calculated = table.Column({"CalcMass"}), score = table.Column({"lnExpect"}),
                    second = table.Column({"Xcorr"}), peptide = table.Column({"Peptide"}),
                    proteins = table.Column({"Proteins"});
  while (table.NextRow()) {
    if (table.Text(id) == "DefaultDirection") continue;
    std::string_view rest = table.Text(id);
    std::array<std::int32_t, 3> numbers{};  // rank, charge, scan
    for (std::int32_t& number : numbers) {
      const std::size_t underscore = rest.rfind('_');
      const auto scanned = underscore == std::string_view::npos
                               ? ScannedNumber<std::int32_t>{}
                               : ScanInteger(rest.substr(underscore + 1));
      if (scanned.m_status != NumberStatus::kOk)
        table.Fail("the id is not of the form FILE_SCAN_CHARGE_RANK.");
      number = scanned.m_value;
      rest = rest.substr(0, underscore);
    }
    match.m_run = FileNameOf(rest);
    match.m_rank = numbers[0];
    match.m_charge = ChargeWithoutSign(numbers[1]);
    match.m_scan_no = ScanOf(table, scan);
    match.m_searched_mass_da = table.Real(mass) - kProtonMass;
    match.m_calculated_mass_da = table.Real(calculated) - kProtonMass;
    match.m_score = table.Real(score);
    match.m_second_score = table.Real(second);
    match.m_is_called_decoy = table.Integer(label) < 0;
    match.m_peptide = table.Text(peptide);
    match.m_sequence = SequenceOf(match.m_peptide);
    match.m_proteins.clear();
    for (const std::string_view protein : table.From(proteins))
      if (!protein.empty()) match.m_proteins.emplace_back(protein);
    CheckWhole(table, match);
    take(match);
  }
}

// The number of a spectrum comes from its title; in our profile for this engine it is the place.
void ReadMsFragger(const std::string& path, const MatchTaker& take) {
  ResultTable table(path);
  table.TakeHeader();
  EngineMatch match;
  match.m_scores = kMsFragger;
  match.m_run = StemOf(path);
  const std::size_t number = table.Column({"scannum"}), charge = table.Column({"charge"}),
                    rank = table.Column({"hit_rank"}),
                    mass = table.Column({"precursor_neutral_mass"}),
                    calculated = table.Column({"calc_neutral_pep_mass"}),
                    score = table.Column({"expectscore"}), second = table.Column({"hyperscore"}),
                    peptide = table.Column({"peptide"}), proteins = table.Column({"protein"});
  const bool has_modified = table.Has("modified_peptide"),
             has_more = table.Has("alternative_proteins"),
             has_modifications = table.Has("modification_info");
  const std::size_t modified = has_modified ? table.Column({"modified_peptide"}) : 0,
                    more = has_more ? table.Column({"alternative_proteins"}) : 0,
                    modifications = has_modifications ? table.Column({"modification_info"}) : 0;
  std::vector<std::string> others;
  while (table.NextRow()) {
    match.m_scan_no = ScanOf(table, number);
    match.m_place = match.m_scan_no;
    match.m_charge = ChargeWithoutSign(table.Integer(charge));
    match.m_rank = table.Integer(rank);
    match.m_searched_mass_da = table.Real(mass);
    match.m_calculated_mass_da = table.Real(calculated);
    match.m_score = table.Real(score);
    match.m_second_score = table.Real(second);
    match.m_sequence = SequenceOf(table.Text(peptide));
    match.m_peptide = has_modified ? table.Text(modified) : table.Text(peptide);
    if (!has_modified && has_modifications && !table.Text(modifications).empty())
      match.m_peptide.append(" (").append(table.Text(modifications)).append(")");
    // A protein is given with its description.
    match.m_proteins.assign(1, std::string(TokenAt(table.Text(proteins), ' ', 0)));
    if (has_more)
      SplitInto(others, table, more,
                table.Text(more).find(';') == std::string_view::npos ? ',' : ';');
    for (const std::string& other : others) match.m_proteins.emplace_back(TokenAt(other, ' ', 0));
    CheckWhole(table, match);
    take(match);
    others.clear();
  }
}

void ReadSage(const std::string& path, const MatchTaker& take) {
  ResultTable table(path);
  table.TakeHeader();
  EngineMatch match;
  match.m_scores = kSage;
  const std::size_t file = table.Column({"filename"}), title = table.Column({"scannr"}),
                    rank = table.Column({"rank"}), label = table.Column({"label"}),
                    mass = table.Column({"expmass"}), calculated = table.Column({"calcmass"}),
                    charge = table.Column({"charge"}), second = table.Column({"hyperscore"}),
                    score = table.Column({"sage_discriminant_score"}),
                    peptide = table.Column({"peptide"}), proteins = table.Column({"proteins"});
  while (table.NextRow()) {
    match.m_run = StemOf(table.Text(file));
    match.m_scan_no = 0;
    TakeTitle(match, table.Text(title));
    if (match.m_scan_no == 0) {
      // For a spectrum with another title: "123", or "controllerType=0 controllerNumber=1
      // scan=123".
      const std::size_t equals = match.m_title.rfind("scan=");
      const auto number = ScanInteger(equals == std::string::npos
                                          ? match.m_title
                                          : std::string_view(match.m_title).substr(equals + 5));
      if (number.m_status != NumberStatus::kOk || number.m_value < 0)
        table.Fail("neither the title of a spectrum of tarvek nor a scan number: " + match.m_title);
      match.m_scan_no = number.m_value;
    }
    match.m_rank = table.Integer(rank);
    match.m_is_called_decoy = table.Integer(label) < 0;
    match.m_charge = ChargeWithoutSign(table.Integer(charge));
    match.m_searched_mass_da = table.Real(mass);
    match.m_calculated_mass_da = table.Real(calculated);
    match.m_score = table.Real(score);
    match.m_second_score = table.Real(second);
    match.m_peptide = table.Text(peptide);
    match.m_sequence = SequenceOf(match.m_peptide);
    SplitInto(match.m_proteins, table, proteins, ';');
    CheckWhole(table, match);
    take(match);
  }
}

// "sp|P1|A(pre=K,post=R);sp|P2|B(pre=K,post=-)", or one name.
void TakeMsGfProteins(std::vector<std::string>& proteins, const ResultTable& table,
                      std::size_t column) {
  SplitInto(proteins, table, column, ';');
  for (std::string& protein : proteins) {
    const std::size_t flanks = protein.find("(pre=");
    if (flanks != std::string::npos) protein.resize(flanks);
  }
}

void ReadMsGf(const std::string& path, const MatchTaker& take) {
  ResultTable table(path);
  table.TakeHeader();
  EngineMatch match;
  match.m_scores = kMsGf;
  const std::size_t file = table.Column({"#SpecFile"}), id = table.Column({"SpecID"}),
                    scan = table.Column({"ScanNum"}), precursor = table.Column({"Precursor"}),
                    charge = table.Column({"Charge"}), peptide = table.Column({"Peptide"}),
                    proteins = table.Column({"Protein"}), second = table.Column({"MSGFScore"}),
                    score = table.Column({"SpecEValue", "SpecProb"});
  const bool has_ppm = table.Has("PrecursorError(ppm)"), has_title = table.Has("Title");
  const std::size_t error = table.Column({"PrecursorError(ppm)", "PrecursorError(Da)"}),
                    isotopes = table.Has("IsotopeError") ? table.Column({"IsotopeError"})
                                                         : std::numeric_limits<std::size_t>::max(),
                    title = has_title ? table.Column({"Title"}) : 0;
  constexpr double kIsotopeDa = 1.00335;
  while (table.NextRow()) {
    match.m_run = StemOf(table.Text(file));
    match.m_scan_no = NumberOrUnknown(table.Integer(scan));
    match.m_place = 0;
    match.m_index = -1;
    match.m_title.clear();
    if (table.Text(id).starts_with("index="))
      match.m_place =
          NumberOrUnknown(ScanInteger(table.Text(id).substr(6)).m_value) + std::int64_t{1};
    if (has_title) TakeTitle(match, table.Text(title));
    match.m_charge = ChargeWithoutSign(table.Integer(charge));
    match.m_searched_mass_da = (table.Real(precursor) - kProtonMass) * match.m_charge;
    const double deviation = table.Real(error);
    const double isotope_da = isotopes == std::numeric_limits<std::size_t>::max()
                                  ? 0.0
                                  : kIsotopeDa * table.Integer(isotopes);
    const double mono_da = match.m_searched_mass_da - isotope_da;
    match.m_calculated_mass_da = has_ppm ? mono_da / (1.0 + deviation * 1e-6) : mono_da - deviation;
    match.m_score = table.Real(score);
    match.m_second_score = table.Real(second);
    match.m_peptide = table.Text(peptide);
    match.m_sequence = SequenceOf(match.m_peptide);
    TakeMsGfProteins(match.m_proteins, table, proteins);
    CheckWhole(table, match);
    take(match);
  }
}

}  // namespace tarvek::tools
