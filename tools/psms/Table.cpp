#include "psms/Table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Charge.h"
#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr int kMzDecimals = 6;
constexpr int kPpmDecimals = 3;
constexpr int kQDecimals = 6;

/// Appends cells with tabs between them.
class Row {
 public:
  explicit Row(std::string& text) : m_text(&text) {}

  // A tab or line end in a name would split the row.
  Row& Text(std::string_view cell) {
    Next();
    const std::size_t begin = m_text->size();
    m_text->append(cell);
    std::replace_if(
        m_text->begin() + static_cast<std::ptrdiff_t>(begin), m_text->end(),
        [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return *this;
  }
  Row& Integer(std::int64_t cell) {
    Next();
    AppendInteger(*m_text, cell);
    return *this;
  }
  Row& Decimal(double cell, int decimals) {
    Next();
    AppendFixed(*m_text, cell, decimals);
    return *this;
  }
  Row& Exact(double cell) {
    Next();
    AppendExactReal(*m_text, cell);
    return *this;
  }
  Row& Mz(double mz) { return Decimal(mz, kMzDecimals); }
  Row& Empty() { return Text({}); }
  void End() { *m_text += '\n'; }

 private:
  void Next() {
    if (!m_is_first) *m_text += '\t';
    m_is_first = false;
  }
  std::string* m_text;
  bool m_is_first = true;
};

void AppendPrecursors(Row& row, const JoinedMatch& joined) {
  if (joined.m_declared)
    row.Mz(std::fabs(joined.m_declared->m_mz))
        .Integer(ChargeWithoutSign(joined.m_declared->m_charge));
  else
    row.Empty().Empty();
  if (joined.m_determined)
    row.Mz(joined.m_determined->m_mz).Integer(joined.m_determined->m_charge);
  else
    row.Empty().Empty();
  if (joined.m_index >= 0)
    row.Integer(joined.m_index + 1);
  else
    row.Empty();
}

void AppendScores(Row& row, const EngineMatch& match) {
  row.Text(match.m_scores.m_engine).Text(match.m_scores.m_score).Exact(match.m_score);
  row.Text(match.m_scores.m_second_score);
  if (match.m_scores.m_second_score.empty())
    row.Empty();
  else
    row.Exact(match.m_second_score);
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ";") + part;
  return text;
}

}  // namespace

std::string_view PsmTableHeader() {
  return "psm_id\trun\tscan\tcharge\tsearched_mz\tdeclared_mz\tdeclared_charge\tdetermined_mz\t"
         "determined_charge\tprecursor_rank\tcalculated_mz\tppm_error\tisotope_error\tengine\t"
         "score_name\tscore\tsecond_score_name\tsecond_score\tmatch_rank\tsequence\tpeptide\t"
         "proteins\tlabel\tq_value\tpeptide_q_value\n";
}

void AppendPsmRow(std::string& text, const JoinedMatch& joined, const Contender& contender) {
  const EngineMatch& match = joined.m_match;
  const MassError error = MassErrorOf(match);
  Row row(text);
  row.Text(joined.BlockId() + "/" + std::to_string(match.m_rank)).Text(joined.m_run);
  if (joined.m_scan_no > 0)
    row.Integer(joined.m_scan_no);
  else
    row.Empty();
  row.Integer(match.m_charge).Mz(joined.SearchedMz());
  AppendPrecursors(row, joined);
  row.Mz(joined.CalculatedMz()).Decimal(error.m_ppm, kPpmDecimals).Integer(error.m_isotope);
  AppendScores(row, match);
  row.Integer(match.m_rank).Text(match.m_sequence).Text(match.m_peptide);
  row.Text(Joined(match.m_proteins)).Text(contender.m_is_decoy ? "decoy" : "target");
  row.Decimal(contender.m_q_value, kQDecimals).Decimal(contender.m_peptide_q_value, kQDecimals);
  row.End();
}

}  // namespace tarvek::tools
