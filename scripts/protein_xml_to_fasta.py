#!/usr/bin/env python3
"""Proteins of a UniProt-style XML file as FASTA, for engines that read no XML.

    scripts/protein_xml_to_fasta.py proteins.xml[.gz] OUT.fasta [--decoys]

With --decoys each protein is followed by its reversed sequence under the name DECOY_ + accession, for
engines that make no decoys themselves (X!Tandem, for one; Comet makes its own).
"""
import argparse
import gzip
import pathlib
import xml.etree.ElementTree as ElementTree

UNIPROT = "{http://uniprot.org/uniprot}"


def read_proteins(path):
    """Yields (accession, name, sequence) of each entry; its memory is given back."""
    opener = gzip.open if path.suffix == ".gz" else open
    with opener(path, "rb") as stream:
        for _, entry in ElementTree.iterparse(stream):
            if entry.tag != UNIPROT + "entry":
                continue
            sequence = "".join(entry.findtext(UNIPROT + "sequence").split())
            yield entry.findtext(UNIPROT + "accession"), entry.findtext(UNIPROT + "name"), sequence
            entry.clear()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("xml", type=pathlib.Path)
    parser.add_argument("fasta", type=pathlib.Path)
    parser.add_argument("--decoys", action="store_true")
    options = parser.parse_args()
    count = 0
    with open(options.fasta, "w", encoding="ascii", errors="replace") as out:
        for accession, name, sequence in read_proteins(options.xml):
            out.write(f">{accession} {name}\n{sequence}\n")
            if options.decoys:
                out.write(f">DECOY_{accession} reversed\n{sequence[::-1]}\n")
            count += 1
    print(f"{count} proteins{' and as many decoys' if options.decoys else ''} in {options.fasta}")


if __name__ == "__main__":
    main()
