#!/usr/bin/env python3
"""Proteins of a UniProt-style XML file as FASTA, for engines that read no XML.

    protein_xml_to_fasta.py proteins.xml[.gz] OUT.fasta [--decoys]

With --decoys each protein is followed by its reversed sequence under the name DECOY_ + accession, for
engines that make no decoys themselves (X!Tandem, for one; Comet makes its own). Elements are
recognised without the namespace, which has changed over the years. A file without entries, or with
an entry that lacks its sequence, is an error, and nothing of OUT.fasta is written then.
"""
import argparse
import gzip
import os
import pathlib
import xml.etree.ElementTree as ElementTree
import zlib


def local_name(element):
    return element.tag.rsplit("}", 1)[-1]


def text_of(entry, name):
    """Text of the first child of that name without white space around it; empty without one."""
    return next(((child.text or "").strip() for child in entry if local_name(child) == name), "")


def read_proteins(path):
    """Yields (accession, name, sequence) of each entry and frees its memory. Ends with a message
    that names the file when it is not such a file."""
    opener = gzip.open if path.suffix == ".gz" else open
    count = 0
    try:
        with opener(path, "rb") as stream:
            for _, entry in ElementTree.iterparse(stream):
                if local_name(entry) != "entry":
                    continue
                count += 1
                accession, sequence = text_of(entry, "accession"), "".join(text_of(entry, "sequence").split())
                if not accession or not sequence:
                    raise SystemExit(f"{path}: entry {count} ({accession or 'without accession'}) has no "
                                     f"{'sequence' if accession else 'accession'}")
                yield accession, text_of(entry, "name"), sequence
                entry.clear()
    except (OSError, EOFError, zlib.error, ElementTree.ParseError) as error:
        raise SystemExit(f"{path}: {error}") from error
    if count == 0:
        raise SystemExit(f"{path}: no protein entries")


def write_fasta(xml, fasta, decoys=False):
    """Number of proteins. fasta gets its name when it is complete."""
    unfinished = pathlib.Path(f"{fasta}_unfinished")
    count = 0
    try:
        with open(unfinished, "w", encoding="ascii", errors="replace") as out:
            for accession, name, sequence in read_proteins(xml):
                out.write(f">{accession} {name}\n{sequence}\n")
                if decoys:
                    out.write(f">DECOY_{accession} reversed\n{sequence[::-1]}\n")
                count += 1
        os.replace(unfinished, fasta)
    finally:
        unfinished.unlink(missing_ok=True)
    return count


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("xml", type=pathlib.Path)
    parser.add_argument("fasta", type=pathlib.Path)
    parser.add_argument("--decoys", action="store_true")
    options = parser.parse_args()
    count = write_fasta(options.xml, options.fasta, options.decoys)
    print(f"{count} proteins{' and as many decoys' if options.decoys else ''} in {options.fasta}")


if __name__ == "__main__":
    main()
