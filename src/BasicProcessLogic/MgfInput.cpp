#include "MgfInput.h"

#include <optional>
#include <string>

#include "FileUtils.h"
#include "IO.h"
#include "Logger.h"
#include "Ms1Feed.h"
#include "Ms2Loop.h"
#include "OutputSet.h"

namespace tarvek {

void processMgfFile(const UserParameters& parameters) {
  if (SkipsExisting(parameters, OutputPath(parameters, ".mgf"))) return;
  logMessage(kWarn,
             "We DO NOT RECOMMAND you to use [MGF] as input!! Tarvek cannot utilize MS1 Message.");
  MgfReader reader(parameters.m_current_file, "r");
  FileLock lock;  // outlives the writer
  std::optional<PfWriter> pf2;
  if (parameters.m_output_pf) {
    const std::string path = OutputPath(parameters, ".pf2");
    lock = LockFile(path);
    pf2.emplace(path, "wb+", parameters.m_current_basename);
  }
  MS2Spectrum scan;
  while (reader.ReadNext(scan)) {
    if (scan.m_precursors.empty()) WarnWithoutPrecursor(scan);
    if (pf2) pf2->WriteMs2(scan);
    ReportProgress(kMs2Progress, reader.RecordCount());
  }
  reader.Finish();
  if (pf2) pf2->Close();
}

}  // namespace tarvek
