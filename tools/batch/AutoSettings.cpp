#include "batch/AutoSettings.h"

#include <algorithm>
#include <utility>

#include "FeaturesExtractor.h"
#include "IsotopeTable.h"
#include "NumberText.h"
#include "batch/Plan.h"
#include "batch/RunInputs.h"
#include "check/Account.h"

namespace tarvek::tools {
namespace {

// A charge counts from this share of the declared charges on: fewer are slips of the instrument.
constexpr double kNotableShare = 0.05;

// From these shares on a run is one of singly charged ions: of its declared charges, of the isotope
// spacings in its surveys, or of the m/z that it isolates.
constexpr double kMostlySingle = 0.9;
constexpr double kMostlySingleSpacing = 0.8;
constexpr std::int64_t kFewestSpacings = 20;

// At most this many widths or charges are listed.
constexpr std::size_t kMostListed = 6;

// Wider windows, in m/z, are rarely meant for one precursor.
constexpr double kWideWindowMz = 10.0;

template <class Key>
std::int64_t SumOf(const std::map<Key, std::int64_t>& counts) {
  std::int64_t sum = 0;
  for (const auto& [key, count] : counts) sum += count;
  return sum;
}

bool IsShare(std::int64_t part, double share, std::int64_t whole) {
  return whole > 0 && static_cast<double>(part) >= share * static_cast<double>(whole);
}

std::string WidthText(std::int64_t hundredths) {
  std::string text = Fixed(static_cast<double>(hundredths) / 100.0, 2);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

/// "300 of the first 1000 MS2 scans", "all 321 MS2 scans".
std::string ScansText(std::int64_t part, const InputLook& look) {
  const std::string of_these = look.m_is_whole ? "" : "the first ";
  const std::string all = of_these + std::to_string(look.m_fragments) + " MS2 scans";
  if (part >= look.m_fragments) return "all " + all;
  return std::to_string(part) + " of " + all;
}

/// "2 (216), 3 (93)", the commonest first.
template <class Key, class TextOf>
std::string ListText(const std::map<Key, std::int64_t>& counts, TextOf text_of) {
  std::vector<std::pair<Key, std::int64_t>> sorted(counts.begin(), counts.end());
  std::ranges::stable_sort(sorted, std::ranges::greater(), &std::pair<Key, std::int64_t>::second);
  std::string text;
  for (std::size_t i = 0; i < std::min(sorted.size(), kMostListed); ++i)
    text += (i > 0 ? ", " : "") + text_of(sorted[i].first) + " (" +
            std::to_string(sorted[i].second) + ")";
  if (sorted.size() > kMostListed)
    text += " and " + std::to_string(sorted.size() - kMostListed) + " more";
  return text;
}

std::string ChargeList(const std::map<std::int32_t, std::int64_t>& counts) {
  return ListText(counts, [](std::int32_t charge) { return std::to_string(charge); });
}

AutoChoice DefaultOf(const std::string& key, const std::string& reason) {
  const UserParameters defaults;
  if (key == "charge_range")
    return {key,
            std::to_string(defaults.m_charge_min) + "t" + std::to_string(defaults.m_charge_max),
            reason};
  return {key, WidthText(static_cast<std::int64_t>(defaults.m_isolation_width * 100.0)), reason};
}

AutoChoice ChooseWidth(const InputLook& look) {
  if (look.m_widths.empty())
    return DefaultOf("isolation_width", "the file declares no isolation width");
  const auto commonest = std::ranges::max_element(
      look.m_widths, {}, [](const auto& width_and_count) { return width_and_count.second; });
  const std::string width = WidthText(commonest->first);
  std::string reason = ScansText(commonest->second, look) + " declare " + width + " m/z";
  if (look.m_widths.size() > 1) {
    std::map<std::int64_t, std::int64_t> others = look.m_widths;
    others.erase(commonest->first);
    reason += "; the run has several widths, the others are " + ListText(others, WidthText);
  }
  if (static_cast<double>(commonest->first) > kWideWindowMz * 100.0)
    reason += "; windows as wide are rarely meant for one precursor";
  return {"isolation_width", width, reason};
}

/// Sizes of charges, low to high.
struct ChargeChoice {
  std::int32_t m_low = UserParameters().m_charge_min;
  std::int32_t m_high = UserParameters().m_charge_max;
  std::string m_reason;
};

bool AreSpacedSingly(const InputLook& look) {
  const std::int64_t all = SumOf(look.m_spacings);
  const auto single = look.m_spacings.find(1);
  return all >= kFewestSpacings && single != look.m_spacings.end() &&
         IsShare(single->second, kMostlySingleSpacing, all);
}

ChargeChoice ChooseWithoutDeclared(const InputLook& look) {
  if (AreSpacedSingly(look))
    return {1, 1, "no charge is declared and the isotopes in the surveys are spaced by 1 m/z"};
  if (look.m_fragments > 0 && IsShare(look.m_small_ions, kMostlySingle, look.m_fragments))
    return {1, 1,
            "no charge is declared and " + ScansText(look.m_small_ions, look) +
                " isolate below m/z " + Fixed(kSmallIonMz, 0)};
  ChargeChoice choice;
  choice.m_reason = "no charge is declared";
  if (!look.m_spacings.empty())
    choice.m_reason +=
        " and the isotopes in the surveys are spaced for " + ChargeList(look.m_spacings);
  return choice;
}

/// The charges with a notable share, ascending; all charges when none has.
std::map<std::int32_t, std::int64_t> NotableCharges(const InputLook& look) {
  const std::int64_t declared = SumOf(look.m_charges);
  std::map<std::int32_t, std::int64_t> notable = look.m_charges;
  std::erase_if(notable,
                [&](const auto& entry) { return !IsShare(entry.second, kNotableShare, declared); });
  return notable.empty() ? look.m_charges : notable;
}

std::int64_t IntactCharges(const InputLook& look) {
  std::int64_t count = 0;
  for (const auto& [charge, scans] : look.m_charges)
    if (charge >= kIntactCharge) count += scans;
  return count;
}

ChargeChoice ChooseByDeclared(const InputLook& look) {
  const std::int64_t declared = SumOf(look.m_charges);
  const std::map<std::int32_t, std::int64_t> notable = NotableCharges(look);
  const std::int32_t lowest = notable.begin()->first;
  const std::int32_t highest = notable.rbegin()->first;
  const std::string of_all = "of " + std::to_string(declared) + " declared charges ";
  const auto single = look.m_charges.find(1);
  const std::int64_t singles = single == look.m_charges.end() ? 0 : single->second;
  if (singles == declared)
    return {1, 1, "all " + std::to_string(declared) + " declared charges are 1"};
  if (IsShare(singles, kMostlySingle, declared))
    return {1, highest, std::to_string(singles) + " " + of_all + "are 1"};
  const std::int64_t intact = IntactCharges(look);
  if (intact * 2 >= declared)
    return {lowest, look.m_charges.rbegin()->first,
            std::to_string(intact) + " " + of_all + "are 8 or more, as of intact proteins"};
  ChargeChoice choice;
  choice.m_low = std::min(choice.m_low, lowest);
  choice.m_high = std::max(choice.m_high, highest);
  choice.m_reason = "the declared charges are " + ChargeList(look.m_charges);
  return choice;
}

/// tarvek stops at a candidate with a mass beyond the isotope table. Candidates reach up to the
/// edge of the window.
void KeepWithinTable(const InputLook& look, ChargeChoice& choice) {
  const double width_mz = look.m_widths.empty()
                              ? UserParameters().m_isolation_width
                              : static_cast<double>(look.m_widths.rbegin()->first) / 100.0;
  const double mz = look.m_highest_mz + width_mz * 0.5 + kEdgeAllowanceMz;
  const bool is_negative = look.m_negative > look.m_positive;
  const std::int32_t largest = std::max(1, LargestCharge(mz, kIsotopeTableRows, is_negative));
  if (choice.m_high <= largest) return;
  choice.m_high = largest;
  choice.m_low = std::min(choice.m_low, largest);
  choice.m_reason += "; higher ones than " + std::to_string(largest) + " reach beyond the " +
                     std::to_string(kIsotopeTableRows) + " Da of the isotope table at m/z " +
                     Fixed(mz, 0);
}

AutoChoice ChooseCharges(const InputLook& look) {
  ChargeChoice choice =
      look.m_charges.empty() ? ChooseWithoutDeclared(look) : ChooseByDeclared(look);
  KeepWithinTable(look, choice);
  const bool is_negative = look.m_negative > look.m_positive;
  if (is_negative) choice.m_reason += "; the ions are negative";
  if (look.m_negative > 0 && look.m_positive > 0)
    choice.m_reason += std::string(is_negative ? " for the most part" : "") +
                       "; the run has both polarities, " + std::to_string(look.m_positive) +
                       " positive and " + std::to_string(look.m_negative) +
                       " negative scans: split it";
  const std::string low = std::to_string(choice.m_low);
  const std::string high = std::to_string(choice.m_high);
  return {"charge_range", is_negative ? "-" + high + "t-" + low : low + "t" + high,
          choice.m_reason};
}

}  // namespace

std::vector<AutoChoice> ChooseSettings(const InputLook& look) {
  if (!look.m_why_nothing.empty())
    return {DefaultOf("isolation_width", look.m_why_nothing),
            DefaultOf("charge_range", look.m_why_nothing)};
  return {ChooseWidth(look), ChooseCharges(look)};
}

std::string ChoiceText(const AutoChoice& choice) {
  return OptionOf(choice.m_key) + " " + choice.m_value + ", since " + choice.m_reason;
}

std::vector<AutoChoice> AddFittingSettings(const std::string& path, ParameterTable& table) {
  if (table.contains("isolation_width") && table.contains("charge_range")) return {};
  if (InputFormatOf(path) == "mgf") return {};  // nothing is determined from it
  std::vector<AutoChoice> choices = ChooseSettings(LookAtInput(path));
  std::erase_if(choices, [&](const AutoChoice& choice) { return table.contains(choice.m_key); });
  for (const AutoChoice& choice : choices) table[choice.m_key] = choice.m_value;
  return choices;
}

}  // namespace tarvek::tools
