"""Small good files of every format that a program reads; the hostile ones are made of them."""
import base64
import struct
import zlib


def packed(numbers, bits=64, order="<"):
    return struct.pack(f"{order}{len(numbers)}{'d' if bits == 64 else 'f'}", *numbers)


def text_of(raw):
    return base64.b64encode(raw).decode()


# Two isotope envelopes of charge 2 and one of charge 3.
SURVEY_MZ = [400.2, 500.25, 500.7517, 501.2533, 501.755, 620.3, 620.6345, 620.9690, 700.1]
SURVEY_INTENSITY = [10.0, 900.0, 500.0, 180.0, 50.0, 400.0, 380.0, 190.0, 20.0]
FRAGMENT_MZ = [175.119, 310.2, 455.3, 602.4]
FRAGMENT_INTENSITY = [100.0, 60.5, 80.0, 33.3]


def array(kind, numbers, attributes=""):
    word = "m/z array" if kind == 1000514 else "intensity array"
    text = text_of(packed(numbers))
    return (f'<binaryDataArray encodedLength="{len(text)}"{attributes}>'
            '<cvParam cvRef="MS" accession="MS:1000523" name="64-bit float" value=""/>'
            '<cvParam cvRef="MS" accession="MS:1000576" name="no compression" value=""/>'
            f'<cvParam cvRef="MS" accession="MS:{kind}" name="{word}" value=""/>'
            f"<binary>{text}</binary></binaryDataArray>")


def param(accession, name, value="", unit=""):
    unit = f' unitCvRef="UO" unitAccession="{unit}" unitName="minute"' if unit else ""
    return f'<cvParam cvRef="MS" accession="MS:{accession}" name="{name}" value="{value}"{unit}/>'


def scan_list(minutes):
    return ('<scanList count="1">' + param(1000795, "no combination") +
            '<scan instrumentConfigurationRef="IC1">' + param(1000016, "scan start time", minutes, "UO:0000031") +
            param(1000512, "filter string", "FTMS + c NSI Full ms") + param(1000927, "ion injection time", "10.5") +
            '<scanWindowList count="1"><scanWindow>' + param(1000501, "scan window lower limit", "300") +
            param(1000500, "scan window upper limit", "2000") + "</scanWindow></scanWindowList></scan></scanList>")


def precursor_list(mz, charge):
    return ('<precursorList count="1"><precursor spectrumRef="scan=1"><isolationWindow>' +
            param(1000827, "isolation window target m/z", mz) + param(1000828, "isolation window lower offset", "1") +
            param(1000829, "isolation window upper offset", "1") +
            '</isolationWindow><selectedIonList count="1"><selectedIon>' + param(1000744, "selected ion m/z", mz) +
            param(1000041, "charge state", charge) + param(1000633, "possible charge state", charge) +
            param(1000042, "peak intensity", "900") + "</selectedIon></selectedIonList><activation>" +
            param(1000422, "beam-type collision-induced dissociation") + param(1000045, "collision energy", "30") +
            "</activation></precursor></precursorList>"
            '<productList count="1"><product><isolationWindow>' + param(1000827, "isolation window target m/z", "175") +
            "</isolationWindow></product></productList>")


def spectrum(index, level, mz, intensity, extra=""):
    group = '<referenceableParamGroupRef ref="G1"/>' if level == 1 else ""
    return (f'<spectrum index="{index}" id="scan={index + 1}" defaultArrayLength="{len(mz)}">' + group +
            param(1000511, "ms level", level) + param(1000127, "centroid spectrum") + param(1000130, "positive scan") +
            '<userParam name="note" value="small" type="xsd:string"/>' + scan_list(1.0 + index / 100) + extra +
            '<binaryDataArrayList count="2">' + array(1000514, mz) + array(1000515, intensity) +
            "</binaryDataArrayList></spectrum>")


GOOD_ROWS = 2  # of the precursor table of mzml()


def mzml(spectra=None):
    """An mzML file with every element that the reader asks for, without white space between them."""
    if spectra is None:
        spectra = [spectrum(0, 1, SURVEY_MZ, SURVEY_INTENSITY),
                   spectrum(1, 2, FRAGMENT_MZ, FRAGMENT_INTENSITY, precursor_list("500.25", "2")),
                   spectrum(2, 2, FRAGMENT_MZ, FRAGMENT_INTENSITY, precursor_list("620.3", "3")),
                   spectrum(3, 1, SURVEY_MZ, SURVEY_INTENSITY)]
    return ('<mzML version="1.1.0" id="small"><cvList count="2">'
            '<cv id="MS" fullName="PSI-MS" version="4" URI="u"/><cv id="UO" fullName="UO" version="1" URI="u"/></cvList>'
            "<fileDescription><fileContent>" + param(1000579, "MS1 spectrum") + "</fileContent>"
            '<sourceFileList count="1"><sourceFile id="S1" name="small.raw" location="file:///">' +
            param(1000768, "Thermo nativeID format") + "</sourceFile></sourceFileList>"
            '<contact><userParam name="who"/></contact></fileDescription>'
            '<referenceableParamGroupList count="1"><referenceableParamGroup id="G1">' +
            param(1000128, "profile spectrum") + "</referenceableParamGroup></referenceableParamGroupList>"
            '<sampleList count="1"><sample id="SA1" name="sample"/></sampleList>'
            '<softwareList count="1"><software id="SW1" version="1">' + param(1000799, "custom") +
            "</software></softwareList>"
            '<scanSettingsList count="1"><scanSettings id="SS1"><sourceFileRefList count="1">'
            '<sourceFileRef ref="S1"/></sourceFileRefList><targetList count="1"><target>' +
            param(1000744, "selected ion m/z", "500") + "</target></targetList></scanSettings></scanSettingsList>"
            '<instrumentConfigurationList count="1"><instrumentConfiguration id="IC1" scanSettingsRef="SS1">' +
            param(1001742, "LTQ Orbitrap Velos") + '<componentList count="3"><source order="1">' +
            param(1000398, "nanoelectrospray") + '</source><analyzer order="2">' + param(1000484, "orbitrap") +
            '</analyzer><detector order="3">' + param(1000624, "inductive detector") + "</detector></componentList>"
            '<softwareRef ref="SW1"/></instrumentConfiguration></instrumentConfigurationList>'
            '<dataProcessingList count="1"><dataProcessing id="DP1"><processingMethod order="0" softwareRef="SW1">' +
            param(1000544, "conversion to mzML") + "</processingMethod></dataProcessing></dataProcessingList>"
            '<run id="run" defaultInstrumentConfigurationRef="IC1">'
            f'<spectrumList count="{len(spectra)}" defaultDataProcessingRef="DP1">' + "".join(spectra) +
            '</spectrumList><chromatogramList count="1" defaultDataProcessingRef="DP1">'
            '<chromatogram index="0" id="TIC" defaultArrayLength="1">' + param(1000235, "total ion current") +
            '<binaryDataArrayList count="1">' + array(1000515, [1.0]) +
            "</binaryDataArrayList></chromatogram></chromatogramList></run></mzML>")


def pairs(mz, intensity):
    return text_of(packed([value for pair in zip(mz, intensity) for value in pair], 32, ">"))


def mzxml():
    """The same spectra as mzXML."""
    survey, fragment = pairs(SURVEY_MZ, SURVEY_INTENSITY), pairs(FRAGMENT_MZ, FRAGMENT_INTENSITY)

    def ms2(number, mz, charge):
        return (f'<scan num="{number}" msLevel="2" peaksCount="4" retentionTime="PT6{number}.0S" polarity="+" '
                'centroided="1" ionInjectionTime="10.5" msInstrumentID="1" filterLine="FTMS + c">'
                f'<precursorMz precursorScanNum="1" precursorCharge="{charge}" possibleCharges="2,3" '
                f'activationMethod="HCD" windowWideness="2.0" precursorIntensity="900">{mz}</precursorMz>'
                '<peaks precision="32" byteOrder="network" contentType="m/z-int" compressionType="none" '
                f'compressedLen="0">{fragment}</peaks><nameValue name="n" value="v"/></scan>')

    return ('<mzXML><msRun scanCount="3" startTime="PT60S" endTime="PT70S">'
            '<parentFile fileName="small.raw" fileType="RAWData" fileSha1="0"/>'
            '<msInstrument msInstrumentID="1"><msManufacturer category="msManufacturer" value="Thermo"/>'
            '<msModel category="msModel" value="LTQ Orbitrap Velos"/><msIonisation category="i" value="NSI"/>'
            '<msMassAnalyzer category="a" value="orbitrap"/><msDetector category="d" value="inductive"/>'
            '<msResolution category="r" value="1"/><software type="acquisition" name="X" version="1"/>'
            '<operator first="A" last="B"/></msInstrument><dataProcessing centroided="1">'
            '<software type="conversion" name="X" version="1"/><processingOperation name="p"/><comment>c</comment>'
            '</dataProcessing><scan num="1" msLevel="1" peaksCount="9" retentionTime="PT61.0S" polarity="+" '
            'centroided="1" msInstrumentID="1"><scanOrigin parentFileID="0" num="1"/>'
            f'<peaks precision="32" byteOrder="network" contentType="m/z-int" compressionType="none">{survey}</peaks>' +
            ms2(2, "500.25", 2) + ms2(3, "620.3", 3) + "</scan></msRun>"
            '<index name="scan"><offset id="1">1</offset></index><indexOffset>1</indexOffset><sha1>0</sha1></mzXML>')


HEAD = ("H\tCreationDate\tSat Nov 14 23:38:05 2026\nH\tExtractor\tTarvek\nH\tExtractorVersion\t2.0.8\n"
        "H\tComments\tnone\nH\tDataType\tCentroided\n")


def ms1():
    peaks = "".join(f"{mz:.5f} {height:.1f}\n" for mz, height in zip(SURVEY_MZ, SURVEY_INTENSITY))
    return HEAD + "".join(f"S\t{number}\t{number}\nI\tRetTime\t{60 + number}.0\nI\tIonInjectionTime\t10.5\n"
                          f"I\tInstrumentType\tFTMS\n{peaks}" for number in (1, 4))


def ms2():
    peaks = "".join(f"{mz:.5f} {height:.1f}\n" for mz, height in zip(FRAGMENT_MZ, FRAGMENT_INTENSITY))
    return HEAD + "".join(f"S\t{number}\t{number}\t{mz}\nI\tRetTime\t{60 + number}.0\nI\tIonInjectionTime\t10.5\n"
                          "I\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n"
                          f"I\tActivationCenter\t{mz}\nI\tPrecursorScan\t1\n"
                          f"Z\t{charge}\t{(mz - 1.007276) * charge + 1.007276:.6f}\n{peaks}"
                          for number, mz, charge in ((2, 500.25, 2), (3, 620.3, 3)))


def msb():
    def record(number, mz, intensity):
        return struct.pack("<ii", number, len(mz)) + packed(mz) + packed(intensity)
    return b"".join([record(1, SURVEY_MZ, SURVEY_INTENSITY), record(2, FRAGMENT_MZ, FRAGMENT_INTENSITY),
                     record(3, FRAGMENT_MZ, FRAGMENT_INTENSITY)])


def mscsv():
    columns = ("ScanNo PrecursorScan activationCenter RetTime IonInjectionTime activationType InstrumentType "
               "NumberofPeaks StartPos EndPos lowerCharge monoIsotopicMz").split()
    rows = [columns, "1 -1 0 61 10.5 none FT 9 0 152 0 0".split(), "2 1 500.25 62 10.5 HCD FT 4 152 224 2 500.25".split(),
            "3 1 620.3 63 10.5 HCD FT 4 224 296 3 620.3".split()]
    return "".join("\t".join(row) + "\n" for row in rows)


def mgf():
    peaks = "".join(f"{mz:.5f} {height:.1f}\n" for mz, height in zip(FRAGMENT_MZ, FRAGMENT_INTENSITY))
    return "".join(f"BEGIN IONS\nTITLE=run.{scan}.{scan}.{charge}.0.dta\nCHARGE={charge}+\nRTINSECONDS=62.0\n"
                   f"PEPMASS={mz:.6f}\n{peaks}END IONS\n" for scan, charge, mz in ((2, 2, 500.25), (3, 3, 620.3)))


def params(data_path, out):
    return ("# settings\n[User Defined Parameter]\ndatanum = 1\n"
            f"datapath1 = {data_path}\noutputpath = {out}\ninput_format = mzML\ncharge_range = 2t6\n"
            "isolation_width = 2\nmars_model = 4\nmars_threshold = -0.34\nrewrite_files = 1\nm/z = 5\nintensity = 1\n"
            "co-elute = 1\noutput_mgf = 1\noutput_pf = 1\noutput_msb = 0\nmstol = 20\nmstolppm = 1\n")


COMET = ("CometVersion 2019.01 rev. 5\tsearch/run_HCDFT\t11/22/2026, 08:43:00 AM\tall.fasta\n"
         "scan\tnum\tcharge\texp_neutral_mass\tcalc_neutral_mass\te-value\txcorr\tdelta_cn\tsp_score\tions_matched\t"
         "ions_total\tplain_peptide\tmodified_peptide\tprev_aa\tnext_aa\tprotein\tprotein_count\tmodifications\n"
         "2\t1\t2\t998.485\t998.486\t7.4E-06\t2.0\t0.6\t418.0\t10\t20\tGLGLDDALEPR\tR.GLGLDDALEPR.Q\tR\tQ\tP1\t1\t-\t\n"
         "3\t1\t3\t1857.88\t1857.88\t6.9E+01\t0.3\t0.2\t10.1\t3\t22\tCPVAAGSPGVIK\tK.CPVAAGSPGVIK.V\tK\tV\tDECOY_P2\t1\t-\t\n")
PIN = ("SpecId\tLabel\tScanNr\tExpMass\tCalcMass\tlnrSp\tdeltLCn\tdeltCn\tlnExpect\tXcorr\tSp\tPeptide\tProteins\n"
       "run_HCDFT_2_2_1\t1\t2\t999.49\t999.49\t0.0\t0.8\t0.6\t-11.8\t2.0\t418\tR.GLGLDDALEPR.Q\tP1\n"
       "run_HCDFT_3_3_1\t-1\t3\t1858.88\t1858.88\t0.6\t0.6\t0.4\t1.3\t0.6\t109\tK.FEDENMFILK.H\tDECOY_P1\n")
TANDEM = ('<?xml version="1.0"?><bioml label="models"><group id="1" mh="999.49" z="2" rt="62" expect="3.0e-08" '
          'label="P1" type="model" act="0"><protein expect="-7" id="1.1" uid="1" label="P1" sumI="6"><note '
          'label="description">P1</note><file type="peptide" URL="all.fasta"/><peptide start="1" end="40"><domain '
          'id="1.1.1" start="30" end="40" expect="3.0e-08" mh="999.49" delta="0" hyperscore="44" nextscore="21" '
          'pre="R" post="Q" seq="GLGLDDALEPR" missed_cleavages="0"><aa type="G" at="32" modified="15.9"/></domain>'
          '</peptide></protein><group type="support" label="fragment ion mass spectrum"><note label="Description">'
          'run.2.2.2.0.dta</note></group></group></bioml>')
MZIDENTML = ('<MzIdentML version="1.1.0"><SequenceCollection><DBSequence id="D1" accession="P1" searchDatabase_ref="S"/>'
             '<Peptide id="PE1"><PeptideSequence>GLGLDDALEPR</PeptideSequence></Peptide>'
             '<PeptideEvidence id="EV1" dBSequence_ref="D1" peptide_ref="PE1" isDecoy="false"/></SequenceCollection>'
             '<DataCollection><Inputs><SpectraData id="SD1" location="run_HCDFT.mgf"/></Inputs><AnalysisData>'
             '<SpectrumIdentificationList id="L1"><SpectrumIdentificationResult id="R1" spectrumID="index=0" '
             'spectraData_ref="SD1"><SpectrumIdentificationItem id="I1" rank="1" chargeState="2" '
             'experimentalMassToCharge="500.25" calculatedMassToCharge="500.25" peptide_ref="PE1" passThreshold="true">'
             '<PeptideEvidenceRef peptideEvidence_ref="EV1"/><cvParam accession="MS:1002052" name="MS-GF:SpecEValue" '
             'value="1e-10"/></SpectrumIdentificationItem><cvParam accession="MS:1000796" name="spectrum title" '
             'value="run.2.2.2.0.dta"/></SpectrumIdentificationResult></SpectrumIdentificationList></AnalysisData>'
             '</DataCollection></MzIdentML>')
SAGE = ("psm_id\tpeptide\tproteins\tnum_proteins\tfilename\tscannr\trank\tlabel\texpmass\tcalcmass\tcharge\tpeptide_len\t"
        "hyperscore\tsage_discriminant_score\n"
        "1\tGLGLDDALEPR\tP1\t1\trun_HCDFT.mgf\trun.2.2.2.0.dta\t1\t1\t998.485\t998.485\t2\t11\t44.0\t1.5\n"
        "2\tFEDENMFILK\trev_P1\t1\trun_HCDFT.mgf\trun.3.3.3.0.dta\t1\t-1\t1857.88\t1857.88\t3\t10\t4.0\t-1.5\n")
TRUTH = ("scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\tisolated_current\n"
         "2\t500.25\t2\t0.99\t1\tGLGLDDALEPR\t0\t500.25\t2\t900.0\n"
         "3\t620.3\t3\t0.99\t1\tFEDENMFILK\t0\t620.3\t3\t400.0\n")
