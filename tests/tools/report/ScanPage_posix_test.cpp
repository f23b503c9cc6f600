// The written page of scans: its packed data equal the output of explain.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ReadFile;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;

const std::string kIsotopeTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

std::string FromBase64(const std::string& text) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned bits = 0;
  int count = 0;
  for (const char c : text) {
    const std::size_t digit = digits.find(c);
    if (digit == std::string::npos) break;
    bits = bits << 6U | static_cast<unsigned>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> static_cast<unsigned>(count) & 255U);
  }
  return bytes;
}

std::string Inflated(const std::string& bytes) {
  std::string text(4'000'000, '\0');
  uLongf size = text.size();
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(text.data()), &size,
                       reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()),
            Z_OK);
  text.resize(size);
  return text;
}

/// The text of the data element of a page; empty without one.
std::string DataOf(const std::string& page, const std::string& id) {
  const std::string start = "<script type=\"text/plain\" id=\"" + id + "\">";
  const std::size_t at = page.find(start);
  if (at == std::string::npos) return {};
  const std::size_t from = at + start.size();
  return page.substr(from, page.find("</script>", from) - from);
}

json UnpackedOf(const std::string& page, const std::string& id) {
  return json::parse(Inflated(FromBase64(DataOf(page, id))));
}

/// All scans of a page in their order.
std::vector<json> ScansOf(const std::string& page) {
  std::vector<json> scans;
  for (int chunk = 0; !DataOf(page, "chunk" + std::to_string(chunk)).empty(); ++chunk)
    for (const json& scan : UnpackedOf(page, "chunk" + std::to_string(chunk)))
      scans.push_back(scan);
  return scans;
}

class ScanPageOfARun : public testing::Test {
 protected:
  void MakeRun(const std::string& name = "run", const std::string& options = "") {
    const std::string here = "cd '" + m_directory.Path() + "' && ";
    ASSERT_EQ(
        std::system((here + "'" TARVEK_TOOLS_PROGRAM "' simulate --seed 5 --ms2 90 '" + name +
                     "' >/dev/null 2>&1 && '" TARVEK_PROGRAM "' -D '" + name +
                     ".ms1' -O . -L . -I '" + kIsotopeTable + "' " + options + " >/dev/null 2>&1")
                        .c_str()),
        0);
  }

  test::ProcessResult Tool(std::vector<std::string> words) {
    words.insert(words.end(), {"-I", kIsotopeTable});
    return test::RunTools(words, m_directory.Path());
  }

  [[nodiscard]] json Summary() const {
    return json::parse(ReadFile(m_directory / "run.report.json"));
  }

  test::TemporaryDirectory m_directory;
};

TEST_F(ScanPageOfARun, HoldsWhatExplainSaysOfEveryScan) {
  MakeRun();
  const auto result = Tool({"report", "run"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("run.scans.html\n"));
  const std::string page = ReadFile(m_directory / "run.scans.html");
  const json about = json::parse(DataOf(page, "about"));
  const json index = UnpackedOf(page, "index");
  const std::vector<json> scans = ScansOf(page);
  ASSERT_GT(scans.size(), 60u);
  EXPECT_EQ(about["scans"], scans.size());
  EXPECT_EQ(about["differing"], 0);
  EXPECT_EQ(index["scan"].size(), scans.size());
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const json& scan = scans[i];
    SCOPED_TRACE(scan["scan"].dump());
    EXPECT_EQ(index["scan"][i], scan["scan"]);
    EXPECT_EQ(index["count"][i], scan["determined"].size());
    json explained = json::parse(
        Tool({"explain", "run", std::to_string(scan["scan"].get<int>()), "--json"}).m_out);
    for (const char* key : {"survey", "centre_mz", "outcome", "declared", "determined", "peaks",
                            "surveys", "candidate_count", "in_table", "agrees_with_table"})
      EXPECT_EQ(scan[key], explained[key]) << key;
    for (std::size_t k = 0; k < scan["candidates"].size(); ++k) {
      const json& shown = scan["candidates"][k];
      const json& whole = explained["candidates"][k];
      EXPECT_EQ(shown["reason"], whole["reason"]);
      EXPECT_EQ(shown["score"], whole["score"]);
      for (std::size_t f = 0; f < shown["features"].size(); ++f) {
        const auto& names = explained["feature_names"];
        const auto at = std::ranges::find(names, about["features"][f]) - names.begin();
        EXPECT_EQ(shown["features"][f], whole["features"][static_cast<std::size_t>(at)]);
      }
    }
  }
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"),
              HasSubstr("<a href=\"run.scans.html\">run.scans.html</a>"));
}

TEST_F(ScanPageOfARun, FindsWhatWasChangedAndWhatIsChimeric) {
  MakeRun();
  ASSERT_EQ(Tool({"report", "run"}).m_exit_status, 0);
  const std::string page = ReadFile(m_directory / "run.scans.html");
  const json index = UnpackedOf(page, "index");
  std::size_t changed = 0;
  std::size_t chimeric = 0;
  const std::vector<json> scans = ScansOf(page);
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const json& ions = scans[i]["determined"];
    if (ions.empty() || scans[i]["declared"].empty()) continue;
    const json& declared = scans[i]["declared"][0];
    const bool has_declared = std::ranges::any_of(ions, [&](const json& ion) {
      return ion["charge"] == declared["charge"] &&
             std::fabs(ion["mz"].get<double>() / declared["mz"].get<double>() - 1.0) < 20e-6;
    });
    EXPECT_EQ(index["change"][i] == 0, has_declared) << scans[i]["scan"];
    changed += index["change"][i].get<int>() > 0 ? 1 : 0;
    const double others = index["others"][i];
    EXPECT_EQ(others == 0.0, ions.size() < 2 || others < 0.005);
    chimeric += others > 0.0 ? 1 : 0;
  }
  EXPECT_GT(changed, 5u);
  EXPECT_GT(chimeric, 5u);
}

TEST_F(ScanPageOfARun, TakesScansFromAllOfTheRunWhenThereAreTooMany) {
  MakeRun();
  ASSERT_EQ(Tool({"report", "run", "--scans", "10"}).m_exit_status, 0);
  const json page = Summary()["scan_page"];
  EXPECT_EQ(page["scans"], 10);
  const json index = UnpackedOf(ReadFile(m_directory / "run.scans.html"), "index");
  ASSERT_EQ(index["scan"].size(), 10u);
  const int rows = page["scans_of_run"];
  EXPECT_GT(index["scan"][9].get<int>() - index["scan"][0].get<int>(), rows * 8 / 10);
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"),
              HasSubstr("10 of " + std::to_string(rows) + " scans"));
}

TEST_F(ScanPageOfARun, SaysWhyThereIsNone) {
  MakeRun();
  ASSERT_EQ(Tool({"report", "run"}).m_exit_status, 0);
  ASSERT_EQ(Tool({"report", "run", "--scans", "0"}).m_exit_status, 0);
  EXPECT_FALSE(fs::exists(m_directory / "run.scans.html"));  // of an earlier report
  EXPECT_EQ(Summary()["scan_page"]["why_not"], "It was not asked for (--scans 0).");
  fs::remove(m_directory / "run.ms2");
  const auto result = Tool({"report", "run"});
  ASSERT_EQ(result.m_exit_status, 0);
  EXPECT_THAT(result.m_err, HasSubstr("No page of scans of run: The spectra of run are not there"));
  EXPECT_TRUE(Summary()["scan_page"]["page"].is_null());
  EXPECT_THAT(Summary()["scan_page"]["why_not"].get<std::string>(),
              HasSubstr("The spectra of run are not there"));
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"), HasSubstr("There is no page of scans."));
}

TEST_F(ScanPageOfARun, FailsAfterTheOtherPagesWhenWhatItNeedsCannotBeRead) {
  MakeRun();
  const auto result = test::RunTools({"report", "run", "-I", "nowhere.txt"}, m_directory.Path());
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("No page of scans of run: "));
  EXPECT_THAT(result.m_err, HasSubstr("nowhere.txt"));
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"), HasSubstr("There is no page of scans."));
  EXPECT_FALSE(fs::exists(m_directory / "run.scans.html"));

  const auto batch = test::RunTools({"report", ".", "-I", "nowhere.txt"}, m_directory.Path());
  EXPECT_EQ(batch.m_exit_status, 1);
  EXPECT_THAT(batch.m_err, HasSubstr("1 of 1 runs have no page of scans"));
  EXPECT_TRUE(fs::exists(m_directory / "tarvek_report.html"));
}

TEST_F(ScanPageOfARun, IsMissedOnceInABatchWithoutSpectra) {
  MakeRun();
  fs::remove(m_directory / "run.ms2");
  const auto batch = Tool({"report", "."});
  EXPECT_EQ(batch.m_exit_status, 0);
  EXPECT_THAT(batch.m_err, HasSubstr("1 of 1 runs have no page of scans, since their spectra are"));
}

TEST_F(ScanPageOfARun, CountsTheScansThatTheTableHasOtherwise) {
  MakeRun("run", "-t 0.5");
  std::string record = ReadFile(m_directory / "run.tarvek");
  const std::size_t at = record.find("mars_threshold\t0.500000");
  ASSERT_NE(at, std::string::npos);
  record.replace(at, 23, "mars_threshold\t-9.00000");
  WriteFile(m_directory / "run.tarvek", record);
  ASSERT_EQ(Tool({"report", "run"}).m_exit_status, 0);
  EXPECT_GT(Summary()["scan_page"]["differing"].get<int>(), 10);
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"),
              HasSubstr("the table has other precursors than were found again"));
}

TEST_F(ScanPageOfARun, MakesNoMarkupOfNames) {
  const std::string name = "a<img src=x onerror=alert(1)>&<!--\"";
  MakeRun(name);
  const auto result = Tool({"report", name});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  for (const std::string ending : {".report.html", ".scans.html"}) {
    const std::string page = ReadFile(m_directory / (name + ending));
    EXPECT_THAT(page, HasSubstr("<h1>a&lt;img src=x onerror=alert(1)&gt;&amp;&lt;!--"));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, Not(HasSubstr("<!--")));
  }
}

TEST_F(ScanPageOfARun, AsksNothingOfANetwork) {
  MakeRun();
  ASSERT_EQ(Tool({"report", "run"}).m_exit_status, 0);
  const std::string page = ReadFile(m_directory / "run.scans.html");
  for (const char* word : {"fetch(", "XMLHttpRequest", "eval(", "import(", "innerHTML", "https://",
                           " src=", "new Function"})
    EXPECT_THAT(page, Not(HasSubstr(word)));
}

}  // namespace
}  // namespace tarvek::tools
