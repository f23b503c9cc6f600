#include "mzml/SpectrumText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mzml/Head.h"

namespace tarvek::tools {
namespace {

constexpr const char* kSpectrum =
    "<spectrum index=\"7\" id='scan=9' defaultArrayLength=\"1\">\n"
    "  <!-- <precursor> in a comment -->\n"
    "  <cvParam cvRef=\"PSI\" accession=\"MS:1000511\" name=\"ms level\" value=\"2\"/>\n"
    "  <scanList count=\"1\"><scan><cvParam cvRef=\"PSI\" accession=\"MS:1000016\" value=\"1.5\" "
    "unitAccession=\"UO:0000031\"/></scan></scanList>\n"
    "  <precursorList count=\"1\">\n"
    "    <precursor spectrumRef=\"scan=8\">\n"
    "      <isolationWindow><cvParam cvRef=\"PSI\" accession=\"MS:1000827\" value=\"500.25\"/>"
    "</isolationWindow>\n"
    "      <selectedIonList count=\"1\">\n"
    "        <selectedIon><cvParam cvRef=\"PSI\" accession=\"MS:1000744\" value=\"500.3\"/>"
    "</selectedIon>\n"
    "      </selectedIonList>\n"
    "      <activation></activation>\n"
    "    </precursor>\n"
    "  </precursorList>\n"
    "  <binaryDataArrayList count=\"0\"/>\n"
    "</spectrum>";

TEST(FactsOf, TellsWhatTheFirstPrecursorDeclares) {
  const SpectrumFacts facts = FactsOf(kSpectrum);
  EXPECT_TRUE(facts.m_has_precursor);
  EXPECT_EQ(facts.m_ions, 1U);
  EXPECT_EQ(facts.m_ion_mz, 500.3);
  EXPECT_EQ(facts.m_target_mz, 500.25);
  EXPECT_EQ(facts.m_rt_s, 90.0);
}

TEST(FactsOf, TakesSecondsForSeconds) {
  EXPECT_EQ(FactsOf("<spectrum><cvParam accession=\"MS:1000016\" value=\"2.5\" "
                    "unitAccession=\"UO:0000010\"/></spectrum>")
                .m_rt_s,
            2.5);
}

TEST(WithSelectedIons, PutsThemInPlaceOfTheDeclaredOnesAndLeavesTheRest) {
  const std::vector<Precursor> ions = {{-499.75, -2}, {600.1234567, 3}};
  std::string expected = kSpectrum;
  const std::size_t begin = expected.find("<selectedIonList");
  const std::string end_tag = "</selectedIonList>";
  const std::size_t end = expected.find(end_tag) + end_tag.size();
  expected.replace(
      begin, end - begin,
      "<selectedIonList count=\"2\">\n"
      "        <selectedIon>\n"
      "          <cvParam cvRef=\"PSI\" accession=\"MS:1000744\" name=\"selected ion m/z\" "
      "value=\"499.750000\" unitCvRef=\"PSI\" unitAccession=\"MS:1000040\" unitName=\"m/z\"/>\n"
      "          <cvParam cvRef=\"PSI\" accession=\"MS:1000041\" name=\"charge state\" "
      "value=\"2\"/>\n"
      "        </selectedIon>\n"
      "        <selectedIon>\n"
      "          <cvParam cvRef=\"PSI\" accession=\"MS:1000744\" name=\"selected ion m/z\" "
      "value=\"600.123457\" unitCvRef=\"PSI\" unitAccession=\"MS:1000040\" unitName=\"m/z\"/>\n"
      "          <cvParam cvRef=\"PSI\" accession=\"MS:1000041\" name=\"charge state\" "
      "value=\"3\"/>\n"
      "        </selectedIon>\n"
      "      </selectedIonList>");
  EXPECT_EQ(WithSelectedIons(kSpectrum, ions), expected);
}

TEST(WithSelectedIons, PutsThemBeforeTheActivationWhereNoneAreDeclared) {
  const std::vector<Precursor> ions = {{500.0, 2}};
  EXPECT_EQ(WithSelectedIons("<spectrum><precursor><activation/></precursor>"
                             "<precursor><activation/></precursor></spectrum>",
                             ions),
            "<spectrum><precursor><selectedIonList count=\"1\"><selectedIon>"
            "<cvParam cvRef=\"MS\" accession=\"MS:1000744\" name=\"selected ion m/z\" "
            "value=\"500.000000\" unitCvRef=\"MS\" unitAccession=\"MS:1000040\" unitName=\"m/z\"/>"
            "<cvParam cvRef=\"MS\" accession=\"MS:1000041\" name=\"charge state\" value=\"2\"/>"
            "</selectedIon></selectedIonList><activation/></precursor>"
            "<precursor><activation/></precursor></spectrum>");
}

// No writer makes such files; what comes of them is still XML.
TEST(WithSelectedIons, ReplacesAWholeListWhateverIsInside) {
  const std::vector<Precursor> none;
  for (const std::string inside :
       {"<selectedIonList></selectedIonList>", "<selectedIonList/>", "<precursor></precursor>",
        "<selectedIon><selectedIonList><selectedIon/></selectedIonList></selectedIon>"}) {
    SCOPED_TRACE(inside);
    EXPECT_EQ(WithSelectedIons("<spectrum><precursor><selectedIonList>" + inside +
                                   "</selectedIonList><activation/></precursor></spectrum>",
                               none),
              "<spectrum><precursor><selectedIonList count=\"0\"></selectedIonList><activation/>"
              "</precursor></spectrum>");
  }
  EXPECT_EQ(WithSelectedIons("<spectrum><precursor><activation><selectedIonList/></activation>"
                             "</precursor></spectrum>",
                             none),
            "<spectrum><precursor><selectedIonList count=\"0\"></selectedIonList><activation>"
            "<selectedIonList/></activation></precursor></spectrum>");
}

TEST(WithSelectedIons, LeavesASpectrumWithoutPrecursor) {
  const std::vector<Precursor> ions = {{500.0, 2}};
  EXPECT_EQ(WithSelectedIons("<spectrum></spectrum>", ions), "<spectrum></spectrum>");
}

TEST(WithIdAndIndex, ChangesNothingElse) {
  EXPECT_EQ(WithIdAndIndex("<spectrum spotID=\"id\" index=\"7\" id='scan=9' x=\"7\"><a id=\"b\"/>"
                           "</spectrum>",
                           "scan=9 precursor=2", 12),
            "<spectrum spotID=\"id\" index=\"12\" id='scan=9 precursor=2' x=\"7\"><a id=\"b\"/>"
            "</spectrum>");
}

constexpr const char* kHead =
    "<?xml version=\"1.0\"?>\n<mzML>\n"
    "  <softwareList count=\"1\">\n    <software id=\"tarvek\"><cvParam cvRef=\"PSI\" "
    "accession=\"MS:1000615\"/></software>\n  </softwareList>\n"
    "  <dataProcessingList count=\"9\"><dataProcessing id=\"d\"/></dataProcessingList>\n"
    "  <run>\n    <spectrumList count=\"98\" defaultDataProcessingRef=\"d\">";

TEST(MzmlHead, WrapsNamesTarvekAndCountsAgain) {
  MzmlHead head(kHead, false);
  EXPECT_EQ(head.DeclaredCount(), 98);
  const std::string& text = head.Text();
  EXPECT_EQ(text.find("<indexedmzML "),
            text.find("<mzML>") - 1 - text.substr(text.find("<indexedmzML ")).find('\n'));
  EXPECT_NE(text.find("<softwareList count=\"2\">"), std::string::npos);
  EXPECT_NE(text.find("    <software id=\"tarvek_2\" version=\""), std::string::npos);
  EXPECT_NE(text.find("\n  </softwareList>"), std::string::npos);
  EXPECT_NE(text.find("<dataProcessingList count=\"10\"><dataProcessing id=\"d\"/><dataProcessing "
                      "id=\"tarvek_precursors\">"),
            std::string::npos);
  EXPECT_NE(text.find("<cvParam cvRef=\"PSI\" accession=\"MS:1000780\""), std::string::npos);
  EXPECT_TRUE(head.SetCount(7));
  EXPECT_TRUE(text.ends_with("<spectrumList count=\"7\"  defaultDataProcessingRef=\"d\">")) << text;
  EXPECT_FALSE(head.SetCount(100));
}

TEST(MzmlHead, HasRoomForMoreSpectra) {
  MzmlHead head(kHead, true);
  const std::size_t size = head.Text().size();
  EXPECT_TRUE(head.SetCount(1234567));
  EXPECT_EQ(head.Text().size(), size);
  EXPECT_NE(head.Text().find("count=\"1234567\" "), std::string::npos);
}

}  // namespace
}  // namespace tarvek::tools
