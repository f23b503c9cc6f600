#include "report/ScanPage.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "Charge.h"
#include "explain/Explainer.h"
#include "explain/Json.h"
#include "outputs/JsonText.h"
#include "report/Data.h"
#include "report/ScanScript.h"
#include "report/Style.h"
#include "report/Svg.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

// What the page shows of candidates; "explain" prints all.
constexpr CandidateLimits kShown{14, false};
constexpr int kCompression = 6;

// How much a scan was changed, for the index; -1: nothing to compare.
constexpr int kNotCompared = -1;
constexpr int kChargeChanged = 4;
constexpr int kNotFound = 5;

std::string Base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k)
      group = group << 8U | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    const std::size_t digits = std::min<std::size_t>(bytes.size() - i, 3) + 1;
    for (std::size_t k = 0; k < 4; ++k)
      text += k < digits ? kDigits[group >> (18U - 6U * k) & 63U] : '=';
  }
  return text;
}

// In the zlib format, which browsers call "deflate".
std::string Packed(const ordered_json& json) {
  const std::string text = JsonText(json, -1);
  uLongf size = compressBound(static_cast<uLong>(text.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                reinterpret_cast<const Bytef*>(text.data()), static_cast<uLong>(text.size()),
                kCompression) != Z_OK)
    throw std::bad_alloc();
  packed.resize(size);
  return Base64(packed);
}

// JSON for a script element: no text in it can end the element.
std::string InScript(const ordered_json& json) {
  std::string text;
  for (const char c : JsonText(json, -1))
    text += c == '<' ? std::string("\\u003c") : std::string(1, c);
  return text;
}

std::string DataElement(const std::string& id, const std::string& content) {
  return "<script type=\"text/plain\" id=\"" + id + "\">" + content + "</script>\n";
}

int ChangeOf(const Explanation& explained, double tol_ppm) {
  if (explained.m_declared.empty() || explained.m_determined.empty()) return kNotCompared;
  const auto unsigned_ion = [](const Precursor& ion) {
    return Precursor{ion.m_mz, ChargeWithoutSign(ion.m_charge)};
  };
  const Precursor declared = unsigned_ion(explained.m_declared.front().m_ion);
  std::vector<Precursor> determined;
  for (const DeterminedIon& ion : explained.m_determined)
    determined.push_back(unsigned_ion(ion.m_envelope.m_ion));
  const auto match = MatchDeclared(declared, determined, tol_ppm);
  if (!match) return kNotFound;
  if (determined[match->m_index].m_charge != declared.m_charge) return kChargeChanged;
  return std::abs(match->m_shift);
}

// The share of the others in the current of all determined ions; 0 for one ion alone.
double ShareOfOthers(const Explanation& explained) {
  double all = 0.0;
  double largest = 0.0;
  for (const DeterminedIon& ion : explained.m_determined) {
    all += ion.m_window_share;
    largest = std::max(largest, ion.m_window_share);
  }
  return all > 0.0 ? (all - largest) / all : 0.0;
}

double Hundredths(double value) { return std::round(value * 100.0) / 100.0; }
double Thousandths(double value) { return std::round(value * 1000.0) / 1000.0; }

/// Counts the scans that kept the declared precursor, and why.
class KeptScans {
 public:
  void Take(const Explanation& explained) {
    if (!explained.m_determined.empty()) return;
    ++m_kept;
    const auto& candidates = explained.m_candidates;
    const bool is_near = !candidates.empty() && candidates.front().m_score &&
                         *candidates.front().m_score > explained.m_threshold - kThresholdStep;
    if (is_near)
      ++m_nearly;
    else
      m_reasons[explained.m_outcome].push_back(explained.m_scan_no);
  }

  void Tell(ScanPageOutcome& outcome) const {
    outcome.m_kept = m_kept;
    outcome.m_nearly = m_nearly;
    const auto most = std::ranges::max_element(
        m_reasons, {}, [](const auto& entry) { return entry.second.size(); });
    if (most == m_reasons.end()) return;
    const std::size_t colon = most->first.find(": ");  // after what they have in common
    outcome.m_why_kept = colon == std::string::npos ? most->first : most->first.substr(colon + 2);
    outcome.m_kept_scan = most->second[most->second.size() / 2];
  }

 private:
  std::int64_t m_kept = 0;
  std::int64_t m_nearly = 0;
  std::map<std::string, std::vector<std::int32_t>> m_reasons;
};

/// Collects scans as text of the page.
class ScanPacker {
 public:
  ScanPacker(const RunToExplain& run, std::size_t most)
      : m_run(run), m_rows(run.TableRows()), m_most(most == 0 ? m_rows : std::min(most, m_rows)) {}

  void Take(const RunToExplain::ScanInRun& in_run) {
    if (m_run.InTable(in_run.m_scan.m_scan_no) == nullptr) return;
    const std::size_t row = m_row++;
    if (row * m_most / m_rows == (row + 1) * m_most / m_rows) return;  // evenly spread
    const Explanation explained = m_explainer.Explain(in_run);
    AddToIndex(explained);
    m_kept.Take(explained);
    m_chunk.push_back(ScanJson(explained, kShown));
    if (m_chunk.size() == kScansInChunk) CloseChunk();
  }

  ScanPage Finish() {
    CloseChunk();
    ScanPage page{Html(), {}};
    ScanPageOutcome& outcome = page.m_outcome;
    outcome.m_scans = m_scans;
    outcome.m_scans_of_run = m_rows;
    outcome.m_differing = m_differing;
    outcome.m_bytes = std::ssize(page.m_html);
    m_kept.Tell(outcome);
    return page;
  }

 private:
  void AddToIndex(const Explanation& explained) {
    ++m_scans;
    m_differing += explained.m_agrees ? 0 : 1;
    m_index["scan"].push_back(explained.m_scan_no);
    m_index["minute"].push_back(Thousandths(explained.m_rt_s / 60.0));
    m_index["mz"].push_back(Thousandths(explained.m_centre_mz));
    m_index["count"].push_back(explained.m_determined.size());
    m_index["best"].push_back(
        explained.m_determined.empty()
            ? ordered_json(nullptr)
            : ordered_json(Thousandths(explained.m_determined.front().m_score)));
    m_index["change"].push_back(ChangeOf(explained, kToleranceOfChangePpm));
    m_index["others"].push_back(Hundredths(ShareOfOthers(explained)));
  }

  void CloseChunk() {
    if (m_chunk.empty()) return;
    m_chunks += DataElement("chunk" + std::to_string(m_chunk_count++), Packed(m_chunk));
    m_chunk = ordered_json::array();
  }

  [[nodiscard]] ordered_json About() const {
    const bool is_joint = m_run.JointThreshold().has_value();
    return {{"run", m_run.Name()},
            {"is_joint", is_joint},
            {"threshold", m_run.JointThreshold().value_or(m_run.Parameters().m_mars_threshold)},
            {"width", m_run.Parameters().m_isolation_width},
            {"features", FeatureNamesJson(is_joint, kShown)},
            {"doubts", m_run.Doubts()},
            {"scans", m_scans},
            {"scans_of_run", m_rows},
            {"differing", m_differing},
            {"in_chunk", kScansInChunk}};
  }

  [[nodiscard]] std::string Html() const {
    const std::string name = Escaped(m_run.Name());
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           name + " \u2013 scans</title>\n<style>" + kReportStyle + kScanStyle +
           "</style>\n</head>\n<body>\n<main>\n<h1>" + name + "</h1>\n" + kScanBody +
           "<footer>Written by tarvek-tools " TARVEK_VERSION
           ". The page is complete in itself: it needs no network. tarvek-tools explain prints the "
           "same, with all candidates.</footer>\n</main>\n" +
           DataElement("about", InScript(About())) + DataElement("index", Packed(m_index)) +
           m_chunks + "<script>" + kScanScript + "</script>\n</body>\n</html>\n";
  }

  static constexpr double kToleranceOfChangePpm = 20.0;

  const RunToExplain& m_run;
  Explainer m_explainer{m_run};
  std::size_t m_rows;
  std::size_t m_most;
  std::size_t m_row = 0;
  std::size_t m_scans = 0;
  std::size_t m_differing = 0;
  KeptScans m_kept;
  std::size_t m_chunk_count = 0;
  ordered_json m_chunk = ordered_json::array();
  ordered_json m_index = {{"scan", ordered_json::array()},  {"minute", ordered_json::array()},
                          {"mz", ordered_json::array()},    {"count", ordered_json::array()},
                          {"best", ordered_json::array()},  {"change", ordered_json::array()},
                          {"others", ordered_json::array()}};
  std::string m_chunks;
};

}  // namespace

ScanPage MakeScanPage(const RunLocation& location, std::size_t most) {
  const RunToExplain run(location);
  ScanPacker packer(run, most);
  run.ForEachScan([&](const RunToExplain::ScanInRun& in_run) {
    packer.Take(in_run);
    return true;
  });
  return packer.Finish();
}

}  // namespace tarvek::tools
