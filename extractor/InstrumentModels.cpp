#include "InstrumentModels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr auto kModels = std::to_array<InstrumentModel>({
    // quadrupole-Orbitrap, Orbitrap alone, FT-ICR
    {1001911, "Q Exactive", ModelKind::kFourier},
    {1002634, "Q Exactive Plus", ModelKind::kFourier},
    {1002523, "Q Exactive HF", ModelKind::kFourier},
    {1002877, "Q Exactive HF-X", ModelKind::kFourier},
    {1000649, "Exactive", ModelKind::kFourier},
    {1002526, "Exactive Plus", ModelKind::kFourier},
    {1001549, "solariX", ModelKind::kFourier},
    {1000141, "apex IV", ModelKind::kFourier},
    {1000142, "apex Q", ModelKind::kFourier},
    {1000695, "apex ultra", ModelKind::kFourier},
    {1000158, "explorer", ModelKind::kFourier},
    {1000162, "HiRes ESI", ModelKind::kFourier},
    {1000163, "HiRes MALDI", ModelKind::kFourier},
    {1000181, "OMEGA", ModelKind::kFourier},
    {1000182, "OMEGA-2001", ModelKind::kFourier},
    {1000200, "ultima", ModelKind::kFourier},
    {0, "Q Exactive Focus", ModelKind::kFourier},
    {0, "Q Exactive GC", ModelKind::kFourier},
    {0, "Q Exactive UHMR", ModelKind::kFourier},
    {0, "Orbitrap Exploris", ModelKind::kFourier},
    {0, "Exploris", ModelKind::kFourier},
    {0, "Orbitrap Astral", ModelKind::kFourier},
    {0, "Astral", ModelKind::kFourier},
    {0, "Orbitrap Excedion", ModelKind::kFourier},
    {0, "Exactive GC", ModelKind::kFourier},
    {0, "scimaX", ModelKind::kFourier},
    {0, "apex", ModelKind::kFourier},
    {0, "solariX XR", ModelKind::kFourier},
    {0, "FT-ICR", ModelKind::kFourier},
    // time of flight, alone and after a quadrupole
    {1000190, "QSTAR", ModelKind::kTimeOfFlight},
    {1000655, "QSTAR Elite", ModelKind::kTimeOfFlight},
    {1000656, "QSTAR Pulsar", ModelKind::kTimeOfFlight},
    {1000657, "QSTAR XL", ModelKind::kTimeOfFlight},
    {1002583, "TripleTOF 4600", ModelKind::kTimeOfFlight},
    {1000932, "TripleTOF 5600", ModelKind::kTimeOfFlight},
    {1002584, "TripleTOF 5600+", ModelKind::kTimeOfFlight},
    {1002533, "TripleTOF 6600", ModelKind::kTimeOfFlight},
    {1002674, "X500R QTOF", ModelKind::kTimeOfFlight},
    {1000140, "4700 Proteomics Analyzer", ModelKind::kTimeOfFlight},
    {1000658, "4800 Proteomics Analyzer", ModelKind::kTimeOfFlight},
    {1000652, "4800 Plus MALDI TOF/TOF", ModelKind::kTimeOfFlight},
    {1001482, "5800 TOF/TOF", ModelKind::kTimeOfFlight},
    {1000203, "Voyager-DE PRO", ModelKind::kTimeOfFlight},
    {1000204, "Voyager-DE STR", ModelKind::kTimeOfFlight},
    {1001555, "autoflex", ModelKind::kTimeOfFlight},
    {1000148, "autoflex II", ModelKind::kTimeOfFlight},
    {1000149, "autoflex TOF/TOF", ModelKind::kTimeOfFlight},
    {1001553, "autoflex II TOF/TOF", ModelKind::kTimeOfFlight},
    {1000696, "autoflex III smartbeam", ModelKind::kTimeOfFlight},
    {1001554, "autoflex III TOF/TOF smartbeam", ModelKind::kTimeOfFlight},
    {1000177, "microflex", ModelKind::kTimeOfFlight},
    {1001550, "microflex II", ModelKind::kTimeOfFlight},
    {1000701, "microflex LT", ModelKind::kTimeOfFlight},
    {1001543, "microflex LRF", ModelKind::kTimeOfFlight},
    {1000183, "OmniFlex", ModelKind::kTimeOfFlight},
    {1000201, "ultraflex", ModelKind::kTimeOfFlight},
    {1000202, "ultraflex TOF/TOF", ModelKind::kTimeOfFlight},
    {1000705, "ultraflex III TOF/TOF", ModelKind::kTimeOfFlight},
    {1001544, "ultrafleXtreme", ModelKind::kTimeOfFlight},
    {1001537, "BioTOF", ModelKind::kTimeOfFlight},
    {1000151, "BioTOF II", ModelKind::kTimeOfFlight},
    {1001538, "BioTOF III", ModelKind::kTimeOfFlight},
    {1000152, "BioTOF-Q", ModelKind::kTimeOfFlight},
    {1001539, "UltroTOF-Q", ModelKind::kTimeOfFlight},
    {1000178, "microTOF LC", ModelKind::kTimeOfFlight},
    {1000702, "micrOTOF", ModelKind::kTimeOfFlight},
    {1001540, "micrOTOF II", ModelKind::kTimeOfFlight},
    {1000703, "micrOTOF-Q", ModelKind::kTimeOfFlight},
    {1000704, "micrOTOF-Q II", ModelKind::kTimeOfFlight},
    {1002299, "micrOTOF-Q III", ModelKind::kTimeOfFlight},
    {1002280, "compact", ModelKind::kTimeOfFlight},
    {1002077, "impact", ModelKind::kTimeOfFlight},
    {1002666, "impact II", ModelKind::kTimeOfFlight},
    {1002667, "impact HD", ModelKind::kTimeOfFlight},
    {1001541, "maXis", ModelKind::kTimeOfFlight},
    {1002279, "maXis 4G", ModelKind::kTimeOfFlight},
    {1003004, "maXis II", ModelKind::kTimeOfFlight},
    {1000607, "AXIMA CFR MALDI-TOF", ModelKind::kTimeOfFlight},
    {1000609, "AXIMA-CFR plus", ModelKind::kTimeOfFlight},
    {1000608, "AXIMA-QIT", ModelKind::kTimeOfFlight},
    {1000610, "AXIMA Performance MALDI-TOF/TOF", ModelKind::kTimeOfFlight},
    {1000611, "AXIMA Confidence MALDI-TOF", ModelKind::kTimeOfFlight},
    {1000612, "AXIMA Assurance Linear MALDI-TOF", ModelKind::kTimeOfFlight},
    {1002382, "Shimadzu MALDI-7090", ModelKind::kTimeOfFlight},
    {1000604, "LCMS-IT-TOF", ModelKind::kTimeOfFlight},
    {1002998, "LCMS-9030", ModelKind::kTimeOfFlight},
    {1000159, "GCT", ModelKind::kTimeOfFlight},
    {1001770, "GCT Premier", ModelKind::kTimeOfFlight},
    {1000170, "M@LDI L", ModelKind::kTimeOfFlight},
    {1000171, "M@LDI LR", ModelKind::kTimeOfFlight},
    {1000188, "Q-Tof micro", ModelKind::kTimeOfFlight},
    {1000189, "Q-Tof Ultima", ModelKind::kTimeOfFlight},
    {1000632, "Q-Tof Premier", ModelKind::kTimeOfFlight},
    {1001785, "Xevo Q-Tof", ModelKind::kTimeOfFlight},
    {1001783, "Xevo G2 Q-Tof", ModelKind::kTimeOfFlight},
    {1001784, "Xevo G2 Tof", ModelKind::kTimeOfFlight},
    {1002275, "Xevo G2-S Tof", ModelKind::kTimeOfFlight},
    {1002276, "Xevo G2-S QTof", ModelKind::kTimeOfFlight},
    {1002729, "Xevo G2 XS Tof", ModelKind::kTimeOfFlight},
    {1000472, "6210 Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1000675, "6220 Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1002796, "6224 Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1002797, "6230A Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1002798, "6230B Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1000676, "6510 Quadrupole Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1000677, "6520A Quadrupole Time-of-Flight LC/MS", ModelKind::kTimeOfFlight},
    {1002785, "6520B Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002786, "6530A Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002787, "6530B Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002788, "6538 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002789, "6540 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002790, "6542 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002791, "6545 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002783, "6550 iFunnel Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002784, "6550A iFunnel Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1001803, "Pegasus", ModelKind::kTimeOfFlight},
    {1002278, "Pegasus III", ModelKind::kTimeOfFlight},
    {1001945, "Pegasus 4D", ModelKind::kTimeOfFlight},
    {1002719, "Pegasus BT", ModelKind::kTimeOfFlight},
    {1001801, "Pegasus HRT", ModelKind::kTimeOfFlight},
    {1001802, "Citius HRT", ModelKind::kTimeOfFlight},
    {1001804, "TruTOF", ModelKind::kTimeOfFlight},
    {1000196, "TEMPUS TOF", ModelKind::kTimeOfFlight},
    {0, "TripleTOF", ModelKind::kTimeOfFlight},
    {0, "ZenoTOF", ModelKind::kTimeOfFlight},
    {0, "X500B QTOF", ModelKind::kTimeOfFlight},
    {0, "Xevo G3 QTof", ModelKind::kTimeOfFlight},
    {0, "Xevo G2-XS QTof", ModelKind::kTimeOfFlight},
    {0, "LCMS-9050", ModelKind::kTimeOfFlight},
    {0, "LCMS-QTOF", ModelKind::kTimeOfFlight},
    {0, "Q-TOF", ModelKind::kTimeOfFlight},
    {0, "TOF/TOF", ModelKind::kTimeOfFlight},
    {0, "MALDI-TOF", ModelKind::kTimeOfFlight},
    {0, "rapifleX", ModelKind::kTimeOfFlight},
    // time of flight after ion mobility
    {1003005, "timsTOF Pro", ModelKind::kTimeOfFlight},
    {1001782, "Synapt MS", ModelKind::kTimeOfFlight},
    {1001781, "Synapt HDMS", ModelKind::kTimeOfFlight},
    {1001778, "Synapt G2 MS", ModelKind::kTimeOfFlight},
    {1001777, "Synapt G2 HDMS", ModelKind::kTimeOfFlight},
    {1001780, "Synapt G2-S MS", ModelKind::kTimeOfFlight},
    {1001779, "Synapt G2-S HDMS", ModelKind::kTimeOfFlight},
    {1002726, "SYNAPT G2-Si", ModelKind::kTimeOfFlight},
    {1001776, "MALDI Synapt MS", ModelKind::kTimeOfFlight},
    {1001775, "MALDI Synapt HDMS", ModelKind::kTimeOfFlight},
    {1001772, "MALDI Synapt G2 MS", ModelKind::kTimeOfFlight},
    {1001771, "MALDI Synapt G2 HDMS", ModelKind::kTimeOfFlight},
    {1001774, "MALDI Synapt G2-S MS", ModelKind::kTimeOfFlight},
    {1001773, "MALDI Synapt G2-S HDMS", ModelKind::kTimeOfFlight},
    {1002727, "MALDI SYNAPT G2-Si", ModelKind::kTimeOfFlight},
    {1002728, "Vion IMS QTof", ModelKind::kTimeOfFlight},
    {1002792, "6560 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {1002793, "6570 Q-TOF LC/MS", ModelKind::kTimeOfFlight},
    {0, "timsTOF", ModelKind::kTimeOfFlight},
    {0, "timsTOF fleX", ModelKind::kTimeOfFlight},
    {0, "timsTOF SCP", ModelKind::kTimeOfFlight},
    {0, "timsTOF HT", ModelKind::kTimeOfFlight},
    {0, "timsTOF Ultra", ModelKind::kTimeOfFlight},
    {0, "Synapt", ModelKind::kTimeOfFlight},
    {0, "Synapt XS", ModelKind::kTimeOfFlight},
    {0, "SELECT SERIES Cyclic IMS", ModelKind::kTimeOfFlight},
    {0, "Cyclic IMS", ModelKind::kTimeOfFlight},
    // ion traps alone
    {1000447, "LTQ", ModelKind::kIonTrap},
    {1000854, "LTQ XL", ModelKind::kIonTrap},
    {1000638, "LTQ XL ETD", ModelKind::kIonTrap},
    {1000855, "LTQ Velos", ModelKind::kIonTrap},
    {1000856, "LTQ Velos ETD", ModelKind::kIonTrap},
    {1001909, "Velos Plus", ModelKind::kIonTrap},
    {1000642, "MALDI LTQ XL", ModelKind::kIonTrap},
    {1000450, "LXQ", ModelKind::kIonTrap},
    {1000167, "LCQ Advantage", ModelKind::kIonTrap},
    {1000168, "LCQ Classic", ModelKind::kIonTrap},
    {1000554, "LCQ Deca", ModelKind::kIonTrap},
    {1000169, "LCQ Deca XP Plus", ModelKind::kIonTrap},
    {1000578, "LCQ Fleet", ModelKind::kIonTrap},
    {1000635, "ITQ 700", ModelKind::kIonTrap},
    {1000636, "ITQ 900", ModelKind::kIonTrap},
    {1000637, "ITQ 1100", ModelKind::kIonTrap},
    {1000185, "PolarisQ", ModelKind::kIonTrap},
    {1000160, "HCT", ModelKind::kIonTrap},
    {1000161, "HCTplus", ModelKind::kIonTrap},
    {1000698, "HCTultra", ModelKind::kIonTrap},
    {1000699, "HCTultra PTM", ModelKind::kIonTrap},
    {1000700, "HCTultra ETD II", ModelKind::kIonTrap},
    {1000156, "esquire 4000", ModelKind::kIonTrap},
    {1000157, "esquire 6000", ModelKind::kIonTrap},
    {1001546, "amaZon X", ModelKind::kIonTrap},
    {1001542, "amaZon ETD", ModelKind::kIonTrap},
    {1002301, "amaZon Speed", ModelKind::kIonTrap},
    {1002300, "amaZon Speed ETD", ModelKind::kIonTrap},
    {1000473, "6310 Ion Trap LC/MS", ModelKind::kIonTrap},
    {1000474, "6320 Ion Trap LC/MS", ModelKind::kIonTrap},
    {1000475, "6330 Ion Trap LC/MS", ModelKind::kIonTrap},
    {1000476, "6340 Ion Trap LC/MS", ModelKind::kIonTrap},
    {0, "LCQ", ModelKind::kIonTrap},
    {0, "Velos Pro", ModelKind::kIonTrap},
    {0, "esquire", ModelKind::kIonTrap},
    {0, "amaZon", ModelKind::kIonTrap},
    {0, "Stellar", ModelKind::kIonTrap},
    {0, "500-MS", ModelKind::kIonTrap},
    // an ion trap and a Fourier analyser in one instrument
    {1000448, "LTQ FT", ModelKind::kTrapHybrid},
    {1000557, "LTQ FT Ultra", ModelKind::kTrapHybrid},
    {1000449, "LTQ Orbitrap", ModelKind::kTrapHybrid},
    {1002835, "LTQ Orbitrap Classic", ModelKind::kTrapHybrid},
    {1000555, "LTQ Orbitrap Discovery", ModelKind::kTrapHybrid},
    {1000556, "LTQ Orbitrap XL", ModelKind::kTrapHybrid},
    {1000639, "LTQ Orbitrap XL ETD", ModelKind::kTrapHybrid},
    {1001742, "LTQ Orbitrap Velos", ModelKind::kTrapHybrid},
    {1001910, "LTQ Orbitrap Elite", ModelKind::kTrapHybrid},
    {1000643, "MALDI LTQ Orbitrap", ModelKind::kTrapHybrid},
    {1002416, "Orbitrap Fusion", ModelKind::kTrapHybrid},
    {1002417, "Orbitrap Fusion ETD", ModelKind::kTrapHybrid},
    {1002732, "Orbitrap Fusion Lumos", ModelKind::kTrapHybrid},
    {0, "LTQ Orbitrap Velos Pro", ModelKind::kTrapHybrid},
    {0, "Orbitrap Classic", ModelKind::kTrapHybrid},
    {0, "Orbitrap Discovery", ModelKind::kTrapHybrid},
    {0, "Orbitrap XL", ModelKind::kTrapHybrid},
    {0, "Orbitrap Velos", ModelKind::kTrapHybrid},
    {0, "Orbitrap Velos Pro", ModelKind::kTrapHybrid},
    {0, "Orbitrap Elite", ModelKind::kTrapHybrid},
    {0, "Fusion Lumos", ModelKind::kTrapHybrid},
    {0, "Orbitrap Lumos", ModelKind::kTrapHybrid},
    {0, "Orbitrap Eclipse", ModelKind::kTrapHybrid},
    {0, "Orbitrap Ascend", ModelKind::kTrapHybrid},
    {0, "Orbitrap ID-X", ModelKind::kTrapHybrid},
    {0, "Orbitrap Tribrid", ModelKind::kTrapHybrid},
    {0, "Orbitrap", ModelKind::kTrapHybrid},
    // triple quadrupoles and their traps: only the data can tell
    {1000750, "TSQ", ModelKind::kUndecided},
    {1000749, "TSQ 7000", ModelKind::kUndecided},
    {1002525, "TSQ 8000 Evo", ModelKind::kUndecided},
    {1002876, "TSQ 9000", ModelKind::kUndecided},
    {1002874, "TSQ Altis", ModelKind::kUndecided},
    {1002419, "TSQ Endura", ModelKind::kUndecided},
    {1002875, "TSQ Quantis", ModelKind::kUndecided},
    {1002418, "TSQ Quantiva", ModelKind::kUndecided},
    {1000199, "TSQ Quantum", ModelKind::kUndecided},
    {1000644, "TSQ Quantum Access", ModelKind::kUndecided},
    {1000751, "TSQ Quantum Ultra", ModelKind::kUndecided},
    {1000743, "TSQ Quantum Ultra AM", ModelKind::kUndecided},
    {1001510, "TSQ Vantage", ModelKind::kUndecided},
    {1000558, "GC Quantum", ModelKind::kUndecided},
    {1000145, "API 2000", ModelKind::kUndecided},
    {1000146, "API 3000", ModelKind::kUndecided},
    {1000653, "API 3200", ModelKind::kUndecided},
    {1000147, "API 4000", ModelKind::kUndecided},
    {1000654, "API 5000", ModelKind::kUndecided},
    {1002591, "Triple Quad 3500", ModelKind::kUndecided},
    {1002592, "Triple Quad 4500", ModelKind::kUndecided},
    {1002593, "Triple Quad 5500", ModelKind::kUndecided},
    {1002594, "Triple Quad 6500", ModelKind::kUndecided},
    {1002595, "Triple Quad 6500+", ModelKind::kUndecided},
    {1000187, "Q TRAP", ModelKind::kUndecided},
    {1002577, "2000 QTRAP", ModelKind::kUndecided},
    {1002578, "2500 QTRAP", ModelKind::kUndecided},
    {1000651, "3200 QTRAP", ModelKind::kUndecided},
    {1002579, "3500 QTRAP", ModelKind::kUndecided},
    {1000139, "4000 QTRAP", ModelKind::kUndecided},
    {1002580, "QTRAP 4500", ModelKind::kUndecided},
    {1000931, "QTRAP 5500", ModelKind::kUndecided},
    {1002581, "QTRAP 6500", ModelKind::kUndecided},
    {1002582, "QTRAP 6500+", ModelKind::kUndecided},
    {1000191, "quattro micro", ModelKind::kUndecided},
    {1001789, "Quattro micro GC", ModelKind::kUndecided},
    {1000192, "Quattro Ultima", ModelKind::kUndecided},
    {1001788, "Acquity TQD", ModelKind::kUndecided},
    {1001790, "Xevo TQ MS", ModelKind::kUndecided},
    {1001791, "Xevo TQD", ModelKind::kUndecided},
    {1001792, "Xevo TQ-S", ModelKind::kUndecided},
    {1002731, "Xevo TQ-S micro", ModelKind::kUndecided},
    {1002730, "Xevo TQ-XS", ModelKind::kUndecided},
    {1003002, "LCMS-8040", ModelKind::kUndecided},
    {1003001, "LCMS-8045", ModelKind::kUndecided},
    {1003000, "LCMS-8050", ModelKind::kUndecided},
    {1002999, "LCMS-8060", ModelKind::kUndecided},
    {1002296, "SCION TQ", ModelKind::kUndecided},
    {1002297, "EVOQ Elite", ModelKind::kUndecided},
    {1002298, "EVOQ Qube", ModelKind::kUndecided},
    {1000477, "6410 Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002444, "6420 Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002799, "6430 Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002445, "6460 Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002446, "6490 Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002800, "6495A Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002801, "6495B Triple Quadrupole LC/MS", ModelKind::kUndecided},
    {1002802, "7000A Triple Quadrupole GC/MS", ModelKind::kUndecided},
    {1002803, "7000B Triple Quadrupole GC/MS", ModelKind::kUndecided},
    {0, "QTRAP", ModelKind::kUndecided},
    {0, "Triple Quad", ModelKind::kUndecided},
    {0, "Triple Quadrupole", ModelKind::kUndecided},
    {0, "Xevo TQ", ModelKind::kUndecided},
    {0, "Xevo TQ Absolute", ModelKind::kUndecided},
    {0, "TSQ Altis Plus", ModelKind::kUndecided},
    {0, "LCMS-8060NX", ModelKind::kUndecided},
});

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }

/// A name without the characters that do not count, and where its words begin.
struct PlainName {
  std::string m_text;             // lower-case letters and digits
  std::vector<bool> m_is_border;  // a word begins here; one longer than m_text
};

// Words end at blanks and punctuation, between letters and digits, and before a capital letter.
PlainName PlainNameOf(std::string_view name) {
  PlainName plain;
  char before = ' ';
  for (const char c : name) {
    if (IsUpper(c) || IsLower(c) || IsDigit(c)) {
      const bool is_joined = (IsDigit(before) && IsDigit(c)) || (IsLower(before) && IsLower(c)) ||
                             (IsUpper(before) && !IsDigit(c));
      plain.m_is_border.push_back(!is_joined);
      plain.m_text += IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
    }
    before = c;
  }
  plain.m_is_border.push_back(true);
  return plain;
}

bool HoldsAsWords(const PlainName& name, std::string_view word) {
  for (std::size_t at = name.m_text.find(word); at != std::string::npos;
       at = name.m_text.find(word, at + 1))
    if (name.m_is_border[at] && name.m_is_border[at + word.size()]) return true;
  return false;
}

}  // namespace

std::span<const InstrumentModel> InstrumentModels() { return kModels; }

const InstrumentModel* FindInstrumentModel(std::int32_t accession, std::string_view name) {
  const auto known = std::ranges::find(kModels, accession, &InstrumentModel::m_accession);
  if (accession != 0 && known != kModels.end()) return &*known;
  const PlainName plain = PlainNameOf(name);
  const InstrumentModel* best = nullptr;
  std::size_t best_length = 0;
  for (const InstrumentModel& model : kModels) {
    const std::string word = PlainNameOf(model.m_name).m_text;
    if (word.size() <= best_length || !HoldsAsWords(plain, word)) continue;
    best = &model;
    best_length = word.size();
  }
  return best;
}

}  // namespace tarvek::extractor
