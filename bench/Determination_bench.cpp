// Determining the precursors of MS2 scans, in scans per second.
#include <benchmark/benchmark.h>

#include "BenchRun.h"
#include "JointDetermination.h"
#include "PrecursorDetermination.h"

namespace tarvek::bench {
namespace {

// At least this share of the scans must get a precursor; the run is easy enough.
constexpr double kMinDeterminedShare = 0.8;
constexpr double kThreshold = 0.3;  // probability of the joint determination

UserParameters Parameters() {
  UserParameters parameters;
  parameters.m_extended_halfwidth = 3.3;
  return parameters;
}

/// Times determine on all scans of the run; it returns whether a scan got a precursor.
template <class Determine>
void MeasureScans(benchmark::State& state, const Determine& determine) {
  const BenchRun& run = SharedRun();
  const Ms1Store store(run.m_surveys.begin(), run.m_surveys.end());
  std::size_t with_precursor = 0;
  for ([[maybe_unused]] auto _ : state) {
    with_precursor = 0;
    for (const MS2Spectrum& scan : run.m_fragments)
      with_precursor += determine(store, scan) ? 1 : 0;
  }
  const auto scans = static_cast<double>(run.m_fragments.size());
  if (static_cast<double>(with_precursor) < kMinDeterminedShare * scans)
    state.SkipWithError("too few scans got a precursor");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(run.m_fragments.size()));
}

void BM_DeterminePrecursors(benchmark::State& state) {
  const QuietLog quiet;
  LoadTable();
  const UserParameters parameters = Parameters();
  PrecursorDetermination determination(parameters);
  MeasureScans(state, [&](const Ms1Store& store, const MS2Spectrum& scan) {
    return !determination.determine_precursors(store, scan).empty();
  });
}

void BM_DetermineJointly(benchmark::State& state) {
  LoadTable();
  const UserParameters parameters = Parameters();
  joint::JointDetermination determination(parameters);
  MeasureScans(state, [&](const Ms1Store& store, const MS2Spectrum& scan) {
    return !determination.Determine(store, scan, kThreshold).empty();
  });
}
BENCHMARK(BM_DeterminePrecursors)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DetermineJointly)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvek::bench

BENCHMARK_MAIN();
