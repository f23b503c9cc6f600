// tests/program/GeneratedRunTest.h: a run that takes long enough to be disturbed.
// Does:     a ProgramTest with a generated pair and the outputs of an undisturbed run.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "GeneratedRun.h"
#include "ProgramTest.h"

namespace tarvek::test {

inline constexpr int kCycles = 250;  // about 8 MB of input
inline constexpr unsigned kSeed = 20240305;

/// The generated pair in the test's directory, and the outputs of an undisturbed run.
class GeneratedRunTest : public ProgramTest {
 protected:
  GeneratedRunTest() {
    PlaceGenerated("run");
    PlaceWideTable();
    const auto start = std::chrono::steady_clock::now();
    Run(Arguments("undisturbed"));
    m_duration = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    m_undisturbed = OutputsIn(Path("undisturbed"));
  }

  /// Writes the generated pair as name.ms1 and name.ms2.
  void PlaceGenerated(const std::string& name) const {
    const GeneratedRun run = GenerateRun(kSeed, kCycles);
    MakeFolder(std::filesystem::path(name).parent_path().string());
    Write(name + ".ms1", run.m_ms1);
    Write(name + ".ms2", run.m_ms2);
  }
  /// The same envelope for every mass that charges 2 to 6 reach at m/z 600.
  void PlaceWideTable() const { Write("IPV.txt", FlatIsotopeTable(4000)); }
  static std::vector<std::string> Arguments(const std::string& out) {
    return {"-D", "run.ms1", "-O", out};
  }
  /// A run that is stopped while its outputs in folder are open and it still reads; null when that
  /// never succeeds: on a busy machine a run may end before this process sees its start.
  [[nodiscard]] std::unique_ptr<RunningProcess> StartAndStop(
      const std::vector<std::string>& arguments, const std::string& folder) const {
    for (int i = 0; i < 50; ++i) {
      std::filesystem::remove_all(Path(folder));
      auto run = std::make_unique<RunningProcess>(Request(arguments));
      if (!Eventually([&] { return !OutputNamed(folder, ".pf1").empty(); })) return nullptr;
      if (run->Stop() && OutputNamed(folder, ".csv").empty() && StillReads(*run)) return run;
    }
    return nullptr;
  }
  /// Whether a .ms1 and a .ms2 file are open in the process; true where the system does not show that.
  [[nodiscard]] static bool StillReads(const RunningProcess& run) {
    namespace fs = std::filesystem;
    if (TestsForeignPrograms() || !fs::exists("/proc/self/fd")) return true;
    int inputs = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(run.Id()) + "/fd")) {
      const std::string ending = fs::read_symlink(entry.path()).extension().string();
      if (ending == ".ms1" || ending == ".ms2") ++inputs;
    }
    return inputs == 2;
  }
  /// The name of an output with this extension, empty without one.
  [[nodiscard]] std::string OutputNamed(const std::string& folder,
                                        const std::string& extension) const {
    if (!Exists(folder)) return "";
    for (const auto& entry : std::filesystem::directory_iterator(Path(folder)))
      if (entry.path().extension() == extension) return entry.path().stem().string();
    return "";
  }
  [[nodiscard]] std::uint64_t LargestOutputBytes() const {
    std::size_t largest = 0;
    for (const auto& file : m_undisturbed) largest = std::max(largest, file.second.size());
    return largest;
  }
  /// Compared file by file, so that a failure prints names instead of megabytes.
  void ExpectUndisturbedOutputs(const std::string& folder) const {
    const FileMap outputs = OutputsIn(Path(folder));
    EXPECT_EQ(outputs.size(), m_undisturbed.size());
    for (const auto& [name, content] : m_undisturbed) {
      const auto found = outputs.find(name);
      EXPECT_TRUE(found != outputs.end() && found->second == content) << folder << "/" << name;
    }
  }

  std::chrono::microseconds m_duration{};
  FileMap m_undisturbed;
};

}  // namespace tarvek::test
