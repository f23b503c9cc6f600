#include "mzml/Command.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

#include "Platform.h"
#include "StringUtils.h"
#include "mzml/Copy.h"
#include "mzml/RunPrecursors.h"
#include "outputs/OutputNames.h"

namespace tarvek::tools {
namespace {

struct MzmlOptions {
  std::string m_run;
  std::string m_input;
  std::string m_out;
  bool m_is_all = false;  // as without it
  bool m_is_split = false;
  std::int32_t m_top = 0;  // 0: all
};

void RefuseOutput(const MzmlOptions& options) {
  if (CanonicalPath(options.m_out) == CanonicalPath(options.m_input))
    throw "The output " + options.m_out + " is the input; choose another name";
  if (EndsWithIgnoreCase(options.m_out, ".gz"))
    throw "The output " + options.m_out + " would not be compressed; leave .gz out of its name";
}

void Print(const CopyCounts& counts) {
  std::cout << counts.m_spectra << " spectra; " << counts.m_precursors << " precursors in "
            << counts.m_determined << " scans; " << counts.m_kept
            << " scans keep what they declare, since nothing else was determined\n";
  if (counts.m_without > 0)
    std::cerr << "tarvek-tools: " << counts.m_without
              << " scans stay as they are: they have no precursor element\n";
}

void RunMzml(const MzmlOptions& options) {
  RefuseOutput(options);
  CopyOptions copy;
  copy.m_form = options.m_is_split ? PrecursorForm::kSplit : PrecursorForm::kAll;
  if (options.m_top > 0) copy.m_top = static_cast<std::size_t>(options.m_top);
  Print(CopyMzml(RunPrecursors(options.m_run), options.m_input, options.m_out, copy));
}

}  // namespace

void AddMzmlCommand(CLI::App& app) {
  const auto options = std::make_shared<MzmlOptions>();
  CLI::App* mzml =
      app.add_subcommand("mzml", "Put the precursors of a finished run into its mzML file");
  mzml->add_option("RUN", options->m_run, "A finished run, its table or base name")->required();
  mzml->add_option("INPUT", options->m_input, "The mzML file that it was made of, also as .gz")
      ->required();
  mzml->add_option("-o,--out", options->m_out, "The mzML file to write")->required();
  CLI::Option* const all = mzml->add_flag(
      "--all", options->m_is_all, "A selected ion for each precursor of a scan; the default");
  mzml->add_flag("--split", options->m_is_split, "A spectrum for each precursor of a scan")
      ->excludes(all);
  mzml->add_option("--top", options->m_top, "Take the N best precursors of each scan")
      ->check(CLI::PositiveNumber);
  mzml->callback([options] { RunMzml(*options); });
}

}  // namespace tarvek::tools
