#include "psms/Peptide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek::tools {
namespace {

using Names = std::vector<std::string>;

TEST(PsmPeptide, HasTheLettersOfAPeptideWithoutModificationsAndNeighbours) {
  EXPECT_EQ(SequenceOf("PEPTIDE"), "PEPTIDE");
  EXPECT_EQ(SequenceOf("K.M[15.9949]PEPTIDE.R"), "MPEPTIDE");    // Comet
  EXPECT_EQ(SequenceOf("-.n[42.0106]MPEP.T"), "MPEP");           // Comet, N-terminus
  EXPECT_EQ(SequenceOf("K.C+57.021PEPM+15.995.R"), "CPEPM");     // MS-GF+
  EXPECT_EQ(SequenceOf("[+42.0106]-PEPC[+57.0215]K"), "PEPCK");  // Sage
  EXPECT_EQ(SequenceOf("PEPM(Oxidation)K"), "PEPMK");
  EXPECT_EQ(SequenceOf(""), "");
}

TEST(PsmPeptide, TakesIsoleucineAndLeucineForOne) {
  EXPECT_EQ(SequenceKey("PEPTIDE"), SequenceKey("PEPTLDE"));
  EXPECT_NE(SequenceKey("PEPTIDE"), SequenceKey("PEPTVDE"));
  EXPECT_NE(SequenceKey("PEPTIDE"), SequenceKey("EPPTIDE"));
}

// Compares each name with all before it.
template <class Name>
std::vector<Name> WithoutRepeatsSlowly(const std::vector<Name>& names) {
  std::vector<Name> kept;
  for (const Name& name : names)
    if (std::ranges::find(kept, name) == kept.end()) kept.push_back(name);
  return kept;
}

TEST(PsmPeptide, RemovesRepeatedNamesAndKeepsTheOrderOfTheOthers) {
  Names names = {"b", "a", "b", "", "c", "a", ""};
  RemoveRepeats(names);
  EXPECT_EQ(names, (Names{"b", "a", "", "c"}));
}

TEST(PsmPeptide, RemovesRepeatsAsComparingEachPairDoes) {
  std::mt19937 random(18);
  for (std::size_t count = 0; count < 60; ++count) {
    SCOPED_TRACE(count);
    Names names;
    for (std::size_t i = 0; i < count; ++i)
      names.push_back("protein of a long name " + std::to_string(random() % 20));
    std::vector<std::string_view> views(names.begin(), names.end());
    const Names expected = WithoutRepeatsSlowly(names);
    RemoveRepeats(views);
    EXPECT_EQ(Names(views.begin(), views.end()), expected);
    RemoveRepeats(names);
    EXPECT_EQ(names, expected);
  }
}

TEST(PsmPeptide, CallsADecoyWhatOnlyDecoysHold) {
  DecoyNames names("");
  EXPECT_TRUE(names.AreDecoys(Names{"DECOY_P1", "DECOY_P2"}));
  EXPECT_FALSE(names.AreDecoys(Names{"DECOY_P1", "P2"}));
  EXPECT_FALSE(names.AreDecoys(Names{"P_DECOY_"}));
  EXPECT_FALSE(names.AreDecoys(Names{}));
  for (const char* name : {"rev_P1", "XXX_P1", "decoy_P1", "P1:reversed"})
    EXPECT_TRUE(names.AreDecoys(Names{name})) << name;
  EXPECT_EQ(names.MarksSeen(), (Names{":reversed", "DECOY_", "XXX_", "decoy_", "rev_"}));
}

TEST(PsmPeptide, TakesTheNamedBeginningAlone) {
  DecoyNames names("##");
  EXPECT_TRUE(names.AreDecoys(Names{"##P1"}));
  EXPECT_FALSE(names.AreDecoys(Names{"DECOY_P1"}));
  EXPECT_FALSE(names.AreDecoys(Names{"P1:reversed"}));
}

TEST(PsmPeptide, PairsAGroupOfProteinsWithItsDecoys) {
  const DecoyNames names("");
  const std::uint64_t group = names.GroupKey(Names{"P1", "P2"}, false);
  EXPECT_EQ(names.GroupKey(Names{"P2", "P1"}, false), group);
  EXPECT_EQ(names.GroupKey(Names{"DECOY_P2", "DECOY_P1"}, true), group);
  EXPECT_EQ(names.GroupKey(Names{"P1:reversed", "P2:reversed"}, true), group);
  EXPECT_EQ(names.GroupKey(Names{"P1", "DECOY_P9", "P2"}, false), group);
  EXPECT_NE(names.GroupKey(Names{"P1"}, false), group);
}

}  // namespace
}  // namespace tarvek::tools
