// Real runs compared with the bytes of another implementation of the same rules (SharedRuns.h).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ProgramTest.h"
#include "SharedRuns.h"

namespace tarvek::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

/// The runs: m_outputs holds all outputs except log and console.
class RealRun : public ProgramTest, public testing::WithParamInterface<SharedRun> {
 protected:
  void SetUp() override {
    const SharedRun& run = GetParam();
    if (run.m_name.empty()) GTEST_SKIP() << "no real runs in " << SharedFolder();
    for (const char* ending : {".ms1", ".ms2"})
      Write(run.m_name + ending, SharedInput(run.m_name, ending));
    std::vector<std::string> arguments = {
        "-D", run.m_name + ".ms1", "-I", SharedFolder() + "/expected/IPV.txt", "-O", "out"};
    arguments.insert(arguments.end(), run.m_options.begin(), run.m_options.end());
    Run(arguments);
    ASSERT_EQ(m_result.m_exit_status, 0) << m_result.m_err;
    m_outputs = OutputsIn(Path("out"));
    EXPECT_EQ(m_outputs.erase(run.m_name + ".tarvek"), 1u);  // tested below
  }
  [[nodiscard]] std::string Table() { return m_outputs[GetParam().m_name + ".csv"]; }

  FileMap m_outputs;
};

std::string TestName(const testing::TestParamInfo<SharedRun>& info) {
  std::string name = info.param.m_name + "_" + info.param.m_variant;
  for (char& c : name)
    if (c == '-' || c == '.' || c == ' ') c = '_';
  return info.param.m_name.empty() ? "absent" : name;
}

TEST_P(RealRun, GivesTheExpectedBytes) {
  std::map<std::string, std::string> hashes;
  for (const auto& [name, content] : m_outputs) hashes[name] = Sha256(content);
  EXPECT_EQ(hashes, ExpectedHashes(GetParam()));
  const std::string expected =
      ReadFile(ExpectedFolder(GetParam()) + "/" + GetParam().m_name + ".csv");
  EXPECT_EQ(LinesOf(Table()), LinesOf(expected));
  EXPECT_TRUE(Table() == expected);
  EXPECT_EQ(LinesOf(Table()).size() - 1, GetParam().m_rows);
  EXPECT_EQ(CountOf(m_result.m_err, "<WARN>"), GetParam().m_warnings) << m_result.m_err;
}

// ------------------------------------------------------------ consistency

std::int32_t Int32At(const std::string& bytes, std::size_t offset) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 4; ++i)
    bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(offset + i))) << (8 * i);
  return std::bit_cast<std::int32_t>(bits);
}

struct PfRecord {
  std::int32_t m_scan_no;
  std::size_t m_offset;
  std::size_t m_precursors;
  bool operator==(const PfRecord&) const = default;
};

/// Walks the records of a PF file by their own lengths; throws std::out_of_range when one is cut.
struct PfContent {
  explicit PfContent(const std::string& bytes) : m_count(Int32At(bytes, 0)) {
    std::size_t at = 8 + static_cast<std::size_t>(Int32At(bytes, 4));
    m_title = bytes.substr(8, at - 8);
    while (at < bytes.size()) {
      const std::size_t start = at;
      const auto peaks = static_cast<std::size_t>(Int32At(bytes, at + 4));
      at += 8 + 16 * peaks;
      const auto precursors = static_cast<std::size_t>(Int32At(bytes, at));
      at += 4 + 12 * precursors;
      m_records.push_back({Int32At(bytes, start), start, precursors});
    }
    m_ends_with_record = at == bytes.size();
  }
  std::int32_t m_count;
  std::string m_title;
  std::vector<PfRecord> m_records;
  bool m_ends_with_record = false;
};

std::vector<std::pair<std::int32_t, std::size_t>> IndexEntries(const std::string& bytes) {
  std::vector<std::pair<std::int32_t, std::size_t>> entries;
  for (std::size_t at = 0; at < bytes.size(); at += 8)
    entries.emplace_back(Int32At(bytes, at), static_cast<std::size_t>(Int32At(bytes, at + 4)));
  return entries;
}

/// What the table says about each MS2 output key such as "HCDFT".
struct KeyTotals {
  std::size_t m_scans = 0;
  std::size_t m_precursors = 0;
};

std::map<std::string, KeyTotals> TotalsOf(const std::string& table) {
  std::map<std::string, KeyTotals> totals;
  std::vector<std::string> rows = LinesOf(table);
  rows.erase(rows.begin());
  for (const std::string& row : rows) {
    std::vector<std::string> fields;
    for (std::size_t at = 0, end = 0; (end = row.find(", ", at)) != std::string::npos; at = end + 2)
      fields.push_back(row.substr(at, end - at));
    KeyTotals& key = totals[fields.at(0) + fields.at(1)];
    ++key.m_scans;
    key.m_precursors += std::stoul(fields.at(5));
    EXPECT_EQ(fields.size(), 6 + 3 * std::stoul(fields.at(5))) << row;
  }
  return totals;
}

/// "Scan Number in PATH: N" of the log.
std::size_t LoggedCount(const std::string& log, const std::string& path) {
  const std::string start = "Scan Number in " + path + ": ";
  const std::size_t at = log.find(start);
  if (at == std::string::npos) return 0;
  return std::stoul(log.substr(at + start.size()));
}

class RealRunConsistency : public RealRun {
 protected:
  void ExpectSoundPf(const std::string& name, std::size_t scans, std::size_t precursors) {
    SCOPED_TRACE(name);
    const PfContent content(m_outputs.at(name));
    const auto index = IndexEntries(m_outputs.at(name + "idx"));
    EXPECT_TRUE(content.m_ends_with_record);
    EXPECT_EQ(content.m_title, GetParam().m_name);
    EXPECT_EQ(static_cast<std::size_t>(content.m_count), scans);
    ASSERT_EQ(index.size(), scans);
    ASSERT_EQ(content.m_records.size(), scans);
    std::size_t found = 0;
    for (std::size_t i = 0; i < scans; ++i) {
      EXPECT_EQ(content.m_records[i].m_scan_no, index[i].first);
      EXPECT_EQ(content.m_records[i].m_offset, index[i].second);
      found += content.m_records[i].m_precursors;
    }
    EXPECT_EQ(found, precursors);
  }
};

TEST_P(RealRunConsistency, OfTableMgfPfAndLog) {
  const std::string& name = GetParam().m_name;
  const std::string log = Content("out/TarvekPlusLog.txt");
  EXPECT_THAT(log, Not(HasSubstr("<WARN>")));

  const std::size_t surveys = LoggedCount(log, name + ".ms1");
  const bool has_pf = m_outputs.contains(name + ".pf1");
  if (has_pf) ExpectSoundPf(name + ".pf1", surveys, surveys);

  std::size_t precursors = 0;
  for (const auto& [key, totals] : TotalsOf(Table())) {
    SCOPED_TRACE(key);
    const std::string base = name + "_" + key;
    EXPECT_EQ(LoggedCount(log, "out/" + base + ".mgf"), totals.m_scans);
    EXPECT_EQ(CountOf(m_outputs.at(base + ".mgf"), "BEGIN IONS\n"), totals.m_precursors);
    EXPECT_EQ(CountOf(m_outputs.at(base + ".mgf"), "END IONS\n"), totals.m_precursors);
    if (has_pf) ExpectSoundPf(base + ".pf2", totals.m_scans, totals.m_precursors);
    precursors += totals.m_precursors;
  }
  EXPECT_EQ(precursors, GetParam().m_precursors);

  const auto entry = [](const char* key, std::size_t count) {
    return "count\t" + std::string(key) + "\t" + std::to_string(count) + "\n";
  };
  EXPECT_THAT(Content("out/" + name + ".tarvek"),
              HasSubstr(entry("ms2_exported", GetParam().m_rows) +
                        entry("ms2_read", LoggedCount(log, "./" + name + ".ms2")) +
                        entry("precursors", precursors) + entry("surveys", surveys)));
}

INSTANTIATE_TEST_SUITE_P(Shared, RealRun, testing::ValuesIn(SharedRuns()), TestName);
INSTANTIATE_TEST_SUITE_P(Shared, RealRunConsistency, testing::ValuesIn(SharedRuns()), TestName);

}  // namespace
}  // namespace tarvek::test
