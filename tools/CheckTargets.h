// tools/CheckTargets.h: what the paths given to "tarvek-tools check" stand for.
// Does:     sorts the files of a directory, of a base name, or one file into inputs and outputs.
// Throws:   nothing for a path that stands for nothing, which is a finding; std::bad_alloc.
// Not here: what is in the files.
#pragma once

#include <map>
#include <set>
#include <string>

#include "CheckFindings.h"
#include "CheckOutputs.h"

namespace tarvek::tools {

struct CheckTargets {
  std::set<std::string> m_ms1_files;     // each with its .ms2 file
  std::set<std::string> m_binary_bases;  // paths without .msb, .mscsv
  std::set<std::string> m_xml_files;
  std::set<std::string> m_mgf_files;            // that are no outputs
  std::map<std::string, RunOutputs> m_outputs;  // by path of the base
};

/// Adds what path stands for: a file, a directory (its own files, not those of its folders), or a
/// base name, the files of one run without their endings. An output stands for all outputs of its
/// run. Files that nothing else looks into, such as leftovers of stopped programs, are reported at
/// once.
void AddTargets(CheckTargets& targets, CheckReport& report, const std::string& path);

}  // namespace tarvek::tools
