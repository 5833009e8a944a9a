#!/usr/bin/env python3
"""Writes run1.ms1 / run1.ms2: a tiny synthetic FTMS run with two co-eluting peptides.

Peptide A: monoisotopic m/z 500.2500, charge 2; peptide B: 500.9000, charge 3. Both elute over
the MS1 scans with a Gaussian profile. MS2 scans isolate around 500.50 (CID, ion trap) and one
HCD/FT scan isolates peptide B. Noise peaks surround them. Deterministic (no random numbers).
"""
import math

ISO = [1.0, 0.55, 0.20, 0.05, 0.01]  # roughly averagine for ~1 kDa
SPACING = 1.003


def envelope(mono, charge, height):
    return [(mono + k * SPACING / charge, height * ISO[k]) for k in range(5)]


def ms1_peaks(index):
    elution = math.exp(-((index - 6) ** 2) / 8.0)
    peaks = envelope(500.25, 2, 2.0e6 * elution) + envelope(500.90, 3, 1.0e6 * elution)
    peaks += [(495.0 + 0.731 * j, 5.0e3 + 100.0 * j) for j in range(16)]
    return sorted(p for p in peaks if p[1] > 1.0)


def main():
    ms1 = ["H\tExtractor\tCorvid test fixture"]
    ms2 = ["H\tExtractor\tCorvid test fixture"]
    scan = 0
    for index in range(12):
        scan += 1
        ms1 += ["S\t%06d\t%06d" % (scan, scan), "I\tRetTime\t%.4f" % (60.0 + 2.0 * index),
                "I\tInstrumentType\tFTMS"]
        ms1 += ["%.6f %.1f" % p for p in ms1_peaks(index)]
        precursor = scan
        for activation, analyzer, center, charge, mono in (("CID", "ITMS", 500.50, 2, 500.25),
                                                           ("HCD", "FTMS", 501.23, 3, 500.90)):
            scan += 1
            mh = charge * mono - (charge - 1) * 1.007276
            ms2 += ["S\t%06d\t%06d\t%.4f" % (scan, scan, mono), "I\tNumberOfPeaks\t3",
                    "I\tRetTime\t%.4f" % (60.5 + 2.0 * index), "I\tIonInjectionTime\t10.0000",
                    "I\tActivationType\t%s" % activation, "I\tInstrumentType\t%s" % analyzer,
                    "I\tPrecursorScan\t%d" % precursor, "I\tActivationCenter\t%.2f" % center,
                    "I\tMonoiosotopicMz\t%.4f" % mono, "Z\t%d\t%.6f" % (charge, mh),
                    "200.100000 1000.0", "300.200000 2000.0", "400.300000 1500.0"]
    for name, lines in (("run1.ms1", ms1), ("run1.ms2", ms2)):
        with open(name, "wb") as out:
            out.write(("\r\n".join(lines) + "\r\n").encode())


if __name__ == "__main__":
    main()
