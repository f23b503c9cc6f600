// tools/check/Targets.h: what the paths given to "tarvek-tools check" stand for.
// Does:     sorts the files of a directory, of a base name, or one file into inputs and outputs.
// Throws:   nothing for a path that stands for nothing, which is a finding; std::bad_alloc.
// Not here: what is in the files.
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
  std::set<std::string> m_mgf_files;            // that are no outputs
  std::map<std::string, RunOutputs> m_outputs;  // by path of the base
};

/// Adds what path stands for: a file, a directory (its own files, not those of its folders), or a
/// base name, the files of one run without their endings. An output stands for all outputs of its
/// run. Files that nothing else looks into, such as leftovers of stopped programs, are reported at
/// once.
void AddTargets(CheckTargets& targets, CheckReport& report, const std::string& path);

/// Adds the outputs with this path of their base name, if there are any.
void AddOutputs(CheckTargets& targets, CheckReport& report, const std::string& base_path);

/// The base names under which the inputs would have their outputs, each with the path of its input
/// and the format that a run knows it by ("mzml" also of a packed file).
struct NamedInput {
  std::string m_base;
  std::string m_path;
  std::string m_format;
};
std::vector<NamedInput> NamedInputs(const CheckTargets& targets);

/// Warns of inputs whose outputs would get one name: those of one folder and format, and, when
/// outputpath is not empty, all that would go there. Of one name in several folders, a note.
void CheckSameNames(CheckReport& report, const CheckTargets& targets,
                    const std::string& outputpath);

}  // namespace tarvek::tools
