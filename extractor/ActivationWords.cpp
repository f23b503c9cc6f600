#include "ActivationWords.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

enum class Sense { kNothing, kMethod, kInSource };

/// A method: its term, or 0; its bits; and one of its names, of which only digits and letters,
/// without case, count. A method with several names has several rows.
struct Method {
  std::int32_t m_accession;
  unsigned m_bits;
  std::string_view m_letters;
  Sense m_sense = Sense::kMethod;
};

constexpr Method kMethods[] = {
    // no method declared
    {1000044, 0, "dissociationmethod", Sense::kNothing},
    {0, 0, "activationmethod", Sense::kNothing},
    {0, 0, "fragmentationmethod", Sense::kNothing},
    {0, 0, "activation", Sense::kNothing},
    {0, 0, "none", Sense::kNothing},
    {0, 0, "unknown", Sense::kNothing},
    {0, 0, "notavailable", Sense::kNothing},
    {0, 0, "na", Sense::kNothing},
    // collision-induced, as in an ion trap
    {1000133, kActivationCid, "collisioninduceddissociation"},
    {1002472, kActivationCid, "traptypecollisioninduceddissociation"},
    {1002679, kActivationCid, "supplementalcollisioninduceddissociation"},
    {1000433, kActivationCid, "lowenergycollisioninduceddissociation"},
    {0, kActivationCid, "collisioninduceddecomposition"},
    {0, kActivationCid, "collisionactivateddissociation"},
    {0, kActivationCid, "collisionallyactivateddissociation"},
    {0, kActivationCid, "collisionallyinduceddissociation"},
    {0, kActivationCid, "cid"},
    {0, kActivationCid, "cad"},
    {0, kActivationCid, "lcid"},
    {0, kActivationCid, "lowenergycid"},
    {0, kActivationCid, "trap"},
    {0, kActivationCid, "traptype"},
    {0, kActivationCid, "traptypecid"},
    {0, kActivationCid, "iontrapcid"},
    {0, kActivationCid, "resonancecid"},
    {0, kActivationCid, "resonantcid"},
    // beam-type collision-induced
    {1000422, kActivationHcd, "beamtypecollisioninduceddissociation"},
    {1002481, kActivationHcd, "higherenergybeamtypecollisioninduceddissociation"},
    {1002678, kActivationHcd, "supplementalbeamtypecollisioninduceddissociation"},
    {0, kActivationHcd, "highenergycollisioninduceddissociation"},
    {0, kActivationHcd, "higherenergycollisioninduceddissociation"},
    {0, kActivationHcd, "highenergycollisiondissociation"},
    {0, kActivationHcd, "higherenergycollisiondissociation"},
    {0, kActivationHcd, "highenergycollisionaldissociation"},
    {0, kActivationHcd, "higherenergycollisionaldissociation"},
    {0, kActivationHcd, "higherenergyctrapdissociation"},
    {0, kActivationHcd, "hcd"},
    {0, kActivationHcd, "hcid"},
    {0, kActivationHcd, "btcid"},
    {0, kActivationHcd, "beamtype"},
    {0, kActivationHcd, "beamtypecid"},
    {0, kActivationHcd, "highenergycid"},
    {0, kActivationHcd, "higherenergycid"},
    // electron transfer, alone and with supplemental activation, which is collision-induced unless
    // another word follows
    {1000598, kActivationEtd, "electrontransferdissociation"},
    {0, kActivationEtd, "etd"},
    {1002631, kActivationEthcd, "electrontransferhigherenergycollisiondissociationethcd"},
    {0, kActivationEthcd, "electrontransferhigherenergycollisiondissociation"},
    {0, kActivationEthcd, "ethcd"},
    {0, kActivationEthcd, "etdhcd"},
    {1003182, kActivationEtcid, "electrontransfercollisioninduceddissociation"},
    {0, kActivationEtcid, "electrontransfercollisioninduceddissociationetcid"},
    {0, kActivationEtcid, "etcid"},
    {0, kActivationEtcid, "etdcid"},
    {0, kActivationEtcid, "etdsa"},
    // methods without a word in the outputs
    {1001880, kActivationOther, "insourcecollisioninduceddissociation", Sense::kInSource},
    {0, kActivationOther, "insource", Sense::kInSource},
    {0, kActivationOther, "insourcecid", Sense::kInSource},
    {0, kActivationOther, "iscid", Sense::kInSource},
    {1000134, kActivationOther, "plasmadesorption"},
    {1000135, kActivationOther, "postsourcedecay"},
    {0, kActivationOther, "psd"},
    {1000136, kActivationOther, "surfaceinduceddissociation"},
    {0, kActivationOther, "sid"},
    {1000242, kActivationOther, "blackbodyinfraredradiativedissociation"},
    {0, kActivationOther, "bird"},
    {1000250, kActivationOther, "electroncapturedissociation"},
    {0, kActivationOther, "ecd"},
    {1000262, kActivationOther, "infraredmultiphotondissociation"},
    {0, kActivationOther, "irmpd"},
    {0, kActivationOther, "imd"},
    {1000282, kActivationOther, "sustainedoffresonanceirradiation"},
    {0, kActivationOther, "sori"},
    {1000435, kActivationOther, "photodissociation"},
    {0, kActivationOther, "phd"},
    {0, kActivationOther, "mpd"},
    {1000599, kActivationOther, "pulsedqdissociation"},
    {0, kActivationOther, "pqd"},
    {1002000, kActivationOther, "lift"},
    {1003246, kActivationOther, "ultravioletphotodissociation"},
    {0, kActivationOther, "uvpd"},
    {1003247, kActivationOther, "negativeelectrontransferdissociation"},
    {0, kActivationOther, "netd"},
    {1003294, kActivationOther, "electronactivateddissociation"},
    {0, kActivationOther, "ead"},
};

std::string LettersOf(std::string_view text) {
  std::string letters = ToLower(text);
  std::erase_if(letters, [](unsigned char c) { return std::isalnum(c) == 0; });
  return letters;
}

const Method* FindName(std::string_view name) {
  const std::string letters = LettersOf(name);
  const auto* const found = std::ranges::find(kMethods, letters, &Method::m_letters);
  return found == std::end(kMethods) ? nullptr : found;
}

const Method* FindTerm(std::int32_t accession) {
  if (accession == 0) return nullptr;
  const auto* const found = std::ranges::find(kMethods, accession, &Method::m_accession);
  return found == std::end(kMethods) ? nullptr : found;
}

unsigned BitsOfWord(std::string_view word) {
  if (Trim(word).empty()) return 0;
  const Method* const method = FindName(word);
  return method == nullptr ? static_cast<unsigned>(kActivationOther) : method->m_bits;
}

}  // namespace

unsigned ActivationOfWords(std::string_view words) {
  if (const Method* const method = FindName(words)) return method->m_bits;
  unsigned bits = 0;
  for (const std::string_view word : Split(words, "+/,;&")) bits |= BitsOfWord(word);
  return bits;
}

void ActivationTerms::Add(std::int32_t accession, std::string_view name, std::string_view value) {
  const Method* method = FindTerm(accession);
  if (method == nullptr) method = FindName(name);
  if (method == nullptr) return;
  switch (method->m_sense) {
    case Sense::kNothing: {
      const unsigned bits = ActivationOfWords(value);
      m_bits |= bits;
      if (bits == kActivationOther) m_other_name = value;
      return;
    }
    case Sense::kInSource:
      m_in_source_name = name;
      return;
    case Sense::kMethod:
      m_bits |= method->m_bits;
      if (method->m_bits == kActivationOther) m_other_name = name;
      return;
  }
}

unsigned ActivationTerms::Bits() const {
  return m_bits == 0 && !m_in_source_name.empty() ? static_cast<unsigned>(kActivationOther)
                                                  : m_bits;
}

const std::string& ActivationTerms::OtherName() const {
  return m_bits == 0 ? m_in_source_name : m_other_name;
}

}  // namespace tarvek::extractor
