#!/usr/bin/env python3
"""Writes the mzML/mzXML fixtures of the extractor's peak-repair tests.

Peaks out of m/z order (equal m/z values among them, whose order must survive the sort), peaks
with NaN, infinite or negative values, and files without MS1 spectra. Values are exact in 32-bit
floats so the expected .ms1/.ms2 text in expected/ can be checked by eye. Run from this folder;
the spectrum and array writers are those of ../mzml/make_fixtures.py.
"""
import importlib.util
import os

HERE = os.path.dirname(os.path.abspath(__file__))
_spec = importlib.util.spec_from_file_location(
    "mzml_fixtures", os.path.join(HERE, "..", "mzml", "make_fixtures.py"))
base = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(base)

NAN = float("nan")
INF = float("inf")
CID = base.CID
HCD = base.HCD
REF1 = "controllerType=0 controllerNumber=1 scan=1"


def mzml(spectra):
    header = base.HEADER.replace('count="7"', f'count="{len(spectra)}"')
    return header + "".join(spectra) + base.FOOTER


def ms1(index, rt, peaks, mz_bits=64, int_bits=32, mz_zlib=False, int_zlib=False):
    return base.spectrum(index, f"controllerType=0 controllerNumber=1 scan={index + 1}", 1, rt,
                         "s", peaks, mz_bits, int_bits, mz_zlib, int_zlib,
                         filter_text="FTMS + p NSI Full ms [300.00-2000.00]")


def ms2(index, rt, peaks, target, charge=2, activation=CID, ref=REF1, mz_bits=64, int_bits=32,
        mz_zlib=False, int_zlib=False):
    precursor = {"target": target, "mz": target, "charge": charge, "activation": activation}
    if ref:
        precursor["ref"] = ref
    return base.spectrum(index, f"controllerType=0 controllerNumber=1 scan={index + 1}", 2, rt,
                         "s", peaks, mz_bits, int_bits, mz_zlib, int_zlib, precursor=precursor,
                         config="IC_IT", injection=10.0)


# Two spectra out of order (one with two peaks at 400.5 whose order must be kept), one in order.
UNSORTED = [
    [(500.25, 3.0), (400.5, 1.0), (450.125, 2.0), (400.5, 4.0)],
    [(300.75, 20.5), (150.25, 10.5), (225.5, 0.0)],
    [(100.5, 1.0), (200.5, 2.0)],
]

# Six bad peaks in five spectra: NaN m/z, infinite and negative intensities, a negative m/z, a
# peak negative in both values (in a spectrum also out of order) and a spectrum left empty.
# Zero intensities stay.
BAD = [
    [(400.5, 1.0), (NAN, 5.0), (450.25, 0.0), (500.5, 2.0)],
    [(150.25, INF), (160.5, 3.0), (170.5, -2.0)],
    [(-5.0, 1.0), (180.5, 4.0)],
    [(195.5, 1.5), (190.5, 2.5), (-1.0, -1.0)],
    [(NAN, NAN)],
    [(210.5, 6.0)],
]


def unsorted_mzml():
    return mzml([
        ms1(0, 10.0, UNSORTED[0], mz_zlib=True),
        ms2(1, 11.0, UNSORTED[1], 450.125, int_bits=64, int_zlib=True),
        ms2(2, 12.0, UNSORTED[2], 500.25, activation=HCD),
    ])


def bad_mzml():
    return mzml([
        ms1(0, 10.0, BAD[0]),
        ms2(1, 11.0, BAD[1], 400.5, mz_bits=32, int_bits=64),
        ms2(2, 12.0, BAD[2], 450.25, mz_zlib=True, int_zlib=True),
        ms2(3, 13.0, BAD[3], 500.5),
        ms2(4, 14.0, BAD[4], 500.5),
        ms2(5, 15.0, BAD[5], 400.5),
    ])


def ms2_only_mzml():
    return mzml([
        ms2(0, 11.0, [(150.25, 10.5), (300.75, 20.5)], 450.125, ref=None),
        ms2(1, 12.0, [(100.5, 1.0)], 500.25, ref=None, activation=HCD),
    ])


def mzxml_scan(num, level, rt, peaks, precursor=None, bits=32, compress=False):
    text = (f'    <scan num="{num}" msLevel="{level}" peaksCount="{len(peaks)}" '
            f'retentionTime="PT{rt}S" msInstrumentID="1">\n')
    if precursor is not None:
        ref = f' precursorScanNum="{precursor[1]}"' if precursor[1] else ""
        text += (f'      <precursorMz{ref} precursorIntensity="100.0" precursorCharge="2" '
                 f'activationMethod="CID">{precursor[0]}</precursorMz>\n')
    return text + f'      {base.mzxml_peaks(peaks, bits, compress)}\n    </scan>\n'


def mzxml(scans):
    return ('<?xml version="1.0" encoding="ISO-8859-1"?>\n'
            '<mzXML xmlns="http://sashimi.sourceforge.net/schema_revision/mzXML_3.2">\n'
            f'  <msRun scanCount="{len(scans)}">\n'
            '    <msInstrument msInstrumentID="1">\n'
            '      <msMassAnalyzer category="msMassAnalyzer" value="orbitrap"/>\n'
            '    </msInstrument>\n' + "".join(scans) + '  </msRun>\n</mzXML>\n')


def unsorted_mzxml():
    return mzxml([
        mzxml_scan(1, 1, 10.0, UNSORTED[0], bits=64, compress=True),
        mzxml_scan(2, 2, 11.0, UNSORTED[1], (450.125, 1)),
        mzxml_scan(3, 2, 12.0, UNSORTED[2], (500.25, 1), bits=64),
    ])


def bad_mzxml():
    return mzxml([
        mzxml_scan(1, 1, 10.0, BAD[0]),
        mzxml_scan(2, 2, 11.0, BAD[1], (400.5, 1), bits=64),
        mzxml_scan(3, 2, 12.0, BAD[2], (450.25, 1), compress=True),
        mzxml_scan(4, 2, 13.0, BAD[3], (500.5, 1)),
        mzxml_scan(5, 2, 14.0, BAD[4], (500.5, 1)),
        mzxml_scan(6, 2, 15.0, BAD[5], (400.5, 1)),
    ])


def ms2_only_mzxml():
    return mzxml([
        mzxml_scan(1, 2, 11.0, [(150.25, 10.5), (300.75, 20.5)], (450.125, 0)),
        mzxml_scan(2, 2, 12.0, [(100.5, 1.0)], (500.25, 0)),
    ])


if __name__ == "__main__":
    os.chdir(HERE)
    for name, text in (("unsorted.mzML", unsorted_mzml()), ("bad_peaks.mzML", bad_mzml()),
                       ("ms2_only.mzML", ms2_only_mzml()), ("unsorted.mzXML", unsorted_mzxml()),
                       ("bad_peaks.mzXML", bad_mzxml()), ("ms2_only.mzXML", ms2_only_mzxml())):
        with open(name, "w", newline="\n") as f:
            f.write(text)
