// Small files of each engine. The rows of Comet and X!Tandem come from the programs; the others
// follow the public descriptions of their columns and elements.
#include "psms/Readers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

constexpr double kProton = 1.007276;

class PsmReaders : public testing::Test {
 protected:
  std::vector<EngineMatch> Read(const std::string& content, const std::string& name = "result") {
    WriteFile(m_directory / name, content);
    std::vector<EngineMatch> matches;
    ReadMatches(m_directory / name, [&](EngineMatch& match) { matches.push_back(match); });
    return matches;
  }
  std::string Message(const std::string& content) {
    return MessageOf([&] { Read(content); });
  }

  TemporaryDirectory m_directory;
};

const std::string kComet =
    "CometVersion 2019.01 rev. 5\tsearch/run_HCDFT\t11/22/2026, 08:43:00 AM\thek.fasta\n"
    "scan\tnum\tcharge\texp_neutral_mass\tcalc_neutral_mass\te-value\txcorr\tdelta_cn\tsp_score\t"
    "ions_matched\tions_total\tplain_peptide\tmodified_peptide\tprev_aa\tnext_aa\tprotein\t"
    "protein_count\tmodifications\n"
    "2\t1\t2\t1154.589605\t1154.593152\t7.44E-06\t2.0035\t0.6552\t418.0\t10\t20\tGLGLDDALEPR\t"
    "R.GLGLDDALEPR.Q\tR\tQ\tQ9Y230\t1\t-\t\n"
    "2\t3\t2\t1154.589605\t1154.611779\t6.99E+01\t0.3988\t0.2518\t10.1\t3\t22\tCPVAAGSPGVIK\t"
    "K.CPVAAGSPGVIK.V\tK\tV\tDECOY_P21333,DECOY_Q60FE5\t2\t1_S_57.021464\t\n";

TEST_F(PsmReaders, CometText) {
  const auto matches = Read(kComet);
  ASSERT_EQ(matches.size(), 2u);
  const EngineMatch& first = matches[0];
  EXPECT_EQ(first.m_scores.m_engine, "Comet");
  EXPECT_EQ(first.m_run, "run_HCDFT");
  EXPECT_EQ(first.m_scan_no, 2);
  EXPECT_EQ(first.m_rank, 1);
  EXPECT_EQ(first.m_charge, 2);
  EXPECT_EQ(first.m_searched_mass_da, 1154.589605);
  EXPECT_EQ(first.m_calculated_mass_da, 1154.593152);
  EXPECT_EQ(first.m_score, 7.44e-6);
  EXPECT_EQ(first.Cost(), 7.44e-6);
  EXPECT_EQ(first.m_second_score, 2.0035);
  EXPECT_EQ(first.m_sequence, "GLGLDDALEPR");
  EXPECT_EQ(first.m_peptide, "R.GLGLDDALEPR.Q");
  EXPECT_THAT(first.m_proteins, ElementsAre("Q9Y230"));
  EXPECT_EQ(matches[1].m_rank, 3);
  EXPECT_THAT(matches[1].m_proteins, ElementsAre("DECOY_P21333", "DECOY_Q60FE5"));
}

TEST_F(PsmReaders, LinesMayEndWithCrLfAndTheLastWithoutEnd) {
  std::string text = kComet;
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
    text.insert(at, "\r");
  text.resize(text.size() - 2);
  EXPECT_EQ(Read(text).size(), 2u);
}

const std::string kPin =
    "SpecId\tLabel\tScanNr\tExpMass\tCalcMass\tlnrSp\tdeltLCn\tdeltCn\tlnExpect\tXcorr\tSp\tPeptide"
    "\t"
    "Proteins\n"
    "/a_1/"
    "run_HCDFT_2_3_1\t1\t2\t1155.596882\t1155.600429\t0.0\t0.8\t0.6\t-11.808909\t2.003529\t418\t"
    "R.GLGLDDALEPR.Q\tQ9Y230\n"
    "/a_1/"
    "run_HCDFT_2_3_2\t-1\t2\t1155.596882\t1154.572817\t0.6\t0.6\t0.4\t1.326525\t0.690735\t109\t"
    "K.FEDENM[15.9949]FILK.H\tDECOY_P1\tDECOY_P2\n";

TEST_F(PsmReaders, CometPin) {
  const auto matches = Read(kPin);
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].m_run, "run_HCDFT");
  EXPECT_EQ(matches[0].m_scan_no, 2);
  EXPECT_EQ(matches[0].m_charge, 3);
  EXPECT_EQ(matches[0].m_rank, 1);
  // The columns hold the mass of the ion of charge 1; the table of the same search says 1154.589605.
  EXPECT_NEAR(matches[0].m_searched_mass_da, 1154.589605, 2e-6);
  EXPECT_EQ(matches[0].m_score, -11.808909);
  EXPECT_FALSE(matches[0].m_is_called_decoy);
  EXPECT_TRUE(matches[1].m_is_called_decoy);
  EXPECT_EQ(matches[1].m_sequence, "FEDENMFILK");
  EXPECT_THAT(matches[1].m_proteins, ElementsAre("DECOY_P1", "DECOY_P2"));
}

const std::string kTandem = R"(<?xml version="1.0"?>
<bioml xmlns:GAML="http://www.bioml.com/gaml/" label="models">
<group id="1" mh="1155.596882" z="2" rt="6540.7" expect="3.0e-08" label="Q9Y230 RuvB" type="model" act="0" >
<protein expect="-nan" id="1.1" uid="803" label="Q9Y230 RuvB-like 2" sumI="6.38" >
<note label="description">Q9Y230 RuvB-like 2</note>
<file type="peptide" URL="hekd.fasta"/>
<peptide start="1" end="463">
<domain id="1.1.1" start="30" end="40" expect="3.0e-08" mh="1155.6004" delta="-0.0035" hyperscore="44.1" nextscore="21.2" pre="SHIR" post="QASQ" seq="GLGLDDALEPR" missed_cleavages="0">
<aa type="G" at="32" modified="15.99490" />
</domain>
</peptide>
</protein>
<protein expect="-nan" id="1.2" uid="804" label="DECOY_P9 other" sumI="6.38" >
<note label="description">DECOY_P9 other</note>
<peptide start="1" end="463">
<domain id="1.2.1" start="5" end="15" expect="3.0e-08" mh="1155.6004" delta="-0.0035" hyperscore="44.1" nextscore="21.2" seq="GIGLDDALEPR">
</domain>
</peptide>
</protein>
<group type="support" label="supporting data"><group label="x"></group></group>
<group type="support" label="fragment ion mass spectrum">
<note label="Description">a.run.2.2.2.1.dta RTINSECONDS=6540.7960000 </note>
</group></group>
<group label="input parameters" type="parameters"><note type="input" label="Description">no.9.9.2.0.dta</note></group>
</bioml>
)";

TEST_F(PsmReaders, XTandem) {
  const auto matches = Read(kTandem);
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].m_title, "a.run.2.2.2.1.dta");
  EXPECT_EQ(matches[0].m_run, "a.run");
  EXPECT_EQ(matches[0].m_scan_no, 2);
  EXPECT_EQ(matches[0].m_index, 1);
  EXPECT_EQ(matches[0].m_place, 1);
  EXPECT_EQ(matches[0].m_charge, 2);
  EXPECT_DOUBLE_EQ(matches[0].m_searched_mass_da, 1155.596882 - kProton);
  EXPECT_DOUBLE_EQ(matches[0].m_calculated_mass_da, 1155.6004 - kProton);
  EXPECT_EQ(matches[0].m_score, 3e-8);
  EXPECT_EQ(matches[0].m_second_score, 44.1);
  EXPECT_EQ(matches[0].m_peptide, "GLG[15.99490]LDDALEPR");  // the third residue is number 32
  EXPECT_THAT(matches[0].m_proteins, ElementsAre("Q9Y230"));
  EXPECT_EQ(matches[1].m_peptide, "GIGLDDALEPR");
  EXPECT_THAT(matches[1].m_proteins, ElementsAre("DECOY_P9"));
}

TEST_F(PsmReaders, XTandemMarksItsOwnDecoysBehindTheirDescription) {
  std::string text = kTandem;
  text.replace(text.find("Q9Y230 RuvB-like 2\" sumI"), 18, "Q9Y230 RuvB:reversed");
  EXPECT_THAT(Read(text)[0].m_proteins, ElementsAre("Q9Y230:reversed"));
}

const std::string kFragger =
    "scannum\tprecursor_neutral_mass\tretention_time\tcharge\thit_rank\tpeptide\tpeptide_prev_aa\t"
    "peptide_next_aa\tprotein\tnum_matched_ions\ttot_num_ions\tcalc_neutral_pep_mass\tmassdiff\t"
    "num_tol_term\tnum_missed_cleavages\tmodification_info\thyperscore\tnextscore\texpectscore\t"
    "best_locs\tscore_without_delta_mass\talternative_proteins\n"
    "12\t1154.5896\t109.01\t2\t1\tGMGLDDALEPR\tR\tQ\tsp|Q9Y230|RUVB2 RuvB-like "
    "2\t10\t20\t1154.5931\t"
    "-0.0035\t2\t0\t2M(15.9949)\t31.2\t10.1\t1.5e-07\t\t\tsp|P1|A one;rev_sp|P2|B\n";

TEST_F(PsmReaders, MsFragger) {
  const auto matches = Read(kFragger, "run_HCDFT.tsv");
  ASSERT_EQ(matches.size(), 1u);
  EXPECT_EQ(matches[0].m_run, "run_HCDFT");
  EXPECT_EQ(matches[0].m_place, 12);
  EXPECT_EQ(matches[0].m_scan_no, 12);
  EXPECT_EQ(matches[0].m_score, 1.5e-7);
  EXPECT_EQ(matches[0].m_second_score, 31.2);
  EXPECT_EQ(matches[0].m_sequence, "GMGLDDALEPR");
  EXPECT_EQ(matches[0].m_peptide, "GMGLDDALEPR (2M(15.9949))");
  EXPECT_THAT(matches[0].m_proteins, ElementsAre("sp|Q9Y230|RUVB2", "sp|P1|A", "rev_sp|P2|B"));
}

const std::string kSage =
    "psm_id\tpeptide\tproteins\tnum_"
    "proteins\tfilename\tscannr\trank\tlabel\texpmass\tcalcmass\tcharge\t"
    "peptide_len\tmissed_cleavages\thyperscore\tsage_discriminant_score\tspectrum_q\n"
    "1\t[+42.0106]-GLC[+57.0215]K\tP1;P2\t2\trun_HCDFT.mgf\ta_run.7.7.2.1.dta\t1\t1\t900.5\t900."
    "4\t2\t4\t0\t"
    "33.3\t1.25\t0.001\n"
    "2\tGLK\trev_P1\t1\trun_HCDFT.mgf\tcontrollerType=0 controllerNumber=1 "
    "scan=9\t2\t-1\t300.5\t300.4\t3\t3\t"
    "0\t3.3\t-0.5\t1\n";

TEST_F(PsmReaders, Sage) {
  const auto matches = Read(kSage);
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].m_title, "a_run.7.7.2.1.dta");
  EXPECT_EQ(matches[0].m_scan_no, 7);
  EXPECT_EQ(matches[0].m_index, 1);
  EXPECT_EQ(matches[0].m_score, 1.25);
  EXPECT_EQ(matches[0].Cost(), -1.25);  // higher is better
  EXPECT_EQ(matches[0].m_sequence, "GLCK");
  EXPECT_THAT(matches[0].m_proteins, ElementsAre("P1", "P2"));
  EXPECT_EQ(matches[1].m_scan_no, 9);
  EXPECT_EQ(matches[1].m_run, "run_HCDFT");
  EXPECT_TRUE(matches[1].m_is_called_decoy);
}

const std::string kMsGf =
    "#SpecFile\tSpecID\tScanNum\tTitle\tFragMethod\tPrecursor\tIsotopeError\tPrecursorError(ppm)"
    "\tCharge\t"
    "Peptide\tProtein\tDeNovoScore\tMSGFScore\tSpecEValue\tEValue\n"
    "run_HCDFT.mgf\tindex=4\t7\ta_run.7.7.2.1.dta\tHCD\t501.0\t0\t10.0\t2\tK.GLC+57.021K.R\t"
    "sp|P1|A(pre=K,post=R);XXX_P2(pre=K,post=-)\t90\t85\t1.5E-12\t2.5E-6\n"
    "run_HCDFT.mgf\tindex=5\t8\tother "
    "title\tHCD\t501.0\t1\t0.0\t2\tGLCK\tP1\t90\t85\t1.5E-10\t2.5E-6\n";

TEST_F(PsmReaders, MsGf) {
  const auto matches = Read(kMsGf);
  ASSERT_EQ(matches.size(), 2u);
  const double mass_da = 2 * (501.0 - kProton);
  EXPECT_EQ(matches[0].m_place, 5);
  EXPECT_EQ(matches[0].m_index, 1);
  EXPECT_EQ(matches[0].m_run, "a_run");
  EXPECT_DOUBLE_EQ(matches[0].m_searched_mass_da, mass_da);
  EXPECT_NEAR(matches[0].m_calculated_mass_da, mass_da * (1 - 1e-5), 1e-6);
  EXPECT_EQ(matches[0].m_score, 1.5e-12);
  EXPECT_EQ(matches[0].m_sequence, "GLCK");
  EXPECT_THAT(matches[0].m_proteins, ElementsAre("sp|P1|A", "XXX_P2"));
  EXPECT_EQ(matches[1].m_index, -1);
  EXPECT_EQ(matches[1].m_run, "run_HCDFT");
  EXPECT_NEAR(matches[1].m_calculated_mass_da, mass_da - 1.00335, 1e-6);
}

const std::string kMzid = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<MzIdentML id="x" version="1.1.0" xmlns="http://psidev.info/psi/pi/mzIdentML/1.1">
<SequenceCollection>
<DBSequence accession="sp|P1|A" searchDatabase_ref="S" id="D1"/>
<DBSequence accession="XXX_P2" searchDatabase_ref="S" id="D2"/>
<Peptide id="Pep1"><PeptideSequence>GLCK</PeptideSequence>
<Modification location="0" monoisotopicMassDelta="42.010565"><cvParam accession="UNIMOD:1" name="Acetyl"/></Modification>
<Modification location="3" monoisotopicMassDelta="57.021464"/></Peptide>
<Peptide id="Pep2"><PeptideSequence>AAAK</PeptideSequence></Peptide>
<PeptideEvidence id="E1" isDecoy="false" dBSequence_ref="D1" peptide_ref="Pep1"/>
<PeptideEvidence id="E2" isDecoy="true" dBSequence_ref="D2" peptide_ref="Pep2"/>
<PeptideEvidence id="E3" isDecoy="true" dBSequence_ref="D2" peptide_ref="Pep1"/>
</SequenceCollection>
<DataCollection><Inputs><SpectraData location="file:///data/run_HCDFT.mgf" id="SID_1"/></Inputs>
<AnalysisData><SpectrumIdentificationList id="L">
<SpectrumIdentificationResult spectrumID="index=4" spectraData_ref="SID_1" id="R1">
<SpectrumIdentificationItem passThreshold="true" rank="1" peptide_ref="Pep1" calculatedMassToCharge="501.0" experimentalMassToCharge="501.01" chargeState="2" id="I1">
<PeptideEvidenceRef peptideEvidence_ref="E1"/><PeptideEvidenceRef peptideEvidence_ref="E3"/>
<cvParam accession="MS:1002049" cvRef="MS" value="85" name="MS-GF:RawScore"/>
<cvParam accession="MS:1002053" cvRef="MS" value="0.5" name="MS-GF:EValue"/>
<cvParam accession="MS:1002052" cvRef="MS" value="1.5E-12" name="MS-GF:SpecEValue"/>
</SpectrumIdentificationItem>
<SpectrumIdentificationItem passThreshold="true" rank="2" peptide_ref="Pep2" experimentalMassToCharge="501.01" chargeState="2" id="I2">
<PeptideEvidenceRef peptideEvidence_ref="E2"/>
<cvParam accession="MS:1002052" cvRef="MS" value="1.5E-2" name="MS-GF:SpecEValue"/>
</SpectrumIdentificationItem>
<cvParam accession="MS:1001115" cvRef="MS" value="3" name="scan number(s)"/>
<cvParam accession="MS:1000796" cvRef="MS" value="a.run.7.7.2.1.dta" name="spectrum title"/>
</SpectrumIdentificationResult>
</SpectrumIdentificationList></AnalysisData></DataCollection>
</MzIdentML>
)xml";

TEST_F(PsmReaders, MzIdentMl) {
  const auto matches = Read(kMzid);
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].m_scores.m_score, "MS-GF:SpecEValue");
  EXPECT_EQ(matches[0].m_score, 1.5e-12);
  EXPECT_EQ(matches[0].m_run, "a.run");
  EXPECT_EQ(matches[0].m_scan_no, 7);
  EXPECT_EQ(matches[0].m_index, 1);
  EXPECT_EQ(matches[0].m_place, 5);
  EXPECT_EQ(matches[0].m_peptide, "[42.010565]GLC[57.021464]K");
  EXPECT_THAT(matches[0].m_proteins, ElementsAre("sp|P1|A", "XXX_P2"));
  EXPECT_FALSE(matches[0].m_is_called_decoy);
  EXPECT_DOUBLE_EQ(matches[0].m_calculated_mass_da, 2 * (501.0 - kProton));
  EXPECT_EQ(matches[1].m_rank, 2);
  EXPECT_TRUE(matches[1].m_is_called_decoy);
}

TEST_F(PsmReaders, MzIdentMlWithoutATitleTellsTheFileAndTheScan) {
  std::string text = kMzid;
  text.replace(text.find("MS:1000796"), 10, "MS:9999999");
  const auto matches = Read(text);
  EXPECT_EQ(matches.at(0).m_run, "run_HCDFT");
  EXPECT_EQ(matches.at(0).m_scan_no, 3);
  EXPECT_EQ(matches.at(0).m_index, -1);
  text.replace(text.find("MS:1001115"), 10, "MS:9999999");
  text.replace(text.find("index=4"), 7, "query=4");
  EXPECT_THAT(Message(text),
              HasSubstr("'query=4' has neither a scan number nor a title of tarvek"));
}

TEST_F(PsmReaders, WhatIsNoResultIsNamed) {
  EXPECT_EQ(Message("a\tb\n1\t2\n"),
            m_directory / "result" +
                ": not a result that is known here: Comet (.txt, .pin), X!Tandem (.xml), "
                "MSFragger, Sage or MS-GF+ (.tsv), mzIdentML");
  EXPECT_THAT(Message(""), HasSubstr("not a result that is known here"));
  EXPECT_THAT(Message("<mzML></mzML>"), HasSubstr("the root element is mzML"));
}

TEST_F(PsmReaders, DamagedTablesAreNamedWithTheirLine) {
  const std::string path = m_directory / "result";
  const auto with = [](std::string text, const std::string& old, const std::string& now) {
    return text.replace(text.find(old), old.size(), now);
  };
  EXPECT_EQ(Message(with(kComet, "7.44E-06", "bad")), path + ", line 3: 'bad' is not a number.");
  EXPECT_EQ(Message(with(kComet, "7.44E-06", "nan")), path + ", line 3: 'nan' is not a number.");
  EXPECT_EQ(Message(kComet + "2\t1\t2\n"), path + ", line 5: too few fields.");
  EXPECT_EQ(Message(with(kComet, "e-value", "evalue")), path + ", line 2: no column 'e-value'.");
  EXPECT_EQ(Message("CometVersion 1\n"), path + ", line 2: the table is cut off.");
  EXPECT_EQ(Message(with(kPin, "/a_1/run_HCDFT_2_3_1", "x")),
            path + ", line 2: the id is not of the form FILE_SCAN_CHARGE_RANK.");
  EXPECT_EQ(
      Message(with(kSage, "a_run.7.7.2.1.dta", "spectrum")),
      path + ", line 2: neither the title of a spectrum of tarvek nor a scan number: spectrum");
  EXPECT_EQ(Message(with(kFragger, "\t2\t1\tGMG", "\t0\t1\tGMG")),
            path + ", line 2: a match without a charge.");
  EXPECT_EQ(Message(with(kMsGf, "K.GLC+57.021K.R", "")),
            path + ", line 2: a match without a peptide.");
  EXPECT_EQ(Message(with(kComet, "\tGLGLDDALEPR\tR.", "\tGLGL-EPR\tR.")),
            path + ", line 3: the peptide 'GLGL-EPR' has other than capital letters.");
}

TEST_F(PsmReaders, DamagedXmlIsNamedWithItsLine) {
  const auto with = [](std::string text, const std::string& old, const std::string& now) {
    return text.replace(text.find(old), old.size(), now);
  };
  EXPECT_THAT(Message(kTandem.substr(0, kTandem.size() - 30)), HasSubstr("the file is truncated"));
  EXPECT_THAT(Message(with(kTandem, "seq=\"GLGL", "seq=\"glgl")),
              HasSubstr("the peptide 'glglDDALEPR' has other than capital letters"));
  EXPECT_THAT(Message(with(kMzid, "GLCK", "")), HasSubstr("a match without a peptide"));
  EXPECT_THAT(Message(with(kTandem, "z=\"2\"", "z=\"\"")), HasSubstr("result: line 3, byte "));
  EXPECT_THAT(Message(with(kTandem, "z=\"2\"", "z=\"\"")),
              EndsWith("the attribute z is '', not a number"));
  EXPECT_THAT(
      Message(with(kMzid, "rank=\"1\" peptide_ref=\"Pep1\"", "rank=\"1\" peptide_ref=\"P\"")),
      EndsWith("a match names the peptide 'P', which is not there"));
  EXPECT_THAT(Message(with(kMzid, "peptideEvidence_ref=\"E2\"", "peptideEvidence_ref=\"E\"")),
              EndsWith("a match names the evidence 'E', which is not there"));
  EXPECT_THAT(Message(with(kMzid, "dBSequence_ref=\"D1\"", "dBSequence_ref=\"D\"")),
              EndsWith("an evidence names the protein 'D', which is not there"));
  EXPECT_THAT(Message(with(kMzid, "<cvParam accession=\"MS:1002052\" cvRef=\"MS\" value=\"1.5E-2\"",
                           "<cvParam accession=\"MS:1\" cvRef=\"MS\" value=\"1.5E-2\"")),
              EndsWith("a match without a score that is known here"));
}

// ------------------------------------------------------------ limits

std::string With(std::string text, const std::string& old, const std::string& now) {
  return text.replace(text.find(old), old.size(), now);
}

TEST_F(PsmReaders, TablesHaveNoMoreThan100000FieldsInALine) {
  const auto with = [](std::size_t fields) { return kPin + std::string(fields - 1, '\t') + "\n"; };
  const std::string path = m_directory / "result";
  EXPECT_EQ(Message(with(100'001)), path + ", line 4: more than 100000 fields, which cannot be.");
  EXPECT_EQ(Message(with(100'000)),
            path + ", line 4: the id is not of the form FILE_SCAN_CHARGE_RANK.");
}

TEST_F(PsmReaders, AMatchOfATableHasNoMoreThan100000Proteins) {
  const auto proteins = [](std::size_t count, char between) {
    std::string names = "p";
    for (std::size_t i = 1; i < count; ++i) names.append(1, between).append("p");
    return names;
  };
  const std::string error = ": a match of more than 100000 proteins, which cannot be.";
  const std::string path = m_directory / "result";
  EXPECT_EQ(Read(With(kComet, "Q9Y230", proteins(100'000, ','))).at(0).m_proteins.size(), 100'000u);
  EXPECT_EQ(Message(With(kComet, "Q9Y230", proteins(100'001, ','))), path + ", line 3" + error);
  EXPECT_EQ(Message(With(kSage, "P1;P2", proteins(100'001, ';'))), path + ", line 2" + error);
  EXPECT_EQ(Message(With(kMsGf, "sp|P1|A(pre=K,post=R)", proteins(100'001, ';'))),
            path + ", line 2" + error);
  // The first protein has a column of its own.
  EXPECT_EQ(Message(With(kFragger, "sp|P1|A one", proteins(100'000, ';'))),
            path + ", line 2" + error);
}

TEST_F(PsmReaders, TextsOfXmlHaveNoMoreThan100000Bytes) {
  const std::string most(100'000, 'A');
  const std::string peptide = "a peptide of more than 100000 bytes, which cannot be";
  const std::string title = "a title of more than 100000 bytes, which cannot be";
  EXPECT_EQ(Read(With(kMzid, "AAAK", most)).at(1).m_sequence, most);
  EXPECT_THAT(Message(With(kMzid, "AAAK", most + "A")), EndsWith(peptide));
  EXPECT_EQ(Read(With(kTandem, "GIGLDDALEPR", most)).at(1).m_sequence, most);
  EXPECT_THAT(Message(With(kTandem, "GIGLDDALEPR", most + "A")), EndsWith(peptide));
  const std::string old = "a.run.2.2.2.1.dta RTINSECONDS=6540.7960000 ";
  EXPECT_EQ(Read(With(kTandem, old, most)).at(0).m_title, most);
  EXPECT_THAT(Message(With(kTandem, old, most + "A")), EndsWith(title));
  EXPECT_THAT(Message(With(kMzid, "value=\"a.run.7", "value=\"" + most + "a.run.7")),
              EndsWith(title));
  EXPECT_THAT(Message(With(kMzid, "spectrumID=\"", "spectrumID=\"" + most)), EndsWith(title));
}

// Each takes two brackets more than its text.
TEST_F(PsmReaders, ModificationsOfAPeptideHaveNoMoreThan100000Bytes) {
  const std::string peptide = "a peptide of more than 100000 bytes, which cannot be";
  const std::string most(99'998, '1');
  EXPECT_EQ(Read(With(kTandem, "15.99490", most)).at(0).m_peptide, "GLG[" + most + "]LDDALEPR");
  EXPECT_THAT(Message(With(kTandem, "15.99490", most + "1")), EndsWith(peptide));
  // The other one of the peptide, [57.021464], takes 11.
  EXPECT_EQ(Read(With(kMzid, "42.010565", most.substr(11))).at(0).m_peptide,
            "[" + most.substr(11) + "]GLC[57.021464]K");
  EXPECT_THAT(Message(With(kMzid, "42.010565", most.substr(10))), EndsWith(peptide));
}

TEST_F(PsmReaders, RepeatedProteinsOfAnItemCountOnce) {
  const std::string reference = "<PeptideEvidenceRef peptideEvidence_ref=\"E1\"/>";
  for (const int count : {2, 20, 300'000}) {
    std::string references;
    for (int i = 0; i < count; ++i) references += reference;
    EXPECT_THAT(Read(With(kMzid, reference, references)).at(0).m_proteins,
                ElementsAre("sp|P1|A", "XXX_P2"))
        << count;
  }
}

TEST_F(PsmReaders, AnItemHasNoMoreThan100000Proteins) {
  const auto with = [](int proteins) {  // one more than XXX_P2
    std::string declared, references;
    for (int i = 1; i < proteins; ++i) {
      const std::string id = std::to_string(i);
      declared += "<DBSequence id=\"M" + id + "\" accession=\"m" + id +
                  "\"/><PeptideEvidence id=\"F" + id + "\" dBSequence_ref=\"M" + id + "\"/>";
      references += "<PeptideEvidenceRef peptideEvidence_ref=\"F" + id + "\"/>";
    }
    return With(With(kMzid, "</SequenceCollection>", declared + "</SequenceCollection>"),
                "<PeptideEvidenceRef peptideEvidence_ref=\"E1\"/>", references);
  };
  EXPECT_EQ(Read(with(100'000)).at(0).m_proteins.size(), 100'000u);
  EXPECT_THAT(Message(with(100'001)),
              EndsWith("a match of more than 100000 proteins, which cannot be"));
}

// A file cut anywhere may only give an error or fewer matches.
TEST_F(PsmReaders, BearACutAnywhere) {
  for (const std::string& whole : {kComet, kPin, kTandem, kFragger, kSage, kMsGf, kMzid}) {
    const std::size_t count = Read(whole).size();
    // Each file takes time; the steps still reach every column and element.
    const std::size_t step = whole.starts_with('<') ? 13 : 3;
    for (std::size_t size = 0; size < whole.size(); size += step) {
      const std::string cut = whole.substr(0, size);
      std::size_t found = 0;
      const std::string message = MessageOf([&] { found = Read(cut).size(); });
      if (message == test::kNothingThrown)
        EXPECT_LE(found, count) << size;
      else
        EXPECT_THAT(message, HasSubstr(m_directory / "result")) << size;
    }
  }
}

}  // namespace
}  // namespace tarvek::tools
