#include "check/Check.h"

#include "check/Parameters.h"
#include "check/Targets.h"

namespace tarvek::tools {
namespace {

bool HasInputs(const CheckTargets& targets) {
  return !targets.m_ms1_files.empty() || !targets.m_binary_bases.empty() ||
         !targets.m_xml_files.empty();
}

void CheckAll(CheckReport& report, const CheckTargets& targets, CheckOptions options) {
  if (HasInputs(targets) || options.m_is_table_planned) {
    const CheckedTable table = CheckIsotopeTable(report, options);
    options.m_settings.m_table_end_da = table.m_end_da;
    if (options.m_is_table_planned && !table.m_fingerprint.empty())
      options.m_planned["isotope_table"] = table.m_fingerprint;
  }
  CheckSameNames(report, targets, options.m_outputpath);
  for (const std::string& path : targets.m_xml_files) CheckXmlInput(report, path, options);
  for (const std::string& path : targets.m_ms1_files) CheckTextInput(report, path, options);
  for (const std::string& base : targets.m_binary_bases) CheckBinaryInput(report, base, options);
  for (const std::string& path : targets.m_mgf_files) CheckMgfInput(report, path);
  for (const auto& [path, outputs] : targets.m_outputs)
    CheckOutputs(report, outputs, options.m_planned);
}

}  // namespace

CheckReport CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options) {
  CheckReport report;
  CheckTargets targets;
  for (const std::string& path : paths) AddTargets(targets, report, path);
  CheckAll(report, targets, options);
  for (const std::string& path : targets.m_parameter_files)
    if (const auto plan = CheckParameters(report, path))
      CheckAll(report, plan->m_targets, plan->m_options);
  return report;
}

}  // namespace tarvek::tools
