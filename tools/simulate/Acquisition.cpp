#include "simulate/Acquisition.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "simulate/Elution.h"
#include "simulate/Fragments.h"
#include "simulate/Instrument.h"
#include "simulate/Realism.h"
#include "simulate/Selection.h"

namespace tarvek::tools {
namespace {

constexpr std::uint64_t kAcquisitionStream = 1;
constexpr std::uint64_t kSprayStream = 4;
constexpr double kDefaultGradientS = 3600.0;

// Ions collected for a scan, and the longest time given to collect them.
struct Gain {
  double m_target_charges;
  double m_max_injection_s;
};
constexpr Gain kSurveyGain{1.0e6, 0.1};
constexpr Gain kTrapSurveyGain{3.0e4, 0.01};
constexpr Gain kFragmentGain{5.0e4, 0.06};
constexpr Gain kTrapFragmentGain{1.0e4, 0.05};

constexpr double kSurveyS = 0.30;
constexpr double kTrapSurveyS = 0.10;
constexpr double kFragmentS = 0.117;

// Fragments are measured at a quarter of the resolution of the surveys.
constexpr double kFragmentResolution = 0.25;

constexpr double kSurveyNoisePeaks = 380.0;
constexpr double kFragmentNoisePeaks = 135.0;
constexpr double kFragmentLowMz = 100.0;
constexpr double kFragmentMaxMz = 2000.0;
constexpr double kTrapLowMz = 0.28;  // of the precursor: what an ion trap can hold

constexpr double kSmallestFragmentedShare = 0.003;
constexpr double kSprayDeviation = 0.06;  // of the total current from survey to survey
// Lines below this part of the latest detection limit are left out.
constexpr double kNegligible = 0.02;

double InjectionSeconds(const Gain& gain, double current) {
  return std::min(gain.m_max_injection_s, gain.m_target_charges / std::max(current, 1.0));
}

/// What is in the isolation window of one scan.
struct Isolated {
  std::int32_t m_source = 0;
  double m_current = 0.0;
};

void SetPeaks(const std::vector<Centroid>& centroids, std::vector<Peak>& peaks) {
  peaks.clear();
  for (const Centroid& centroid : centroids) peaks.push_back({centroid.m_mz, centroid.m_intensity});
}

class Acquisition {
 public:
  Acquisition(const SimulateOptions& options, RunSink& sink)
      : m_options(options),
        m_sink(sink),
        m_random(options.m_seed, kAcquisitionStream),
        m_spray(options.m_seed, kSprayStream),
        m_slowdown(ScanSlowdown(options.m_realism)),
        m_peptides(options, GradientSeconds(options)),
        m_background(DrawBackground(options)),
        m_fragmenter(options.m_n15_enrichment, options.m_is_negative, options.m_realism),
        m_selector(options),
        m_calibration_ppm(m_random.Normal()),
        m_drift_phase(m_random.Uniform(0.0, 2.0 * std::numbers::pi)) {}

  void Run() {
    while (!IsOver()) {
      while (m_random.Chance(m_options.m_ion_trap_share)) TakeSurvey(true);
      TakeSurvey(false);
      for (const Choice& choice :
           m_selector.Choose(m_seconds, m_centroids, m_survey_limit, m_sources, m_random))
        for (const FragmentMethod& method : m_options.m_methods)
          if (!HasAllFragmentScans()) TakeFragments(choice, method);
    }
    m_sink.Complete();
  }

 private:
  [[nodiscard]] bool HasAllFragmentScans() const {
    return m_options.m_ms2_scans && m_ms2_taken >= *m_options.m_ms2_scans;
  }

  [[nodiscard]] bool IsOver() const {
    const bool ends_with_time = m_options.m_gradient_minutes || !m_options.m_ms2_scans;
    return HasAllFragmentScans() || (ends_with_time && m_seconds >= GradientSeconds(m_options));
  }

  [[nodiscard]] double CalibrationPpm() const {
    constexpr double kDriftPpm = 0.5;
    constexpr double kDriftPeriodS = 1500.0;
    const double angle = 2.0 * std::numbers::pi * m_seconds / kDriftPeriodS + m_drift_phase;
    return m_calibration_ppm + kDriftPpm * std::sin(angle);
  }

  void AddSource(const IonSource& source) {
    const double threshold = kNegligible * m_survey_limit;
    const auto index = static_cast<std::int32_t>(m_sources.size());
    bool is_seen = false;
    for (const IonLine& line : source.m_ion->m_lines) {
      const double current = source.m_current * line.m_fraction;
      if (current < threshold) continue;
      m_lines.push_back({line.m_mz, current, index, line.m_isotope});
      is_seen = true;
    }
    if (is_seen) m_sources.push_back(source);
  }

  /// m_sources and m_lines for the present time; the sum of the lines.
  double CollectIons() {
    m_peptides.AdvanceTo(m_seconds);
    m_sources.clear();
    m_lines.clear();
    for (const Peptide& peptide : m_peptides.Present()) {
      if (peptide.m_profile.Begin() > m_seconds) continue;
      const double current = peptide.CurrentAt(m_seconds);
      for (const Ion& ion : peptide.m_ions) AddSource({&peptide, nullptr, &ion, current});
    }
    for (const BackgroundIon& background : m_background)
      AddSource({nullptr, &background, &background.m_ion, background.CurrentAt(m_seconds)});
    if (m_options.m_realism > 0.0)
      ShakeSpray(m_options.m_realism, m_sources.size(), m_spray, m_lines);
    std::ranges::stable_sort(m_lines, {}, &Emission::m_mz);
    double total = 0.0;
    for (const Emission& line : m_lines) total += line.m_current;
    return total;
  }

  void TakeSurvey(bool is_ion_trap) {
    const double total = CollectIons() * m_random.LogNormal(1.0, kSprayDeviation);
    const Analyser analyser{is_ion_trap, m_options.m_resolution};
    const double injection_s = InjectionSeconds(is_ion_trap ? kTrapSurveyGain : kSurveyGain, total);
    Measure(m_lines, analyser,
            {injection_s, CalibrationPpm(), kSurveyNoisePeaks * m_options.m_noise,
             m_options.m_low_mz, m_options.m_high_mz, m_options.m_realism},
            m_random, m_centroids);
    m_survey.m_scan_no = ++m_scan_no;
    m_survey.m_rt = m_seconds;
    m_survey.m_ion_injection_time = injection_s * 1e3;
    m_survey.m_instrument_type = is_ion_trap ? "ITMS" : "FTMS";
    SetPeaks(m_centroids, m_survey.m_peaks);
    m_sink.TakeSurvey(m_survey);
    m_seconds += m_slowdown * (is_ion_trap ? kTrapSurveyS : kSurveyS);
    if (is_ion_trap) return;
    m_survey_limit = DetectionLimit(analyser, injection_s);
    m_precursor_scan = m_scan_no;
  }

  [[nodiscard]] double CurrentNow(const IonSource& source) const {
    return source.m_peptide != nullptr ? source.m_peptide->CurrentAt(m_seconds)
                                       : source.m_background->CurrentAt(m_seconds);
  }

  /// Fills m_isolated, descending in current, and returns the sum.
  double Isolate(double center_mz) {
    m_isolated.clear();
    const double low_mz = center_mz - 0.5 * m_options.m_isolation_width_mz;
    const double high_mz = center_mz + 0.5 * m_options.m_isolation_width_mz;
    double total = 0.0;
    for (auto line = std::ranges::lower_bound(m_lines, low_mz, {}, &Emission::m_mz);
         line != m_lines.end() && line->m_mz <= high_mz; ++line) {
      const IonSource& source = m_sources[static_cast<std::size_t>(line->m_source)];
      const double current = line->m_current * CurrentNow(source) / source.m_current;
      total += current;
      const auto known = std::ranges::find(m_isolated, line->m_source, &Isolated::m_source);
      if (known == m_isolated.end())
        m_isolated.push_back({line->m_source, current});
      else
        known->m_current += current;
    }
    std::ranges::stable_sort(m_isolated, std::ranges::greater(), &Isolated::m_current);
    return total;
  }

  void SetTruth(const Choice& choice, double total) {
    m_truth.clear();
    const int sign = m_options.m_is_negative ? -1 : 1;
    for (const Isolated& isolated : m_isolated) {
      const IonSource& source = m_sources[static_cast<std::size_t>(isolated.m_source)];
      const bool is_target = isolated.m_source == choice.m_source;
      const double share = isolated.m_current / total;
      if (source.m_peptide == nullptr || (share < kSmallestTruthShare && !is_target)) continue;
      m_truth.push_back(
          {.m_scan_no = m_scan_no,
           .m_mz = source.m_ion->m_mono_mz,
           .m_charge = sign * source.m_ion->m_charge,
           .m_share = share,
           .m_is_target = is_target,
           .m_peptide = source.m_peptide->m_sequence,
           .m_isotope_offset = NearestIsotope(*source.m_ion, choice.m_center_mz),
           .m_declared_mz = choice.m_declared_charges == 0 ? 0.0 : choice.m_declared_mz,
           .m_declared_charge = sign * choice.m_declared_charges,
           .m_isolated_current = isolated.m_current});
    }
  }

  static std::int32_t NearestIsotope(const Ion& ion, double mz) {
    return static_cast<std::int32_t>(
        std::lround((mz - ion.m_mono_mz) * ion.m_charge / kMeanSpacingDa));
  }

  /// m_fragments from all isolated ions; ions that are not peptides stay unchanged.
  void Dissociate(const Choice& choice, const FragmentMethod& method, double total) {
    m_fragments.clear();
    for (const Isolated& isolated : m_isolated) {
      const IonSource& source = m_sources[static_cast<std::size_t>(isolated.m_source)];
      if (isolated.m_current < kSmallestFragmentedShare * total) continue;
      if (source.m_peptide == nullptr)
        m_fragments.push_back({source.m_ion->m_mono_mz, isolated.m_current, 0, 0});
      else
        m_fragmenter.Append(*source.m_peptide, source.m_ion->m_charge, method.m_activation,
                            isolated.m_current, m_fragments);
    }
    const auto [low_mz, high_mz] = FragmentRange(choice, method);
    std::erase_if(m_fragments, [low = low_mz, high = high_mz](const Emission& fragment) {
      return fragment.m_mz < low || fragment.m_mz > high;
    });
    std::ranges::stable_sort(m_fragments, {}, &Emission::m_mz);
  }

  static std::pair<double, double> FragmentRange(const Choice& choice,
                                                 const FragmentMethod& method) {
    const bool is_trapped = method.m_activation == "CID" || method.m_activation == "ETCID";
    const double low_mz =
        is_trapped ? std::max(kFragmentLowMz, kTrapLowMz * choice.m_center_mz) : kFragmentLowMz;
    const int charges = choice.m_declared_charges == 0 ? 3 : choice.m_declared_charges;
    return {low_mz, std::min(kFragmentMaxMz, choice.m_center_mz * charges + 20.0)};
  }

  void TakeFragments(const Choice& choice, const FragmentMethod& method) {
    const double total = Isolate(choice.m_center_mz);
    const bool is_ion_trap = method.m_analyser == "ITMS";
    const double injection_s =
        InjectionSeconds(is_ion_trap ? kTrapFragmentGain : kFragmentGain, total);
    Dissociate(choice, method, total);
    const auto [low_mz, high_mz] = FragmentRange(choice, method);
    Measure(m_fragments, {is_ion_trap, m_options.m_resolution * kFragmentResolution},
            {injection_s, CalibrationPpm(), kFragmentNoisePeaks * m_options.m_noise, low_mz,
             high_mz, m_options.m_realism},
            m_random, m_fragment_centroids);
    if (!m_fragment_centroids.empty()) {  // empty scans are left out, as converters do
      ++m_scan_no;
      ++m_ms2_taken;
      SetTruth(choice, total);
      SetFragmentScan(choice, method, injection_s);
      m_sink.TakeFragments(m_fragment_scan, m_truth);
    }
    m_seconds += m_slowdown * kFragmentS;
  }

  void SetFragmentScan(const Choice& choice, const FragmentMethod& method, double injection_s) {
    const int sign = m_options.m_is_negative ? -1 : 1;
    m_fragment_scan.m_scan_no = m_scan_no;
    m_fragment_scan.m_precursor_scan = m_precursor_scan;
    m_fragment_scan.m_activation_center = choice.m_center_mz;
    m_fragment_scan.m_rt = m_seconds;
    m_fragment_scan.m_ion_injection_time = injection_s * 1e3;
    m_fragment_scan.m_activation_type = method.m_activation;
    m_fragment_scan.m_instrument_type = method.m_analyser;
    m_fragment_scan.m_orig_precursors = {{choice.m_declared_mz, sign * choice.m_declared_charges}};
    SetPeaks(m_fragment_centroids, m_fragment_scan.m_peaks);
  }

  const SimulateOptions& m_options;
  RunSink& m_sink;
  Random m_random;
  Random m_spray;
  double m_slowdown;
  PeptideStream m_peptides;
  std::vector<BackgroundIon> m_background;
  Fragmenter m_fragmenter;
  PrecursorSelector m_selector;
  double m_calibration_ppm;
  double m_drift_phase;

  double m_seconds = 0.0;
  std::int32_t m_scan_no = 0;
  std::int32_t m_precursor_scan = 0;
  std::int64_t m_ms2_taken = 0;
  double m_survey_limit = 0.0;  // detection limit of the latest FT survey

  std::vector<IonSource> m_sources;
  std::vector<Emission> m_lines;  // of m_sources, ascending in m/z
  std::vector<Centroid> m_centroids;
  std::vector<Isolated> m_isolated;
  std::vector<Emission> m_fragments;
  std::vector<Centroid> m_fragment_centroids;
  std::vector<TruthRow> m_truth;
  MS1Spectrum m_survey;
  MS2Spectrum m_fragment_scan;
};

}  // namespace

double GradientSeconds(const SimulateOptions& options) {
  if (options.m_gradient_minutes) return *options.m_gradient_minutes * 60.0;
  if (!options.m_ms2_scans) return kDefaultGradientS;
  const double scans_per_cycle =
      static_cast<double>(options.m_top) * static_cast<double>(options.m_methods.size());
  const double cycle_s =
      ScanSlowdown(options.m_realism) * (kSurveyS + kFragmentS * scans_per_cycle);
  return std::max(kSurveyS, static_cast<double>(*options.m_ms2_scans) * cycle_s / scans_per_cycle);
}

void SimulateRun(const SimulateOptions& options, RunSink& sink) {
  Acquisition(options, sink).Run();
}

}  // namespace tarvek::tools
