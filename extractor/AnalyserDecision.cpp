#include "AnalyserDecision.h"

#include <algorithm>
#include <ranges>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

bool ResolvesMasses(Analyser analyser) {
  return analyser == Analyser::kFourier || analyser == Analyser::kTimeOfFlight ||
         analyser == Analyser::kIonTrap;
}

std::string_view WordOf(Analyser analyser) {
  return analyser == Analyser::kIonTrap ? "ITMS" : "FTMS";
}

// The filter line begins with the analyser.
Analyser AnalyserOfFilter(std::string_view filter) {
  filter = TrimLeft(filter);
  if (filter.starts_with("FTMS") || filter.starts_with("ASTMS")) return Analyser::kFourier;
  if (filter.starts_with("TOFMS")) return Analyser::kTimeOfFlight;
  return filter.starts_with("ITMS") ? Analyser::kIonTrap : Analyser::kUnknown;
}

// Without a configuration, the reader's analyser for the run's default.
Analyser AnalyserOfConfiguration(const ExtractedScan& scan) {
  if (scan.m_configuration == nullptr) return scan.m_analyser;
  const auto& analysers = scan.m_configuration->m_analysers;
  const auto last = std::ranges::find_if(analysers.rbegin(), analysers.rend(), ResolvesMasses);
  return last == analysers.rend() ? scan.m_analyser : *last;
}

bool HasInductiveDetector(const ExtractedScan& scan) {
  return scan.m_configuration != nullptr && scan.m_configuration->m_has_inductive_detector;
}

// A configuration that is not the scan's own, often the first one that a converter names for all
// scans, describes the survey scans of a trap hybrid, not its MS2 scans.
bool IsOpen(const ExtractedScan& scan, const InstrumentModel* model) {
  return scan.m_ms_level == 2 && model != nullptr && model->m_kind == ModelKind::kTrapHybrid;
}

Analyser AnalyserOfModel(const ExtractedScan& scan, const InstrumentModel* model) {
  switch (model == nullptr ? ModelKind::kUndecided : model->m_kind) {
    case ModelKind::kFourier:
      return Analyser::kFourier;
    case ModelKind::kTimeOfFlight:
      return Analyser::kTimeOfFlight;
    case ModelKind::kIonTrap:
      return Analyser::kIonTrap;
    case ModelKind::kTrapHybrid:
      return scan.m_ms_level == 1 ? Analyser::kFourier : Analyser::kUnknown;
    case ModelKind::kUndecided:
      break;
  }
  return Analyser::kUnknown;
}

AnalyserDecision OfConfiguration(const ExtractedScan& scan) {
  if (const Analyser found = AnalyserOfConfiguration(scan); ResolvesMasses(found))
    return {WordOf(found), AnalyserStep::kConfiguration};
  if (HasInductiveDetector(scan)) return {"FTMS", AnalyserStep::kDetector};
  return {};
}

// otherwise: the decision when the peaks are unclear.
AnalyserDecision OfPeaks(const ExtractedScan& scan, std::string_view activation,
                         const ExtractionPlan& plan, AnalyserDecision otherwise) {
  if (!plan.m_has_looked) return {};
  const Resolution resolution = plan.LookOf(LookGroupOf(scan.m_ms_level, activation));
  if (resolution == Resolution::kUnclear) return otherwise;
  return {resolution == Resolution::kHigh ? "FTMS" : "ITMS", AnalyserStep::kPeaks};
}

}  // namespace

AnalyserDecision AnalyserDecider::Decide(const ExtractedScan& scan, std::string_view activation,
                                         const ExtractionPlan& plan) {
  const std::string& told =
      scan.m_ms_level == 1 ? m_overrides.m_ms1_analyser : m_overrides.m_ms2_analyser;
  if (!told.empty()) return {told == "ITMS" ? "ITMS" : "FTMS", AnalyserStep::kUser};
  if (scan.m_has_own_analyser && ResolvesMasses(scan.m_analyser))
    return {WordOf(scan.m_analyser), AnalyserStep::kScan};
  if (const Analyser found = AnalyserOfFilter(scan.m_filter); ResolvesMasses(found))
    return {WordOf(found), AnalyserStep::kFilter};
  const InstrumentModel* const model = ModelOf(scan);
  AnalyserDecision decision = OfConfiguration(scan);
  const bool is_decided = !decision.m_word.empty();
  if (is_decided && !IsOpen(scan, model)) return decision;
  if (const Analyser found = AnalyserOfModel(scan, model); ResolvesMasses(found))
    return {WordOf(found), AnalyserStep::kModel};
  if (!is_decided) decision = {"FTMS", AnalyserStep::kAssumed};
  return OfPeaks(scan, activation, plan, decision);
}

// Caches the result, because names repeat from scan to scan and the table is long.
const InstrumentModel* AnalyserDecider::ModelOf(const ExtractedScan& scan) {
  if (scan.m_configuration == nullptr) return nullptr;
  const std::int32_t accession = scan.m_configuration->m_model_accession;
  const std::string& name = scan.m_configuration->m_model_name;
  const auto [place, is_new] = m_models.try_emplace({accession, name}, nullptr);
  if (is_new) place->second = FindInstrumentModel(accession, name);
  return place->second;
}

std::string ShownModel(const InstrumentConfiguration& configuration) {
  if (!configuration.m_model_name.empty()) return configuration.m_model_name;
  const InstrumentModel* const model = FindInstrumentModel(configuration.m_model_accession, {});
  return model == nullptr ? std::string() : std::string(model->m_name);
}

}  // namespace tarvek::extractor
