// --auto chooses for real runs the settings that their providers describe.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "batch/AutoSettings.h"

namespace tarvek::tools {
namespace {

struct RealRun {
  const char* m_file;
  const char* m_width;
  const char* m_charges;
};

// Widths, charges and polarity from their providers. TopDown: charge 10 at m/z 1496 is the last
// below 15000 Da.
constexpr std::array<RealRun, 18> kRealRuns = {{
    {"b6-fusion-it/sliced_b6.mzML.gz", "0.7", "2t6"},
    {"bsa-orbixl/BSA_min_21.mzXML.gz", "2", "2t6"},
    {"bsa-orbixl/BSA_min_23.mzXML.gz", "2", "2t6"},
    {"elite-csmsl/ThermoRawFileMS1MS2_Centroided.mzML.gz", "2.5", "2t6"},
    {"glyco-fusion/171025_06subset_1.mzML.gz", "2", "2t6"},
    {"hek293-velos/HEK293_2_16173.mzML.gz", "4", "2t6"},
    {"hek293-velos/HEK293_4_11989.mzML.gz", "4", "2t6"},
    {"lipid-velos/UDN_NIST_POS_excerpt.mzML.gz", "2", "1t1"},
    {"lowinput-k13/K13_02ng_1min_frac1.mzML.gz", "1.6", "2t6"},
    {"ltqft-small/small-peakpicking-vendor.mzML.gz", "2", "2t6"},
    {"metab-qe-gnps/GNPSExport_mzml1.mzML.gz", "1", "1t1"},
    {"metab-qe-neg/SiriusAdapter_4_input.mzML.gz", "0.8", "-1t-1"},
    {"mm-example/mm_example.mzML.gz", "3", "2t6"},
    {"openms-qc/QualityControl_1_in1.mzML.gz", "2", "2t6"},
    {"silac-qe/SilacTest.mzML.gz", "2.5", "2t6"},
    {"td-fusion-emsl/TopDown.mzML.gz", "2", "5t10"},
    {"tmt11-mouse-ms3/MS3_TMT11_Mouse_snip.mzML.gz", "0.5", "2t6"},
    {"yeast-velos/SmallCalibratible_Yeast.mzML.gz", "3", "2t6"},
}};

TEST(AutoRealRuns, GetWhatTheyWereMeasuredWith) {
  const std::string folder = TARVEK_SOURCE_DIR "/../shared/data/";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "needs the real runs in ../shared/data";
  for (const RealRun& run : kRealRuns) {
    ParameterTable table;
    AddFittingSettings(folder + run.m_file, table);
    EXPECT_EQ(table["isolation_width"], run.m_width) << run.m_file;
    EXPECT_EQ(table["charge_range"], run.m_charges) << run.m_file;
  }
}

// GNPSExport and the lipids declare charges; without these their isotopes show the same.
TEST(AutoRealRuns, OfSmallMoleculesHaveSinglySpacedIsotopes) {
  const std::string folder = TARVEK_SOURCE_DIR "/../shared/data/";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "needs the real runs in ../shared/data";
  for (const char* file :
       {"lipid-velos/UDN_NIST_POS_excerpt.mzML.gz", "metab-qe-gnps/GNPSExport_mzml1.mzML.gz"}) {
    InputLook look = LookAtInput(folder + file);
    look.m_charges.clear();
    EXPECT_EQ(ChooseSettings(look)[1].m_value, "1t1") << file;
  }
  for (const char* file :
       {"hek293-velos/HEK293_2_16173.mzML.gz", "openms-qc/QualityControl_1_in1.mzML.gz",
        "b6-fusion-it/sliced_b6.mzML.gz"}) {
    InputLook look = LookAtInput(folder + file);
    look.m_charges.clear();
    EXPECT_EQ(ChooseSettings(look)[1].m_value, "2t6") << file;
  }
}

}  // namespace
}  // namespace tarvek::tools
