#!/usr/bin/env python3
"""Copies an mzML or mzXML file as a poor converter would have written it.

    without_words.py WHAT FROM[.gz] TO

WHAT names by letters what to remove: f filter lines, a analysers, d detectors, m instrument models,
x dissociation methods; q calls every analyser a quadrupole. The exit status is 1 when a letter
changes nothing.
"""
import gzip
import re
import sys

ANALYSERS = "1000484|1000079|1003379|1000264|1000291|1000082|1000083|1000078|1000084"
METHODS = "1000422|1000133|1002481|1002472|1000598|1002678|1002679|1002631"
MODELS = r'accession="(MS:\d+)"[^>]*name="(?:LTQ|Orbitrap|Q Exactive)'
QUADRUPOLE = '<cvParam cvRef="MS" accession="MS:1000081" name="quadrupole" value=""/>'


def param(accessions):
    return rf"<cvParam[^>]*MS:(?:{accessions})\"[^>]*/>"


def changes_of(letter, text):
    """[(pattern, replacement)]."""
    if letter == "f":
        return [(param("1000512"), ""), (r'<userParam[^>]*"filter string"[^>]*/>', ""), (r' filterLine="[^"]*"', "")]
    if letter == "a":
        return [(param(ANALYSERS), ""), (r"<msMassAnalyzer [^>]*/>", "")]
    if letter == "q":
        return [(param(ANALYSERS), QUADRUPOLE), (r'(category="msMassAnalyzer" value=)"[^"]*"', r'\1"quadrupole"')]
    if letter == "d":
        return [(param("1000624"), ""), (r"<msDetector [^>]*/>", "")]
    if letter == "m":
        models = "|".join(sorted({found[3:] for found in re.findall(MODELS, text)})) or "no model"
        return [(param(models), ""), (r'<userParam[^>]*"instrument model"[^>]*/>', ""), (r"<msModel [^>]*/>", "")]
    if letter == "x":
        return [(param(METHODS), ""), (r' activationMethod="[^"]*"', "")]
    raise ValueError(letter)


def main(letters, source, target):
    opened = gzip.open if source.endswith(".gz") else open
    with opened(source, "rt", encoding="latin-1") as file:
        text = file.read()
    total = 0
    for letter in letters:
        for pattern, replacement in changes_of(letter, text):
            text, count = re.subn(pattern, replacement, text)
            total += count
    with open(target, "w", encoding="latin-1") as file:
        file.write(text)
    return 0 if total > 0 else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
