"""The hostile inputs: every case is a name, the files that it puts into its folder, and the input that the
programs are given. Contents are made when a case is tried, so that the list is cheap. The seed decides the
random structures alone; all else is the same every time.
"""
import gzip
import io
import os
import random
import re
import struct
import xml.etree.ElementTree as ElementTree
import zlib

import samples

MEGABYTE = 1 << 20


class Case:
    """One hostile input.

    files: {path below the folder of the case: bytes, text, or a function that is given the path}.
    given: path of what the programs are given. kind: which programs, see roads.py.
    rows: how many rows the table must have when the input is good and only its name or its
    surroundings are odd; else None. options: of tarvek.
    """

    def __init__(self, name, kind, files, given, rows=None, options=()):
        self.name, self.kind, self.files, self.given = name, kind, files, given
        self.rows, self.options = rows, list(options)

    def prepare(self, folder):
        for path, content in self.files.items():
            place = os.path.join(os.fsencode(folder), os.fsencode(path))
            os.makedirs(os.path.dirname(place), exist_ok=True)
            if os.path.isdir(place) and not os.path.islink(place) and not os.listdir(place):
                os.rmdir(place)
            if callable(content):
                content = content(place)
            if content is None:
                continue
            if isinstance(content, str):
                content = content.encode()
            with open(place, "wb") as file:
                file.write(content)


def instrument(name, content, ending="mzML", **more):
    return Case(name, "instrument", {f"in/run.{ending}": content}, f"in/run.{ending}", **more)


# Structures of elements.

def tree_of(text):
    return ElementTree.fromstring(text)


def text_of(tree):
    return ElementTree.tostring(tree)


def parents_of(tree):
    return {child: parent for parent in tree.iter() for child in parent}


def copy_of(element):
    return ElementTree.fromstring(ElementTree.tostring(element))


def place_of(parent, element):
    return list(parent).index(element)


def removed(tree, element, parents):
    parents[element].remove(element)


def repeated(tree, element, parents):
    parents[element].insert(place_of(parents[element], element), copy_of(element))


def nested(tree, element, parents):
    element.append(copy_of(element))


def emptied(tree, element, parents):
    for child in list(element):
        element.remove(child)
    element.text = None
    element.attrib.clear()


def moved_up(tree, element, parents):
    parents[element].remove(element)
    tree.append(element)


def moved_before(tree, element, parents):
    parents[element].remove(element)
    tree.insert(0, element)


def moved_into_spectrum(tree, element, parents):
    holder = next((one for one in tree.iter() if one.tag in ("spectrum", "scan")), tree)
    if element in list(holder.iter()) or holder in list(element.iter()):
        holder = tree
    parents[element].remove(element)
    holder.append(element)


def unwrapped(tree, element, parents):
    parent = parents[element]
    place = place_of(parent, element)
    parent.remove(element)
    for offset, child in enumerate(list(element)):
        parent.insert(place + offset, child)


def renamed(tree, element, parents):
    element.tag = "unknown"


CHANGES = (removed, repeated, nested, emptied, moved_up, moved_before, moved_into_spectrum, unwrapped, renamed)


def changed_element(text, tag, place, change):
    tree = tree_of(text)
    element = [one for one in tree.iter(tag)][place]
    change(tree, element, parents_of(tree))
    return text_of(tree)


def structure_cases():
    for format_name, text in (("mzML", samples.mzml()), ("mzXML", samples.mzxml())):
        tree = tree_of(text)
        count = {}
        for element in tree.iter():
            count[element.tag] = count.get(element.tag, 0) + 1
        for tag in list(count)[1:]:
            for change in CHANGES:
                # Of an element that occurs often the last but one is in a fragment spectrum.
                place = max(count[tag] - 2, 0)
                yield instrument(f"structure/{format_name}/{tag}/{change.__name__}",
                                 lambda _, text=text, tag=tag, place=place, change=change:
                                 changed_element(text, tag, place, change), format_name)


def randomly_changed(text, seed):
    random_source = random.Random(seed)
    tree = tree_of(text)
    for _ in range(random_source.randint(2, 8)):
        parents = parents_of(tree)
        if not parents:
            break
        element = random_source.choice(sorted(parents, key=lambda one: one.tag))
        if random_source.random() < 0.3 and element.attrib:
            key = random_source.choice(sorted(element.attrib))
            element.attrib[key] = random_source.choice(NUMBERS + TEXTS)
        elif random_source.random() < 0.2:
            others = [one for one in parents if one not in element.iter()]
            if others:
                parents[element].remove(element)
                random_source.choice(others).append(element)
        else:
            random_source.choice(CHANGES)(tree, element, parents)
    return text_of(tree)


def random_cases(seed, count):
    for number in range(count):
        format_name, text = (("mzML", samples.mzml()), ("mzXML", samples.mzxml()))[number % 2]
        yield instrument(f"random/{format_name}/{seed + number}", lambda _, text=text, number=number:
                         randomly_changed(text, seed + number), format_name)


def nesting_cases():
    for tag in ("precursor", "scan", "selectedIon", "binaryDataArray", "unknown", "spectrum"):
        for depth in (3, 255, 257, 100000):
            yield instrument(f"nesting/mzML/{tag}/{depth}", lambda _, tag=tag, depth=depth: samples.mzml().replace(
                "<precursorList", f"<{tag}>" * depth + f"</{tag}>" * depth + "<precursorList", 1))
    for depth in (3, 64, 65, 100000):
        yield instrument(f"nesting/mzXML/scan/{depth}", lambda _, depth=depth: samples.mzxml().replace(
            '<scan num="2"', '<scan num="9" msLevel="2" peaksCount="0">' * depth + "</scan>" * depth + '<scan num="2"'),
            "mzXML")


# Numbers and counts.

NUMBERS = ["nan", "inf", "-inf", "1e999", "-1e999", "-1", "0", "-0.0", "1e308", "1e-320", "99999999999999999999",
           "2147483647", "2147483648", "-2147483648", "", " 5 ", "1,5", "0x1p3", "five", "1e3"]
TEXTS = ["&lt;img src=x onerror=pwned&gt;", "$(touch pwned)", "`touch pwned`", "{}", "%s%s%n", "a'b&quot;c"]

_MZML_VALUES = {
    "level": ("MS:1000511", 1), "time": ("MS:1000016", 1), "injection": ("MS:1000927", 1),
    "target": ("MS:1000827", 0), "lower": ("MS:1000828", 0), "upper": ("MS:1000829", 0), "ion": ("MS:1000744", 1),
    "charge": ("MS:1000041", 0), "possible charge": ("MS:1000633", 0)}


def with_value(text, accession, place, value):
    tree = tree_of(text)
    [one for one in tree.iter("cvParam") if one.get("accession") == accession][place].set("value", value)
    return text_of(tree)


def with_attribute(text, tag, place, key, value):
    tree = tree_of(text)
    [one for one in tree.iter(tag)][place].set(key, value)
    return text_of(tree)


def number_cases():
    for field, (accession, place) in _MZML_VALUES.items():
        for value in NUMBERS:
            yield instrument(f"number/mzML/{field}/{value!r}", lambda _, accession=accession, place=place, value=value:
                             with_value(samples.mzml(), accession, place, value))
    for value in NUMBERS:
        yield instrument(f"number/mzML/id/{value!r}", lambda _, value=value: with_attribute(
            samples.mzml(), "spectrum", 1, "id", "scan=" + value))
        for key in ("num", "msLevel", "retentionTime"):
            yield instrument(f"number/mzXML/{key}/{value!r}", lambda _, key=key, value=value: with_attribute(
                samples.mzxml(), "scan", 1, key, "PT" * (key == "retentionTime") + value), "mzXML")
        for key in ("precursorCharge", "windowWideness", "precursorScanNum"):
            yield instrument(f"number/mzXML/{key}/{value!r}", lambda _, key=key, value=value: with_attribute(
                samples.mzxml(), "precursorMz", 0, key, value), "mzXML")
        yield instrument(f"number/mzXML/mz/{value!r}", lambda _, value=value: samples.mzxml().replace(
            ">500.25<", f">{value}<"), "mzXML")


_COUNTS = ["0", "1", "3", "5", "1000", "1000000000", "2147483647", "2147483648", "9223372036854775807",
           "9223372036854775808", "-1", "-2147483648", "", "abc", "1e3", " 4 ", "0x4", "4.0"]


def count_cases():
    for value in _COUNTS:
        for tag, place, key in (("spectrum", 1, "defaultArrayLength"), ("binaryDataArray", 2, "arrayLength"),
                                ("binaryDataArray", 2, "encodedLength"), ("spectrumList", 0, "count")):
            yield instrument(f"count/mzML/{key}/{value!r}", lambda _, tag=tag, place=place, key=key, value=value:
                             with_attribute(samples.mzml(), tag, place, key, value))
        for tag, place, key in (("scan", 1, "peaksCount"), ("msRun", 0, "scanCount"), ("peaks", 1, "compressedLen"),
                                ("peaks", 1, "precision")):
            yield instrument(f"count/mzXML/{key}/{value!r}", lambda _, tag=tag, place=place, key=key, value=value:
                             with_attribute(samples.mzxml(), tag, place, key, value), "mzXML")


_VALUES = {"nan": float("nan"), "inf": float("inf"), "negative": -500.0, "zero": 0.0, "huge": 1e308, "tiny": 5e-324}


def array_cases():
    for name, value in _VALUES.items():
        for level, place in (("ms1", 0), ("ms2", 1)):
            for of_mz in (True, False):
                def content(_, value=value, place=place, of_mz=of_mz):
                    arrays = [(list(samples.SURVEY_MZ), list(samples.SURVEY_INTENSITY)),
                              (list(samples.FRAGMENT_MZ), list(samples.FRAGMENT_INTENSITY))]
                    arrays[place][0 if of_mz else 1][1] = value
                    return samples.mzml([samples.spectrum(0, 1, *arrays[0]), samples.spectrum(
                        1, 2, *arrays[1], samples.precursor_list("500.25", "2"))])
                yield instrument(f"array/{name}/{level}/{'mz' if of_mz else 'intensity'}", content)
    for name, mz in (("descending", samples.SURVEY_MZ[::-1]), ("equal", [500.25] * 9), ("one", [500.25]), ("none", [])):
        yield instrument(f"array/{name}", lambda _, mz=mz: samples.mzml([
            samples.spectrum(0, 1, mz, samples.SURVEY_INTENSITY[:len(mz)]),
            samples.spectrum(1, 2, samples.FRAGMENT_MZ, samples.FRAGMENT_INTENSITY,
                             samples.precursor_list("500.25", "2"))]))
    terms = [1000519, 1000520, 1000521, 1000522, 1000574, 1002312, 1002313, 1002314, 1002746, 1002747, 1002748, 1003780,
             1001479]
    for term in terms:
        yield instrument(f"array/encoding/{term}", lambda _, term=term: samples.mzml().replace(
            "MS:1000523", f"MS:{term}"))
        yield instrument(f"array/compression/{term}", lambda _, term=term: samples.mzml().replace(
            "MS:1000576", f"MS:{term}"))
    for name, text in (("no base64", "!!!!"), ("one letter", "A"), ("padding inside", "AA==AAAA"), ("null", "A&#65;AA"),
                       ("blanks", "A A\nA\tA"), ("elements", "AA<b/>AA"), ("cdata", "<![CDATA[AAAA]]>"), ("empty", "")):
        yield instrument(f"array/text/{name}", lambda _, text=text: re.sub(
            "<binary>[^<]*</binary>", lambda _: f"<binary>{text}</binary>", samples.mzml(), count=3))


# Encodings.

def _encodings(text):
    """The text as bytes in ways that a reader may meet. The text begins without a declaration."""
    declared = '<?xml version="1.0" encoding="{}"?>'
    yield "utf-8 mark", b"\xef\xbb\xbf" + text.encode()
    for name in ("utf-16-le", "utf-16-be", "utf-32-le"):
        yield name, text.encode(name)
        mark = {"utf-16-le": b"\xff\xfe", "utf-16-be": b"\xfe\xff", "utf-32-le": b"\xff\xfe\0\0"}[name]
        yield name + " mark", mark + text.encode(name)
    yield "crlf", text.replace("\n", "\r\n").encode()
    yield "cr", text.replace("\n", "\r").encode()
    yield "tabs", text.replace(" ", "\t").encode()
    yield "nul at the end", text.encode() + b"\0\0\0"
    yield "nul inside", text.encode()[:len(text) // 2] + b"\0" + text.encode()[len(text) // 2:]
    yield "no utf-8 inside", text.encode()[:len(text) // 2] + b"\xff\xfe\xc0\x80" + text.encode()[len(text) // 2:]
    yield "gzip", gzip.compress(text.encode(), mtime=0)
    yield "zeros", bytes(len(text))
    yield "random", random.Random(1).randbytes(5000)
    if not text.startswith("<"):
        return
    for name in ("UTF-16", "UTF-32", "EBCDIC-CP-US", "latin-9", "x" * 5000, "", "US-ASCII"):
        yield f"declared {name[:20]}", (declared.format(name) + text).encode()
    yield "latin-1", (declared.format("ISO-8859-1") + text.replace("note", "n\u00f6te")).encode("latin-1")
    yield "latin-1 as utf-8", text.replace("note", "n\u00f6te").encode("latin-1")
    yield "xml 1.1", ('<?xml version="1.1"?>' + text).encode()


def encoding_cases():
    for ending, text in (("mzML", samples.mzml()), ("mzXML", samples.mzxml())):
        for name, content in _encodings(text):
            yield instrument(f"encoding/{ending}/{name}", content, ending)
    for name, content in _encodings(samples.ms1()):
        yield pair(f"encoding/ms1/{name}", ms1=content)
    for name, content in _encodings(samples.ms2()):
        yield pair(f"encoding/ms2/{name}", ms2=content)
    for name, content in _encodings(samples.mgf()):
        yield Case(f"encoding/mgf/{name}", "mgf", {"in/run.mgf": content}, "in/run.mgf")
    for reference in ("&#0;", "&#1;", "&#27;[31m", "&#xD800;", "&#x110000;", "&#99999999999;", "&none;", "&", "&#x2028;",
                      "&#10;forged", "&#13;&#10;forged", "&#8238;", "&#x9B;31m"):
        yield instrument(f"encoding/reference/{reference}", samples.mzml().replace('id="scan=2"', f'id="scan=2{reference}"'))
        yield instrument(f"encoding/reference in filter/{reference}", samples.mzml().replace(
            "FTMS + c NSI", f"FTMS {reference}"))
        yield instrument(f"encoding/reference in activation/{reference}", samples.mzxml().replace(
            '"HCD"', f'"x{reference}"'), "mzXML")


# XML that no instrument writes.

_DOCTYPES = {
    "laughs": "<!DOCTYPE mzML [" + '<!ENTITY a "' + "x" * 1000 + '">' + "".join(
        f'<!ENTITY {chr(98 + i)} "{f"&{chr(97 + i)};" * 10}">' for i in range(8)) + "]>",
    "external": '<!DOCTYPE mzML [<!ENTITY a SYSTEM "file:///etc/passwd">]>',
    "external subset": '<!DOCTYPE mzML SYSTEM "http://127.0.0.1:9/x.dtd">',
    "parameter": '<!DOCTYPE mzML [<!ENTITY % a SYSTEM "file:///etc/passwd"> %a;]>',
    "defaults": "<!DOCTYPE mzML [<!ATTLIST spectrum " + " ".join(
        f'a{i} CDATA "{"v" * 50}"' for i in range(2000)) + ">]>"}


def xml_cases():
    for name, doctype in _DOCTYPES.items():
        yield instrument(f"xml/doctype/{name}", lambda _, doctype=doctype: doctype + samples.mzml().replace(
            'value="small"', 'value="&i;"' if "laughs" in doctype or "ENTITY i" in doctype else 'value="&a;"'
            if "ENTITY" in doctype and "%" not in doctype else 'value="small"'))
    for name, text in (("two roots", samples.mzml() * 2), ("text after", samples.mzml() + "x"), ("nothing but a root", "<mzML/>"),
                       ("another root", "<html><body/></html>"), ("only a declaration", '<?xml version="1.0"?>'),
                       ("comment", "<!-- " + "-" * 5000 + samples.mzml()), ("instruction", "<?php x?>" + samples.mzml()),
                       ("namespace", samples.mzml().replace("<mzML ", '<mzML xmlns="u" xmlns:a="v" a:b="c" ')),
                       ("prefixes", re.sub(r"<(/?)(\w)", r"<\1m:\2", samples.mzml())),
                       ("attribute twice", samples.mzml().replace('index="1"', 'index="1" index="2"')),
                       ("cdata", samples.mzml().replace("<binary>", "<binary><![CDATA[").replace("</binary>", "]]></binary>")),
                       ("upper case", re.sub(r"<(/?)(\w+)", lambda m: f"<{m[1]}{m[2].upper()}", samples.mzml())),
                       ("mzXML in mzML", samples.mzml().replace("<run ", samples.mzxml() + "<run "))):
        yield instrument(f"xml/{name}", text)
    for ending, text in (("mzML", samples.mzxml()), ("mzXML", samples.mzml()), ("mzML", samples.ms1()),
                         ("mzML", samples.mgf()), ("mzXML", samples.ms2())):
        yield instrument(f"xml/{text[:6].strip()!r} as {ending}", text, ending)


# Sizes, cuts and bombs.

def zipped(content, level=6):
    return gzip.compress(content, level, mtime=0)


def bomb(size, before=b"", after=b"", fill=b" "):
    """A gzip file that inflates to before, size bytes of fill, after."""
    out = io.BytesIO()
    with gzip.GzipFile(fileobj=out, mode="wb", compresslevel=6, mtime=0) as packed:
        packed.write(before)
        block = fill * (MEGABYTE // len(fill))
        for _ in range(size // MEGABYTE):
            packed.write(block)
        packed.write(after)
    return out.getvalue()


def split_at(text, mark):
    place = text.index(mark) + len(mark)
    return text[:place].encode(), text[place:].encode()


def many(count, one, before="", after=""):
    return before + one * count + after


def size_cases():
    good = samples.mzml()
    for ending, text in (("mzML", good), ("mzXML", samples.mzxml())):
        for place in range(1, 16):
            cut = len(text) * place // 16
            yield instrument(f"cut/{ending}/{place} of 16", text[:cut], ending)
        for size in (0, 1, 2, 4, 5):
            yield instrument(f"cut/{ending}/{size} bytes", text[:size], ending)
    long_texts = {
        "attribute of 8 MB": lambda _: good.replace('value="small"', f'value="{"v" * (8 * MEGABYTE)}"'),
        "id of 8 MB": lambda _: good.replace('id="scan=2"', f'id="{"v" * (8 * MEGABYTE)} scan=2"'),
        "filter of 8 MB": lambda _: good.replace("FTMS + c NSI", "FTMS " + "c" * (8 * MEGABYTE)),
        "comment of 8 MB": lambda _: good.replace("<run ", f"<!--{'c' * (8 * MEGABYTE)}--><run "),
        "name of 8 MB": lambda _: good.replace("<run ", f"<{'n' * (8 * MEGABYTE)}/><run "),
        "attribute name of 8 MB": lambda _: good.replace("<run ", f"<run {'n' * (8 * MEGABYTE)}='1' "),
        "100,000 attributes": lambda _: good.replace("<run ", "<run " + " ".join(
            f'a{i}="{i}"' for i in range(100000)) + " "),
        "text of 8 MB": lambda _: good.replace("<run ", "t" * (8 * MEGABYTE) + "<run "),
        "binary of 8 MB": lambda _: good.replace("<binary>", "<binary>" + "A" * (8 * MEGABYTE), 1),
        "binary of 8 MB blanks": lambda _: good.replace("<binary>", "<binary>" + " " * (8 * MEGABYTE), 1),
        "open tag of 8 MB": lambda _: good[:good.index("<run ")] + "<run " + " " * (8 * MEGABYTE),
        "100,000 parameters": lambda _: good.replace("<scanWindowList", samples.param(
            1000501, "x", "1") * 80000 + "<scanWindowList", 1),
        "100,000 ions": lambda _: good.replace("<selectedIon>", "<selectedIon></selectedIon>" * 100000 + "<selectedIon>", 1),
        "50,000 precursors": lambda _: good.replace("<precursor ", "<precursor></precursor>" * 50000 + "<precursor ", 1),
        "50,000 empty spectra": lambda _: samples.mzml([f'<spectrum id="scan={i}"/>' for i in range(50000)]),
        "20,000 groups, 20,000 references": lambda _: good.replace(
            '<referenceableParamGroup id="G1">', "".join(
                f'<referenceableParamGroup id="H{i}">{samples.param(1000501, "x")}</referenceableParamGroup>'
                for i in range(20000)) + '<referenceableParamGroup id="G1">').replace(
                    "<scanWindowList", "".join(f'<referenceableParamGroupRef ref="H{i}"/>' for i in range(20000)) +
                    "<scanWindowList", 1),
        "a group of 10,000, 40,000 references": lambda _: good.replace(
            "</referenceableParamGroup>", samples.param(1000501, "x") * 10000 + "</referenceableParamGroup>").replace(
                "<scanWindowList", '<referenceableParamGroupRef ref="G1"/>' * 40000 + "<scanWindowList", 1),
        "50,000 configurations": lambda _: good.replace("<instrumentConfiguration ", "".join(
            f'<instrumentConfiguration id="C{i}"><componentList/></instrumentConfiguration>' for i in range(50000)) +
            "<instrumentConfiguration ", 1)}
    for name, content in long_texts.items():
        yield instrument(f"long/mzML/{name}", content)
    yield instrument("long/mzXML/filter of 8 MB", lambda _: samples.mzxml().replace(
        "FTMS + c", "c" * (8 * MEGABYTE)), "mzXML")
    yield instrument("long/mzXML/possible charges", lambda _: samples.mzxml().replace(
        'possibleCharges="2,3"', f'possibleCharges="{"2," * MEGABYTE}"'), "mzXML")
    yield instrument("long/mzXML/peaks of 8 MB", lambda _: samples.mzxml().replace(
        'compressedLen="0">', 'compressedLen="0">' + "A" * (8 * MEGABYTE), 1), "mzXML")
    yield instrument("long/mzXML/50,000 scans", lambda _: samples.mzxml().replace(
        '<scan num="2"', "".join(f'<scan num="{9 + i}" msLevel="2" peaksCount="0"/>' for i in range(50000)) +
        '<scan num="2"'), "mzXML")


def bomb_cases():
    good = samples.mzml()
    for name, mark in (("attribute", 'value="small'), ("id", 'id="scan=2'), ("text", "</run>"), ("binary", "<binary>"),
                       ("name", "</cvList><"), ("tag", "<run ")):
        before, after = split_at(good, mark)
        fill = b"A" if name != "tag" else b" "
        if name == "name":
            after = b"/><" + after
        for size in (64, 256):
            yield instrument(f"bomb/gz/{name} of {size} MB", lambda _, before=before, after=after, size=size, fill=fill:
                             bomb(size * MEGABYTE, before, after, fill), "mzML.gz")
    yield instrument("bomb/gz/comments", lambda _: bomb(64 * MEGABYTE, *split_at(good, "</fileDescription>"), b"<!--  -->" +
                                                        b" " * 7), "mzML.gz")
    yield instrument("bomb/gz/open elements", lambda _: bomb(64 * MEGABYTE, *split_at(good, "</fileDescription>"),
                                                             b"<a>" + b" " * 5), "mzML.gz")
    yield instrument("bomb/gz/mzXML peaks", lambda _: bomb(256 * MEGABYTE, *split_at(
        samples.mzxml(), 'compressedLen="0">'), b"A"), "mzXML.gz")
    yield instrument("bomb/gz/in gz", lambda _: zipped(zipped(good.encode())), "mzML.gz")
    for name, bits, term in (("64-bit", 64, 1000523), ("32-bit", 32, 1000521)):
        for size in (1, 500):
            def content(_, size=size, term=term):
                packer = zlib.compressobj(9)
                block = bytes(MEGABYTE)
                raw = b"".join([packer.compress(block) for _ in range(size)] + [packer.flush()])
                return good.replace("MS:1000576", "MS:1000574").replace("MS:1000523", f"MS:{term}").replace(
                    "<binary>", "<binary>" + samples.text_of(raw) + "<!--", 1).replace("</binary>", "--></binary>", 1)
            yield instrument(f"bomb/zlib/{name} of {size} MB", content)
            yield instrument(f"bomb/zlib/{name} of {size} MB, declared", lambda _, content=content, size=size, bits=bits:
                             content(_).replace('defaultArrayLength="9"', f'defaultArrayLength="{size * MEGABYTE * 8 // bits}"', 1))
    for name, content in gzip_faults(good.encode()):
        yield instrument(f"gz/{name}", content, "mzML.gz")
        yield instrument(f"gz/plain name/{name}", content)


def gzip_faults(content):
    good = zipped(content)
    yield "cut", good[:len(good) // 2]
    yield "header only", good[:10]
    yield "no trailer", good[:-8]
    yield "wrong size", good[:-4] + struct.pack("<I", 0xffffffff)
    yield "wrong sum", good[:-8] + bytes(4) + good[-4:]
    yield "rubbish after", good + b"rubbish"
    yield "zeros after", good + bytes(1000)
    yield "two members", zipped(content[:3000]) + zipped(content[3000:])
    yield "empty members", zipped(b"") * 1000 + good
    yield "endless name", good[:3] + b"\x08" + good[4:10] + b"n" * MEGABYTE
    yield "extra field", good[:3] + b"\x04" + good[4:10] + b"\xff\xff" + good[10:]
    yield "block gzip that lies", (b"\x1f\x8b\x08\x04\0\0\0\0\0\xff\x06\0BC\x02\0\xff\xff" + good[10:]) * 3
    yield "reserved block type", good[:10] + b"\x07" + good[11:]


# Text pairs, binary pairs, MGF.

def pair(name, ms1=None, ms2=None, **more):
    return Case(name, "pair", {"in/run.ms1": samples.ms1() if ms1 is None else ms1,
                               "in/run.ms2": samples.ms2() if ms2 is None else ms2}, "in/run.ms1", **more)


def dense_surveys(peaks, width, surveys):
    """Surveys with so many peaks within width (m/z) of 500; no two surveys have the same."""
    texts = []
    for number in range(1, surveys + 1):
        step = 2 * width / peaks
        lines = "".join(f"{500 - width + (i + number / (surveys + 1)) * step:.5f} {100 + i * 37 % 899}\n" for i in range(peaks))
        texts.append(f"S\t{number}\t{number}\nI\tRetTime\t{number}.0\nI\tIonInjectionTime\t1\nI\tInstrumentType\tFTMS\n{lines}")
    return samples.HEAD + "".join(texts)


def scans_of_one_survey(surveys, scans):
    """MS2 scans with their centres around 500, all of the survey in the middle."""
    return samples.HEAD + "".join(
        f"S\t{surveys + i}\t{surveys + i}\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n"
        f"I\tActivationCenter\t{499.7 + i * 37 % 6000 / 10000:.4f}\nI\tPrecursorScan\t{(surveys + 1) // 2}\n"
        "Z\t2\t999.0\n100.0 1.0\n" for i in range(1, scans + 1))


def text_cases():
    for value in NUMBERS:
        for name, old in (("scan", "S\t2\t2"), ("time", "RetTime\t62.0"), ("centre", "ActivationCenter\t500.25"),
                          ("survey", "PrecursorScan\t1"), ("injection", "IonInjectionTime\t10.5"), ("charge", "Z\t2"),
                          ("peak", "175.11900"), ("intensity", " 100.0")):
            key = re.split("[\t ]", old)
            new = old[:len(old) - len(key[-1])] + value if name not in ("scan", "peak") else (
                f"S\t{value}\t{value}" if name == "scan" else f"{value}" if value[:1].isdigit() else "9" + value)
            yield pair(f"text/ms2/{name}/{value!r}", ms2=lambda _, old=old, new=new: samples.ms2().replace(old, new))
        yield pair(f"text/ms1/peak/{value!r}", ms1=lambda _, value=value: samples.ms1().replace("500.25000", "5" + value))
        yield pair(f"text/ms1/intensity/{value!r}", ms1=lambda _, value=value: samples.ms1().replace(" 900.0", " " + value))
    good = samples.ms2()
    for name, content in {
            "empty": "", "one byte": "S", "header alone": samples.HEAD, "no scans": samples.HEAD * 100,
            "a cut line": good[:len(good) // 2], "no line ends": good.replace("\n", " "), "peaks first": good[150:],
            "200,000 Z lines": good.replace("Z\t2\t", "Z\t2\t999.5\n" * 20000 + "Z\t2\t", 1),
            "digits alone": samples.HEAD + "1\n" * 2000000, "S lines alone": samples.HEAD + "S\t1\t1\n" * 500000,
            "a line of 8 MB": good.replace("I\tRetTime", "I\tRetTime\t" + "6" * (8 * MEGABYTE) + "\nI\tRetTime", 1),
            "a peak line of 8 MB": good.replace("175.11900", "1" * (8 * MEGABYTE), 1),
            "blanks in a peak": good.replace("175.11900 ", "175.119" + " " * MEGABYTE, 1),
            "a scan of 300,000 peaks": good.replace("175.11900", "".join(f"{i / 100:.2f} 5\n" for i in range(10000, 310000)) +
                                                    "175.11900", 1),
            "an activation of 1 MB": good.replace("\tHCD", "\t" + "H" * MEGABYTE), "activation ../../x":
            good.replace("\tHCD", "\t../../outside/x"), "activation with markup": good.replace("\tHCD", "\t<img src=x onerror=pwned>"),
            "activation with a shell": good.replace("\tHCD", "\t$(touch pwned)"),
            "1,000 activations": samples.HEAD + "".join(
                f"S\t{i}\t{i}\t500.25\nI\tActivationType\tA{i}\nI\tInstrumentType\tFTMS\nI\tActivationCenter\t500.25\n"
                f"I\tPrecursorScan\t1\nZ\t2\t999.49\n200.0 5.0\n" for i in range(2, 1002)),
            "descending scans": "".join(reversed(re.findall("S\t(?:.|\n)*?(?=S\t|$)", good))),
            "the same scan": good.replace("S\t3\t3", "S\t2\t2"), "escape": good.replace("\tHCD", "\t\x1b[31mHCD"),
            "nul names": good.replace("\tHCD", "\t\0HCD")}.items():
        yield pair(f"text/ms2/{name}", ms2=content)
    good = samples.ms1()
    for name, content in {
            "empty": "", "swapped": samples.ms2(), "header alone": samples.HEAD, "digits alone": samples.HEAD + "1\n" * 2000000,
            "S lines alone": samples.HEAD + "S\t1\t1\n" * 500000, "dense": good.replace("500.25000", "".join(
                f"{490 + i / 5000:.5f} 9\n" for i in range(100000)) + "500.25000", 1),
            "m/z above the isotope table": good.replace("500.25000", "2600.25000").replace("500.75170", "2600.75170"),
            "a peak line of 8 MB": good.replace("500.25000", "1" * (8 * MEGABYTE), 1)}.items():
        yield pair(f"text/ms1/{name}", ms1=content)
    for name, peaks, width, surveys, scans, options in (
            ("60,000 scans of dense surveys", 2900, 3, 10, 60000, []), ("60,000 scans of a dense survey", 1700, 3, 1, 60000, []),
            ("60,000 scans -S 0", 8900, 3, 1, 60000, ["-S", "0"]), ("15,000 scans of a huge survey", 500000, 3, 1, 15000, []),
            ("20,000 scans of heaps", 50000, 0.02, 10, 20000, [])):
        yield pair(f"text/dense/{name}", ms1=lambda _, args=(peaks, width, surveys): dense_surveys(*args),
                   ms2=lambda _, surveys=surveys, scans=scans: scans_of_one_survey(surveys, scans), options=options)
    yield Case("text/sparse of 1 GB", "pair", {"in/run.ms1": sparse, "in/run.ms2": samples.ms2()}, "in/run.ms1")
    yield Case("text/no ms2", "pair", {"in/run.ms1": samples.ms1()}, "in/run.ms1")
    for name, options in (("-S 0 dense", ["-S", "0"]), ("-t nan", ["-t", "nan"]), ("-t -1e999", ["-t", "-1e999"]),
                          ("-W 1e9", ["-W", "1e9"]), ("-W nan", ["-W", "nan"]), ("-W -1", ["-W", "-1"]), ("-W 0", ["-W", "0"]),
                          ("-c 1t99999999", ["-c", "1t99999999"]), ("-c 6t2", ["-c", "6t2"]), ("-c 1t200", ["-c", "1t200"]),
                          ("-c -99999t99999", ["-c", "-99999t99999"]), ("-M 7", ["-M", "7"]), ("-R nan", ["-R", "nan"]),
                          ("-z 99", ["-z", "99"]), ("-I /dev/zero", ["-I", "/dev/zero"]), ("-I /dev/null", ["-I", "/dev/null"]),
                          ("-I a folder", ["-I", "/"]), ("-L /dev/full", ["-L", "/dev/full"])):
        dense = good.replace("500.25000", "".join(f"{499 + i / 4000:.5f} 9\n" for i in range(8000)) + "500.25000", 1)
        yield pair(f"option/{name}", ms1=dense if "dense" in name else None, options=options)


def sparse(place):
    with open(place, "wb") as file:
        file.truncate(1 << 30)


def mgf_cases():
    good = samples.mgf()
    for value in NUMBERS:
        for name, old in (("charge", "CHARGE=2"), ("mass", "PEPMASS=500.250000"), ("time", "RTINSECONDS=62.0"),
                          ("title", "TITLE=run.2"), ("peak", "175.11900")):
            key = old.split("=")[0] + "=" if "=" in old else "9"
            yield Case(f"mgf/{name}/{value!r}", "mgf", {"in/run.mgf": good.replace(old, key + value)}, "in/run.mgf")
    for name, content in {
            "empty": "", "no end": good[:-20], "cut": good[:90], "nested": good.replace("END IONS", "BEGIN IONS"),
            "no title": good.replace("TITLE=", "X="), "markup": good.replace("run.2", "<img src=x onerror=pwned>.2"),
            "newline words": good.replace("run.2", "run\x1b[31m\rforged.2"),
            "title of 8 MB": good.replace("run.2", "r" * (8 * MEGABYTE) + ".2"),
            "a line of 8 MB": good.replace("175.11900", "1" * (8 * MEGABYTE)),
            "a block of 300,000 peaks": good.replace("175.11900", "".join(f"{i} 5\n" for i in range(300000)) + "175.11900", 1),
            "200,000 blocks": "BEGIN IONS\nTITLE=a.1.1.1.0.dta\nEND IONS\n" * 200000,
            "title with a shell": good.replace("run.2", "$(touch pwned).2")}.items():
        yield Case(f"mgf/{name}", "mgf", {"in/run.mgf": content}, "in/run.mgf")


def marker():
    return ("All spectra of run were extracted.\nsetting\tintensity\t1\nsetting\tm/z\t5\ncount\tms2_read\t2\n"
            "count\tsurveys\t1\n")


def binary(name, msb=None, mscsv=None):
    """A pair that an earlier run seems to have left; the instrument file is older."""
    return Case(f"binary/{name}", "binary", {
        "in/run.mzML": samples.mzml(), "out/run.mzML.msb": samples.msb() if msb is None else msb,
        "out/run.mzML.mscsv": samples.mscsv() if mscsv is None else mscsv, "out/run.morvex": marker()}, "in/run.mzML",
                options=["-b", "1"])


def binary_cases():
    good, table = samples.msb(), samples.mscsv()
    for value in (0, -1, 10001, 2147483647, -2147483648):
        yield binary(f"msb/scan {value}", msb=struct.pack("<i", value) + good[4:])
        yield binary(f"msb/peaks {value}", msb=good[:4] + struct.pack("<i", value) + good[8:])
    for name, content in {"empty": b"", "cut": good[:100], "cut in a head": good[:4], "zeros": bytes(4096), "no number":
                          good.replace(struct.pack("<d", 500.25), struct.pack("<d", float("nan"))), "twice": good * 2,
                          "random": random.Random(2).randbytes(4096)}.items():
        yield binary(f"msb/{name}", msb=content)
    for value in NUMBERS:
        for column in range(0, 12, 1 if value in ("nan", "-1", "99999999999999999999") else 4):
            rows = [row.split("\t") for row in table.split("\n")]
            rows[2][column] = value
            yield binary(f"mscsv/{column}/{value!r}", mscsv="\n".join("\t".join(row) for row in rows))
    for name, content in {"empty": "", "no columns": "\n\n", "two columns of one name": table.replace("StartPos", "ScanNo"),
                          "short rows": table.replace("\tHCD", ""), "100,000,000": table.replace("\n3\t", "\n100000000\t"),
                          "html": table.replace("HCD", "<img src=x onerror=pwned>"), "path": table.replace("HCD", "../../outside/x"),
                          "utf-16": table.encode("utf-16"), "a line of 8 MB": table + "x" * (8 * MEGABYTE)}.items():
        yield binary(f"mscsv/{name}", mscsv=content)


# Names.

NAMES = [b"a b", b"a;touch pwned;b", b"$(touch pwned)", b"`touch pwned`", b"a&touch pwned&", b"a|touch pwned", b"a'b", b'a"b',
         b'";touch pwned;"', b"a\nforged", b"a\r\nforged", b"a\tb", b"-x", b"--help", b"-D", b"a\\b", b"a\\", b"{run}", b"{}",
         b"%s%n%d", b"a*b?", b"[ab]", b"~", b"!x", b"#x", b"=x", b"+x", b"a,b", b"<img src=x onerror=pwned>",
         b"<script>forged<", b"&amp;", b"\xc3\xa9", b"e\xcc\x81", b"\xff\xfe", b"\xc0\xaf", b"\x1b[31mred", b"\x7f", b"\x01",
         b"\xe2\x80\xae", b"\xe2\x80\xa8x", b".hidden", b"a.b.c", b"a.mzML", b"con", b"a\xc2\x9b", b"n" * 200, b"a. ", b" a",
         b"a>pwned", b"$HOME", b"${IFS}", b"a\\$(touch pwned)"]


def named(name, content, ending, more=None):
    files = {b"in/" + name + b"." + ending.encode(): content}
    files.update(more or {})
    return files


def name_cases():
    for name in NAMES:
        for ending, content in (("mzML", samples.mzml()), ("mzXML", samples.mzxml()), ("mzML.gz", zipped(samples.mzml().encode()))):
            files = named(name, content, ending)
            yield Case(f"name/{ending}/{name!r}"[:120], "instrument", files, list(files)[0], rows=2)
        files = named(name, samples.ms1(), "ms1", {b"in/" + name + b".ms2": samples.ms2()})
        yield Case(f"name/ms1/{name!r}"[:120], "pair", files, list(files)[0], rows=2)
        files = named(name, samples.mgf(), "mgf")
        yield Case(f"name/mgf/{name!r}"[:120], "mgf", files, list(files)[0])
        yield Case(f"name/folder/{name!r}"[:120], "instrument", {b"in/" + name + b"/run.mzML": samples.mzml()},
                   b"in/" + name + b"/run.mzML", rows=2)
    for name in (b"run.mzML.mzML", b"run.MZML", b"run.mzml", b"run.ms1.mzML", b".mzML", b"run.mzML.gz.mzML", b"n" * 250 + b".mzML"):
        yield Case(f"name/ending/{name!r}"[:120], "instrument", {b"in/" + name: samples.mzml()}, b"in/" + name)


# Links, folders and pipes at the names of outputs. The programs may write in the folder of outputs alone.

VICTIM = "outside/victim"
OUTPUT_NAMES = ["run.csv", "run.csv_unfinished", "run_HCDFT.mgf", "run_HCDFT.pf2", "run_HCDFT.pf2idx", "run.pf1", "run.pf1idx",
                "run.tarvek", "run.tarvek_unfinished", "run.morvex", "run.morvex_unfinished", "run.ms1", "run.ms1_unfinished",
                "run.ms2", "run.ms2_unfinished", "TarvekPlusLog.txt"]


def link_to(target):
    def make(place):
        os.symlink(target if target.startswith("/") else os.path.join(
            os.fsdecode(os.path.dirname(os.path.dirname(place))), target), place)
    return make


def hard_link_to(target):
    def make(place):
        os.link(os.path.join(os.path.dirname(os.path.dirname(place)), target.encode()), place)
    return make


def folder_with(*names):
    def make(place):
        os.mkdir(place)
        for name in names:
            with open(os.path.join(place, name.encode()), "w") as file:
                file.write("kept\n")
    return make


def loop(place):
    os.symlink(os.path.basename(place), place)


OBSTACLES = {"link": link_to(VICTIM), "dangling link": link_to("outside/new"), "loop": loop, "link to the input": link_to("in/run.mzML"),
             "hard link": hard_link_to(VICTIM), "hard link to the input": hard_link_to("in/run.mzML"), "folder": folder_with(),
             "full folder": folder_with("kept"), "pipe": os.mkfifo, "link to full": link_to("/dev/full"),
             "link to a folder": link_to("outside")}


def link_cases():
    for output in OUTPUT_NAMES:
        for name, make in OBSTACLES.items():
            yield Case(f"link/{output}/{name}", "planted", {"in/run.mzML": samples.mzml(), VICTIM: "kept\n",
                                                            f"out/{output}": make}, "in/run.mzML")
    for output in ("run.report.html", "run.scans.html", "run.report.json", "index.html", "report.json"):
        for name, make in OBSTACLES.items():
            yield Case(f"link/report/{output}/{name}", "report", {"in/run.mzML": samples.mzml(), VICTIM: "kept\n",
                                                                  f"pages/{output}": make}, "in/run.mzML")
    yield Case("link/out/itself", "planted", {"in/run.mzML": samples.mzml(), VICTIM: "kept\n", "out": lambda place: os.symlink("other", place)},
               "in/run.mzML")
    for name, make in {"link": link_to("in/other.mzML"), "dangling link": link_to("in/none"), "loop": loop, "folder": folder_with(),
                       "pipe": os.mkfifo, "link to zero": link_to("/dev/zero"), "link to null": link_to("/dev/null"),
                       "hard link": hard_link_to("in/other.mzML")}.items():
        yield Case(f"link/input/{name}", "instrument", {"in/other.mzML": samples.mzml(), "in/run.mzML": make}, "in/run.mzML")
        yield Case(f"link/ms2/{name}", "pair", {"in/other.mzML": samples.ms2(), "in/run.ms1": samples.ms1(), "in/run.ms2": make},
                   "in/run.ms1")


# What the tools read: outputs of a run that were damaged, results of search engines, tables.

def changed_output(name, ending, change):
    """The good outputs (roads.py puts them into out/), one of them changed."""
    return Case(f"output/{ending.lstrip('_.')}/{name}", "outputs", {f"out/run{ending}": change}, "out/run")


def change_by(function):
    def change(place):
        with open(place, "rb") as file:
            content = file.read()
        os.remove(place)
        return function(content)
    return change


def output_cases():
    endings = [".csv", ".tarvek", ".morvex", "_HCDFT.mgf", "_HCDFT.pf2", "_HCDFT.pf2idx", ".pf1", ".pf1idx", ".ms1", ".ms2"]
    for ending in endings:
        for name, function in {"empty": lambda c: b"", "cut": lambda c: c[:len(c) // 2], "one byte less": lambda c: c[:-1],
                               "one byte more": lambda c: c + b"x", "zeros": lambda c: bytes(len(c)), "twice": lambda c: c * 2,
                               "random": lambda c: random.Random(3).randbytes(3000), "utf-16": lambda c: c.decode("latin-1").encode("utf-16"),
                               "mark": lambda c: b"\xef\xbb\xbf" + c, "a line of 8 MB": lambda c: c + b"x" * (8 * MEGABYTE) + b"\n",
                               "gone": lambda c: None}.items():
            yield changed_output(name, ending, change_by(function))
        for name, make in (("loop", loop), ("folder", folder_with("kept")), ("pipe", os.mkfifo), ("link to zero", link_to("/dev/zero"))):
            yield changed_output(name, ending, lambda place, make=make: (os.remove(place), make(place))[1])
    for value in NUMBERS + ["$(touch pwned)", "<img src=x onerror=pwned>", "\x1b[31m\rforged"]:
        for field in range(9):
            def function(content, field=field, value=value):
                lines = content.decode().split("\n")
                fields = lines[1].split(", ")
                fields[field] = value
                lines[1] = ", ".join(fields)
                return "\n".join(lines).encode()
            if field in (0, 2, 5, 7) or value in ("nan", "", "2147483648"):
                yield changed_output(f"field {field}/{value!r}", ".csv", change_by(function))
        for key in ("ms2_read", "surveys", "isolation_width", "2.00", "charge_range"):
            yield changed_output(f"{key}/{value!r}", ".tarvek", change_by(
                lambda content, key=key, value=value: re.sub(rb"(?m)^(\w+\t" + re.escape(key).encode() + rb")\t.*$",
                                                             lambda m: m[1] + b"\t" + value.encode(), content)))
    for number in (-1, 0, 3, 1000000, 2147483647, -2147483648):
        for place in (0, 4, 8, 11, 15):
            for ending in ("_HCDFT.pf2", "_HCDFT.pf2idx", ".pf1", ".pf1idx"):
                if place + 4 <= 8 or not ending.endswith("idx"):
                    yield changed_output(f"{number} at {place}", ending, change_by(
                        lambda content, place=place, number=number: content[:place] + struct.pack("<i", number) + content[place + 4:]))
    yield changed_output("10,000,000 left out", ".tarvek", change_by(lambda c: c + b"left_out_scan\t1\tlong ago\n" * 300000))
    yield changed_output("markup", ".tarvek", change_by(lambda c: c + b"left_out\t<img src=x onerror=pwned>\t5\n"))
    yield changed_output("markup as the table's hash", ".tarvek", change_by(lambda c: c + b"setting\tisotope_table\t<script>forged</script>\n"))


def result_cases():
    samples_by_name = {"comet.txt": samples.COMET, "comet.pin": samples.PIN, "tandem.xml": samples.TANDEM,
                       "any.mzid": samples.MZIDENTML, "sage.tsv": samples.SAGE}
    for file_name, text in samples_by_name.items():
        def result(name, content, file_name=file_name):
            return Case(f"result/{file_name}/{name}", "psms", {f"in/{file_name}": content}, f"in/{file_name}")
        for name, content in _encodings(text):
            yield result(f"encoding/{name}", content)
        for place in range(0, 8):
            yield result(f"cut/{place} of 8", text[:len(text) * place // 8])
        for place, number in enumerate(sorted(set(re.findall(r"(?<![\w.])-?\d[\d.eE+-]*", text)))):
            for value in NUMBERS[place % 4::4]:
                yield result(f"number/{number}/{value!r}", text.replace(number, value))
        if text.startswith("<"):
            tree = tree_of(text)
            for tag in list(dict.fromkeys(one.tag for one in tree.iter()))[1:]:
                for change in CHANGES[:6]:
                    yield result(f"structure/{tag}/{change.__name__}", lambda _, text=text, tag=tag, change=change:
                                 changed_element(text, tag, 0, change))
        yield result("8 MB of a name", text.replace("P1", "P" * (8 * MEGABYTE), 1))
        yield result("markup", text.replace("P1", "&lt;img src=x onerror=pwned&gt;"))
        yield result("escape", text.replace("P1", "\x1b[31mP1"))
        yield result("two of it", text * 2)


def table_cases():
    good = samples.TRUTH
    for place in range(8):
        yield Case(f"truth/cut/{place} of 8", "score", {"in/truth.tsv": good[:len(good) * place // 8]}, "in/truth.tsv")
    for value in NUMBERS:
        for old in ("2\t500.25", "500.25\t2", "0.99", "900.0"):
            yield Case(f"truth/{old!r}/{value!r}", "score", {"in/truth.tsv": good.replace(old, old.split("\t")[0] * ("\t" in old) + "\t" * ("\t" in old) + value, 1)},
                       "in/truth.tsv")
    for name, content in _encodings(good):
        yield Case(f"truth/encoding/{name}", "score", {"in/truth.tsv": content}, "in/truth.tsv")


def parameter_cases():
    def settings(name, change):
        return Case(f"params/{name}", "params", {"in/run.mzML": samples.mzml(), "in/run.params": change}, "in/run.params")
    keys = ("datanum", "charge_range", "isolation_width", "mars_model", "mars_threshold", "m/z", "intensity", "mstol", "co-elute")
    for key in keys:
        for value in NUMBERS + ["1t99999999", "$(touch pwned)"]:
            yield settings(f"{key}/{value!r}", with_setting(key, value))
    for name, content in {"empty": "", "no lines": "x" * 100000, "random": random.Random(4).randbytes(5000), "zeros": bytes(5000),
                          "a line of 8 MB": "datapath1 = " + "p" * (8 * MEGABYTE), "1,000,000 lines": "datapath1 = x\n" * 500000,
                          "utf-16": samples.params("run.mzML", "out").encode("utf-16"), "open section": "[", "no key": "= 5\n",
                          "a path of itself": "datanum=1\ndatapath1 = run.params\n"}.items():
        yield settings(name, content)


def with_setting(key, value):
    def content(place):
        root = os.path.dirname(os.path.dirname(os.fsdecode(place)))
        text = samples.params(os.path.join(root, "in/run.mzML"), os.path.join(root, "out"))
        return re.sub(rf"(?m)^{re.escape(key)} = .*$", lambda _: f"{key} = {value}", text)
    return content


def isotope_cases():
    for name, content in {"empty": b"", "one row": b"0.5 0.3 0.1 0.05 0.01\n", "zeros": bytes(100000), "text": b"five " * 100000,
                          "nan": b"nan nan nan nan nan\n" * 15000, "inf": b"inf 1e999 -1 0 0\n" * 15000, "negative": b"-1 -1 -1 -1 -1\n" * 15000,
                          "all zero": b"0 0 0 0 0\n" * 15000, "too many rows": b"0.5 0.3 0.1 0.05 0.01\n" * 400000,
                          "a line of 8 MB": b"0.5 " * (2 * MEGABYTE), "utf-16": ("0.5 0.3 0.1 0.05 0.01\n" * 15000).encode("utf-16"),
                          "gzip": zipped(b"0.5 0.3 0.1 0.05 0.01\n" * 15000)}.items():
        yield Case(f"isotopes/{name}", "isotopes", {"in/run.ms1": samples.ms1(), "in/run.ms2": samples.ms2(), "in/IPV.txt": content},
                   "in/run.ms1")
    for name, make in {"folder": folder_with(), "loop": loop, "link to zero": link_to("/dev/zero"), "link to null": link_to("/dev/null")}.items():
        yield Case(f"isotopes/{name}", "isotopes", {"in/run.ms1": samples.ms1(), "in/run.ms2": samples.ms2(), "in/IPV.txt": make},
                   "in/run.ms1")


def planted_cases():
    """Programs and tables in the folder of the data, and in the current folder, that nobody asked for."""
    script = "#!/bin/sh\ntouch pwned\nexit 0\n"

    def program(place):
        with open(place, "w") as file:
            file.write(script)
        os.chmod(place, 0o755)
    for folder in ("in", "out", "cwd"):
        for name in ("morvex_xml.exe", "morvex_raw.exe", "sh", "tarvek"):
            yield Case(f"program/{folder}/{name}", "instrument", {"in/run.mzML": samples.mzml(), f"{folder}/{name}": program}, "in/run.mzML",
                       rows=2)
        yield Case(f"program/{folder}/IPV.txt", "instrument", {"in/run.mzML": samples.mzml(), f"{folder}/IPV.txt": "0 0 0 0 0\n" * 15000},
                   "in/run.mzML")


def constant_array(kind, number, count, terms=("MS:1000523", "MS:1000574"), raw=None):
    packed = zlib.compress(struct.pack("<d", number) * count if raw is None else raw, 9)
    names = "".join(f'<cvParam cvRef="MS" accession="{term}" name="x" value=""/>' for term in (*terms, f"MS:{kind}"))
    return f'<binaryDataArray encodedLength="0">{names}<binary>{samples.text_of(packed)}</binary></binaryDataArray>'


def constant_spectrum(index, count, mz=None):
    """A survey of so many equal peaks."""
    return (f'<spectrum index="{index}" id="scan={index + 1}" defaultArrayLength="{count}">' + samples.param(1000511, "ms level", 1) +
            samples.param(1000127, "centroid spectrum") + samples.scan_list(1.0 + index / 100) + '<binaryDataArrayList count="2">' +
            (mz or constant_array(1000514, 500.0, count)) + constant_array(1000515, 1.0, count) + "</binaryDataArrayList></spectrum>")


def padded(text, megabytes):
    return text.replace("<run ", ("<!--" + "x" * MEGABYTE + "-->") * megabytes + "<run ", 1)


def load_cases():
    """Files of up to 10 MB that once took more than 256 MB or 20 s."""
    def fragment(index):
        return samples.spectrum(index, 2, samples.FRAGMENT_MZ, samples.FRAGMENT_INTENSITY, samples.precursor_list("500.25", "2"))

    for surveys, count, size in ((60, 500000, 0), (7, 490000, 9), (1, 4700000, 9), (18, 200000, 9), (600, 500000, 9)):
        yield instrument(f"load/mzML/{surveys} of {count} equal peaks", lambda _, surveys=surveys, count=count, size=size: padded(
            samples.mzml([constant_spectrum(i, count) for i in range(surveys)] + [fragment(surveys)]), size))
    for term in ("MS:1002746", "MS:1002747", "MS:1002748"):
        for fill in (0, 0x88):
            yield instrument(f"load/mzML/numpress {term} of {fill}", lambda _, term=term, fill=fill: padded(samples.mzml(
                [constant_spectrum(0, 900000, constant_array(1000514, 0, 0, (term,), bytes([fill]) * 7200000)), fragment(1)]), 9))
    yield instrument("load/gz/elements", lambda _: bomb(512 * MEGABYTE, *split_at(samples.mzml(), "</fileDescription>"), b"<a/>"), "mzML.gz")

    low = "".join(f"{i * 7.9 / 60000:.6f} 1000\n" for i in range(1, 60000))
    yield pair("load/low m\u2215z", lambda _: samples.HEAD + "".join(
        f"S\t{i}\t{i}\nI\tRetTime\t{i}\nI\tInstrumentType\tFTMS\n{low}" for i in range(1, 10)), lambda _: samples.HEAD + "".join(
            f"S\t{i}\t{i}\t1.0\nI\tActivationType\tHCD\nI\tInstrumentType\tFTMS\nI\tActivationCenter\t1.0\nI\tPrecursorScan\t5\n"
            "Z\t2\t1.0\n200.0 5.0\n" for i in range(10, 60)))
    yield pair("load/hidden scans", ms2=lambda _: samples.ms2() + "".join(
        f"X\0\nS\t{7 + i % 2}\n1 1\n" for i in range(250000)) + "".join(f"S\t{3 + i % 2}\n" for i in range(1000000)))

    def result(name, file_name, content):
        return Case(f"load/{name}", "psms", {f"in/{file_name}": content}, f"in/{file_name}")
    yield result("mzid/a sequence of 250 MB", "any.mzid.gz", lambda _: bomb(
        250 * MEGABYTE, *split_at(samples.MZIDENTML, "<PeptideSequence>"), b"A"))
    yield result("mzid/proteins of one match", "any.mzid", lambda _: samples.MZIDENTML.replace(
        "<DBSequence ", "".join(f'<DBSequence id="D{i}" accession="A{i}"/>' for i in range(40000)) + "<DBSequence ", 1).replace(
            "<PeptideEvidence ", "".join(f'<PeptideEvidence id="E{i}" dBSequence_ref="D{i}"/>' for i in range(40000)) + "<PeptideEvidence ",
            1).replace("<PeptideEvidenceRef ", "".join(f'<PeptideEvidenceRef peptideEvidence_ref="E{i}"/>' for i in range(40000)) +
                       "<PeptideEvidenceRef ", 1))
    yield result("mzid/long ids", "any.mzid.gz", lambda _: zipped(samples.MZIDENTML.replace("<DBSequence ", "".join(
        f'<DBSequence id="{i}{"i" * 2000}" accession="a"/>' for i in range(100000)) + "<DBSequence ", 1).encode()))
    yield result("tandem/proteins", "tandem.xml", lambda _: re.sub(
        r"(?s)<protein .*</protein>", lambda m: "".join(re.sub(r'label="[^"]*"', f'label="P{i}"', m[0]) for i in range(20000)),
        samples.TANDEM, count=1))
    for file_name, text in (("comet.txt", samples.COMET), ("comet.pin", samples.PIN), ("sage.tsv", samples.SAGE)):
        yield result(f"{file_name}/tabs", file_name, lambda _, text=text: text + "\t" * 9000000 + "\n")
        yield result(f"{file_name}/a header of tabs", file_name, lambda _, text=text: "\t" * 9000000 + text)
    yield result("comet.txt/proteins", "comet.txt", lambda _: samples.COMET.rstrip() + ",a" * 4500000 + "\n")

    yield Case("load/truth/tabs", "score", {"in/truth.tsv": lambda _: samples.TRUTH + "\t" * 9000000 + "\n"}, "in/truth.tsv")
    for name, ending, more in (("commas", ".csv", b", " * 4500000 + b"\n"), ("settings", ".tarvek", b"".join(
            b"setting\tk%d\tv\n" % i for i in range(500000)))):
        yield changed_output(f"load/{name}", ending, change_by(lambda content, more=more: content + more))
    yield changed_output("load/precursors", ".csv", change_by(lambda content: re.sub(
        rb", 1, (.*)\n", lambda m: b", 700001, " + m[1] + b"1.0, 500.0, 2, " * 700000 + b"\n", content, count=1)))
    yield changed_output("load/a row less", ".csv", change_by(lambda content: content[:content[:-1].rindex(b"\n") + 1]))
    for name, content in (("unknown keys", lambda _: "".join(f"k{i}=\n" for i in range(800000))),
                          ("long keys", lambda _: "".join(f"k{i}{'y' * 1000}=\n" for i in range(9500))),
                          ("data paths", lambda _: "".join(f"datapath{i}=x\n" for i in range(400000)))):
        yield Case(f"load/params/{name}", "params", {"in/run.mzML": samples.mzml(), "in/run.params": content}, "in/run.params")
    yield Case("load/mgf/blocks of one scan", "mgf", {"in/run.mgf": lambda _: "".join(
        f"BEGIN IONS\nTITLE=run.5.5.2.{i}.dta\nCHARGE=2+\nRTINSECONDS=1\nPEPMASS=500.25\n200.0 5.0\nEND IONS\n" for i in range(90000))},
               "in/run.mgf")
    yield Case("load/pipe at the console file", "planted", {"in/run.mzML": samples.mzml(), "out/batch_logs/run/console.txt": os.mkfifo},
               "in/run.mzML", rows=2)


def all_cases(seed, random_count):
    for cases in (structure_cases(), random_cases(seed, random_count), nesting_cases(), number_cases(), count_cases(), array_cases(),
                  encoding_cases(), xml_cases(), size_cases(), bomb_cases(), text_cases(), mgf_cases(), binary_cases(), name_cases(),
                  link_cases(), output_cases(), result_cases(), table_cases(), parameter_cases(), isotope_cases(), planted_cases(), load_cases()):
        yield from cases
