// tests/program/SharedRuns.h: real runs with expected outputs, kept outside this repository.
// Does:     finds them, reads the table of runs and the expected hashes, unpacks the inputs.
// Throws:   std::runtime_error when a file that is there cannot be read.
//
// The environment variable TARVEK_SHARED names the folder; the default is "shared" next to the
// source tree. It holds data/*/NAME.ms1.gz and .ms2.gz, expected/IPV.txt, the table of runs in
// expected/README.md, and for each of them expected/NAME/VARIANT/SHA256SUMS and
//           NAME.csv.
#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace tarvek::test {

struct SharedRun {
  std::string m_name;
  std::string m_variant;
  std::vector<std::string> m_options;
  std::size_t m_rows = 0;        // of the precursor table
  std::size_t m_precursors = 0;  // in all rows
  std::size_t m_warnings = 0;
};

void PrintTo(const SharedRun& run, std::ostream* out);

/// The rows of the table of runs; one row without a name when the folder does not exist.
std::vector<SharedRun> SharedRuns();

std::string SharedFolder();
std::string ExpectedFolder(const SharedRun& run);

/// File name to SHA-256 in hexadecimal digits.
std::map<std::string, std::string> ExpectedHashes(const SharedRun& run);
std::string Sha256(const std::string& bytes);

/// The unpacked NAME + ending, e.g. ".ms1".
std::string SharedInput(const std::string& name, const std::string& ending);

}  // namespace tarvek::test
