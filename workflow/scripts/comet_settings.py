"""Comet's parameters as the configuration names them."""
import difflib
import re

from configuration import count_of, number_of, text_of, words_of

# As the list at the end of Comet's parameter file calls them.
ENZYMES = ("No_enzyme", "Trypsin", "Trypsin/P", "Lys_C", "Lys_N", "Arg_C", "Asp_N", "CNBr", "Glu_C", "PepsinA",
           "Chymotrypsin")
RESIDUES = {"G": "glycine", "A": "alanine", "S": "serine", "P": "proline", "V": "valine", "T": "threonine",
            "C": "cysteine", "L": "leucine", "I": "isoleucine", "N": "asparagine", "D": "aspartic_acid",
            "Q": "glutamine", "K": "lysine", "E": "glutamic_acid", "M": "methionine", "H": "histidine",
            "F": "phenylalanine", "U": "selenocysteine", "R": "arginine", "Y": "tyrosine", "W": "tryptophan"}
# Place -> Comet's parameter of a fixed modification, and the fields of a variable one behind its mass: residues,
# not all or none, how many of a peptide, distance from a terminus (-1 any) and which one, not required, no loss.
TERMINI = {"N-term": ("add_Nterm_peptide", "n 0 1 -1 0 0 0.0"),
           "C-term": ("add_Cterm_peptide", "c 0 1 -1 0 0 0.0"),
           "protein-N-term": ("add_Nterm_protein", "n 0 1 0 0 0 0.0"),
           "protein-C-term": ("add_Cterm_protein", "c 0 1 0 1 0 0.0")}
VARIABLE_SLOTS = 9
# Label -> mass in Da that it adds (Unimod 737 and 2016), and the m/z where its reporter ions end.
LABELS = {"TMT": (229.162932, 131.5), "TMTpro": (304.207146, 135.5)}
REPORTERS_BEGIN_MZ = 125.5


def modifications_of(config, name):
    """(place, mass as text) of each modification: residues such as STY, or one of TERMINI."""
    found = []
    for word in words_of(config, name):
        parts = re.fullmatch(r"([A-Z]+|N-term|C-term|protein-N-term|protein-C-term)([+-][0-9]+(?:\.[0-9]+)?)", word)
        if parts is None:
            raise SystemExit(f"{name}: '{word}' is not like C+57.021464, STY+79.966331, N-term+43.005814 or "
                             "protein-N-term+42.010565")
        place, mass = parts.groups()
        if place not in TERMINI and not set(place) <= set(RESIDUES):
            raise SystemExit(f"{name}: '{word}' has letters that stand for no amino acid")
        if float(mass) == 0:
            raise SystemExit(f"{name}: '{word}' changes nothing")
        found.append((place, mass))
    return found


def fixed_modifications(config):
    """Comet's parameter -> mass. All that are not named are 0, also what Comet itself would set."""
    masses = {f"add_{letter}_{residue}": "0.0" for letter, residue in RESIDUES.items()}
    masses |= {parameter: "0.0" for parameter, _ in TERMINI.values()}
    named = set()
    for places, mass in modifications_of(config, "fixed_modifications"):
        for place in [places] if places in TERMINI else places:
            parameter = TERMINI[place][0] if place in TERMINI else f"add_{place}_{RESIDUES[place]}"
            if parameter in named:
                raise SystemExit(f"fixed_modifications: two of them change {place}")
            named.add(parameter)
            masses[parameter] = f"{float(mass)}"
    return masses


def variable_modifications(config):
    found = modifications_of(config, "variable_modifications")
    if len(found) > VARIABLE_SLOTS:
        raise SystemExit(f"variable_modifications: {len(found)} of them, and Comet takes {VARIABLE_SLOTS}")
    slots = [f"{float(mass)} {TERMINI[place][1] if place in TERMINI else f'{place} 0 3 -1 0 0 0.0'}"
             for place, mass in found]
    slots += ["0.0 X 0 3 -1 0 0 0.0"] * (VARIABLE_SLOTS - len(slots))
    return {f"variable_mod{place:02d}": slot for place, slot in enumerate(slots, 1)}


def label(config, fixed):
    """The label on K and the N termini of peptides; its reporter ions are no fragments. fixed: what
    fixed_modifications gives."""
    name = text_of(config, "tmt")
    if not name:
        return {}
    if name not in LABELS:
        raise SystemExit(f"tmt is '{name}' and neither empty nor {' nor '.join(LABELS)}")
    mass, reporters_end_mz = LABELS[name]
    for parameter, place in (("add_K_lysine", "K"), ("add_Nterm_peptide", "N-term")):
        if float(fixed[parameter]):
            raise SystemExit(f"fixed_modifications: {place} has the label of tmt already")
    return {"add_K_lysine": f"{mass}", "add_Nterm_peptide": f"{mass}",
            "clear_mz_range": f"{REPORTERS_BEGIN_MZ} {reporters_end_mz}"}


def enzyme(config):
    name = text_of(config, "enzyme")
    if name not in ENZYMES:
        near = difflib.get_close_matches(name, ENZYMES, 1)
        raise SystemExit(f"enzyme is '{name}' and none of {', '.join(ENZYMES)}" +
                         (f"; did you mean {near[0]}?" if near else ""))
    return {"search_enzyme_number": name, "sample_enzyme_number": name}


def comet_settings(config):
    """What every search of this configuration has: "parameters", Comet's name -> text (of an enzyme its name), and
    "fragment_tolerance", width of the bins in Da, of FT and IT spectra."""
    fixed = fixed_modifications(config)
    return {"parameters": {**fixed, **variable_modifications(config), **label(config, fixed), **enzyme(config),
                           "allowed_missed_cleavage": str(count_of(config, "missed_cleavages", 0, 5)),
                           "peptide_mass_tolerance": f"{number_of(config, 'precursor_ppm', 0.01, 1000):g}"},
            "fragment_tolerance": {kind: number_of(config, f"fragment_da_{kind.lower()}", 0.005, 2)
                                   for kind in ("FT", "IT")}}
