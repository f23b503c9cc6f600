#include "mzml/Copy.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "SpectrumRecords.h"
#include "StringUtils.h"
#include "mzml/Head.h"
#include "mzml/IndexedOutput.h"
#include "mzml/SpectrumText.h"
#include "mzml/TagStream.h"
#include "outputs/SpectrumNumbers.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kLargestHeadBytes = std::size_t{32} << 20;
constexpr std::size_t kLargestSpectrumBytes = std::size_t{48} << 20;  // as text
constexpr std::string_view kSplitKey = " precursor=";

/// With more scans that declare another precursor than the table, the file is of another run.
constexpr double kLargestShareOfOthers = 0.1;

class Copier {
 public:
  Copier(const RunPrecursors& run, const std::string& input, const std::string& output,
         const CopyOptions& options)
      : m_run(run),
        m_input(input),
        m_options(options),
        m_numbers(run.BasePath() + std::string(kNativeIdEnding)),
        m_stream(input),
        m_output(output),
        m_is_found(run.Scans().size(), false) {}

  CopyCounts Copy() {
    ReadHead();
    m_output.Write(m_head->Text());
    CopyRest();
    RefuseAnotherRun();
    if (!m_head->SetCount(m_counts.m_spectra))
      throw m_input + ": the spectrumList counts " + std::to_string(m_head->DeclaredCount()) +
          " spectra and holds " + std::to_string(m_position);
    m_output.Complete(m_head->Text());
    return m_counts;
  }

 private:
  // Up to the first spectrum.
  void ReadHead() {
    std::string head;
    while (true) {
      if (!m_stream.Next()) throw m_input + ": there is no spectrumList";
      head.append(m_stream.Before()).append(m_stream.Present().Text());
      if (m_stream.Present().Starts("spectrumList")) break;
      if (head.size() > kLargestHeadBytes) m_stream.Fail("there is no spectrumList so far");
    }
    try {
      m_head.emplace(head, m_options.m_form == PrecursorForm::kSplit);
    } catch (const std::string& what) {
      throw m_input + ": " + what;
    }
    m_is_in_list = !m_stream.Present().IsEmpty();
    m_head->SetCount(m_head->DeclaredCount() + ExpectedExtras());
  }

  // Spectra that splitting adds, according to the table. If that is right, the file need not be
  // read again for its checksum.
  [[nodiscard]] std::int64_t ExpectedExtras() const {
    std::int64_t extras = 0;
    if (m_options.m_form == PrecursorForm::kSplit)
      for (const RunPrecursors::Scan& scan : m_run.Scans())
        if (!m_run.IsKept(scan, 0.0, 1) && scan.m_count > 0)
          extras += static_cast<std::int64_t>(Taken(scan).size()) - 1;
    return extras;
  }

  [[nodiscard]] std::span<const Precursor> Taken(const RunPrecursors::Scan& scan) const {
    const std::span<const Precursor> precursors = m_run.Of(scan);
    return precursors.first(std::min(precursors.size(), m_options.m_top));
  }

  // What follows </mzML> is the old index.
  void CopyRest() {
    bool is_written = true;
    while (m_stream.Next()) {
      if (!is_written) continue;
      const Tag& tag = m_stream.Present();
      m_output.Write(m_stream.Before());
      if (tag.Ends("spectrumList")) m_is_in_list = false;
      if (m_is_in_list && tag.Starts("spectrum")) {
        CopySpectrum();
        continue;
      }
      if (tag.Starts("chromatogram")) m_output.NoteChromatogram(tag.Attribute("id").value_or(""));
      m_output.Write(tag.Text());
      is_written = !tag.Ends("mzML");
    }
    if (is_written) throw m_input + ": there is no </mzML>";
  }

  void CopySpectrum() {
    const std::string separator = SeparatorBefore();
    m_text = m_stream.Present().Text();
    bool is_open = !m_stream.Present().IsEmpty();
    while (is_open) {
      ReadOn();
      is_open = !m_stream.Present().Ends("spectrum");
    }
    TagFinder tags(m_text);
    tags.Next();
    const auto id = tags.Present().Attribute("id");
    if (!id) m_stream.Fail("a spectrum has no id");
    WriteSpectrum(std::string(*id), separator);
    ++m_position;
  }

  void ReadOn() {
    if (!m_stream.Next()) m_stream.Fail("the file ends inside a spectrum");
    if (m_stream.Present().Starts("spectrum")) m_stream.Fail("a spectrum inside a spectrum");
    m_text.append(m_stream.Before()).append(m_stream.Present().Text());
    if (m_text.size() > kLargestSpectrumBytes) m_stream.Fail("a spectrum of more than 48 MB");
  }

  // The text between the spectra that one is split into.
  [[nodiscard]] std::string SeparatorBefore() const {
    const std::string_view before = m_stream.Before();
    return Trim(before).empty() && !before.empty() ? std::string(before) : "\n";
  }

  void WriteSpectrum(const std::string& id, const std::string& separator) {
    if (m_options.m_form == PrecursorForm::kSplit && id.find(kSplitKey) != std::string::npos)
      throw m_input + ": the spectrum \"" + id + "\" was split before";
    const std::span<const Precursor> precursors = PrecursorsOf(id);
    if (precursors.empty()) {
      WriteOne(m_text, id);
    } else if (m_options.m_form == PrecursorForm::kAll) {
      WriteOne(WithSelectedIons(m_text, precursors), id);
    } else {
      CheckSplit(id, precursors.size());
      for (std::size_t i = 0; i < precursors.size(); ++i) {
        if (i > 0) m_output.Write(separator);
        WriteOne(WithSelectedIons(m_text, precursors.subspan(i, 1)), SplitId(id, i));
      }
    }
  }

  // Each is a copy of the spectrum, so a table may not ask for any number of them.
  void CheckSplit(const std::string& id, std::size_t precursors) const {
    if (precursors > kMaxDeclaredPrecursors)
      throw m_input + ": the spectrum \"" + id + "\" would be split for more than " +
          std::to_string(kMaxDeclaredPrecursors) + " precursors; use --top";
  }

  // The first keeps its id, since other spectra refer to it.
  static std::string SplitId(const std::string& id, std::size_t place) {
    return place == 0 ? id : id + std::string(kSplitKey) + std::to_string(place + 1);
  }

  void WriteOne(std::string_view text, const std::string& id) {
    m_output.NoteSpectrum(id);
    m_output.Write(WithIdAndIndex(text, id, m_counts.m_spectra));
    ++m_counts.m_spectra;
  }

  // The precursors that the current spectrum gets; empty when it stays unchanged.
  std::span<const Precursor> PrecursorsOf(const std::string& id) {
    const auto number = m_numbers.Of(m_position, Unescaped(id));
    const RunPrecursors::Scan* const scan = number ? m_run.Find(*number) : nullptr;
    if (scan == nullptr) return {};
    const auto place = static_cast<std::size_t>(scan - m_run.Scans().data());
    if (m_is_found[place])
      throw m_input + ": two spectra are scan " + std::to_string(*number) +
          "; without its .nativeid.tsv the run does not tell which was meant";
    m_is_found[place] = true;
    const SpectrumFacts facts = FactsOf(m_text);
    Compare(*scan, facts);
    if (m_run.IsKept(*scan, facts.m_rt_s.value_or(0.0), facts.m_ions)) {
      ++m_counts.m_kept;
      return {};
    }
    if (!facts.m_has_precursor) {
      ++m_counts.m_without;
      return {};
    }
    const std::span<const Precursor> taken = Taken(*scan);
    ++m_counts.m_determined;
    m_counts.m_precursors += static_cast<std::int64_t>(taken.size());
    return taken;
  }

  // Whether the declared precursor of a scan is the same in file and table.
  void Compare(const RunPrecursors::Scan& scan, const SpectrumFacts& facts) {
    const double mz = scan.m_declared.m_mz;
    if (mz <= 0.0 || (!facts.m_ion_mz && !facts.m_target_mz)) return;
    const auto is_near = [&](const std::optional<double>& other) {
      return other && std::fabs(*other - mz) <= m_run.RoundingMz();
    };
    ++m_compared;
    if (!is_near(facts.m_ion_mz) && !is_near(facts.m_target_mz)) ++m_others;
  }

  void RefuseAnotherRun() const {
    const auto missing = std::ranges::find(m_is_found, false);
    if (missing != m_is_found.end()) {
      const auto place = static_cast<std::size_t>(missing - m_is_found.begin());
      throw m_input + " holds no scan " + std::to_string(m_run.Scans()[place].m_scan_no) +
          ", which the run " + m_run.BasePath() + " has: it is not the file of this run";
    }
    if (static_cast<double>(m_others) > kLargestShareOfOthers * static_cast<double>(m_compared))
      throw m_input + " declares other precursors than the run " + m_run.BasePath() + " read for " +
          std::to_string(m_others) + " of " + std::to_string(m_compared) +
          " scans: it is not the file of this run";
  }

  const RunPrecursors& m_run;
  const std::string& m_input;
  const CopyOptions& m_options;
  SpectrumNumbers m_numbers;
  TagStream m_stream;
  IndexedOutput m_output;
  std::optional<MzmlHead> m_head;
  bool m_is_in_list = false;
  std::string m_text;            // of the current spectrum
  std::int64_t m_position = 0;   // of it in the input, from 0
  std::vector<bool> m_is_found;  // of the scans of the run
  std::int64_t m_compared = 0;
  std::int64_t m_others = 0;  // that declare another precursor than the table
  CopyCounts m_counts;
};

}  // namespace

CopyCounts CopyMzml(const RunPrecursors& run, const std::string& input, const std::string& output,
                    const CopyOptions& options) {
  return Copier(run, input, output, options).Copy();
}

}  // namespace tarvek::tools
