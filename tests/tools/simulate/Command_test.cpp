#include "simulate/Command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "MsTextReader.h"
#include "TestSupport.h"
#include "simulate/Acquisition.h"
#include "simulate/FileSink.h"
#include "simulate/Peptide.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

void Simulate(std::vector<std::string> arguments) {
  CLI::App app;
  AddSimulateCommand(app);
  arguments.insert(arguments.begin(), "simulate");
  std::ranges::reverse(arguments);  // the order in which App::parse takes a vector
  app.parse(arguments);
}

/// A run, written and read back.
struct SimulatedRun {
  explicit SimulatedRun(std::vector<std::string> arguments) {
    const TemporaryDirectory directory;
    arguments.push_back(directory / "run");
    Simulate(arguments);
    m_ms1_text = ReadFile(directory / "run.ms1");
    m_ms2_text = ReadFile(directory / "run.ms2");
    m_truth_text = ReadFile(directory / "run.truth.tsv");
    test::CaptureConsole([&] {
      Ms1TextReader ms1(directory / "run.ms1", "r");
      for (MS1Spectrum scan; ms1.ReadNext(scan);) m_surveys.push_back(scan);
      Ms2TextReader ms2(directory / "run.ms2", "r");
      for (MS2Spectrum scan; ms2.ReadNext(scan);) m_fragments.push_back(scan);
    });
    ReadTruth();
  }

  void ReadTruth() {
    std::istringstream lines(m_truth_text);
    std::getline(lines, m_truth_header);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream fields(line);
      TruthRow row;
      fields >> row.m_scan_no >> row.m_mz >> row.m_charge >> row.m_share >> row.m_is_target >>
          row.m_peptide >> row.m_isotope_offset >> row.m_declared_mz >> row.m_declared_charge >>
          row.m_isolated_current;
      EXPECT_TRUE(fields) << line;
      m_truth[row.m_scan_no].push_back(row);
    }
  }

  [[nodiscard]] std::size_t CountSurveys(const std::string& instrument_type) const {
    return static_cast<std::size_t>(
        std::ranges::count(m_surveys, instrument_type, &MS1Spectrum::m_instrument_type));
  }

  std::string m_ms1_text;
  std::string m_ms2_text;
  std::string m_truth_text;
  std::string m_truth_header;
  std::vector<MS1Spectrum> m_surveys;
  std::vector<MS2Spectrum> m_fragments;
  std::map<std::int32_t, std::vector<TruthRow>> m_truth;
};

/// The run that most tests use.
const SimulatedRun& UsualRun() {
  static const SimulatedRun run({"--ms2", "300"});
  return run;
}

TEST(SimulateCommand, TheSameSeedWritesTheSameBytes) {
  const SimulatedRun run({"--ms2", "300", "--seed", "1"});
  EXPECT_TRUE(run.m_ms1_text == UsualRun().m_ms1_text);
  EXPECT_TRUE(run.m_ms2_text == UsualRun().m_ms2_text);
  EXPECT_TRUE(run.m_truth_text == UsualRun().m_truth_text);
}

TEST(SimulateCommand, AnotherSeedWritesOtherBytes) {
  const SimulatedRun run({"--ms2", "300", "--seed", "2"});
  EXPECT_FALSE(run.m_ms1_text == UsualRun().m_ms1_text);
  EXPECT_FALSE(run.m_ms2_text == UsualRun().m_ms2_text);
  EXPECT_FALSE(run.m_truth_text == UsualRun().m_truth_text);
}

TEST(SimulateCommand, WritesAsManyFragmentScansAsAskedFor) {
  EXPECT_EQ(UsualRun().m_fragments.size(), 300u);
}

TEST(SimulateCommand, EndsWithTheGradient) {
  const SimulatedRun run({"--gradient", "0.2"});
  EXPECT_NEAR(run.m_surveys.back().m_rt, 12.0, 1.5);
}

TEST(SimulateCommand, EndsWithTheFragmentScansWhenTheyComeBeforeTheEndOfTheGradient) {
  EXPECT_EQ(SimulatedRun({"--gradient", "1", "--ms2", "7"}).m_fragments.size(), 7u);
}

TEST(SimulateCommand, ScanNumbersAreConsecutiveOverBothFiles) {
  std::vector<std::int32_t> numbers;
  for (const MS1Spectrum& scan : UsualRun().m_surveys) numbers.push_back(scan.m_scan_no);
  for (const MS2Spectrum& scan : UsualRun().m_fragments) numbers.push_back(scan.m_scan_no);
  std::ranges::sort(numbers);
  for (std::size_t i = 0; i < numbers.size(); ++i)
    ASSERT_EQ(numbers[i], static_cast<std::int32_t>(i) + 1);
}

TEST(SimulateCommand, EveryFragmentScanNamesTheLatestSurveyBeforeIt) {
  for (const MS2Spectrum& scan : UsualRun().m_fragments) {
    std::int32_t latest = 0;
    for (const MS1Spectrum& survey : UsualRun().m_surveys)
      if (survey.m_scan_no < scan.m_scan_no) latest = survey.m_scan_no;
    ASSERT_EQ(scan.m_precursor_scan, latest);
  }
}

TEST(SimulateCommand, RetentionTimesAscend) {
  std::map<std::int32_t, double> times;
  for (const MS1Spectrum& scan : UsualRun().m_surveys) times[scan.m_scan_no] = scan.m_rt;
  for (const MS2Spectrum& scan : UsualRun().m_fragments) times[scan.m_scan_no] = scan.m_rt;
  double former = -1.0;
  for (const auto& [scan_no, rt] : times) {
    ASSERT_GT(rt, former);
    former = rt;
  }
}

TEST(SimulateCommand, SurveysAndFragmentScansHoldTheUsualNumberOfPeaks) {
  double survey_peaks = 0.0;
  for (const MS1Spectrum& scan : UsualRun().m_surveys)
    survey_peaks += static_cast<double>(scan.m_peaks.size());
  double fragment_peaks = 0.0;
  for (const MS2Spectrum& scan : UsualRun().m_fragments)
    fragment_peaks += static_cast<double>(scan.m_peaks.size());
  EXPECT_NEAR(survey_peaks / static_cast<double>(UsualRun().m_surveys.size()), 1450.0, 250.0);
  EXPECT_NEAR(fragment_peaks / static_cast<double>(UsualRun().m_fragments.size()), 220.0, 40.0);
}

TEST(SimulateCommand, SurveyPeaksLieInTheRangeOfTheSurveys) {
  for (const MS1Spectrum& scan : UsualRun().m_surveys) {
    ASSERT_GT(scan.m_peaks.front().m_mz, 349.9);
    ASSERT_LT(scan.m_peaks.back().m_mz, 1500.1);
  }
}

TEST(SimulateCommand, BothFilesBeginWithTheHeaderBlockAtAFixedTime) {
  const std::string start = "H\tCreationDate\tSat Jan  1 00:00:00 2000\nH\tExtractor\tTarvek\n";
  EXPECT_EQ(UsualRun().m_ms1_text.substr(0, start.size()), start);
  EXPECT_EQ(UsualRun().m_ms2_text.substr(0, start.size()), start);
}

TEST(Truth, HasItsHeader) {
  EXPECT_EQ(UsualRun().m_truth_header,
            "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\t"
            "declared_charge\tisolated_current");
}

/// m/z and charge of every row agree with its peptide.
void ExpectTruthFitsPeptides(const SimulatedRun& run, std::optional<double> n15_enrichment,
                             double proton_da) {
  const IsotopeCalculator calculator(n15_enrichment);
  std::size_t rows = 0;
  for (const auto& [scan_no, truth] : run.m_truth)
    for (const TruthRow& row : truth) {
      const double mass_da = calculator.MonoisotopicMass(PeptideComposition(row.m_peptide));
      const int charges = std::abs(row.m_charge);
      ASSERT_NEAR(row.m_mz, mass_da / charges + proton_da, 2e-6) << row.m_peptide;
      ++rows;
    }
  EXPECT_GT(rows, run.m_fragments.size());
}

TEST(Truth, FitsItsPeptides) { ExpectTruthFitsPeptides(UsualRun(), std::nullopt, 1.007276); }

TEST(Truth, SharesOfAScanAddUpToOneAtMost) {
  for (const auto& [scan_no, truth] : UsualRun().m_truth) {
    double sum = 0.0;
    for (const TruthRow& row : truth) sum += row.m_share;
    ASSERT_LE(sum, 1.0 + 5e-6) << "scan " << scan_no;  // each is rounded to six decimals
  }
}

TEST(Truth, SharesDescendInAScan) {
  for (const auto& [scan_no, truth] : UsualRun().m_truth)
    ASSERT_TRUE(std::ranges::is_sorted(truth, std::ranges::greater(), &TruthRow::m_share));
}

TEST(Truth, NamesOneTargetPerScanAtMost) {
  for (const auto& [scan_no, truth] : UsualRun().m_truth)
    ASSERT_LE(std::ranges::count(truth, true, &TruthRow::m_is_target), 1) << "scan " << scan_no;
}

TEST(Truth, NearlyEveryScanHasATarget) {
  std::size_t targets = 0;
  for (const auto& [scan_no, truth] : UsualRun().m_truth)
    targets += static_cast<std::size_t>(std::ranges::count(truth, true, &TruthRow::m_is_target));
  EXPECT_GT(targets, 285u);
}

TEST(Truth, TheTargetsIsotopeOffsetLeadsToTheActivationCentre) {
  for (const MS2Spectrum& scan : UsualRun().m_fragments) {
    const auto found = UsualRun().m_truth.find(scan.m_scan_no);
    if (found == UsualRun().m_truth.end()) continue;
    for (const TruthRow& row : found->second) {
      if (!row.m_is_target || row.m_declared_charge != row.m_charge) continue;
      const double expected = row.m_mz + row.m_isotope_offset * 1.00286 / row.m_charge;
      ASSERT_NEAR(scan.m_activation_center, expected, 0.025) << "scan " << scan.m_scan_no;
    }
  }
}

TEST(Truth, RepeatsWhatTheScanDeclares) {
  for (const MS2Spectrum& scan : UsualRun().m_fragments) {
    const auto found = UsualRun().m_truth.find(scan.m_scan_no);
    if (found == UsualRun().m_truth.end()) continue;
    ASSERT_EQ(scan.m_orig_precursors.size(), 1u);
    for (const TruthRow& row : found->second) {
      if (row.m_declared_charge == 0) continue;
      ASSERT_NEAR(row.m_declared_mz, scan.m_orig_precursors[0].m_mz, 2e-5);
      ASSERT_EQ(row.m_declared_charge, scan.m_orig_precursors[0].m_charge);
    }
  }
}

TEST(Truth, AThirdAtMostOfTheLightTargetsIsDeclaredOnAnotherIsotope) {
  int targets = 0;
  int wrong = 0;
  for (const auto& [scan_no, truth] : UsualRun().m_truth)
    for (const TruthRow& row : truth) {
      if (!row.m_is_target || row.m_declared_charge == 0 || row.m_mz * row.m_charge > 1500.0)
        continue;
      ++targets;
      wrong += std::abs(row.m_declared_mz - row.m_mz) > 0.1 ? 1 : 0;
    }
  EXPECT_GT(wrong, 0);
  EXPECT_LT(3 * wrong, targets);
}

TEST(Negative, PrecursorLinesHoldPositiveChargesAndTheTruthNegativeOnes) {
  const SimulatedRun run({"--ms2", "100", "--negative"});
  for (const MS2Spectrum& scan : run.m_fragments)
    ASSERT_GT(scan.m_orig_precursors.at(0).m_charge, 0);
  for (const auto& [scan_no, truth] : run.m_truth)
    for (const TruthRow& row : truth) {
      ASSERT_LT(row.m_charge, 0);
      ASSERT_LE(row.m_declared_charge, 0);
    }
  EXPECT_EQ(run.m_ms2_text.find("Z\t-"), std::string::npos);
}

TEST(Negative, IonsLackProtons) {
  ExpectTruthFitsPeptides(SimulatedRun({"--ms2", "100", "--negative"}), std::nullopt, -1.007276);
}

TEST(Label, PeptidesHoldTheMassOfLabelledNitrogen) {
  ExpectTruthFitsPeptides(SimulatedRun({"--ms2", "100", "--label", "n15"}), 0.99, 1.007276);
}

TEST(IonTrapSurveys, MakeUpTheirShare) {
  const SimulatedRun run({"--ms2", "600", "--ion-trap-surveys", "0.5"});
  EXPECT_NEAR(
      static_cast<double>(run.CountSurveys("IT")) / static_cast<double>(run.m_surveys.size()), 0.5,
      0.15);
}

TEST(IonTrapSurveys, AreNoPrecursorScans) {
  const SimulatedRun run({"--ms2", "200", "--ion-trap-surveys", "0.5"});
  for (const MS2Spectrum& scan : run.m_fragments) {
    const auto survey =
        std::ranges::find(run.m_surveys, scan.m_precursor_scan, &MS1Spectrum::m_scan_no);
    ASSERT_NE(survey, run.m_surveys.end());
    ASSERT_EQ(survey->m_instrument_type, "FT");
  }
}

TEST(IonTrapSurveys, AreAbsentUnlessAskedFor) { EXPECT_EQ(UsualRun().CountSurveys("IT"), 0u); }

TEST(Methods, EachPrecursorIsFragmentedByAllInTurn) {
  const SimulatedRun run({"--ms2", "60", "--activation", "HCD,CID", "--analyser", "FTMS,ITMS"});
  for (std::size_t i = 0; i + 1 < run.m_fragments.size(); i += 2) {
    const MS2Spectrum& first = run.m_fragments[i];
    const MS2Spectrum& second = run.m_fragments[i + 1];
    ASSERT_EQ(first.m_activation_type + first.m_instrument_type, "HCDFT");
    ASSERT_EQ(second.m_activation_type + second.m_instrument_type, "CIDIT");
    ASSERT_EQ(first.m_activation_center, second.m_activation_center);
  }
}

TEST(Methods, OneAnalyserServesAllActivations) {
  const SimulatedRun run({"--ms2", "4", "--activation", "HCD,ETHCD"});
  EXPECT_EQ(run.m_fragments[1].m_activation_type, "ETHCD");
  EXPECT_EQ(run.m_fragments[1].m_instrument_type, "FT");
}

TEST(IsolationWidth, AWiderWindowHoldsMoreIons) {
  const auto ions = [](const SimulatedRun& run) {
    std::size_t rows = 0;
    for (const auto& [scan_no, truth] : run.m_truth) rows += truth.size();
    return rows;
  };
  EXPECT_GT(ions(SimulatedRun({"--ms2", "300", "--isolation-width", "4"})),
            ions(UsualRun()) * 5 / 4);
}

TEST(Noise, NoneLeavesFewerPeaks) {
  EXPECT_LT(SimulatedRun({"--ms2", "12", "--noise", "0"}).m_surveys[0].m_peaks.size() + 200,
            UsualRun().m_surveys[0].m_peaks.size());
}

TEST(Top, LimitsTheFragmentScansOfASurvey) {
  const SimulatedRun run({"--ms2", "20", "--top", "2"});
  EXPECT_EQ(run.m_surveys.size(), 10u);
}

/// A run with all effects of real runs.
const SimulatedRun& RealisticRun() {
  static const SimulatedRun run({"--ms2", "300", "--realism", "1"});
  return run;
}

TEST(Realism, OfNoneWritesTheUsualBytes) {
  const SimulatedRun run({"--ms2", "300", "--realism", "0"});
  EXPECT_TRUE(run.m_ms1_text == UsualRun().m_ms1_text);
  EXPECT_TRUE(run.m_ms2_text == UsualRun().m_ms2_text);
  EXPECT_TRUE(run.m_truth_text == UsualRun().m_truth_text);
}

TEST(Realism, TheSameSeedWritesTheSameBytes) {
  const SimulatedRun run({"--ms2", "300", "--realism", "1"});
  EXPECT_TRUE(run.m_ms1_text == RealisticRun().m_ms1_text);
  EXPECT_TRUE(run.m_ms2_text == RealisticRun().m_ms2_text);
  EXPECT_TRUE(run.m_truth_text == RealisticRun().m_truth_text);
}

TEST(Realism, SurveysAreFartherApart) {
  const auto seconds = [](const SimulatedRun& run) {
    return run.m_surveys[1].m_rt - run.m_surveys[0].m_rt;
  };
  EXPECT_NEAR(seconds(RealisticRun()) / seconds(UsualRun()), 1.8, 0.01);
}

/// Mean of |ln| of the change of the strongest peak that two consecutive surveys share.
double Unsteadiness(const SimulatedRun& run) {
  double sum = 0.0;
  for (std::size_t i = 1; i < run.m_surveys.size(); ++i) {
    const auto strongest =
        *std::ranges::max_element(run.m_surveys[i - 1].m_peaks, {}, &Peak::m_intensity);
    double next = 0.0;
    for (const Peak& peak : run.m_surveys[i].m_peaks)
      if (std::abs(peak.m_mz - strongest.m_mz) < 20e-6 * peak.m_mz)
        next = std::max(next, peak.m_intensity);
    if (next > 0.0) sum += std::abs(std::log(next / strongest.m_intensity));
  }
  return sum / static_cast<double>(run.m_surveys.size() - 1);
}

TEST(Realism, SurveysAreLessSteady) {
  EXPECT_GT(Unsteadiness(RealisticRun()), 1.5 * Unsteadiness(UsualRun()));
}

TEST(Realism, BackgroundIsTakenForAPrecursorMoreOften) {
  const auto targets = [](const SimulatedRun& run) {
    int count = 0;
    for (const auto& [scan_no, rows] : run.m_truth)
      count += static_cast<int>(std::ranges::count(rows, true, &TruthRow::m_is_target));
    return count;
  };
  EXPECT_LT(targets(RealisticRun()), targets(UsualRun()) - 30);
  EXPECT_GT(targets(RealisticRun()), 150);
}

struct Refused {
  std::vector<std::string> m_arguments;
  std::string m_message;
};

class RefusedArguments : public testing::TestWithParam<Refused> {};

TEST_P(RefusedArguments, AreAnErrorThatNamesTheOption) {
  std::vector<std::string> arguments = GetParam().m_arguments;
  arguments.push_back("never-written");
  EXPECT_EQ(MessageOf([&] { Simulate(arguments); }), GetParam().m_message);
  EXPECT_FALSE(std::filesystem::exists("never-written.ms1_unfinished"));
}

INSTANTIATE_TEST_SUITE_P(
    Options, RefusedArguments,
    testing::Values(
        Refused{{"--ms2", "0"}, "--ms2: must be a whole number from 1 to 100000000, not 0"},
        Refused{{"--ms2", "2.5"}, "Could not convert: --ms2 = 2.5"},
        Refused{{"--gradient", "nan"}, "--gradient: must be from 0.01 to 10000 minutes, not nan"},
        Refused{{"--top", "0"}, "--top: must be a whole number from 1 to 100, not 0"},
        Refused{{"--isolation-width=-1"}, "--isolation-width: must be from 0.1 to 100, not -1"},
        Refused{{"--ion-trap-surveys", "1"}, "--ion-trap-surveys: must be from 0 to 0.9, not 1"},
        Refused{{"--resolution", "much"}, "--resolution: must be from 1000 to 10000000, not much"},
        Refused{{"--noise", "inf"}, "--noise: must be from 0 to 100, not inf"},
        Refused{{"--realism", "3.5"}, "--realism: must be from 0 to 3, not 3.5"},
        Refused{{"--label", "c13"}, "--label: c13 not in {none,n15}"},
        Refused{{"--activation", "UVPD"}, "--activation: UVPD not in {CID,HCD,ETD,ETCID,ETHCD}"},
        Refused{{"--analyser", "TOF"}, "--analyser: TOF not in {FTMS,ITMS}"},
        Refused{{"--activation", "HCD,CID,ETD", "--analyser", "FTMS,ITMS"},
                "--analyser: needs one value, or one for each --activation"},
        Refused{{"--seed", "first"}, "Could not convert: --seed = first"}));

TEST(SimulateCommand, TheOutputBaseIsRequired) {
  EXPECT_EQ(MessageOf([] { Simulate({"--ms2", "1"}); }), "OUTBASE is required");
}

TEST(TextSink, AMissingDirectoryIsAnErrorThatNamesThePath) {
  const TemporaryDirectory directory;
  EXPECT_EQ(MessageOf([&] {
              Simulate({"--ms2", "1", directory / "none/run"});
            }),
            "Cannot open MS1 File, Path: " + directory / "none/run.ms1_unfinished");
}

TEST(TextSink, AnUnwritableTruthLeavesNothingBehind) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory / "run.truth.tsv_unfinished");
  EXPECT_EQ(MessageOf([&] {
              Simulate({"--ms2", "1", directory / "run"});
            }),
            "Cannot open truth File, Path: " + directory / "run.truth.tsv_unfinished");
  EXPECT_FALSE(std::filesystem::exists(directory / "run.ms1_unfinished"));
  EXPECT_FALSE(std::filesystem::exists(directory / "run.ms2_unfinished"));
}

TEST(TextSink, AFullDiskIsAnErrorThatLeavesFormerFilesAlone) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const TemporaryDirectory directory;
  for (const char* name : {"run.ms1", "run.ms2", "run.truth.tsv"})
    WriteFile(directory / name, "old");
  std::filesystem::create_symlink("/dev/full", directory / "run.ms2_unfinished");
  EXPECT_EQ(MessageOf([&] {
              Simulate({"--ms2", "1", directory / "run"});
            }),
            "Cannot write " + directory / "run.ms2_unfinished");
  for (const char* name : {"run.ms1", "run.ms2", "run.truth.tsv"})
    EXPECT_EQ(ReadFile(directory / name), "old");
  EXPECT_FALSE(std::filesystem::exists(directory / "run.ms1_unfinished"));
}

TEST(TextSink, ARunThatDoesNotEndLeavesNothingBehind) {
  const TemporaryDirectory directory;
  { const auto sink = MakeTextSink(directory / "run"); }
  EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST(TextSink, ReplacesTheFilesOfAFormerRunAndLeavesNoUnfinishedOnes) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.truth.tsv", "old");
  Simulate({"--ms2", "1", directory / "run"});
  EXPECT_EQ(ReadFile(directory / "run.truth.tsv").substr(0, 5), "scan\t");
  for (const auto& entry : std::filesystem::directory_iterator(directory.Path()))
    EXPECT_EQ(entry.path().string().find("_unfinished"), std::string::npos);
}

TEST(GradientSeconds, IsAnHourUnlessSomethingIsAskedFor) { EXPECT_EQ(GradientSeconds({}), 3600.0); }

TEST(GradientSeconds, IsWhatIsStated) {
  SimulateOptions options;
  options.m_gradient_minutes = 1.5;
  options.m_ms2_scans = 100000;
  EXPECT_EQ(GradientSeconds(options), 90.0);
}

TEST(GradientSeconds, FollowsTheNumberOfFragmentScans) {
  SimulateOptions options;
  options.m_ms2_scans = 6000;
  EXPECT_NEAR(GradientSeconds(options), 1000.0, 50.0);  // six in a cycle of a second
}

/// The share of the targets that tarvek finds, m/z within 20 ppm.
double FoundByTarvek(const std::string& program, int& targets) {
  const TemporaryDirectory directory;
  Simulate({"--ms2", "500", directory / "run"});
  const std::string command = program + " -D " + directory / "run.ms1" + " -F ms1 -p 0 -m 0 -I " +
                              TARVEK_SOURCE_DIR "/data/IPV.txt >/dev/null 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
  std::map<std::string, std::string> rows;
  std::istringstream lines(ReadFile(directory / "run.csv"));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t second = line.find(", ", line.find(", ") + 2);
    rows[line.substr(second + 2, line.find(", ", second + 2) - second - 2)] = line;
  }
  std::istringstream truth(ReadFile(directory / "run.truth.tsv"));
  std::string line;
  std::getline(truth, line);
  int found = 0;
  targets = 0;
  while (std::getline(truth, line)) {
    std::istringstream fields(line);
    std::string scan;
    double mz = 0.0;
    int charge = 0;
    double share = 0.0;
    int is_target = 0;
    fields >> scan >> mz >> charge >> share >> is_target;
    if (is_target == 0) continue;
    ++targets;
    std::istringstream row(rows[scan]);
    std::vector<std::string> cells;
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    bool is_found = false;
    for (std::size_t i = 7; i + 1 < cells.size(); i += 3)
      is_found = is_found || (std::stoi(cells[i + 1]) == charge &&
                              std::abs(std::stod(cells[i]) - mz) < mz * 20e-6);
    found += is_found ? 1 : 0;
  }
  return static_cast<double>(found) / targets;
}

TEST(Sanity, LetsTarvekFindMostTargets) {
  const auto program = std::filesystem::path(TARVEK_TOOLS_PROGRAM).parent_path() / "tarvek";
  if (!std::filesystem::exists(program))
    GTEST_SKIP() << "needs the program tarvek beside the tools";
  int targets = 0;
  const double found = FoundByTarvek(program.string(), targets);
  RecordProperty("targets", targets);
  RecordProperty("found", std::to_string(found));
  EXPECT_GT(targets, 450);
  EXPECT_GT(found, 0.5);
}

}  // namespace
}  // namespace tarvek::tools
