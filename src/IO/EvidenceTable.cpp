#include "EvidenceTable.h"

#include "NumberText.h"

namespace tarvek {
namespace {

constexpr std::array<const char*, 5> kColumns = {"scan", "mz", "charge", "probability", "share"};
constexpr int kMzDecimals = 6;  // as in the precursor table
constexpr int kShareDecimals = 4;

}  // namespace

EvidenceWriter::EvidenceWriter(const std::string& final_path) : m_file(final_path, "precursors") {
  for (const char* column : kColumns) m_text.append(m_text.empty() ? "" : "\t").append(column);
  m_file.File().Write(m_text + "\n");
}

void EvidenceWriter::Write(const EvidenceRow& row) {
  m_text.clear();
  AppendInteger(m_text, row.m_scan_no);
  m_text += '\t';
  AppendFixed(m_text, row.m_precursor.m_mz, kMzDecimals);
  m_text += '\t';
  AppendInteger(m_text, row.m_precursor.m_charge);
  for (const double share : {row.m_evidence.m_probability, row.m_evidence.m_share}) {
    m_text += '\t';
    AppendFixed(m_text, share, kShareDecimals);
  }
  m_text += '\n';
  m_file.File().Write(m_text);
}

void EvidenceWriter::Write(const MS2Spectrum& scan) {
  for (std::size_t i = 0; i < scan.m_evidence.size(); ++i)
    Write({scan.m_scan_no, scan.m_precursors[i], scan.m_evidence[i]});
}

EvidenceReader::EvidenceReader(const std::string& path)
    : m_rows(path), m_places(m_rows.ReadHeader<kColumns.size()>(kColumns)) {}

bool EvidenceReader::Next(EvidenceRow& row) {
  if (!m_rows.NextRow()) return false;
  const auto [scan, mz, charge, probability, share] = m_places;
  row = {m_rows.Integer(scan),
         {m_rows.Real(mz), m_rows.Integer(charge)},
         {m_rows.Real(probability), m_rows.Real(share)}};
  return true;
}

}  // namespace tarvek
