#include "psms/Peptide.h"

#include <gtest/gtest.h>

#include <string>
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
