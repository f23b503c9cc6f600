// Reading .ms1 and .ms2 text and .msb files, in bytes and peaks per second; .msb is compared with a
// plain read of the file into memory.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "BenchRun.h"
#include "IO.h"

namespace tarvek::bench {
namespace {

void CountBytes(benchmark::State& state, const std::string& path) {
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(path)));
}

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
  CountBytes(state, path);
}

void BM_ReadMs1Text(benchmark::State& state) {
  ReadText<Ms1TextReader, MS1Spectrum>(state, "/run.ms1", SharedRun().SurveyPeaks());
}
BENCHMARK(BM_ReadMs1Text)->Unit(benchmark::kMillisecond);

void BM_ReadMs2Text(benchmark::State& state) {
  ReadText<Ms2TextReader, MS2Spectrum>(state, "/run.ms2", SharedRun().FragmentPeaks());
}
BENCHMARK(BM_ReadMs2Text)->Unit(benchmark::kMillisecond);

void BM_ReadMsb(benchmark::State& state) {
  const QuietLog quiet;
  const std::string base = SharedFiles() + "/run";
  std::int64_t peaks = 0;
  for ([[maybe_unused]] auto _ : state) {
    peaks = 0;
    MsbReader reader(base);
    MS1Spectrum survey;
    MS2Spectrum fragments;
    while (reader.TakeMs2(fragments)) {
      peaks += std::ssize(fragments.m_peaks);
      while (reader.HasMs1() && reader.TakeMs1(survey)) peaks += std::ssize(survey.m_peaks);
    }
    while (reader.TakeMs1(survey)) peaks += std::ssize(survey.m_peaks);
  }
  if (peaks != SharedRun().SurveyPeaks() + SharedRun().FragmentPeaks())
    state.SkipWithError("read another number of peaks than were written");
  state.SetItemsProcessed(state.iterations() * peaks);
  CountBytes(state, base + ".msb");
}
BENCHMARK(BM_ReadMsb)->Unit(benchmark::kMillisecond);

// Into fresh memory, as for a program that keeps the file.
void BM_ReadPlain(benchmark::State& state) {
  const std::string path = SharedFiles() + "/run.msb";
  const auto size = std::filesystem::file_size(path);
  for ([[maybe_unused]] auto _ : state) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes(size);
    in.read(bytes.data(), static_cast<std::streamsize>(size));
    if (!in) state.SkipWithError("cannot read the file");
    benchmark::DoNotOptimize(bytes.data());
  }
  CountBytes(state, path);
}
BENCHMARK(BM_ReadPlain)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvek::bench

BENCHMARK_MAIN();
