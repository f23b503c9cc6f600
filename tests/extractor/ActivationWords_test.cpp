#include "ActivationWords.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarvek::extractor {
namespace {

void ExpectWords(unsigned bits, const std::vector<std::string>& words) {
  for (const std::string& word : words) EXPECT_EQ(ActivationOfWords(word), bits) << word;
}

TEST(ActivationOfWords, KnowsTheWordsOfFiles) {
  ExpectWords(kActivationCid,
              {"CID", "cid", " CID ", "CAD", "TRAP", "trap-type CID", "Trap-Type", "LCID",
               "collision-induced dissociation", "Collision Induced Dissociation",
               "collisionally activated dissociation", "trap-type collision-induced dissociation",
               "low-energy CID"});
  ExpectWords(
      kActivationHcd,
      {"HCD", "hcd", "HCID", "BTCID", "beam-type", "beam-type CID", "higher energy CID",
       "high-energy collision-induced dissociation", "beam-type collision-induced dissociation",
       "higher-energy C-trap dissociation", "Higher-energy collisional dissociation"});
  ExpectWords(kActivationEtd, {"ETD", "Electron transfer dissociation"});
  ExpectWords(kActivationEthcd, {"EThcD", "ETHCD", "ETD+HCD", "ETD_HCD",
                                 "Electron-Transfer/Higher-Energy Collision Dissociation (EThcD)"});
  ExpectWords(kActivationEtcid, {"ETciD", "ETD+SA", "etd_sa", "ETD+CID"});
}

TEST(ActivationOfWords, TakesSeveralWordsTogether) {
  EXPECT_EQ(ActivationOfWords("ETD / beam-type CID"), kActivationEtd | kActivationHcd);
  EXPECT_EQ(ActivationOfWords("CID,HCD"), kActivationCid | kActivationHcd);
  EXPECT_EQ(ActivationOfWords("HCD; ECD"), kActivationHcd | kActivationOther);
}

TEST(ActivationOfWords, SaysOtherForMethodsWithoutABitAndUnknownOnes) {
  ExpectWords(kActivationOther, {"ECD", "PQD", "IRMPD", "UVPD", "NETD", "EAD", "PSD", "LIFT",
                                 "in-source", "electron capture dissociation", "xyz"});
}

TEST(ActivationOfWords, SaysNothingWhereNothingIsDeclared) {
  ExpectWords(0, {"", " ", "none", "Unknown", "N/A", "dissociation method"});
}

struct Added {
  int m_accession;
  std::string m_name;
  std::string m_value = {};
};

ActivationTerms Declared(const std::vector<Added>& params) {
  ActivationTerms activation;
  for (const Added& one : params) activation.Add(one.m_accession, one.m_name, one.m_value);
  return activation;
}

TEST(ActivationTerms, BelievesTheTermRatherThanItsName) {
  EXPECT_EQ(Declared({{1000422, "collision-induced dissociation"}}).Bits(), kActivationHcd);
  EXPECT_EQ(Declared({{1000433, "low-energy collision-induced dissociation"}}).Bits(),
            kActivationCid);
}

TEST(ActivationTerms, TakesTheNameOfATermThatIsNotKnown) {
  EXPECT_EQ(Declared({{0, "HCD"}}).Bits(), kActivationHcd);
  EXPECT_EQ(Declared({{1009999, "Electron Transfer Dissociation"}}).Bits(), kActivationEtd);
  EXPECT_EQ(Declared({{1000045, "collision energy", "30"}, {1000509, "activation energy"}}).Bits(),
            0u);
}

TEST(ActivationTerms, DeclaresNothingByTheTermForMethodsAsSuch) {
  EXPECT_EQ(Declared({{1000044, "dissociation method"}}).Bits(), 0u);
  EXPECT_EQ(Declared({{1000044, "dissociation method", "HCD"}}).Bits(), kActivationHcd);
  EXPECT_EQ(Declared({{0, "activation method", "CID"}}).Bits(), kActivationCid);
  EXPECT_EQ(Declared({{1000044, "dissociation method"}, {1000598, "ETD"}}).Bits(), kActivationEtd);
}

TEST(ActivationTerms, KeepsTheNameOfAMethodWithoutABit) {
  const ActivationTerms activation = Declared({{1002000, "LIFT"}, {1000045, "collision energy"}});
  EXPECT_EQ(activation.Bits(), kActivationOther);
  EXPECT_EQ(activation.OtherName(), "LIFT");
}

TEST(ActivationTerms, CountsInSourceFragmentationOnlyWhereItIsAlone) {
  const Added in_source = {1001880, "in-source collision-induced dissociation"};
  EXPECT_EQ(Declared({in_source}).Bits(), kActivationOther);
  EXPECT_EQ(Declared({in_source}).OtherName(), in_source.m_name);
  EXPECT_EQ(Declared({in_source, {1000422, "x"}}).Bits(), kActivationHcd);
  EXPECT_EQ(Declared({{1000422, "x"}, in_source}).Bits(), kActivationHcd);
  EXPECT_EQ(Declared({{1000422, "x"}, in_source}).OtherName(), "");
}

}  // namespace
}  // namespace tarvek::extractor
