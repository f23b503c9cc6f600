// Hostile results: the time that they take follows their size, and 256 MB suffice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ExtractorTestSupport.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

using extractor::test::Gzipped;
using test::ProcessResult;
using testing::EndsWith;

constexpr std::size_t kMb = std::size_t{1} << 20;

class PsmsBoundedWork : public testing::Test {
 protected:
  [[nodiscard]] ProcessResult Count(const std::string& content,
                                    const std::string& name = "r.gz") const {
    test::WriteFile(m_directory / name, name.ends_with(".gz") ? Gzipped(content) : content);
    return RunProcess(InLittleMemory(test::ToolsRequest(
        {"psms", name, "--all", "--no-plus-one", "--json", "-o", "out.tsv"}, m_directory.Path())));
  }

  void ExpectError(const std::string& content, const std::string& error,
                   const std::string& name = "r.gz") const {
    const ProcessResult result = Count(content, name);
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_LT(result.m_cpu_seconds, 20.0);
    EXPECT_THAT(result.m_err, testing::StartsWith("tarvek-tools: " + name));
    EXPECT_THAT(result.m_err, EndsWith(error + "\n"));
  }

  [[nodiscard]] double SecondsOf(const std::string& content) const {
    const ProcessResult result = Count(content);
    EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
    EXPECT_LT(result.m_cpu_seconds, 20.0);
    return std::min(result.m_cpu_seconds, Count(content).m_cpu_seconds);
  }

  /// Four times the work takes four times the time; where it grows with the square, sixteen times.
  template <class MakeFile>
  void ExpectLinear(MakeFile make_file, int count) const {
    constexpr double kStart = 0.02;  // of the program, and of what the clock does not see
    const double once = SecondsOf(make_file(count));
    EXPECT_LT(SecondsOf(make_file(4 * count)), 8.0 * (once + kStart)) << once;
  }

  test::TemporaryDirectory m_directory;
};

std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (; count > 0; --count) all += text;
  return all;
}

// ------------------------------------------------------------ mzIdentML

std::string Protein(const std::string& id, const std::string& name) {
  return "<DBSequence id=\"D" + id + "\" accession=\"" + name + "\"/><PeptideEvidence id=\"E" + id +
         "\" dBSequence_ref=\"D" + id + "\"/>";
}

std::string Reference(const std::string& id) {
  return "<PeptideEvidenceRef peptideEvidence_ref=\"E" + id + "\"/>";
}

std::string Item(const std::string& references, int score = 1) {
  return "<SpectrumIdentificationItem rank=\"1\" peptide_ref=\"P\" experimentalMassToCharge=\"501\""
         " chargeState=\"2\">" +
         references + "<cvParam accession=\"MS:1002052\" value=\"" + std::to_string(score) +
         "\"/></SpectrumIdentificationItem>";
}

std::string Result(int scan, const std::string& items) {
  return "<SpectrumIdentificationResult spectrumID=\"scan=" + std::to_string(scan) + "\">" + items +
         "</SpectrumIdentificationResult>";
}

/// With the peptide P, and a decoy for the scan 9.
std::string Mzid(const std::string& declared, const std::string& results,
                 const std::string& sequence = "PEPTIDEK") {
  return "<MzIdentML><Peptide id=\"P\"><PeptideSequence>" + sequence +
         "</PeptideSequence></Peptide>" + Protein("rev", "rev_P") + declared + results +
         Result(9, Item(Reference("rev"))) + "</MzIdentML>";
}

TEST_F(PsmsBoundedWork, OfAnItemOfManyProteinsFollowsTheirNumber) {
  ExpectLinear(
      [](int proteins) {
        std::string declared, references;
        for (int i = 0; i < proteins; ++i) {
          declared += Protein(std::to_string(i), "p" + std::to_string(i));
          references += Reference(std::to_string(i));
        }
        return Mzid(declared, Result(1, Item(references)));
      },
      22'000);
}

TEST_F(PsmsBoundedWork, OfManyReferencesToOneProteinFollowsTheirNumber) {
  ExpectLinear(
      [](int count) {
        return Mzid(Protein("1", "p"), Result(1, Item(Repeated(Reference("1"), count))));
      },
      200'000);
}

TEST_F(PsmsBoundedWork, RefusesASequenceOf128Mb) {
  ExpectError(Mzid("", "", std::string(128 * kMb, 'A')),
              "a peptide of more than 100000 bytes, which cannot be");
}

TEST_F(PsmsBoundedWork, RefusesMoreThanAFileOfItsSizeCanKeep) {
  const std::string error = "the file has more proteins and peptides than one of its size can";
  std::string long_ids, proteins, peptides;
  for (int i = 0; i < 90'000; ++i)
    long_ids += Protein(std::to_string(i) + std::string(1'000, 'i'), "p");
  for (int i = 0; i < 600'000; ++i) proteins += "<DBSequence id=\"" + std::to_string(i) + "\"/>";
  for (int i = 0; i < 500'000; ++i) peptides += "<Peptide id=\"" + std::to_string(i) + "\"/>";
  ExpectError(Mzid(long_ids, ""), error);
  ExpectError(Mzid(proteins, ""), error);
  ExpectError(Mzid(peptides, ""), error);
}

TEST_F(PsmsBoundedWork, TakesAnyNumberOfProteinsThatAreNotPacked) {
  std::string proteins;
  for (int i = 0; proteins.size() < 10'000'000; ++i)
    proteins += Protein(std::to_string(i), "sp|P" + std::to_string(i));
  const ProcessResult result = Count(Mzid(proteins, ""), "r.mzid");
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
}

TEST_F(PsmsBoundedWork, RefusesMoreMatchesThanAFileOfItsSizeCanHave) {
  std::string results;
  for (int scan = 10; scan < 300'000; ++scan) results += Result(scan, Item(""));
  ExpectError(Mzid("", results), "the file has more matches than one of its size can");
}

// From the reference to a character on, the slower parser reads.
TEST_F(PsmsBoundedWork, RefusesMoreElementsThanAFileOfItsSizeCanHave) {
  const std::string error = "the file has more elements than one of its size can";
  ExpectError(Mzid(Repeated("<a/>", 3'000'000), ""), error);
  ExpectError(Mzid("<a>&#65;</a>" + Repeated("<a/>", 3'000'000), ""), error);
  EXPECT_EQ(Count(Mzid(Repeated("<a/>", 1'900'000), "")).m_exit_status, 0);
}

TEST_F(PsmsBoundedWork, RefusesMoreMatchesThanASpectrumCanHave) {
  const std::string error = "the matches of a spectrum take more than 48 MB, which cannot be";
  ExpectError(Mzid("", Result(1, Repeated(Item(""), 1'000)), std::string(50'000, 'A')), error);
  std::string proteins, references;
  for (int i = 0; i < 100; ++i) {
    proteins += Protein(std::to_string(i), std::string(10'000, 'p') + std::to_string(i));
    references += Reference(std::to_string(i));
  }
  ExpectError(Mzid(proteins, Result(1, Repeated(Item(references), 60))), error);
  const std::string title =
      "<cvParam accession=\"MS:1000796\" value=\"" + std::string(90'000, 't') + "\"/>";
  ExpectError(Mzid("", Result(1, Repeated(Item(""), 1'000) + title)), error);
}

TEST_F(PsmsBoundedWork, RefusesMatchesThatRepeatLongTextsTooOften) {
  const std::string error =
      "the matches of the file repeat more text than those of one of its size can";
  ExpectError(Mzid(Protein("1", std::string(100'000, 'p')),
                   Result(1, Item(Repeated(Reference("1"), 10'000)))),
              error);
  std::string results;
  for (int scan = 10; scan < 5'000; ++scan) results += Result(scan, Item(""));
  ExpectError(Mzid("", results, std::string(99'000, 'A')), error);
}

// ------------------------------------------------------------ X!Tandem

std::string Domain(const std::string& protein, const std::string& sequence) {
  return "<protein label=\"" + protein +
         "\"><domain start=\"1\" expect=\"1\" mh=\"1000\" hyperscore=\"4\" seq=\"" + sequence +
         "\"/></protein>";
}

std::string Spectrum(int id, const std::string& domains, const std::string& title) {
  return "<group id=\"" + std::to_string(id) + "\" mh=\"1000\" z=\"2\" type=\"model\">" + domains +
         "<group><note label=\"Description\">" + title + "</note></group></group>";
}

std::string Tandem(const std::string& spectra) {
  return "<bioml>" + spectra + Spectrum(99, Domain("rev_P", "AAAK"), "r.9.9.2.0.dta") + "</bioml>";
}

TEST_F(PsmsBoundedWork, OfOnePeptideInManyProteinsFollowsTheirNumber) {
  ExpectLinear(
      [](int proteins) {
        std::string domains;
        for (int i = 0; i < proteins; ++i) domains += Domain("p" + std::to_string(i), "PEPTIDEK");
        return Tandem(Spectrum(1, domains, "r.1.1.2.0.dta"));
      },
      22'000);
}

TEST_F(PsmsBoundedWork, RefusesATitleOf128Mb) {
  ExpectError(Tandem(Spectrum(1, Domain("p", "AAK"), std::string(128 * kMb, 't'))),
              "a title of more than 100000 bytes, which cannot be");
}

TEST_F(PsmsBoundedWork, RefusesMoreDomainsThanASpectrumCanHave) {
  ExpectError(
      Tandem(Spectrum(1, Repeated(Domain(std::string(300, 'p'), "AAK"), 90'000), "r.1.1.2.0.dta")),
      "the matches of a spectrum take more than 48 MB, which cannot be");
}

TEST_F(PsmsBoundedWork, RefusesMoreNamesOfRunsThan16Mb) {
  std::string spectra;
  for (int i = 0; i < 18'000; ++i) {
    const std::string number = std::to_string(i);
    spectra += Spectrum(i, Domain("p", "AAK"),
                        number + std::string(1'000 - number.size(), 'r') + ".1.1.2.0.dta");
  }
  ExpectError(Tandem(spectra), "more than 16 MB of names of runs");
}

// ------------------------------------------------------------ tables

constexpr const char* kComet =
    "scan\tnum\tcharge\texp_neutral_mass\tcalc_neutral_mass\te-value\txcorr\tplain_peptide\t"
    "modified_peptide\tprotein\n9\t1\t2\t1000\t1000\t5\t1\tDDDK\tDDDK\trev_x";

TEST_F(PsmsBoundedWork, RefusesLinesOfTenMillionFieldsOrProteins) {
  const std::string fields = "more than 100000 fields, which cannot be.";
  ExpectError("exp_neutral_mass" + std::string(9'900'000, '\t'), fields, "r.txt");
  ExpectError(kComet + std::string(9'900'000, '\t'), fields, "r.txt");
  ExpectError(kComet + Repeated(",a", 4'900'000),
              "a match of more than 100000 proteins, which cannot be.", "r.txt");
}

}  // namespace
}  // namespace tarvek::tools
