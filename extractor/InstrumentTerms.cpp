#include "InstrumentTerms.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

// Whether text has word with no letter before it: "ftms" in "LTQ-FTMS", not "icr" in "micro".
bool HasWordFrom(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1))
    if (at == 0 || !IsLetter(text[at - 1])) return true;
  return false;
}

bool IsOneOf(std::int32_t accession, std::initializer_list<std::int32_t> terms) {
  return std::ranges::find(terms, accession) != terms.end();
}

}  // namespace

Analyser AnalyserOfTerm(std::int32_t accession) {
  switch (accession) {
    case 1000484:  // orbitrap
    case 1000079:  // Fourier transform ion cyclotron resonance
    case 1003379:  // asymmetric track
      return Analyser::kFourier;
    case 1000084:
      return Analyser::kTimeOfFlight;
    case 1000264:  // ion trap
    case 1000291:  // linear ion trap
    case 1000082:  // quadrupole ion trap
    case 1000083:  // radial ejection linear ion trap
    case 1000078:  // axial ejection linear ion trap
      return Analyser::kIonTrap;
    case 1000080:  // magnetic sector
    case 1000081:  // quadrupole
    case 1000254:  // electrostatic energy analyser
    case 1000284:  // stored waveform inverse Fourier transform
    case 1000288:  // cyclotron
      return Analyser::kOther;
    default:
      return Analyser::kUnknown;
  }
}

Analyser AnalyserOfWord(std::string_view word) {
  const std::string name = ToLower(Trim(word));
  const auto has = [&](const char* part) { return name.find(part) != std::string::npos; };
  if (has("orbitrap") || has("ftms") || has("fourier") || has("fticr") ||
      HasWordFrom(name, "icr") || has("asymmetric track") || has("astms"))
    return Analyser::kFourier;
  if (has("itms") || has("ion trap") || has("iontrap") || name == "it") return Analyser::kIonTrap;
  if (has("tof") || has("time-of-flight") || has("time of flight")) return Analyser::kTimeOfFlight;
  if (has("quad") || has("sector") || name == "tqms" || name == "sqms") return Analyser::kOther;
  return Analyser::kUnknown;
}

bool IsInductiveTerm(std::int32_t accession) { return accession == 1000624; }

bool IsInductiveWord(std::string_view word) {
  const std::string name = ToLower(word);
  return name.find("inductive") != std::string::npos ||
         name.find("image current") != std::string::npos || HasWordFrom(name, "ft");
}

bool MayBeModel(std::int32_t accession, std::string_view name) {
  if (accession == 0 || ToLower(name).ends_with("instrument model")) return false;
  const bool is_attribute =
      IsOneOf(accession, {1000529, 1000032, 1000236,  // serial number, ...
                          1000221, 1000246, 1000275, 1000281, 1000286, 1000300,  // ion optics
                          1000307, 1000309, 1000310, 1000311, 1000320,           //
                          1000216, 1000304, 1000308, 1000319,                    // their attributes
                          1000463, 1000487, 1000496, 1000597});  // the generic terms for these
  const bool is_maker =
      IsOneOf(accession, {1000031, 1000121, 1000122, 1000123, 1000124, 1000125, 1000126, 1000483,
                          1000488, 1000489, 1000490, 1000491, 1000492, 1000493, 1000494, 1000495,
                          1000602, 1000603, 1001800});
  return !is_attribute && !is_maker;
}

bool HasModelValue(std::int32_t accession, std::string_view name) {
  constexpr std::int32_t kModel = 1000031;
  return accession == kModel || ToLower(name) == "instrument model";
}

bool IsMobilityArray(std::int32_t accession, std::string_view name, std::string_view value) {
  if (IsOneOf(accession, {1002477,                      // mean drift time
                          1002816, 1002893, 1003006,    // mean, any, mean inverse reduced
                          1003007, 1003008, 1003153,    // raw, raw inverse reduced, raw drift time
                          1003154, 1003155, 1003156}))  // these three deconvoluted
    return true;
  const std::string lower_name = ToLower(name);
  const auto names = [&](const char* words) { return lower_name.find(words) != std::string::npos; };
  if (names("ion mobility array") || names("drift time array")) return true;
  constexpr std::int32_t kOtherArray = 1000786;  // described by its value
  const std::string lower_value = ToLower(value);
  return accession == kOtherArray && (lower_value.find("ion mobility") != std::string::npos ||
                                      lower_value.find("drift time") != std::string::npos);
}

Analyser LastKnownAnalyser(const InstrumentConfiguration& configuration) {
  const auto& analysers = configuration.m_analysers;
  const auto known = std::find_if(analysers.rbegin(), analysers.rend(),
                                  [](Analyser one) { return one != Analyser::kUnknown; });
  return known == analysers.rend() ? Analyser::kUnknown : *known;
}

}  // namespace tarvek::extractor
