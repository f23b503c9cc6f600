// UserParameters/UserParameters.h: every setting of a run in one record.
// Does:     defaults, a key-to-value table applied or taken, range checks and derived values, and
//           the fields of the file now being processed.
// Owns:     its texts; it is copied by value.
// Throws:   a character string (charge range, missing data path, digit ranges) or a std::string
//           (missing numbered data path, conversions, directories); each is the whole message.
// Not here: where the table comes from (ParameterFile.h, CommandLine.h), how it is shown
//           (ParameterText.h).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek {

/// Key to value, sorted by key in byte order.
using ParameterTable = std::map<std::string, std::string>;

inline constexpr const char* kDefaultIpvFile = "IPV.txt";

/// Endings, in lower case, of files that are packed with gzip and read as they are.
inline constexpr std::array<std::string_view, 2> kPackedEndings = {".mzml.gz", ".mzxml.gz"};
inline constexpr std::string_view kPackedEnding = ".gz";

struct UserParameters {
  bool m_rewrite_files = false;
  bool m_co_elute = true;
  bool m_cut_similiar_mono = true;
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
  std::string m_logfilepath;
  std::string m_ipv_file = kDefaultIpvFile;
  std::string m_input_format = "raw";
  std::string m_outputpath;  // empty: beside each input file
  std::vector<std::string> m_datapaths;

  // Derived by Validate.
  bool m_outputpath_follows_input = false;
  std::string m_peak_format;  // printf format of one written peak line

  // The input file now being processed, set by SetCurrentFile.
  std::string m_current_file;
  std::string m_current_dir;
  std::string m_current_filename;
  std::string m_current_basename;
  std::string m_current_ext;  // without the dot; "mzML.gz" of a packed file

  // Derived by Validate.
  double m_candidate_halfwidth = 3.0;  // m/z
  double m_extended_halfwidth = 3.5;   // m/z, widened by the mass tolerance

  // Whether the table named an isotope table, be it the default one.
  bool m_ipv_file_is_given = false;

  // Groups near-identical MS2 scans before processing. No key sets it.
  bool m_cluster_ms2 = false;
};

/// Overwrites every field whose key is in table; unknown keys are ignored. Data paths that name
/// neither a file nor a directory are dropped with a warning; so are, together, those that a
/// datanum of 0 hides.
void ApplyParameterTable(UserParameters& record, const ParameterTable& table);

/// The data paths of table as they are given, not yet looked up.
std::vector<std::string> DataPathCandidates(const ParameterTable& table);

/// The text form of every setting, as the echo, the template and the usage text show it.
ParameterTable ToParameterTable(const UserParameters& record);

/// Checks ranges, makes the output and log directories, computes the derived fields and opens the
/// log file.
void Validate(UserParameters& record);

/// Computes m_candidate_halfwidth and m_extended_halfwidth from the settings; part of Validate.
void DeriveHalfWidths(UserParameters& record);

/// The record of a run: the defaults with table applied, echoed into the log, then validated.
/// Throws what those steps throw.
UserParameters CompleteParameters(const ParameterTable& table);

/// Fills the m_current_* fields from path, and m_outputpath when it follows the input. The file
/// name must contain a dot. The base name of a packed file is that of the file in it: "run" of
/// "run.mzML.gz".
void SetCurrentFile(UserParameters& record, const std::string& path);

/// The mass tolerance in m/z units at reference_mz.
inline double ToleranceMz(const UserParameters& record, double reference_mz) {
  return record.m_mstolppm ? record.m_mstol * reference_mz / 1e6 : record.m_mstol;
}

}  // namespace tarvek
