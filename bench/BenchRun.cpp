#include "BenchRun.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "IsotopeTable.h"
#include "simulate/Acquisition.h"
#include "simulate/FileSink.h"

namespace tarvek::bench {
namespace {

tools::SimulateOptions RunOptions() {
  tools::SimulateOptions options;
  options.m_ms2_scans = 20000;
  return options;
}

class MemorySink final : public tools::RunSink {
 public:
  explicit MemorySink(BenchRun& run) : m_run(&run) {}
  void TakeSurvey(const MS1Spectrum& scan) override {
    m_run->m_surveys.push_back(scan);
    m_run->m_surveys.back().m_instrument_type = "FT";
  }
  void TakeFragments(const MS2Spectrum& scan, std::span<const tools::TruthRow>) override {
    m_run->m_fragments.push_back(scan);
    m_run->m_fragments.back().m_instrument_type = "FT";
    m_run->m_fragments.back().m_precursors = scan.m_orig_precursors;
  }
  void Complete() override {}

 private:
  BenchRun* m_run;
};

class SharedDirectory {
 public:
  SharedDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarvek_bench_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
    m_path = pattern;
    const auto text = tools::MakeTextSink(m_path + "/run");
    tools::SimulateRun(RunOptions(), *text);
    const auto binary = tools::MakeMsbSink(m_path + "/run");
    tools::SimulateRun(RunOptions(), *binary);
  }
  ~SharedDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  SharedDirectory(const SharedDirectory&) = delete;
  SharedDirectory& operator=(const SharedDirectory&) = delete;
  [[nodiscard]] const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

template <class Scans>
std::int64_t CountPeaks(const Scans& scans) {
  std::size_t count = 0;
  for (const auto& scan : scans) count += scan.m_peaks.size();
  return static_cast<std::int64_t>(count);
}

}  // namespace

std::int64_t BenchRun::SurveyPeaks() const { return CountPeaks(m_surveys); }
std::int64_t BenchRun::FragmentPeaks() const { return CountPeaks(m_fragments); }

const BenchRun& SharedRun() {
  static const BenchRun run = [] {
    BenchRun made;
    MemorySink sink(made);
    tools::SimulateRun(RunOptions(), sink);
    return made;
  }();
  return run;
}

const std::string& SharedFiles() {
  static const SharedDirectory directory;
  return directory.Path();
}

void LoadTable() { LoadIsotopeTable(TARVEK_ISOTOPE_TABLE); }

QuietLog::QuietLog() { std::cout.setstate(std::ios::failbit); }
QuietLog::~QuietLog() { std::cout.clear(); }

}  // namespace tarvek::bench
