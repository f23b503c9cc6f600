// Reading .ms1 and .ms2 text, in bytes and peaks per second.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "BenchRun.h"
#include "IO.h"

namespace tarvek::bench {
namespace {

template <class Reader, class Spectrum>
void ReadText(benchmark::State& state, const char* name, std::int64_t expected_peaks) {
  const QuietLog quiet;
  const std::string path = SharedFiles() + name;
  std::int64_t peaks = 0;
  for ([[maybe_unused]] auto _ : state) {
    peaks = 0;
    Reader reader(path, "r");
    Spectrum scan;
    while (reader.ReadNext(scan)) peaks += static_cast<std::int64_t>(scan.m_peaks.size());
  }
  if (peaks != expected_peaks)
    state.SkipWithError("read another number of peaks than were written");
  state.SetItemsProcessed(state.iterations() * peaks);
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(path)));
}

void BM_ReadMs1Text(benchmark::State& state) {
  ReadText<Ms1TextReader, MS1Spectrum>(state, "/run.ms1", SharedRun().SurveyPeaks());
}
BENCHMARK(BM_ReadMs1Text)->Unit(benchmark::kMillisecond);

void BM_ReadMs2Text(benchmark::State& state) {
  ReadText<Ms2TextReader, MS2Spectrum>(state, "/run.ms2", SharedRun().FragmentPeaks());
}
BENCHMARK(BM_ReadMs2Text)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvek::bench

BENCHMARK_MAIN();
