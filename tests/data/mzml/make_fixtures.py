#!/usr/bin/env python3
"""Writes the small mzML/mzXML fixtures of the open-format extractor tests.

Values are chosen to be exact in 32-bit floats, so the expected MS1/MS2 text can be checked by
eye. Run from this folder; the expected .ms1/.ms2 files are kept beside the fixtures.
"""
import base64
import struct
import zlib


def array(values, bits, compress, big_endian=False):
    order = ">" if big_endian else "<"
    code = "f" if bits == 32 else "d"
    raw = struct.pack(order + code * len(values), *values)
    if compress:
        raw = zlib.compress(raw)
    return base64.b64encode(raw).decode()


def binary_array(kind, values, bits, compress, declared=None, units=False):
    mz_unit = ' unitCvRef="MS" unitAccession="MS:1000040" unitName="m/z"' if units else ""
    count_unit = ' unitCvRef="MS" unitAccession="MS:1000131" unitName="number of detector counts"' if units else ""
    kind_term = (f'<cvParam cvRef="MS" accession="MS:1000514" name="m/z array"{mz_unit}/>' if kind == "mz"
                 else f'<cvParam cvRef="MS" accession="MS:1000515" name="intensity array"{count_unit}/>')
    bits_term = ('<cvParam cvRef="MS" accession="MS:1000521" name="32-bit float"/>' if bits == 32
                 else '<cvParam cvRef="MS" accession="MS:1000523" name="64-bit float"/>')
    comp_term = ('<cvParam cvRef="MS" accession="MS:1000574" name="zlib compression"/>' if compress
                 else '<cvParam cvRef="MS" accession="MS:1000576" name="no compression"/>')
    text = array(values, bits, compress)
    length = "" if declared is None else f' arrayLength="{declared}"'
    return (f'          <binaryDataArray encodedLength="{len(text)}"{length}>\n'
            f'            {bits_term}\n            {comp_term}\n            {kind_term}\n'
            f'            <binary>{text}</binary>\n          </binaryDataArray>\n')


def spectrum(index, native_id, level, rt, rt_unit, peaks, mz_bits, int_bits, mz_zlib, int_zlib,
             filter_text=None, precursor=None, config=None, injection=None, complete=False):
    """complete=True adds what a schema- and semantically valid file needs: units on every m/z,
    the spectrum representation and the arrays' data processing."""
    mzs = [p[0] for p in peaks]
    ints = [p[1] for p in peaks]
    out = [f'      <spectrum index="{index}" id="{native_id}" defaultArrayLength="{len(peaks)}">\n',
           f'        <cvParam cvRef="MS" accession="MS:1000511" name="ms level" value="{level}"/>\n']
    mz_unit = ' unitCvRef="MS" unitAccession="MS:1000040" unitName="m/z"' if complete else ""
    if complete:
        kind = ("MS:1000579", "MS1 spectrum") if level == 1 else ("MS:1000580", "MSn spectrum")
        out.append(f'        <cvParam cvRef="MS" accession="{kind[0]}" name="{kind[1]}"/>\n'
                   '        <cvParam cvRef="MS" accession="MS:1000127" name="centroid spectrum"/>\n')
    if filter_text:
        out.append(f'        <cvParam cvRef="MS" accession="MS:1000512" name="filter string" value="{filter_text}"/>\n')
    unit = ('unitAccession="UO:0000031" unitName="minute"' if rt_unit == "min"
            else 'unitAccession="UO:0000010" unitName="second"')
    scan_ref = f' instrumentConfigurationRef="{config}"' if config else ""
    combination = ('          <cvParam cvRef="MS" accession="MS:1000795" name="no combination"/>\n'
                   if complete else "")
    out.append('        <scanList count="1">\n' + combination +
               f'          <scan{scan_ref}>\n'
               f'            <cvParam cvRef="MS" accession="MS:1000016" name="scan start time" value="{rt}" {unit}/>\n')
    if injection is not None:
        out.append(f'            <cvParam cvRef="MS" accession="MS:1000927" name="ion injection time" value="{injection}" unitAccession="UO:0000028"/>\n')
    out.append('          </scan>\n        </scanList>\n')
    if precursor:
        ref = f' spectrumRef="{precursor["ref"]}"' if precursor.get("ref") else ""
        out.append(f'        <precursorList count="1">\n          <precursor{ref}>\n')
        if "target" in precursor:
            out.append('            <isolationWindow>\n'
                       f'              <cvParam cvRef="MS" accession="MS:1000827" name="isolation window target m/z" value="{precursor["target"]}"{mz_unit}/>\n'
                       '            </isolationWindow>\n')
        out.append('            <selectedIonList count="1">\n              <selectedIon>\n'
                   f'                <cvParam cvRef="MS" accession="MS:1000744" name="selected ion m/z" value="{precursor["mz"]}"{mz_unit}/>\n')
        if "charge" in precursor:
            out.append(f'                <cvParam cvRef="MS" accession="MS:1000041" name="charge state" value="{precursor["charge"]}"/>\n')
        out.append('              </selectedIon>\n            </selectedIonList>\n'
                   f'            <activation>\n              <cvParam cvRef="MS" accession="{precursor["activation"]}" name="{ACTIVATION_NAMES[precursor["activation"]] if complete else "activation"}"/>\n'
                   '            </activation>\n          </precursor>\n        </precursorList>\n')
    out.append('        <binaryDataArrayList count="2">\n')
    out.append(binary_array("mz", mzs, mz_bits, mz_zlib, units=complete))
    out.append(binary_array("int", ints, int_bits, int_zlib, units=complete))
    out.append('        </binaryDataArrayList>\n      </spectrum>\n')
    return "".join(out)


HEADER = '''<?xml version="1.0" encoding="utf-8"?>
<indexedmzML xmlns="http://psi.hupo.org/ms/mzml">
  <mzML xmlns="http://psi.hupo.org/ms/mzml" version="1.1.0">
    <cvList count="1"><cv id="MS" fullName="PSI-MS" URI="http://example.org/psi-ms.obo"/></cvList>
    <instrumentConfigurationList count="2">
      <instrumentConfiguration id="IC_FT">
        <componentList count="1"><analyzer order="1"><cvParam cvRef="MS" accession="MS:1000484" name="orbitrap"/></analyzer></componentList>
      </instrumentConfiguration>
      <instrumentConfiguration id="IC_IT">
        <componentList count="1"><analyzer order="1"><cvParam cvRef="MS" accession="MS:1000291" name="linear ion trap"/></analyzer></componentList>
      </instrumentConfiguration>
    </instrumentConfigurationList>
    <run id="small" defaultInstrumentConfigurationRef="IC_FT">
      <spectrumList count="7">
'''
FOOTER = '''      </spectrumList>
    </run>
  </mzML>
  <indexListOffset>0</indexListOffset>
</indexedmzML>
'''

CID = "MS:1000133"
HCD = "MS:1000422"
ETD = "MS:1000598"
PQD = "MS:1000599"
ACTIVATION_NAMES = {CID: "collision-induced dissociation", HCD: "beam-type collision-induced dissociation",
                    ETD: "electron transfer dissociation", PQD: "pulsed q dissociation"}


def small_mzml():
    s = [
        spectrum(0, "controllerType=0 controllerNumber=1 scan=1", 1, 1.0, "min",
                 [(400.5, 1000.25), (445.125, 20000.5), (800.0, 0.5)], 64, 32, False, True,
                 filter_text="FTMS + p NSI Full ms [300.00-2000.00]"),
        spectrum(1, "controllerType=0 controllerNumber=1 scan=2", 2, 61.5, "s",
                 [(150.25, 10.5), (300.75, 200.125)], 32, 64, True, False,
                 precursor={"ref": "controllerType=0 controllerNumber=1 scan=1", "target": 445.12,
                            "mz": 445.1234, "charge": 2, "activation": CID},
                 config="IC_IT", injection=12.5),
        spectrum(2, "controllerType=0 controllerNumber=1 scan=3", 2, 62.0, "s",
                 [(200.5, 5.0)], 64, 64, False, False,
                 precursor={"mz": 500.25, "activation": HCD}),
        spectrum(3, "controllerType=0 controllerNumber=1 scan=4", 2, 62.5, "s",
                 [(210.5, 6.0)], 32, 32, False, False,
                 precursor={"ref": "controllerType=0 controllerNumber=1 scan=1", "target": 600.5,
                            "mz": 600.5, "charge": 3, "activation": PQD}, config="IC_IT"),
        spectrum(4, "controllerType=0 controllerNumber=1 scan=5", 2, 63.0, "s",
                 [(220.5, 7.0), (330.5, 8.0)], 64, 32, True, True,
                 precursor={"ref": "controllerType=0 controllerNumber=1 scan=1", "target": 700.25,
                            "mz": 700.3, "charge": 3, "activation": ETD}, config="IC_IT"),
        spectrum(5, "controllerType=0 controllerNumber=1 scan=6", 3, 63.5, "s",
                 [(110.5, 1.0)], 64, 64, False, False,
                 precursor={"ref": "controllerType=0 controllerNumber=1 scan=5", "target": 330.5,
                            "mz": 330.5, "activation": CID}, config="IC_IT"),
        spectrum(6, "controllerType=0 controllerNumber=1 scan=7", 1, 64.0, "s", [], 64, 32, False, False),
    ]
    return HEADER + "".join(s) + FOOTER


def unordered_mzml():
    # MS1 spectra first, each level numbered on its own, as merged files come.
    s = [
        spectrum(0, "spectrum=10", 1, 10.0, "s", [(400.5, 1.5)], 64, 32, False, False),
        spectrum(1, "spectrum=11", 1, 20.0, "s", [(410.5, 2.5)], 64, 32, False, False),
        spectrum(2, "spectrum=5", 2, 12.0, "s", [(150.5, 3.5)], 64, 32, False, False,
                 precursor={"target": 445.5, "mz": 445.5, "charge": 2, "activation": CID}),
        spectrum(3, "spectrum=6", 2, 22.0, "s", [(160.5, 4.5)], 64, 32, False, False,
                 precursor={"ref": "spectrum=10", "target": 455.5, "mz": 455.5, "charge": 2,
                            "activation": CID}),
    ]
    return HEADER.replace('count="7"', 'count="4"') + "".join(s) + FOOTER


def mzxml_peaks(peaks, bits, compress):
    flat = [v for p in peaks for v in p]
    text = array(flat, bits, compress, big_endian=True)
    comp = ' compressionType="zlib"' if compress else ' compressionType="none"'
    return (f'<peaks precision="{bits}" byteOrder="network" contentType="m/z-int"{comp}>'
            f'{text}</peaks>')


def small_mzxml():
    return f'''<?xml version="1.0" encoding="ISO-8859-1"?>
<mzXML xmlns="http://sashimi.sourceforge.net/schema_revision/mzXML_3.2">
  <msRun scanCount="3">
    <msInstrument msInstrumentID="1">
      <msManufacturer category="msManufacturer" value="Thermo Scientific"/>
      <msMassAnalyzer category="msMassAnalyzer" value="orbitrap"/>
    </msInstrument>
    <scan num="21" msLevel="1" peaksCount="2" retentionTime="PT100.5S" msInstrumentID="1">
      {mzxml_peaks([(400.5, 1000.25), (500.75, 2000.5)], 32, True)}
      <scan num="22" msLevel="2" peaksCount="2" retentionTime="PT101S" filterLine="ITMS + c NSI d Full ms2 445.12@cid35.00 [120.00-900.00]">
        <precursorMz precursorScanNum="21" precursorIntensity="1000.0" precursorCharge="2">445.12</precursorMz>
        {mzxml_peaks([(150.25, 10.5), (300.75, 200.125)], 64, False)}
      </scan>
      <scan num="23" msLevel="2" peaksCount="1" retentionTime="PT1.7M">
        <precursorMz precursorIntensity="10.0" activationMethod="HCD">500.25</precursorMz>
        {mzxml_peaks([(200.5, 5.0)], 32, False)}
      </scan>
    </scan>
  </msRun>
</mzXML>
'''


def read_ms_text(path):
    """The spectra of an MS1/MS2 text file: scan, I-line values, charge and [M+H]+, peaks."""
    spectra = []
    for line in open(path):
        fields = line.rstrip("\r\n").split("\t")
        if fields[0] == "S":
            spectra.append({"scan": int(fields[1]), "info": {}, "peaks": [], "z": None})
        elif fields[0] == "I" and spectra:
            spectra[-1]["info"][fields[1]] = fields[2]
        elif fields[0] == "Z":
            spectra[-1]["z"] = (int(fields[1]), float(fields[2]))
        elif spectra and fields[0] and fields[0][0].isdigit():
            mz, intensity = line.split()
            spectra[-1]["peaks"].append((float(mz), float(intensity)))
    return spectra


def coeluting_mzml():
    """The co-eluting pair fixture (../pair/run1: 500.25 2+ and 500.90 3+ in every CID window) as
    an mzML file, for the corrected-mzML tests."""
    activations = {"CID": CID, "HCD": HCD, "ETD": ETD}
    ms1 = [dict(s, level=1) for s in read_ms_text("../pair/run1.ms1")]
    ms2 = [dict(s, level=2) for s in read_ms_text("../pair/run1.ms2")]
    out = []
    for index, s in enumerate(sorted(ms1 + ms2, key=lambda s: s["scan"])):
        info = s["info"]
        config = "IC_IT" if info.get("InstrumentType") == "ITMS" else "IC_FT"
        precursor = None
        if s["level"] == 2:
            charge, mh = s["z"]
            precursor = {"ref": f"scan={info['PrecursorScan']}", "target": float(info["ActivationCenter"]),
                         "mz": round((mh + (charge - 1) * 1.007276) / charge, 6), "charge": charge,
                         "activation": activations[info["ActivationType"]]}
        out.append(spectrum(index, f"scan={s['scan']}", s["level"], float(info["RetTime"]), "s", s["peaks"],
                            64, 64, False, False, precursor=precursor, config=config, complete=True))
    # Unindexed on purpose: the corrected copy must be indexed all the same.
    return (VALID_HEADER.replace("SPECTRUM_COUNT", str(len(out))) + "".join(out) +
            "      </spectrumList>\n    </run>\n  </mzML>\n")


# A header with everything the mzML 1.1 schema requires, so that validators find no fault.
VALID_HEADER = '''<?xml version="1.0" encoding="utf-8"?>
  <mzML xmlns="http://psi.hupo.org/ms/mzml" version="1.1.0">
    <cvList count="2">
      <cv id="MS" fullName="Proteomics Standards Initiative Mass Spectrometry Ontology" version="4.1.0" URI="https://raw.githubusercontent.com/HUPO-PSI/psi-ms-CV/master/psi-ms.obo"/>
      <cv id="UO" fullName="Unit Ontology" version="09:04:2014" URI="https://raw.githubusercontent.com/bio-ontology-research-group/unit-ontology/master/unit.obo"/>
    </cvList>
    <fileDescription>
      <fileContent>
        <cvParam cvRef="MS" accession="MS:1000579" name="MS1 spectrum"/>
        <cvParam cvRef="MS" accession="MS:1000580" name="MSn spectrum"/>
      </fileContent>
    </fileDescription>
    <softwareList count="1">
      <software id="fixture_writer" version="1.0">
        <cvParam cvRef="MS" accession="MS:1000799" name="custom unreleased software tool" value="make_fixtures.py"/>
      </software>
    </softwareList>
    <instrumentConfigurationList count="2">
      <instrumentConfiguration id="IC_FT">
        <cvParam cvRef="MS" accession="MS:1000031" name="instrument model"/>
        <componentList count="3">
          <source order="1"><cvParam cvRef="MS" accession="MS:1000073" name="electrospray ionization"/></source>
          <analyzer order="2"><cvParam cvRef="MS" accession="MS:1000484" name="orbitrap"/></analyzer>
          <detector order="3"><cvParam cvRef="MS" accession="MS:1000624" name="inductive detector"/></detector>
        </componentList>
      </instrumentConfiguration>
      <instrumentConfiguration id="IC_IT">
        <cvParam cvRef="MS" accession="MS:1000031" name="instrument model"/>
        <componentList count="3">
          <source order="1"><cvParam cvRef="MS" accession="MS:1000073" name="electrospray ionization"/></source>
          <analyzer order="2"><cvParam cvRef="MS" accession="MS:1000291" name="linear ion trap"/></analyzer>
          <detector order="3"><cvParam cvRef="MS" accession="MS:1000253" name="electron multiplier"/></detector>
        </componentList>
      </instrumentConfiguration>
    </instrumentConfigurationList>
    <dataProcessingList count="1">
      <dataProcessing id="fixture_processing">
        <processingMethod order="0" softwareRef="fixture_writer">
          <cvParam cvRef="MS" accession="MS:1000544" name="Conversion to mzML"/>
        </processingMethod>
      </dataProcessing>
    </dataProcessingList>
    <run id="coeluting" defaultInstrumentConfigurationRef="IC_FT">
      <spectrumList count="SPECTRUM_COUNT" defaultDataProcessingRef="fixture_processing">
'''


if __name__ == "__main__":
    for name, text in (("small.mzML", small_mzml()), ("unordered.mzML", unordered_mzml()),
                       ("nested.mzXML", small_mzxml()), ("coeluting.mzML", coeluting_mzml())):
        with open(name, "w", newline="\n") as f:
            f.write(text)
