#include <string>

#include "FileUtils.h"
#include "MsbReader.h"
#include "check/Account.h"
#include "check/Inputs.h"
#include "outputs/OutputNames.h"

namespace tarvek::tools {
namespace {

void TakeSurveys(CheckAccount& account, MsbReader& reader) {
  for (MS1Spectrum scan; reader.HasMs1() && reader.TakeMs1(scan);)
    account.TakeSurvey(scan.m_scan_no, scan.m_instrument_type.starts_with('F'), scan.m_rt,
                       scan.m_peaks, scan.m_instrument_type.starts_with('I'));
}

void TakeAll(CheckAccount& account, const std::string& base_path) {
  MsbReader reader(base_path);
  for (MS2Spectrum scan; reader.TakeMs2(scan);) {
    TakeSurveys(account, reader);
    account.TakeFragment(FactsOf(scan), scan.m_peaks);
  }
  TakeSurveys(account, reader);
}

}  // namespace

void CheckBinaryInput(CheckReport& report, const std::string& base_path,
                      const CheckOptions& options) {
  const std::string msb = base_path + ".msb";
  CheckRunName(report, msb, std::string(RunOfBinaryPair(FileNameOf(base_path))));
  if (!HasBothHalves(report, msb, base_path + ".mscsv")) return;
  AccountRules rules;
  rules.m_assumes_charge_2 = false;
  CheckAccount account(msb, "binary pair", rules);
  if (ReadOrReport(report, msb, "Extract the instrument file again with -b 1.",
                   [&] { TakeAll(account, base_path); }))
    account.Report(report, options.m_settings);
}

}  // namespace tarvek::tools
