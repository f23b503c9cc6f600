#include <string>

#include "CheckAccount.h"
#include "CheckInputs.h"
#include "FileUtils.h"
#include "MsbReader.h"
#include "QuietLibrary.h"

namespace tarvek::tools {
namespace {

void TakeSurveys(CheckAccount& account, MsbReader& reader) {
  for (MS1Spectrum scan; reader.HasMs1() && reader.TakeMs1(scan);) {
    if (scan.m_peaks.empty())
      account.LeaveOut("MS1 scans without peaks", scan.m_scan_no, false);
    else
      account.TakeSurvey(scan.m_scan_no, scan.m_instrument_type.starts_with('F'), scan.m_rt,
                         scan.m_peaks, scan.m_instrument_type.starts_with('I'));
  }
}

void TakeFragments(CheckAccount& account, const MS2Spectrum& scan) {
  FragmentFacts facts;
  facts.m_scan_no = scan.m_scan_no;
  facts.m_precursor_scan = scan.m_precursor_scan;
  facts.m_centre_mz = scan.m_activation_center;
  facts.m_activation = scan.m_activation_type;
  facts.m_instrument = scan.m_instrument_type;
  facts.m_charge = scan.m_orig_precursors.front().m_charge;
  account.TakeFragment(facts, scan.m_peaks);
}

void TakeAll(CheckAccount& account, const std::string& base_path) {
  const QuietLibrary quiet;
  MsbReader reader(base_path);
  for (MS2Spectrum scan; reader.TakeMs2(scan);) {
    TakeSurveys(account, reader);
    TakeFragments(account, scan);
  }
  TakeSurveys(account, reader);
}

}  // namespace

void CheckBinaryInput(CheckReport& report, const std::string& base_path,
                      const CheckOptions& options) {
  const std::string msb = base_path + ".msb";
  for (const char* ending : {".msb", ".mscsv"}) {
    if (FileExists(base_path + ending)) continue;
    report.Defect("missing-half", base_path + ending,
                  "It is missing beside its other half, and both are needed for a run.",
                  "Put the .msb and the .mscsv file of the run into one directory.");
    return;
  }
  AccountRules rules;
  rules.m_assumes_charge_2 = false;
  CheckAccount account(msb, "binary pair", rules);
  try {
    TakeAll(account, base_path);
  } catch (const std::string& message) {
    AddUnreadable(report, msb, message, "Extract the instrument file again with -b 1.");
    return;
  }
  account.Report(report, options.m_settings);
}

}  // namespace tarvek::tools
