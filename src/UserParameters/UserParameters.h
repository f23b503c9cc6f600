// UserParameters/UserParameters.h: every setting of a run in one record.
// Does:     holds defaults, applies and returns key-to-value tables, checks ranges, derives values,
//           makes the directories of outputs and log, and holds the fields of the current file.
// Owns:     its texts; it is copied by value.
// Throws:   a character string (charge range, missing data path, digit ranges) or a std::string
//           (missing numbered data path, conversions, directories); each is the whole message.
// Not here: where the table comes from (ParameterFile.h, CommandLine.h), how it is shown
//           (ParameterText.h).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Notice.h"

namespace tarvek {

/// Key to value, sorted by key in byte order.
using ParameterTable = std::map<std::string, std::string>;

inline constexpr const char* kDefaultIpvFile = "IPV.txt";
inline constexpr const char* kChargeRangeKey = "charge_range";

struct UserParameters {
  // Settings: the keys that ApplyParameterTable knows, with their defaults.
  bool m_rewrite_files = false;
  bool m_co_elute = true;
  bool m_cut_similiar_mono = true;  // frozen, see docs/frozen-names.md
  bool m_delete_msn = false;
  bool m_check_activationcenter = true;
  bool m_output_pf = true;
  bool m_output_mgf = true;
  bool m_output_msb = false;
  bool m_mstolppm = true;
  std::int32_t m_intensity_digits = 1;
  std::int32_t m_mz_digits = 5;
  std::int32_t m_mars_model = 4;
  std::int32_t m_charge_min = 2;
  std::int32_t m_charge_max = 6;
  double m_mars_threshold = -0.34;
  double m_isolation_width = 2.0;     // m/z
  double m_recalibrate_window = 7.0;  // ppm
  double m_mstol = 20.0;              // ppm, or m/z when m_mstolppm is false
  std::string m_logfilepath;          // set by MakeLogDirectory
  std::string m_ipv_file = kDefaultIpvFile;
  bool m_ipv_file_is_given = false;  // by the table, even as the default value
  std::string m_input_format = "raw";
  std::string m_outputpath;  // empty: SetCurrentFile sets it to that of each input file
  std::vector<std::string> m_datapaths;
  bool m_cluster_ms2 = false;  // groups near-identical MS2 scans first; no key sets it

  // Derived from the settings.
  std::string m_peak_format;                // printf format of one written peak line; DeriveValues
  double m_candidate_halfwidth = 3.0;       // m/z; DeriveValues, DeriveHalfWidths
  double m_extended_halfwidth = 3.5;        // m/z, widened by the mass tolerance; likewise
  bool m_outputpath_follows_input = false;  // MakeOutputDirectory

  // The current file, set by SetCurrentFile.
  std::string m_current_file;
  std::string m_current_dir;
  std::string m_current_filename;
  std::string m_current_basename;
  std::string m_current_ext;  // without the dot; "mzML.gz" for a packed file
};

/// Overwrites every field that has a key in table; ignores unknown keys. Drops data paths that are
/// neither a file nor a directory with a notice of kWarn for each; with one notice those that a
/// datanum of 0 hides.
void ApplyParameterTable(UserParameters& record, const ParameterTable& table,
                         NoticeTaker notice = TakeSilently);

/// The data paths in table, unchecked.
std::vector<std::string> DataPathCandidates(const ParameterTable& table);

/// The text form of every setting for the echo, the template and the usage text.
ParameterTable ToParameterTable(const UserParameters& record);

/// Throws when a number of digits is out of range.
void Validate(const UserParameters& record);

/// Computes m_peak_format and the half-widths from settings that are valid.
void DeriveValues(UserParameters& record);

/// Computes m_candidate_halfwidth and m_extended_halfwidth; part of DeriveValues.
void DeriveHalfWidths(UserParameters& record);

/// Makes the output directory when the settings name one; otherwise the outputs go next to the
/// input.
void MakeOutputDirectory(UserParameters& record);

/// Chooses the directory of the log and makes it.
void MakeLogDirectory(UserParameters& record);

/// The record of a run: applies table to the defaults, echoes them as notices, then takes the steps
/// above in order and throws what they throw.
UserParameters CompleteParameters(const ParameterTable& table, NoticeTaker notice = TakeSilently);

/// Sets the m_current_* fields from path, and m_outputpath when it follows the input. The file name
/// must contain a dot. The base name of a packed file is that of its contents: "run" for
/// "run.mzML.gz".
void SetCurrentFile(UserParameters& record, const std::string& path);

/// The same for the file called name of a folder. It need not be there.
void SetCurrentFileIn(UserParameters& record, const std::string& folder, const std::string& name);

/// The mass tolerance in m/z units at reference_mz.
inline double ToleranceMz(const UserParameters& record, double reference_mz) {
  return record.m_mstolppm ? record.m_mstol * reference_mz / 1e6 : record.m_mstol;
}

}  // namespace tarvek
