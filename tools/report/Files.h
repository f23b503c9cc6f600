// tools/report/Files.h: the files of a finished run, read for its report.
// Does:     finds the files of a run; reads its table, the input scans next to it and the times in
//           its MGF files.
// Throws:   a std::string naming the file (for text also the line) that cannot be read or is
//           damaged.
// Not here: PF files (PfReader of src/IO); what the numbers mean (report/Data.h).
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// Paths of the files of one run; empty where a file is not there.
struct RunFiles {
  std::string m_name;  // base name
  std::string m_table;
  std::string m_pf1;
  std::vector<std::string> m_pf2;  // by activation and analyser
  std::vector<std::string> m_mgf;
  std::string m_ms1;
  std::string m_ms2;
  std::string m_scan_table;  // .mscsv, named "run1.mzml.mscsv" when it came from an mzML file
  std::string m_record;
  std::string m_evidence;    // of the joint determination
  std::string m_marker;      // of the extraction, next to the input scans
  std::string m_instrument;  // .mzML or .mzXML, packed or not, next to the input scans
};

/// base_path: folder and base name, with or without ".csv". The input scans are searched in
/// input_folder, or next to the outputs when that is empty. Throws when there is no finished table.
RunFiles FindRunFiles(const std::string& base_path, const std::string& input_folder);

/// One row of a precursor table. m/z and charges are without the sign of negative ions.
struct ReportRow {
  std::int32_t m_scan_no = 0;
  std::string m_kind;                   // activation and analyser, "HCD FT"
  Precursor m_declared;                 // all 0 when the input declared none
  std::vector<Precursor> m_determined;  // best score first
};

/// The rows in the order of the table.
std::vector<ReportRow> ReadReportRows(const std::string& path);

/// One MS2 scan of the input.
struct InputScan {
  std::int32_t m_scan_no = 0;
  std::int32_t m_survey = 0;  // precursor scan; 0 when unknown
  double m_centre_mz = 0.0;   // of the isolation window
  double m_rt_s = 0.0;
  std::string m_activation;
  std::string m_analyser;
  std::vector<Precursor> m_declared;  // those with m/z and charge, without signs
  bool m_has_charge = true;           // false: the charge of the first is assumed, not declared
};

/// The MS2 scans of a .ms2 file, or of a .mscsv table, ascending by scan number.
std::vector<InputScan> ReadTextInput(const std::string& ms2_path);
std::vector<InputScan> ReadTableInput(const std::string& mscsv_path);

using ScanTime = std::pair<std::int32_t, double>;  // scan number and seconds

/// Appends the time of every block of an MGF file that tarvek wrote.
void AppendMgfTimes(const std::string& path, std::vector<ScanTime>& times);

}  // namespace tarvek::tools
