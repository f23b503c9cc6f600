// Determining the precursors of MS2 scans, in scans per second.
#include <benchmark/benchmark.h>

#include "BenchRun.h"
#include "PrecursorDetermination.h"

namespace tarvek::bench {
namespace {

// Share of the scans of which at least this much must get a precursor; the run is easy enough.
constexpr double kMinDeterminedShare = 0.8;

void BM_DeterminePrecursors(benchmark::State& state) {
  const QuietLog quiet;
  LoadTable();
  const BenchRun& run = SharedRun();
  const Ms1Store store(run.m_surveys.begin(), run.m_surveys.end());
  UserParameters parameters;
  parameters.m_extended_halfwidth = 3.3;
  PrecursorDetermination determination(parameters);
  std::size_t with_precursor = 0;
  for ([[maybe_unused]] auto _ : state) {
    with_precursor = 0;
    for (const MS2Spectrum& scan : run.m_fragments)
      with_precursor += determination.determine_precursors(store, scan).empty() ? 0 : 1;
  }
  const auto scans = static_cast<double>(run.m_fragments.size());
  if (static_cast<double>(with_precursor) < kMinDeterminedShare * scans)
    state.SkipWithError("too few scans got a precursor");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(run.m_fragments.size()));
}
BENCHMARK(BM_DeterminePrecursors)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvek::bench

BENCHMARK_MAIN();
