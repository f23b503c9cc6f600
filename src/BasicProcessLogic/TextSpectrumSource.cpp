#include "TextSpectrumSource.h"

#include "Logger.h"

namespace tarvek {

TextSpectrumSource::TextSpectrumSource(const std::string& ms1_path, const std::string& ms2_path)
    : m_ms1(ms1_path, "r", logMessage), m_ms2(ms2_path, "r", logMessage) {}

bool TextSpectrumSource::NextMs1(MS1Spectrum& scan) { return m_ms1.ReadNext(scan); }

bool TextSpectrumSource::NextMs2(MS2Spectrum& scan) { return m_ms2.ReadNext(scan); }

bool TextSpectrumSource::IsHighResolution(const MS1Spectrum& scan) const {
  return scan.m_instrument_type == "FT";
}

bool TextSpectrumSource::AllowsDetermination(const MS2Spectrum& scan) const {
  return !scan.m_precursors.empty() && scan.m_precursors.front().m_charge != 0;
}

std::int32_t TextSpectrumSource::ReportedMs1Count() const { return m_ms1.RecordCount(); }

void TextSpectrumSource::FinishMs1() { m_ms1.Finish(); }

void TextSpectrumSource::FinishMs2() { m_ms2.Finish(); }

}  // namespace tarvek
