#include "InstrumentModels.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tarvek::extractor {
namespace {

std::string NameOf(std::int32_t accession, std::string_view name = {}) {
  const InstrumentModel* const model = FindInstrumentModel(accession, name);
  return model == nullptr ? "none" : std::string(model->m_name);
}

ModelKind KindOf(std::string_view name) {
  const InstrumentModel* const model = FindInstrumentModel(0, name);
  return model == nullptr ? ModelKind::kUndecided : model->m_kind;
}

// Accessions looked up by hand in the PSI-MS vocabulary.
TEST(InstrumentModels, AreFoundByTheirTerm) {
  EXPECT_EQ(NameOf(1001911), "Q Exactive");
  EXPECT_EQ(NameOf(1002877), "Q Exactive HF-X");
  EXPECT_EQ(NameOf(1000448), "LTQ FT");
  EXPECT_EQ(NameOf(1000556), "LTQ Orbitrap XL");
  EXPECT_EQ(NameOf(1001742), "LTQ Orbitrap Velos");
  EXPECT_EQ(NameOf(1001910), "LTQ Orbitrap Elite");
  EXPECT_EQ(NameOf(1002416), "Orbitrap Fusion");
  EXPECT_EQ(NameOf(1002732), "Orbitrap Fusion Lumos");
  EXPECT_EQ(NameOf(1000932), "TripleTOF 5600");
  EXPECT_EQ(NameOf(1001782), "Synapt MS");
  EXPECT_EQ(NameOf(1003005), "timsTOF Pro");
  EXPECT_EQ(NameOf(1001541), "maXis");
  EXPECT_EQ(NameOf(1000855), "LTQ Velos");
  EXPECT_EQ(NameOf(1001542), "amaZon ETD");
  EXPECT_EQ(NameOf(1001549), "solariX");
  EXPECT_EQ(NameOf(1000199), "TSQ Quantum");
}

TEST(InstrumentModels, HoldNoTermAndNoNameTwice) {
  std::set<std::int32_t> accessions;
  std::set<std::string_view> names;
  for (const InstrumentModel& model : InstrumentModels()) {
    const bool has_term = model.m_accession != 0;
    EXPECT_TRUE(!has_term || accessions.insert(model.m_accession).second) << model.m_accession;
    EXPECT_TRUE(names.insert(model.m_name).second) << model.m_name;
  }
}

TEST(InstrumentModels, AreAllFoundByTheirOwnName) {
  for (const InstrumentModel& model : InstrumentModels())
    EXPECT_EQ(KindOf(model.m_name), model.m_kind) << model.m_name;
}

TEST(FindInstrumentModel, IsLenientInLettersBlanksAndMarks) {
  EXPECT_EQ(NameOf(0, "q exactive hf-x"), "Q Exactive HF-X");
  EXPECT_EQ(NameOf(0, "QExactive"), "Q Exactive");
  EXPECT_EQ(NameOf(0, "Q-Exactive_Plus"), "Q Exactive Plus");
  EXPECT_EQ(NameOf(0, "LTQ-FT Ultra"), "LTQ FT Ultra");
  EXPECT_EQ(NameOf(0, "TripleTOF5600"), "TripleTOF 5600");
}

TEST(FindInstrumentModel, PassesOverTheMakerAndTakesTheLongestName) {
  EXPECT_EQ(NameOf(0, "Thermo Scientific Q Exactive Orbitrap"), "Q Exactive");
  EXPECT_EQ(NameOf(0, "Thermo LTQ Orbitrap XL ETD"), "LTQ Orbitrap XL ETD");
  EXPECT_EQ(NameOf(0, "Orbitrap Exploris 480"), "Orbitrap Exploris");
  EXPECT_EQ(NameOf(0, "Bruker timsTOF Pro 2"), "timsTOF Pro");
  EXPECT_EQ(NameOf(0, "esquire3000plus"), "esquire");
}

TEST(FindInstrumentModel, TakesNoPartOfAWord) {
  EXPECT_EQ(NameOf(0, "LTQx"), "none");
  EXPECT_EQ(NameOf(0, "counterapex"), "none");
  EXPECT_EQ(NameOf(0, "instrument model"), "none");
  EXPECT_EQ(NameOf(0, ""), "none");
}

TEST(FindInstrumentModel, TakesTheNameWhereTheTermIsGeneric) {
  EXPECT_EQ(NameOf(1000494, "Thermo Scientific instrument model"), "none");
  EXPECT_EQ(NameOf(9999999, "LTQ Velos"), "LTQ Velos");
}

TEST(FindInstrumentModel, TellsTheKinds) {
  EXPECT_EQ(KindOf("Q Exactive UHMR"), ModelKind::kFourier);
  EXPECT_EQ(KindOf("Orbitrap Astral"), ModelKind::kFourier);
  EXPECT_EQ(KindOf("SYNAPT G2-Si"), ModelKind::kTimeOfFlight);
  EXPECT_EQ(KindOf("6545 Q-TOF LC/MS"), ModelKind::kTimeOfFlight);
  EXPECT_EQ(KindOf("LTQ XL"), ModelKind::kIonTrap);
  EXPECT_EQ(KindOf("HCT Ultra"), ModelKind::kIonTrap);
  EXPECT_EQ(KindOf("LTQ FT"), ModelKind::kTrapHybrid);
  EXPECT_EQ(KindOf("Orbitrap ID-X"), ModelKind::kTrapHybrid);
  EXPECT_EQ(KindOf("Orbitrap Eclipse"), ModelKind::kTrapHybrid);
  EXPECT_EQ(KindOf("Xevo TQ-S"), ModelKind::kUndecided);
  EXPECT_EQ(KindOf("6500 QTRAP"), ModelKind::kUndecided);
}

}  // namespace
}  // namespace tarvek::extractor
