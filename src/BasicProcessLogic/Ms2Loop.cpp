#include "Ms2Loop.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "ClusterMs2.h"
#include "FileUtils.h"
#include "InstrumentSource.h"
#include "JointDetermination.h"
#include "Logger.h"
#include "Ms1Feed.h"
#include "NumberText.h"
#include "PrecursorDetermination.h"
#include "ProgressBar.h"
#include "RunSummary.h"
#include "WorkLimit.h"

namespace tarvek {
namespace {

// With fewer MS1 scans in the store there is not a full window of ten.
constexpr std::size_t kMinStoredScans = 10;

// The scan numbers that clustering selected; std::nullopt means all.
using AcceptedScans = std::optional<std::set<std::int32_t>>;

AcceptedScans SelectScans(const UserParameters& parameters) {
  if (!parameters.m_cluster_ms2) return std::nullopt;
  return clusterMs2Scans(Ms2Path(parameters.m_current_file));
}

// Every so many scans, one is determined again to count decoys.
constexpr std::int64_t kScansForADecoy = 8;

/// Finds the precursors of a scan, one by one or, when the environment asks for it, jointly.
class Determiner {
 public:
  explicit Determiner(const UserParameters& parameters)
      : m_threshold(JointThreshold()), m_single(parameters), m_joint(parameters) {}

  void Determine(const Ms1Store& store, MS2Spectrum& scan) {
    if (!m_threshold) {
      scan.m_precursors = m_single.determine_precursors(store, scan);
      return;
    }
    scan.m_precursors.clear();
    scan.m_evidence.clear();
    for (const auto& [precursor, evidence] : m_joint.Determine(store, scan, *m_threshold)) {
      scan.m_precursors.push_back(precursor);
      scan.m_evidence.push_back(evidence);
    }
    if (m_determined++ % kScansForADecoy != 0) return;
    ++m_decoy_scans;
    m_decoys += static_cast<std::int64_t>(m_joint.CountDecoys(store, scan, *m_threshold));
  }

  /// In the unit of both determinations.
  [[nodiscard]] std::int64_t Work() const { return m_single.Work() + m_joint.Work(); }

  /// The decoys found in some of the scans; none without the joint determination.
  void AddCounts(RunRecord& counts) const {
    if (!m_threshold) return;
    counts.m_counts[std::string(kCountDecoyScans)] = m_decoy_scans;
    counts.m_counts[std::string(kCountDecoys)] = m_decoys;
  }

 private:
  std::optional<double> m_threshold;
  PrecursorDetermination m_single;
  joint::JointDetermination m_joint;
  std::int64_t m_determined = 0;
  std::int64_t m_decoy_scans = 0;
  std::int64_t m_decoys = 0;
};

class Ms2Loop {
 public:
  Ms2Loop(const UserParameters& parameters, const AcceptedScans& accepted, SpectrumSource& source,
          OutputSet& outputs)
      : m_path(parameters.m_current_file),
        m_most_work(MostWork(parameters, source.InputBytes())),
        m_accepted(&accepted),
        m_source(&source),
        m_outputs(&outputs),
        m_feed(source, outputs.Pf1(), kMs1StoreCapacity,
               {parameters.m_mz_digits, parameters.m_intensity_digits}),
        m_determiner(parameters) {}

  void Run() {
    MS2Spectrum scan;
    ProgressBar progress(StandardErrorIsTerminal());
    while (m_source->NextMs2(scan)) {
      ++m_read;
      progress.Update(m_source->FractionRead(), m_read);
      m_feed.AdvanceTo(scan.m_precursor_scan);
      const std::string_view reason = ReasonLeftOut(scan);
      if (!reason.empty()) {
        LeaveOut(scan, reason);
        continue;
      }
      ReportProgress(kMs2Progress, m_read);
      Process(scan);
    }
    m_feed.Drain();
  }

  /// The numbers of scans read, exported and left out.
  [[nodiscard]] RunRecord Counts() const {
    RunRecord counts;
    counts.m_counts = {{std::string(kCountSurveys), m_feed.ReadCount()},
                       {std::string(kCountMs2Read), m_read},
                       {std::string(kCountMs2Exported), m_exported},
                       {std::string(kCountPrecursors), m_precursors}};
    for (const auto& [reason, count] : m_left_out) counts.m_left_out[std::string(reason)] = count;
    if (m_declared > 0) counts.m_counts[std::string(kCountMs2Declared)] = m_declared;
    m_determiner.AddCounts(counts);
    counts.m_left_out_scans.insert(m_left_out_scans.begin(), m_left_out_scans.end());
    return counts;
  }

 private:
  [[nodiscard]] std::string_view ReasonLeftOut(const MS2Spectrum& scan) const {
    const std::string_view reason = ReasonNotProcessed(scan);
    return reason.empty() && !IsAccepted(scan) ? kNotSelected : reason;
  }

  void LeaveOut(const MS2Spectrum& scan, std::string_view reason) {
    ++m_left_out[reason];
    if (m_left_out_scans.size() < kMaxLeftOutScans)
      m_left_out_scans.insert_or_assign(scan.m_scan_no, reason);
  }

  [[nodiscard]] bool IsAccepted(const MS2Spectrum& scan) const {
    return !*m_accepted || (*m_accepted)->contains(scan.m_scan_no);
  }

  void Process(MS2Spectrum& scan) {
    Determine(scan);
    DropUnusablePrecursors(scan);
    if (scan.m_precursors.empty()) {
      WarnWithoutPrecursor(scan);
      LeaveOut(scan, kNoUsablePrecursor);
      return;
    }
    m_outputs->WriteMs2(scan, m_source->WritesPf2First());
    ++m_exported;
    m_precursors += static_cast<std::int64_t>(scan.m_precursors.size());
  }

  void Determine(MS2Spectrum& scan) {
    if (!CanDetermine(*m_source, m_feed.Store(), scan)) return;
    if (m_determiner.Work() > m_most_work) return KeepDeclared(scan);
    m_determiner.Determine(m_feed.Store(), scan);
    if (scan.m_precursors.empty()) scan.m_precursors = scan.m_orig_precursors;
  }

  void KeepDeclared(const MS2Spectrum& scan) {
    if (m_declared++ > 0) return;
    logMessage(kWarn, m_path + ", from scan " + std::to_string(scan.m_scan_no) +
                          " on: the declared precursors are kept. The surveys have far more peaks "
                          "around them than those of a real run of this size.");
  }

  std::string m_path;
  std::int64_t m_most_work;
  std::int64_t m_declared = 0;  // scans beyond m_most_work
  const AcceptedScans* m_accepted;
  SpectrumSource* m_source;
  OutputSet* m_outputs;
  Ms1Feed m_feed;
  Determiner m_determiner;
  std::int64_t m_read = 0;
  std::int64_t m_exported = 0;
  std::int64_t m_precursors = 0;
  std::map<std::string_view, std::int64_t> m_left_out;        // key: one of the constant reasons
  std::map<std::int32_t, std::string_view> m_left_out_scans;  // the same reasons
};

/// Returns the start of the run's record; called after all scans were read.
using RecordStart = std::function<RunRecord()>;

RunRecord ProcessSource(const UserParameters& parameters, const AcceptedScans& accepted,
                        SpectrumSource& source, OutputClaim& claim, Naming naming,
                        const RecordStart& begun) {
  const std::optional<double> joint_threshold = JointThreshold();
  if (joint_threshold)
    logInfo("The precursors of each scan are determined together, from a probability of " +
            ExactText(*joint_threshold) + " on.");
  OutputSet outputs(parameters, claim, joint_threshold.has_value(), naming);
  RunRecord record;
  {
    Ms2Loop loop(parameters, accepted, source, outputs);
    loop.Run();
    record = WholeRecord(begun(), loop.Counts());
  }
  source.FinishMs1();
  outputs.ClosePf1();
  source.FinishMs2();
  outputs.Complete(record);
  return record;
}

}  // namespace

std::string_view ReasonNotProcessed(const MS2Spectrum& scan) {
  if (!IsKnownActivation(scan.m_activation_type)) return kActivationNotKnown;
  if (!IsKnownInstrument(scan.m_instrument_type)) return kAnalyserNotKnown;
  return {};
}

bool CanDetermine(const SpectrumSource& source, const Ms1Store& store, const MS2Spectrum& scan) {
  return store.size() >= kMinStoredScans && source.AllowsDetermination(scan);
}

void DropUnusablePrecursors(MS2Spectrum& scan) {
  const auto dropped = std::erase_if(
      scan.m_precursors, [](const Precursor& precursor) { return !IsUsable(precursor); });
  // The text is frozen, see docs/frozen-names.md.
  for (std::size_t i = 0; i < dropped; ++i)
    logMessage(kWarn, "Scan " + std::to_string(scan.m_scan_no) +
                          " has incorrect precursor infomation, skipping...");
}

std::string Ms2Path(const std::string& ms1_path) {
  const std::string_view name = FileNameOf(ms1_path);
  return JoinPath({FolderOf(ms1_path), std::string(name.substr(0, name.rfind('.'))) + ".ms2"});
}

void WarnWithoutPrecursor(const MS2Spectrum& scan) {
  logMessage(kWarn,
             "Cannot find precursor information for scan " + std::to_string(scan.m_scan_no) + ".");
}

RunRecord processTextSpectra(const UserParameters& parameters, OutputClaim& claim,
                             const RunRecord& begun) {
  const AcceptedScans accepted = SelectScans(parameters);
  TextSpectrumSource source(parameters.m_current_file, Ms2Path(parameters.m_current_file));
  const RunRecord record =
      ProcessSource(parameters, accepted, source, claim, Naming::kAtOnce, [&] { return begun; });
  source.WarnOfOtherContent();
  return record;
}

RunRecord ProcessInstrumentSpectra(const UserParameters& parameters, OutputClaim& claim,
                                   const RunRecord& settings) {
  InstrumentSource source(parameters);
  return ProcessSource(parameters, std::nullopt, source, claim, Naming::kWhenComplete,
                       [&] { return WithExtraction(settings, source.Extraction()); });
}

RunRecord processMsbSpectra(const UserParameters& parameters, OutputClaim& claim,
                            const RunRecord& begun) {
  const AcceptedScans accepted = SelectScans(parameters);
  BinarySpectrumSource source(OutputPath(parameters, "." + parameters.m_input_format));
  return ProcessSource(parameters, accepted, source, claim, Naming::kAtOnce, [&] { return begun; });
}

}  // namespace tarvek
