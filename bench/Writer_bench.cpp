// Writing MGF, PF1, PF2 and the precursor table, in peaks (rows) per second.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "BenchRun.h"
#include "IO.h"

namespace tarvek::bench {
namespace {

std::string OutputPath(const char* name) { return SharedFiles() + "/" + name; }

void CheckSize(benchmark::State& state, const std::string& path, std::int64_t expected_bytes) {
  if (static_cast<std::int64_t>(std::filesystem::file_size(path)) != expected_bytes)
    state.SkipWithError("wrote another number of bytes than the format takes");
}

// Header of 8 bytes and the title "run".
constexpr std::int64_t kPfHeaderBytes = 11;
// Scan number and peak count; count, value and charge of the one precursor.
constexpr std::int64_t kPfRecordBytes = 8 + 16;

void BM_WritePf1(benchmark::State& state) {
  const QuietLog quiet;
  const BenchRun& run = SharedRun();
  const std::string path = OutputPath("run.pf1");
  for ([[maybe_unused]] auto _ : state) {
    PfWriter writer(path, "wb+", "run");
    for (const MS1Spectrum& scan : run.m_surveys) writer.WriteMs1(scan);
    writer.Close();
  }
  CheckSize(state, path,
            kPfHeaderBytes + kPfRecordBytes * std::ssize(run.m_surveys) + 16 * run.SurveyPeaks());
  state.SetItemsProcessed(state.iterations() * run.SurveyPeaks());
}
BENCHMARK(BM_WritePf1)->Unit(benchmark::kMillisecond);

void BM_WritePf2(benchmark::State& state) {
  const QuietLog quiet;
  const BenchRun& run = SharedRun();
  for ([[maybe_unused]] auto _ : state) {
    Pf2Group group(OutputPath("run_.pf2"), "wb+", "run");
    for (const MS2Spectrum& scan : run.m_fragments) group.Write(scan);
    group.Close();
  }
  CheckSize(
      state, OutputPath("run_HCDFT.pf2"),
      kPfHeaderBytes + kPfRecordBytes * std::ssize(run.m_fragments) + 16 * run.FragmentPeaks());
  state.SetItemsProcessed(state.iterations() * run.FragmentPeaks());
}
BENCHMARK(BM_WritePf2)->Unit(benchmark::kMillisecond);

void BM_WriteMgf(benchmark::State& state) {
  const QuietLog quiet;
  const BenchRun& run = SharedRun();
  for ([[maybe_unused]] auto _ : state) {
    MgfGroup group(OutputPath("run_.mgf"), "w+", "run", {});
    for (const MS2Spectrum& scan : run.m_fragments) group.Write(scan);
    group.Close();
  }
  MgfReader reader(OutputPath("run_HCDFT.mgf"), "r");
  std::int64_t peaks = 0;
  MS2Spectrum scan;
  while (reader.ReadNext(scan)) peaks += std::ssize(scan.m_peaks);
  if (peaks != run.FragmentPeaks()) state.SkipWithError("wrote another number of peaks");
  state.SetItemsProcessed(state.iterations() * run.FragmentPeaks());
}
BENCHMARK(BM_WriteMgf)->Unit(benchmark::kMillisecond);

void BM_WritePrecursorTable(benchmark::State& state) {
  const QuietLog quiet;
  const BenchRun& run = SharedRun();
  for ([[maybe_unused]] auto _ : state) {
    PrecursorCsvWriter writer(OutputPath("run.csv"), "w+");
    for (const MS2Spectrum& scan : run.m_fragments) writer.WriteRow(scan);
    writer.Complete();
    if (writer.RecordCount() != std::ssize(run.m_fragments))
      state.SkipWithError("rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * std::ssize(run.m_fragments));
}
BENCHMARK(BM_WritePrecursorTable)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarvek::bench

BENCHMARK_MAIN();
