#include "psms/Precursors.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>

#include "Charge.h"
#include "FileUtils.h"
#include "LineReader.h"
#include "Platform.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "mgf/Profiles.h"
#include "outputs/OutputNames.h"
#include "psms/Match.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kMapEnding = ".ids.tsv";

std::string_view StemOf(std::string_view name) {
  CutEnding(name, ".gz");
  return name.substr(0, name.rfind('.'));
}

auto Place(const DeterminedPrecursor& precursor) {
  return std::tuple(precursor.m_scan_no, precursor.m_charge, precursor.m_mz);
}

std::int16_t SmallNumber(std::int32_t number) {
  return static_cast<std::int16_t>(std::clamp(number, -1, 32767));
}

}  // namespace

void SearchedPrecursors::AddScan(std::int32_t scan_no, const Precursor& declared,
                                 const std::vector<Precursor>& determined) {
  if (declared.m_mz > 0.0 && declared.m_charge != 0) m_declared.push_back({declared, scan_no});
  std::int32_t index = 0;
  for (const Precursor& precursor : determined)
    m_determined.push_back({std::fabs(precursor.m_mz), scan_no,
                            SmallNumber(ChargeWithoutSign(precursor.m_charge)),
                            SmallNumber(index++)});
}

void SearchedPrecursors::Sort() {
  std::ranges::sort(m_determined, {}, &Place);
  std::ranges::stable_sort(m_declared, {}, &Declared::m_scan_no);
}

std::optional<DeterminedPrecursor> SearchedPrecursors::Find(std::int32_t scan_no,
                                                            std::int32_t charge, double mz) const {
  std::optional<DeterminedPrecursor> best;
  const auto first = std::ranges::lower_bound(
      m_determined, std::tuple(scan_no, SmallNumber(charge), mz - kSameMz), {}, &Place);
  for (auto it = first; it != m_determined.end() && it->m_scan_no == scan_no &&
                        it->m_charge == charge && it->m_mz <= mz + kSameMz;
       ++it)
    if (!best || std::fabs(it->m_mz - mz) < std::fabs(best->m_mz - mz)) best = *it;
  return best;
}

std::optional<Precursor> SearchedPrecursors::DeclaredOf(std::int32_t scan_no) const {
  const auto found = std::ranges::lower_bound(m_declared, scan_no, {}, &Declared::m_scan_no);
  if (found == m_declared.end() || found->m_scan_no != scan_no) return std::nullopt;
  return found->m_precursor;
}

void PrecursorSource::Add(const std::string& path) {
  if (!IsDirectory(path)) {
    if (path.ends_with(kMapEnding)) return AddMap(path);
    return AddTable(path);
  }
  auto names = ListDirectoryNames(path);
  if (!names) throw "Cannot list the folder " + path;
  std::ranges::sort(*names);
  bool any = false;
  for (const std::string& name : *names) {
    const std::string file = JoinPath({path, name});
    if (name.ends_with(kMapEnding)) {
      AddMap(file);
    } else if (name.ends_with(kTableEnding) && IsPrecursorTable(file)) {
      AddTable(file);
    } else {
      continue;
    }
    any = true;
  }
  if (!any) throw "There is no precursor table of tarvek (.csv) and no map (.ids.tsv) in " + path;
}

void PrecursorSource::AddTable(const std::string& path) {
  PrecursorTableReader reader(path);
  const std::string name = WithoutDots(StemOf(FileNameOf(path)));
  SearchedPrecursors run;
  for (PrecursorRow row; reader.Next(row);)
    run.AddScan(row.m_scan_no, row.m_declared, row.m_determined);
  run.Sort();
  if (!m_tables.emplace(name, std::move(run)).second)
    throw "Two precursor tables are of a run called " + name + ", the second is " + path;
}

void PrecursorSource::AddMap(const std::string& path) {
  TableReader reader(path);
  const auto [file, place, run, scan, precursor, charge, mz] =
      reader.ReadHeader<7>({"file", "place", "run", "scan", "precursor", "charge", "mz"});
  std::map<std::string, std::int32_t, std::less<>> run_numbers;
  while (reader.NextRow()) {
    const std::string name = WithoutDots(reader.Text(run));
    const auto [entry, is_new] =
        run_numbers.try_emplace(name, static_cast<std::int32_t>(m_names.size()));
    if (is_new) m_names.push_back(name);
    const DeterminedPrecursor known = {std::fabs(reader.Real(mz)), reader.Integer(scan),
                                       SmallNumber(ChargeWithoutSign(reader.Integer(charge))),
                                       SmallNumber(reader.Integer(precursor))};
    auto& spectra = m_files[std::string(StemOf(reader.Text(file)))];
    if (reader.Integer(place) != std::ssize(spectra) + 1)
      throw path + ": the places of " + std::string(reader.Text(file)) +
          " do not follow each other";
    spectra.push_back({entry->second, known});
    m_mapped[name].Add(known);
  }
  for (auto& [name, precursors] : m_mapped) precursors.Sort();
}

const SearchedPrecursors* PrecursorSource::RunNamed(std::string_view run) const {
  const std::string name = WithoutDots(run);
  for (const auto* runs : {&m_tables, &m_mapped})
    if (const auto found = runs->find(name); found != runs->end()) return &found->second;
  return nullptr;
}

const SearchedPrecursors* PrecursorSource::OnlyRun() const {
  if (m_tables.size() == 1) return &m_tables.begin()->second;
  return m_tables.empty() && m_mapped.size() == 1 ? &m_mapped.begin()->second : nullptr;
}

std::optional<PlacedSpectrum> PrecursorSource::At(std::string_view file, std::int64_t place) const {
  const auto found = m_files.find(file);
  if (found == m_files.end() || place < 1 || place > std::ssize(found->second)) return std::nullopt;
  const Spectrum& spectrum = found->second[static_cast<std::size_t>(place - 1)];
  return PlacedSpectrum{m_names[static_cast<std::size_t>(spectrum.m_run)], spectrum.m_precursor};
}

std::string PrecursorSource::RunOfFile(std::string_view file) const {
  const auto spectrum = At(file, 1);
  return spectrum ? spectrum->m_run : std::string();
}

std::string RunOfStem(std::string_view stem) {
  const SplitName whole = SplitOutputName(stem);
  if (!whole.m_words.empty()) return std::string(whole.m_run);
  const std::size_t underscore = stem.rfind('_');
  if (underscore == std::string_view::npos) return std::string(stem);
  const std::string_view number = stem.substr(underscore + 1);
  const bool is_number = !number.empty() && std::ranges::all_of(number, &IsDigit);
  const SplitName part = SplitOutputName(stem.substr(0, underscore));
  return std::string(is_number && !part.m_words.empty() ? part.m_run : stem);
}

}  // namespace tarvek::tools
