#include "batch/AutoSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"
#include "batch/InputLook.h"

namespace tarvek::tools {
namespace {

using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

InputLook LookOf(std::map<std::int64_t, std::int64_t> widths,
                 std::map<std::int32_t, std::int64_t> charges, std::int64_t fragments = 100) {
  InputLook look;
  look.m_fragments = fragments;
  look.m_is_whole = true;
  look.m_widths = std::move(widths);
  look.m_charges = std::move(charges);
  look.m_highest_mz = 900.0;
  return look;
}

std::string WidthOf(const InputLook& look) { return ChoiceText(ChooseSettings(look)[0]); }
std::string ChargesOf(const InputLook& look) { return ChoiceText(ChooseSettings(look)[1]); }

TEST(AutoSettings, TakeTheDeclaredWidth) {
  EXPECT_EQ(WidthOf(LookOf({{160, 100}}, {})), "-W 1.6, since all 100 MS2 scans declare 1.6 m/z");
}

TEST(AutoSettings, TakeTheCommonestOfSeveralWidthsAndNameTheOthers) {
  EXPECT_EQ(WidthOf(LookOf({{100, 20}, {200, 70}, {400, 10}}, {})),
            "-W 2, since 70 of 100 MS2 scans declare 2 m/z; the run has several widths, the others "
            "are 1 (20), 4 (10)");
}

TEST(AutoSettings, KeepTheWidthThatIsNotDeclared) {
  EXPECT_EQ(WidthOf(LookOf({}, {})), "-W 2, since the file declares no isolation width");
}

TEST(AutoSettings, DoubtWideWindows) {
  EXPECT_THAT(WidthOf(LookOf({{2500, 100}}, {})), HasSubstr("-W 25, since"));
  EXPECT_THAT(WidthOf(LookOf({{2500, 100}}, {})), HasSubstr("rarely meant for one precursor"));
}

TEST(AutoSettings, SayWhenOnlyTheFirstScansWereSeen) {
  InputLook look = LookOf({{200, 900}}, {}, 1000);
  look.m_is_whole = false;
  EXPECT_EQ(WidthOf(look), "-W 2, since 900 of the first 1000 MS2 scans declare 2 m/z");
}

TEST(AutoSettings, TakeChargeOneForSmallMolecules) {
  EXPECT_EQ(ChargesOf(LookOf({}, {{1, 80}})), "-c 1t1, since all 80 declared charges are 1");
  EXPECT_EQ(ChargesOf(LookOf({}, {{1, 92}, {2, 8}})),
            "-c 1t2, since 92 of 100 declared charges are 1");
  EXPECT_EQ(ChargesOf(LookOf({}, {{1, 99}, {2, 1}})),
            "-c 1t1, since 99 of 100 declared charges are 1");
}

TEST(AutoSettings, TakeTheUsualChargesOfPeptidesAndThoseOutsideWithANotableShare) {
  EXPECT_EQ(ChargesOf(LookOf({}, {{2, 60}, {3, 40}})),
            "-c 2t6, since the declared charges are 2 (60), 3 (40)");
  EXPECT_EQ(ChargesOf(LookOf({}, {{1, 10}, {2, 60}, {3, 30}})),
            "-c 1t6, since the declared charges are 2 (60), 3 (30), 1 (10)");
  EXPECT_THAT(ChargesOf(LookOf({}, {{1, 4}, {2, 60}, {3, 36}})), HasSubstr("-c 2t6, since"));
  EXPECT_THAT(ChargesOf(LookOf({}, {{3, 60}, {7, 40}})), HasSubstr("-c 2t7, since"));
}

// The table ends at 15000 Da: at m/z 1001.05 (900 + 2 / 2 + 0.05 in the first) charge 14 is below it
// with 14014.7 - 13 x 1.007 = 14001.6 Da, charge 15 beyond with 15001.7.
TEST(AutoSettings, TakeTheChargesOfIntactProteinsWithinTheIsotopeTable) {
  InputLook look = LookOf({}, {{5, 4}, {9, 30}, {12, 60}, {18, 6}});
  look.m_highest_mz = 1000.0;
  EXPECT_EQ(
      ChargesOf(look),
      "-c 9t14, since 96 of 100 declared charges are 8 or more, as of intact proteins; higher "
      "ones than 14 reach beyond the 15000 Da of the isotope table at m/z 1001");
}

TEST(AutoSettings, KeepPeptidesWithinTheIsotopeTable) {
  InputLook look = LookOf({}, {{2, 100}});
  look.m_highest_mz = 2600.0;  // 6 x 2601.05 - 5 x 1.007 = 15601
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c 2t5, since"));
}

TEST(AutoSettings, TurnTheChargesOfNegativeIonsRound) {
  InputLook look = LookOf({}, {{1, 46}});
  look.m_negative = 90;
  EXPECT_EQ(ChargesOf(look),
            "-c -1t-1, since all 46 declared charges are 1; the ions are negative");
  look.m_charges = {{2, 30}, {3, 16}};
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c -6t-2, since"));
}

TEST(AutoSettings, SayThatARunHasBothPolarities) {
  InputLook look = LookOf({}, {{1, 46}});
  look.m_negative = 40;
  look.m_positive = 60;
  EXPECT_EQ(ChargesOf(look),
            "-c 1t1, since all 46 declared charges are 1; the run has both polarities, 60 positive "
            "and 40 negative scans: split it");
}

TEST(AutoSettings, LookAtTheIsotopesWhereNoChargeIsDeclared) {
  InputLook look = LookOf({}, {});
  look.m_spacings = {{1, 80}, {2, 20}};
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c 1t1, since no charge is declared and the isotopes"));
  look.m_spacings = {{1, 79}, {2, 21}};
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c 2t6, since no charge is declared and the isotopes in "
                                         "the surveys are spaced for 1 (79), 2 (21)"));
  look.m_spacings = {{1, 19}};
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c 2t6, since no charge is declared")) << "too few";
}

TEST(AutoSettings, TakeLowMzForSmallMoleculesWhereNothingElseTells) {
  InputLook look = LookOf({}, {});
  look.m_small_ions = 90;
  EXPECT_EQ(ChargesOf(look),
            "-c 1t1, since no charge is declared and 90 of 100 MS2 scans isolate below m/z 350");
  look.m_small_ions = 89;
  EXPECT_THAT(ChargesOf(look), HasSubstr("-c 2t6, since"));
}

TEST(AutoSettings, KeepTheDefaultsOfAnInputThatCannotBeRead) {
  const std::vector<AutoChoice> choices = ChooseSettings(LookAtInput("none/run.raw"));
  EXPECT_EQ(ChoiceText(choices[0]), "-W 2, since only its converter reads the file");
  EXPECT_EQ(ChoiceText(choices[1]), "-c 2t6, since only its converter reads the file");
  EXPECT_THAT(LookAtInput("none/run.mzML").m_why_nothing, HasSubstr("the file cannot be read: "));
}

TEST(AutoSettings, LeaveWhatIsNamed) {
  ParameterTable table = {{"isolation_width", "7"}};
  const std::vector<AutoChoice> choices = AddFittingSettings("run.raw", table);
  ASSERT_EQ(choices.size(), 1u);
  EXPECT_THAT(table, ElementsAre(Pair("charge_range", "2t6"), Pair("isolation_width", "7")));
}

TEST(AutoSettings, ChooseNothingForMgf) {
  ParameterTable table;
  EXPECT_TRUE(AddFittingSettings("run.mgf", table).empty());
  EXPECT_TRUE(table.empty());
}

TEST(Spacings, TellTheChargesOfEnvelopes) {
  std::map<std::int32_t, std::int64_t> spacings;
  // Charge 2 from 500, charge 1 from 700 (two isotopes), a peak alone.
  AddSpacings(std::vector<Peak>{{500.0, 100.0},
                                {500.501675, 60.0},
                                {501.00335, 20.0},
                                {700.0, 50.0},
                                {701.00335, 10.0},
                                {900.0, 80.0}},
              spacings);
  EXPECT_THAT(spacings, ElementsAre(Pair(1, 1), Pair(2, 1)));
}

TEST(Spacings, TakeNoWeakPeakForAnIsotope) {
  std::map<std::int32_t, std::int64_t> spacings;
  AddSpacings(std::vector<Peak>{{700.0, 100.0}, {701.00335, 4.0}}, spacings);
  EXPECT_TRUE(spacings.empty());
  AddSpacings({}, spacings);
  EXPECT_TRUE(spacings.empty());
}

class InputLookTest : public testing::Test {
 protected:
  void WriteRun(const std::string& ms2) const {
    WriteFile(m_directory / "r.ms1",
              "H\tx\ty\nS\t1\t1\nI\tRetTime\t1\nI\tInstrumentType\tFTMS\n500.00000 100.0\n");
    WriteFile(m_directory / "r.ms2", ms2);
  }
  TemporaryDirectory m_directory;
};

TEST_F(InputLookTest, CountsTheBlocksOfText) {
  WriteRun(
      "S\t2\t2\t300.1\nI\tActivationCenter\t300.1\nZ\t2\t1.0\nZ\t3\t1.0\n100.0 1.0\n"
      "S\t3\t3\t800.5\nI\tActivationCenter\t800.5\nZ\t0\t0.0\n100.0 1.0\n");
  const InputLook look = LookAtInput(m_directory / "r.ms1");
  EXPECT_EQ(look.m_why_nothing, "");
  EXPECT_EQ(look.m_fragments, 2);
  EXPECT_TRUE(look.m_is_whole);
  EXPECT_THAT(look.m_charges, ElementsAre(Pair(2, 1)));
  EXPECT_EQ(look.m_small_ions, 1);
  EXPECT_EQ(look.m_highest_mz, 800.5);
  EXPECT_TRUE(look.m_widths.empty());
}

TEST_F(InputLookTest, TakesAnyNumberForACharge) {
  WriteRun("S\t2\t2\t800.5\nZ\t-2147483648\t0.0\n100.0 1.0\n");
  EXPECT_THAT(LookAtInput(m_directory / "r.ms1").m_charges, ElementsAre(Pair(2147483647, 1)));
}

TEST_F(InputLookTest, TakesTheWidthsThatTheExtractionTells) {
  WriteRun("S\t2\t2\t300.1\nZ\t2\t1.0\n100.0 1.0\n");
  WriteFile(m_directory / "r.morvex",
            "All spectra were extracted.\nwidth\t1.60\t7\nwidth\tnot declared\t2\n");
  EXPECT_THAT(LookAtInput(m_directory / "r.ms1").m_widths, ElementsAre(Pair(160, 7)));
}

TEST_F(InputLookTest, StopsEarlyButForIntactProteins) {
  const auto blocks = [](int charge, int count) {
    std::string text;
    for (int scan = 2; scan < count + 2; ++scan)
      text +=
          "S\t" + std::to_string(scan) + "\tx\nZ\t" + std::to_string(charge) + "\t1.0\n1.0 1.0\n";
    return text;
  };
  WriteRun(blocks(2, 1200));
  EXPECT_EQ(LookAtInput(m_directory / "r.ms1").m_fragments, kFragmentsToSee);
  EXPECT_FALSE(LookAtInput(m_directory / "r.ms1").m_is_whole);
  WriteRun(blocks(9, 1200));
  EXPECT_EQ(LookAtInput(m_directory / "r.ms1").m_fragments, 1200);
}

}  // namespace
}  // namespace tarvek::tools
