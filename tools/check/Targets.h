// tools/check/Targets.h: which files the paths of "tarvek-tools check" mean.
// Does:     sorts the files of a directory, of a base name, or one file into inputs and outputs.
// Throws:   std::bad_alloc; a path without files is a finding.
// Not here: the contents of the files.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/Findings.h"
#include "check/Outputs.h"

namespace tarvek::tools {

struct CheckTargets {
  std::set<std::string> m_ms1_files;     // each with its .ms2 file
  std::set<std::string> m_binary_bases;  // paths without .msb, .mscsv
  std::set<std::string> m_xml_files;
  std::set<std::string> m_vendor_files;
  std::set<std::string> m_parameter_files;
  std::set<std::string> m_mgf_files;            // that are not outputs
  std::map<std::string, RunOutputs> m_outputs;  // by path of the base
};

/// Adds the files that path means: a file, a directory (without its subfolders), or a base name,
/// the path of a run's files without endings. An output means all outputs of its run. Files that no
/// other check reads, such as leftovers of stopped programs, are reported at once.
void AddTargets(CheckTargets& targets, CheckReport& report, const std::string& path);

/// Adds the outputs with this path of their base name, if there are any.
void AddOutputs(CheckTargets& targets, CheckReport& report, const std::string& base_path);

/// The base names of the outputs that the inputs would have, each with the path of its input and
/// the format in which a run reads it ("mzml" also for a packed file).
struct NamedInput {
  std::string m_base;
  std::string m_path;
  std::string m_format;
};
std::vector<NamedInput> NamedInputs(const CheckTargets& targets);

/// Warns of inputs that would have outputs of one name: those of one folder and format, and, when
/// outputpath is not empty, all that would go there. One name in several folders is a note.
void CheckSameNames(CheckReport& report, const CheckTargets& targets,
                    const std::string& outputpath);

}  // namespace tarvek::tools
