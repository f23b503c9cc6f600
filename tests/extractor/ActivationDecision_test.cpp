#include "ActivationDecision.h"

#include <gtest/gtest.h>

namespace tarvek::extractor {
namespace {

ExtractedScan ScanOf(const std::vector<unsigned>& bits, const std::string& filter = {}) {
  ExtractedScan scan;
  scan.m_filter = filter;
  for (const unsigned bit : bits) {
    scan.m_precursors.emplace_back().m_activation = bit;
    if (bit == kActivationOther) scan.m_precursors.back().m_other_activation = "by hand";
  }
  return scan;
}

std::string WordOf(const ExtractedScan& scan) { return ActivationOf(scan).m_word; }

TEST(ActivationDecision, TakesEachPrecursorForItself) {
  const DeclaredActivation two = ActivationOf(ScanOf({kActivationCid, kActivationEtd}));
  EXPECT_EQ(two.m_word, "CID");
  EXPECT_TRUE(two.m_is_several);
  EXPECT_EQ(WordOf(ScanOf({kActivationEtd, kActivationCid})), "ETD");
  const DeclaredActivation same = ActivationOf(ScanOf({kActivationHcd, kActivationHcd}));
  EXPECT_EQ(same.m_word, "HCD");
  EXPECT_FALSE(same.m_is_several);
  const DeclaredActivation second = ActivationOf(ScanOf({0, kActivationHcd}));
  EXPECT_EQ(second.m_word, "HCD");
  EXPECT_FALSE(second.m_is_several);
}

TEST(ActivationDecision, JoinsTheMethodsOfOnePrecursor) {
  EXPECT_EQ(WordOf(ScanOf({kActivationEtd | kActivationCid})), "ETCID");
  EXPECT_EQ(WordOf(ScanOf({kActivationEtd | kActivationHcd})), "ETHCD");
}

TEST(ActivationDecision, TakesTheFilterLineWhereNothingIsDeclared) {
  EXPECT_EQ(WordOf(ScanOf({0}, "FTMS + c NSI d Full ms2 500.25@hcd30.00 [100-1000]")), "HCD");
  EXPECT_EQ(WordOf(ScanOf({}, "ITMS + c NSI d Full ms2 500.25@cid35.00 [100-1000]")), "CID");
  EXPECT_EQ(WordOf(ScanOf({0}, "FTMS + c NSI d Full ms2 500.25@etd50.00 [100-1000]")), "ETD");
  EXPECT_EQ(WordOf(ScanOf({0}, "FTMS + c NSI sa d Full ms2 500.25@etd50.00 [100-1000]")), "ETCID");
  EXPECT_EQ(WordOf(ScanOf({0}, "FTMS + c NSI sa d Full ms2 5.25@etd50.00@hcd25.00 [1-2]")),
            "ETHCD");
  EXPECT_EQ(WordOf(ScanOf({kActivationCid}, "FTMS + c NSI d Full ms2 500.25@hcd30.00")), "CID");
}

TEST(ActivationDecision, KeepsKnownMethodsWithoutAWordApartFromSilence) {
  const DeclaredActivation other = ActivationOf(ScanOf({kActivationOther}));
  EXPECT_EQ(other.m_word, "");
  EXPECT_EQ(other.m_other, "by hand");
  EXPECT_EQ(ActivationOf(ScanOf({0}, "ITMS + c NSI d Full ms2 5.25@pqd35.00")).m_other, "other");
  const DeclaredActivation silent = ActivationOf(ScanOf({0}, "ITMS + c NSI d Full ms2"));
  EXPECT_EQ(silent.m_word, "");
  EXPECT_EQ(silent.m_other, "");
}

TEST(UsualActivation, IsThatOfTheAnalyser) {
  EXPECT_EQ(UsualActivation("FTMS"), "HCD");
  EXPECT_EQ(UsualActivation("ITMS"), "CID");
}

}  // namespace
}  // namespace tarvek::extractor
