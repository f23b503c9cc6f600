#include "ipv/Command.h"

#include <memory>
#include <optional>

#include "NumberText.h"
#include "ipv/AveragineTable.h"
#include "ipv/TableFile.h"

namespace tarvek::tools {
namespace {

struct IpvOptions {
  std::string m_out;
  std::string m_label = "none";
  double m_enrichment = kUsualEnrichment;
};

/// Empty when text is a number in (0, 1], else what is wrong with it. "nan" fails.
std::string EnrichmentFault(const std::string& text) {
  const ScannedNumber<double> number = ScanReal(text);
  const bool is_inside =
      number.m_status == NumberStatus::kOk && number.m_value > 0.0 && number.m_value <= 1.0;
  return is_inside ? "" : "must be above 0 and at most 1, not " + text;
}

void RunIpv(const IpvOptions& options) {
  std::optional<double> n15_enrichment;
  if (options.m_label == "n15") n15_enrichment = options.m_enrichment;
  WriteIsotopeTable(options.m_out, ComputeIsotopeTable(n15_enrichment));
}

void CheckThatEnrichmentHasALabel(const CLI::Option& enrichment, const IpvOptions& options) {
  if (enrichment.count() > 0 && options.m_label == "none")
    throw CLI::ValidationError("--enrichment", "needs --label n15");
}

}  // namespace

void AddIpvCommand(CLI::App& app) {
  const auto options = std::make_shared<IpvOptions>();
  CLI::App* ipv = app.add_subcommand("ipv", "Write the table of expected isotope patterns");
  ipv->add_option("--label", options->m_label, "Isotope label of the nitrogen: none or n15")
      ->check(CLI::IsMember({"none", "n15"}))
      ->capture_default_str();
  const CLI::Option* enrichment =
      ipv->add_option("--enrichment", options->m_enrichment,
                      "Fraction of the nitrogen that is 15N, with --label n15")
          ->check(CLI::Validator(EnrichmentFault, "(0,1]"))
          ->capture_default_str();
  ipv->add_option("OUT", options->m_out, "The file to write, such as IPV.txt")->required();
  ipv->callback([options, enrichment] {
    CheckThatEnrichmentHasALabel(*enrichment, *options);
    RunIpv(*options);
  });
}

}  // namespace tarvek::tools
