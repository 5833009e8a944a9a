#!/usr/bin/env python3
"""Writes planted co-isolation cases for precision_mode, one MS1/MS2 text pair per case.

Each case is a few peptides eluting together (Gaussian over 12 FTMS MS1 scans) among sparse noise
peaks, and one CID/ion-trap MS2 scan after every MS1 scan isolating 2 Th around a centre. Isotope
envelopes follow a Poisson law in the peptide mass (averagine-like). Deterministic.

  keep_charges   600.30 2+ and 600.55 3+: different charges whose envelopes interleave
  keep_isotope   700.40 2+ and 700.90 2+: the second starts one isotope above the first
  keep_shares    650.30 2+ (95 % of the current) and 650.90 3+ (5 %)
  mean_readings  720.40 2+ alone, its centroids 0.0021 Th low, right and high in turn from one MS1
                 scan to the next: any three neighbouring scans read it right on average
"""
import math
import sys

PROTON = 1.007276
SPACING = 1.00286
CASES = {
    'keep_charges': (600.80, [(600.30, 2, 2.0e6), (600.55, 3, 1.5e6)]),
    'keep_isotope': (701.00, [(700.40, 2, 2.0e6), (700.90151, 2, 1.6e6)]),
    'keep_shares': (650.70, [(650.30, 2, 3.8e6), (650.90, 3, 0.2e6)]),
    'mean_readings': (720.90, [(720.40, 2, 2.0e6)], 0.0058),
}


def reading_offset(index, jitter):
    """How far scan `index` reads the peptides off: -jitter, 0, +jitter in turn."""
    return jitter * (index % 3 - 1)


def envelope(mono, charge, height):
    mass = (mono - PROTON) * charge
    lam = mass / 1800.0  # expected heavy atoms per molecule, averagine-like
    shares = [math.exp(-lam) * lam ** k / math.factorial(k) for k in range(6)]
    top = max(shares)
    return [(mono + k * SPACING / charge, height * s / top) for k, s in enumerate(shares)]


def ms1_peaks(index, peptides, centre, jitter=0.0):
    elution = math.exp(-((index - 6) ** 2) / 8.0)
    peaks = {}
    for mono, charge, height in peptides:
        for mz, intensity in envelope(mono + reading_offset(index, jitter), charge, height * elution):
            key = round(mz, 4)
            peaks[key] = peaks.get(key, 0.0) + intensity
    for j in range(24):  # sparse noise across and beside the window
        peaks[round(centre - 6.0 + 0.517 * j + 0.013 * index, 4)] = 3.0e3 + 97.0 * ((j * 7 + index) % 11)
    return sorted((mz, i) for mz, i in peaks.items() if i > 1.0)


def write_case(folder, name, centre, peptides, jitter=0.0):
    ms1 = ["H\tExtractor\tCorvid test fixture"]
    ms2 = ["H\tExtractor\tCorvid test fixture"]
    scan = 0
    mono, charge = peptides[0][0], peptides[0][1]
    for index in range(12):
        scan += 1
        ms1 += ["S\t%06d\t%06d" % (scan, scan), "I\tRetTime\t%.4f" % (60.0 + 2.0 * index), "I\tInstrumentType\tFTMS"]
        ms1 += ["%.6f %.1f" % p for p in ms1_peaks(index, peptides, centre, jitter)]
        precursor = scan
        scan += 1
        mh = charge * mono - (charge - 1) * PROTON
        ms2 += ["S\t%06d\t%06d\t%.4f" % (scan, scan, mono), "I\tNumberOfPeaks\t3",
                "I\tRetTime\t%.4f" % (60.5 + 2.0 * index), "I\tIonInjectionTime\t10.0000",
                "I\tActivationType\tCID", "I\tInstrumentType\tITMS", "I\tPrecursorScan\t%d" % precursor,
                "I\tActivationCenter\t%.2f" % centre, "I\tMonoiosotopicMz\t%.4f" % mono,
                "Z\t%d\t%.6f" % (charge, mh), "200.100000 1000.0", "300.200000 2000.0", "400.300000 1500.0"]
    for suffix, lines in (("ms1", ms1), ("ms2", ms2)):
        with open("%s/%s.%s" % (folder, name, suffix), "wb") as out:
            out.write(("\r\n".join(lines) + "\r\n").encode())


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else "."
    for name, (centre, peptides, *jitter) in CASES.items():
        write_case(folder, name, centre, peptides, *jitter)


if __name__ == "__main__":
    main()
