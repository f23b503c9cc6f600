// Clustering MS2 scans: its time divided by the time of reading them.
//
//   Clustering_bench [SCANS]     default 100,000 simulated MS2 scans
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "BenchRun.h"
#include "ClusterMs2.h"
#include "IO.h"
#include "simulate/Acquisition.h"
#include "simulate/FileSink.h"

namespace tarvek::bench {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::int64_t CountScans(const std::string& path) {
  Ms2TextReader reader(path, "r");
  MS2Spectrum scan;
  while (reader.ReadNext(scan)) {
  }
  return reader.RecordCount();
}

int Measure(std::int64_t scans, const std::string& directory) {
  const QuietLog quiet;
  tools::SimulateOptions options;
  options.m_ms2_scans = scans;
  const auto sink = tools::MakeTextSink(directory + "/run");
  tools::SimulateRun(options, *sink);
  CountScans(directory + "/run.ms2");  // warms the page cache

  const auto reading = Clock::now();
  const std::int64_t read = CountScans(directory + "/run.ms2");
  const double reading_seconds = SecondsSince(reading);

  const auto clustering = Clock::now();
  const std::size_t selected = clusterMs2Scans(directory + "/run.ms2").size();
  const double clustering_seconds = SecondsSince(clustering);
  std::printf("%lld scans, %zu clusters: reading %.3f s, reading and clustering %.3f s, %.1f x\n",
              static_cast<long long>(read), selected, reading_seconds, clustering_seconds,
              clustering_seconds / reading_seconds);
  return read == scans && selected > 0 && selected <= static_cast<std::size_t>(read) ? 0 : 1;
}

}  // namespace
}  // namespace tarvek::bench

int main(int argc, char** argv) {
  const std::int64_t scans = argc > 1 ? std::atoll(argv[1]) : 100000;
  const std::string directory =
      (std::filesystem::temp_directory_path() / ("tarvek_clustering_" + std::to_string(::getpid())))
          .string();
  std::filesystem::create_directory(directory);
  const int status = tarvek::bench::Measure(scans, directory);
  std::filesystem::remove_all(directory);
  return status;
}
