#!/usr/bin/env python3
"""Merges LC-MS/MS runs scan by scan into one FAIMS run written as mzML.

    make_faims_run.py [--no-voltages] [--map MAP.tsv] OUT.mzML INPUT VOLTAGE [INPUT VOLTAGE ...]

Each INPUT is either the stem of an MS1/MS2 text pair (STEM.ms1 and STEM.ms2, as
make_synthetic_run writes them) or an mzML file; VOLTAGE is the compensation voltage its
spectra get (a number, or "none"). The spectra of all inputs are merged by retention time, each
input keeping its own order; input k is shifted by k milliseconds, so that at equal times the
first input comes first. Spectra are numbered 1, 2, ... in merged order ("scan=N" ids) and each
MS2 spectrum names as its precursor the last MS1 spectrum of its own input (spectrumRef), so its
precursor scan carries its own voltage.

The voltage is written as the cvParam "FAIMS compensation voltage": for the first input in the
spectrum's own cvParams, for the others in its scan element (readers must accept both).
--no-voltages writes no voltage at all (the same merged run as a plain run). --map writes one
line per spectrum: merged scan, input index, the scan number the spectrum had in its input.

With one input and VOLTAGE "none" the result is that input alone as mzML, numbered as it was.
Python 3 standard library only.
"""

import base64
import heapq
import re
import struct
import sys

FAIMS_CV = "MS:1001581"
MZML_NS = "http://psi.hupo.org/ms/mzml"
ACTIVATIONS = {"CID": ("MS:1000133", "collision-induced dissociation"),
               "HCD": ("MS:1000422", "beam-type collision-induced dissociation"),
               "ETD": ("MS:1000598", "electron transfer dissociation")}


def cv_param(accession, name, value="", unit=None):
    text = '<cvParam cvRef="MS" accession="%s" name="%s" value="%s"' % (accession, name, value)
    if unit is not None:
        text += ' unitCvRef="UO" unitAccession="%s" unitName="%s"' % unit
    return text + "/>"


def encode(values):
    return base64.b64encode(struct.pack("<%dd" % len(values), *values)).decode("ascii")


def binary_arrays(mz, intensity):
    arrays = []
    for values, accession, name in ((mz, "MS:1000514", "m/z array"),
                                    (intensity, "MS:1000515", "intensity array")):
        text = encode(values)
        arrays.append('<binaryDataArray encodedLength="%d">%s%s%s<binary>%s</binary></binaryDataArray>'
                      % (len(text), cv_param("MS:1000523", "64-bit float"),
                         cv_param("MS:1000576", "no compression"), cv_param(accession, name), text))
    return '<binaryDataArrayList count="2">%s</binaryDataArrayList>' % "".join(arrays)


def read_text_file(path, level):
    """The spectra of an .ms1 or .ms2 text file as dicts, in file order."""
    spectra = []
    current = None
    with open(path, "r", newline="") as handle:
        for raw in handle:
            line = raw.rstrip("\r\n")
            if not line or line[0] == "H":
                continue
            if line[0] == "S":
                fields = line.split("\t")
                current = {"level": level, "scan": int(fields[1]), "mz": [], "intensity": [], "items": {}}
                if level == 2:
                    current["selected"] = float(fields[3])
                spectra.append(current)
            elif line[0] == "I":
                key, _, value = line[2:].partition("\t")
                current["items"][key] = value
            elif line[0] == "Z":
                current["charge"] = int(line.split("\t")[1])
            elif current is not None:
                mz, intensity = line.split()[:2]
                current["mz"].append(float(mz))
                current["intensity"].append(float(intensity))
    return spectra


def text_spectrum_xml(spectrum):
    """The inside of a <spectrum> for a spectrum of a text pair; {VOLTAGE_*} marks where the
    voltage goes and {PRECURSOR_REF} the precursor's id."""
    items = spectrum["items"]
    analyzer = "FTMS" if items.get("InstrumentType", "FTMS").startswith("F") else "ITMS"
    level = spectrum["level"]
    parts = [cv_param("MS:1000511", "ms level", level),
             cv_param("MS:1000579", "MS1 spectrum") if level == 1 else cv_param("MS:1000580", "MSn spectrum"),
             cv_param("MS:1000127", "centroid spectrum"), "{VOLTAGE_SPECTRUM}",
             '<scanList count="1">', cv_param("MS:1000795", "no combination"), "<scan>",
             cv_param("MS:1000016", "scan start time", items.get("RetTime", "0"), ("UO:0000010", "second")),
             cv_param("MS:1000512", "filter string", analyzer + (" + p NSI Full ms" if level == 1 else " + c NSI d"))]
    if level == 2:
        parts.append(cv_param("MS:1000927", "ion injection time", items.get("IonInjectionTime", "0"),
                              ("UO:0000028", "millisecond")))
    parts += ["{VOLTAGE_SCAN}", "</scan></scanList>"]
    if level == 2:
        accession, name = ACTIVATIONS[items.get("ActivationType", "CID")[:3]]
        parts += ['<precursorList count="1"><precursor spectrumRef="{PRECURSOR_REF}"><isolationWindow>',
                  cv_param("MS:1000827", "isolation window target m/z", items.get("ActivationCenter", "0")),
                  '</isolationWindow><selectedIonList count="1"><selectedIon>',
                  cv_param("MS:1000744", "selected ion m/z", repr(spectrum["selected"])),
                  cv_param("MS:1000041", "charge state", spectrum.get("charge", 0)),
                  "</selectedIon></selectedIonList><activation>", cv_param(accession, name),
                  "</activation></precursor></precursorList>"]
    parts.append(binary_arrays(spectrum["mz"], spectrum["intensity"]))
    return len(spectrum["mz"]), "".join(parts)


def text_pair_spectra(stem):
    """(retention time, level, input scan, xml) of a text pair, in file order: the MS2 spectra
    placed after the MS1 spectra of lower scan number."""
    ms1 = read_text_file(stem + ".ms1", 1)
    ms2 = read_text_file(stem + ".ms2", 2)
    for spectrum in sorted(ms1 + ms2, key=lambda s: s["scan"]):
        count, xml = text_spectrum_xml(spectrum)
        yield float(spectrum["items"].get("RetTime", "0")), spectrum["level"], spectrum["scan"], count, xml


def mzml_header(path):
    """Everything of an mzML file before its <spectrumList>, with the run's element open."""
    with open(path, "rb") as handle:
        head = handle.read(1 << 20).decode("utf-8", "replace")
    start = head.find("<mzML")
    end = head.find("<spectrumList")
    return head[start:end]


def native_scan(native_id, index):
    match = re.search(r"scan=(\d+)", native_id or "")
    return int(match.group(1)) if match else index + 1


SPECTRUM_OPEN = re.compile(r"<spectrum\b[^>]*>")
LEVEL = re.compile(r'accession="MS:1000511"[^>]*value="(\d+)"')
START_TIME = re.compile(r'<cvParam[^>]*accession="MS:1000016"[^>]*/>')
PRECURSOR_REF = re.compile(r'(<precursor\b[^>]*?)\s+spectrumRef="[^"]*"')
PRECURSOR_OPEN = re.compile(r"<precursor(?=[\s>])")


def attribute(tag, name, default=""):
    match = re.search(r'\s%s="([^"]*)"' % name, tag)
    return match.group(1) if match else default


def spectrum_blocks(path):
    """The text of each <spectrum> element of an mzML file, read in pieces."""
    buffer = ""
    with open(path, "r", encoding="utf-8") as handle:
        while True:
            piece = handle.read(1 << 22)
            buffer += piece
            position = 0
            while True:
                begin = buffer.find("<spectrum ", position)
                finish = buffer.find("</spectrum>", begin) if begin >= 0 else -1
                if finish < 0:
                    break
                position = finish + len("</spectrum>")
                yield buffer[begin:position]
            buffer = buffer[position:]
            if not piece:
                return


def mzml_spectra(path):
    """(retention time, level, input scan, array length, xml) of an mzML file, its precursor
    references marked {PRECURSOR_REF} (the last MS1 spectrum of the input, given or not)."""
    for block in spectrum_blocks(path):
        opening = SPECTRUM_OPEN.match(block).group(0)
        inner = block[len(opening):-len("</spectrum>")]
        level_match = LEVEL.search(inner)
        level = int(level_match.group(1)) if level_match else 1
        seconds = 0.0
        time_match = START_TIME.search(inner)
        if time_match:
            tag = time_match.group(0)
            minutes = attribute(tag, "unitAccession") == "UO:0000031" or attribute(tag, "unitName") == "minute"
            seconds = float(attribute(tag, "value", "0")) * (60.0 if minutes else 1.0)
        inner = PRECURSOR_OPEN.sub('<precursor spectrumRef="{PRECURSOR_REF}"', PRECURSOR_REF.sub(r"\1", inner))
        inner = "{VOLTAGE_SPECTRUM}" + inner.replace("</scan>", "{VOLTAGE_SCAN}</scan>", 1)
        index = int(attribute(opening, "index", "0"))
        yield (seconds, level, native_scan(attribute(opening, "id"), index),
               int(attribute(opening, "defaultArrayLength", "0")), inner)


def tagged(k, source, voltage):
    """The spectra of input k with their shifted times, input index and voltage."""
    spectra = mzml_spectra(source) if source.lower().endswith(".mzml") else text_pair_spectra(source)
    for rt, level, scan, count, xml in spectra:
        yield rt + 0.001 * k, k, level, scan, count, xml, voltage


def write_merged(out, inputs, with_voltages, map_path):
    streams = [tagged(k, source, voltage) for k, (source, voltage) in enumerate(inputs)]
    mzml_inputs = [source for source, _ in inputs if source.lower().endswith(".mzml")]
    header = mzml_header(mzml_inputs[0]) if mzml_inputs else minimal_header()
    last_ms1 = {}
    lines = []
    with open(out, "w", encoding="utf-8", newline="\n") as handle:
        handle.write('<?xml version="1.0" encoding="utf-8"?>\n' + header + '<spectrumList count="0">\n')
        number = 0
        for rt, k, level, scan, count, xml, voltage in heapq.merge(*streams, key=lambda item: item[0]):
            number += 1
            spectrum_voltage = scan_voltage = ""
            if with_voltages and voltage != "none":
                param = cv_param(FAIMS_CV, "FAIMS compensation voltage", voltage, ("UO:0000218", "volt"))
                spectrum_voltage, scan_voltage = (param, "") if k == 0 else ("", param)
            xml = xml.replace("{VOLTAGE_SPECTRUM}", spectrum_voltage).replace("{VOLTAGE_SCAN}", scan_voltage)
            xml = retimed(xml, rt)
            if level == 1:
                last_ms1[k] = number
            xml = xml.replace("{PRECURSOR_REF}", "scan=%d" % last_ms1.get(k, 0))
            handle.write('<spectrum index="%d" id="scan=%d" defaultArrayLength="%d">%s</spectrum>\n'
                         % (number - 1, number, count, xml))
            lines.append("%d\t%d\t%d\n" % (number, k, scan))
        handle.write("</spectrumList></run></mzML>\n")
    if map_path:
        with open(map_path, "w") as handle:
            handle.writelines(lines)


def retimed(xml, seconds):
    """The scan start time in seconds, so that merged times rise with the merged order."""
    return re.sub(r'(<cvParam[^>]*accession="MS:1000016"[^>]*value=")[^"]*("[^>]*/>)',
                  lambda m: m.group(1) + repr(round(seconds, 6)) + re.sub(
                      r'unitAccession="[^"]*" unitName="[^"]*"', 'unitAccession="UO:0000010" unitName="second"',
                      m.group(2)), xml, count=1)


def minimal_header():
    return ('<mzML xmlns="%s" version="1.1.0"><cvList count="2"><cv id="MS" fullName="PSI-MS"/>'
            '<cv id="UO" fullName="Unit Ontology"/></cvList><fileDescription><fileContent>'
            '%s</fileContent></fileDescription><softwareList count="1"><software id="make_faims_run" version="1">'
            '%s</software></softwareList><instrumentConfigurationList count="1"><instrumentConfiguration id="IC1">'
            '<componentList count="1"><analyzer order="1">%s</analyzer></componentList></instrumentConfiguration>'
            '</instrumentConfigurationList><dataProcessingList count="1"><dataProcessing id="DP1">'
            '<processingMethod order="1" softwareRef="make_faims_run">%s</processingMethod></dataProcessing>'
            '</dataProcessingList><run id="merged" defaultInstrumentConfigurationRef="IC1">\n'
            % (MZML_NS, cv_param("MS:1000580", "MSn spectrum"), cv_param("MS:1000799", "custom unreleased software tool"),
               cv_param("MS:1000484", "orbitrap"), cv_param("MS:1000544", "Conversion to mzML")))


def main(argv):
    with_voltages = True
    map_path = None
    args = list(argv)
    while args and args[0].startswith("--"):
        option = args.pop(0)
        if option == "--no-voltages":
            with_voltages = False
        elif option == "--map":
            map_path = args.pop(0)
        else:
            sys.exit("unknown option " + option)
    if len(args) < 3 or len(args) % 2 != 1:
        sys.exit(__doc__)
    out = args[0]
    inputs = [(args[i], args[i + 1]) for i in range(1, len(args), 2)]
    write_merged(out, inputs, with_voltages, map_path)


if __name__ == "__main__":
    main(sys.argv[1:])
