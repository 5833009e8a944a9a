#!/usr/bin/python3
"""Trains the classifier of precision_mode from simulated runs with known truth.

Usage: train_precision_model.py OUT_MODEL RUN_DIR:TABLE [RUN_DIR:TABLE ...] [--check FIXTURE_TSV SCANS]

RUN_DIR holds NAME.truth.tsv (one row per MS2 scan and ion really in its isolation window);
TABLE is Corvid's NAME.precursors.tsv of that run written in precision mode with every candidate
kept (precision_mode = 1, output_all_mars_y = 1, output_table = 1). A candidate is labelled real
when a true ion of charge 2 or more lies within 10 ppm of its m/z with the same charge.

The classifier sees 12 of the 13 detection features (not the m/z spread, which measures the
instrument's calibration), the window share, the default model's score and eight values that
compare the candidate with the others of its scan (see context_values). It is a gradient-boosted
tree ensemble (scikit-learn's HistGradientBoostingClassifier, fixed seed, no early stopping), so
the same runs give the same file. The probability to keep a candidate is chosen by leaving each
run out in turn: the highest one at which recall over the ions with at least 10 % of the window's
current stays within one point of what the plain threshold keeps. A scan whose candidates are all
improbable reports none (the yardstick counts such a scan as reporting nothing).

With --check, the first SCANS scans of the first table and their probabilities are written to
FIXTURE_TSV with their probabilities and places among the kept ones (0: dropped), for the C++ test
that holds Corvid's evaluation of the model to this one.
"""
import csv
import sys
from collections import defaultdict

import numpy as np
from sklearn.ensemble import HistGradientBoostingClassifier

PPM = 10.0
ISOTOPE_SPACING = 1.00286  # Corvid's spacing for isotope echoes
ECHO_PPM = 20.0
DETECTED = ['f_charge', 'f_max_similarity', 'f_mz_spread', 'f_mono_plus_one_cosine', 'f_isotope_share',
            'f_minus_one_mono_cosine', 'f_isotope_peaks_in_window', 'f_isotope_length', 'f_charge_times_mz',
            'f_elution_boundaries', 'f_precursor_ion_fraction', 'f_shifted_similarity_one',
            'f_shifted_similarity_two']
# The m/z spread is left out: it measures the instrument's calibration (the simulator's m/z error
# here), which another instrument does not share.
FEATURES = [name for name in DETECTED if name != 'f_mz_spread'] + ['f_window_share']
PIF = FEATURES.index('f_precursor_ion_fraction')
SHARE = FEATURES.index('f_window_share')
CONTEXT = ['rank', 'score_below_best', 'candidates_in_scan', 'relative_pif', 'isotope_of_better',
           'other_charge_of_better', 'better_is_its_isotope', 'relative_window_share']
SETTINGS = dict(max_iter=100, max_leaf_nodes=15, learning_rate=0.1, early_stopping=False, random_state=1)
THRESHOLDS = [round(0.05 * k, 2) for k in range(2, 15)]


def load_truth(path, zmin=2):
    scans = defaultdict(list)
    with open(path) as f:
        header = f.readline().rstrip('\n').split('\t')
        for line in f:
            row = dict(zip(header, line.rstrip('\n').split('\t')))
            scan = int(row['scan'])
            scans[scan]  # scans with nothing true still count
            if row['feature'] == '-1' or int(row['charge']) < zmin:
                continue
            scans[scan].append((float(row['mono_mz']), int(row['charge']), float(row['share'])))
    for ions in scans.values():
        ions.sort(key=lambda t: -t[2])
    return scans


def same_precursor(a, b):
    """Same charge and m/z within ECHO_PPM (Corvid's isSamePrecursor)."""
    mz_a, mz_b = float(a['mz']), float(b['mz'])
    return int(a['charge']) == int(b['charge']) and abs(mz_a - mz_b) <= mz_b * ECHO_PPM * 1e-6


def load_table(path):
    """Rows of Corvid's candidates (rank 0 rows: recorded precursors, no candidate) and each scan's
    recorded precursor. A candidate that is the same precursor as an earlier one of its scan (the
    table lists a scan's candidates best first) is left out, as Corvid leaves it out; its m/z joins
    the earlier one's 'readings', whose mean Corvid reports."""
    rows, recorded = [], {}
    scan_rows = []
    with open(path) as f:
        for row in csv.DictReader(f, delimiter='\t'):
            recorded[int(row['scan'])] = (float(row['recorded_mz']), int(row['recorded_charge']))
            if row['rank'] == '0':
                continue
            if scan_rows and scan_rows[0]['scan'] != row['scan']:
                scan_rows = []
            earlier = next((e for e in scan_rows if same_precursor(row, e)), None)
            if earlier is not None:
                earlier['readings'].append(float(row['mz']))
                continue
            row['readings'] = [float(row['mz'])]
            scan_rows.append(row)
            rows.append(row)
    return rows, recorded


def reported_mz(row):
    """The mean of the candidate's readings, summed best first as Corvid sums them."""
    readings = row['readings']
    return sum(readings) / len(readings)


def matches(mz, z, ion):
    return z == ion[1] and abs(mz - ion[0]) <= ion[0] * PPM * 1e-6


def on_isotope(mz, mono, z, first, last):
    for k in range(first, last + 1):
        peak = mono + k * ISOTOPE_SPACING / z
        if abs(mz - peak) <= peak * ECHO_PPM * 1e-6:
            return True
    return False


def explained(mz, z, better_mz, better_z):
    """Whether the better candidate's envelope holds this one (same rule as Corvid's)."""
    if z <= 0 or better_z <= 0:
        return False
    if z == better_z:
        return on_isotope(mz, better_mz, better_z, 1, 3)
    harmonic = z % better_z == 0 or better_z % z == 0
    return on_isotope(mz, better_mz, better_z, 0, 3 if harmonic else 0)


def scans_of(rows):
    by_scan = defaultdict(list)
    for i, row in enumerate(rows):
        by_scan[row['scan']].append(i)
    return by_scan


def context_values(rows):
    """Per candidate: CONTEXT, from the candidates of its scan in descending score order (the table's
    order); 'better' means a strictly greater score."""
    out = [None] * len(rows)
    for idx in scans_of(rows).values():
        score = [float(rows[i]['score']) for i in idx]
        pif = [float(rows[i]['f_precursor_ion_fraction']) for i in idx]
        share = [float(rows[i]['f_window_share']) for i in idx]
        top_share = max(share)
        mz = [float(rows[i]['mz']) for i in idx]
        z = [int(rows[i]['charge']) for i in idx]
        top_pif = max(pif)
        for a in range(len(idx)):
            isotope = other = below = 0
            for b in range(a):
                if not score[b] > score[a]:
                    continue
                if z[a] == z[b]:
                    isotope |= explained(mz[a], z[a], mz[b], z[b])
                    below |= explained(mz[b], z[b], mz[a], z[a])
                else:
                    other |= explained(mz[a], z[a], mz[b], z[b])
            out[idx[a]] = [a, score[a] - score[0], len(idx), pif[a] / top_pif if top_pif > 0 else 0.0,
                           int(isotope), int(other), int(below), share[a] / top_share if top_share > 0 else 0.0]
    return out


def inputs(rows):
    context = context_values(rows)
    return np.array([[float(r[f]) for f in FEATURES] + [float(r['score'])] + c for r, c in zip(rows, context)])


def labels(rows, truth):
    return np.array([int(any(matches(float(r['mz']), int(r['charge']), ion) for ion in truth.get(int(r['scan']), [])))
                     for r in rows])


CO_ISOLATED_SCORE = -0.34
LEAST_PROBABILITY = 0.1  # never reported at or below this
SCORE = len(FEATURES)


def clear_co_isolated(x):
    """Passes the default threshold and lies on no better candidate's envelope, nor a better one on
    its own: kept unless improbable."""
    context = x[SCORE + 1:]
    return (x[SCORE] > CO_ISOLATED_SCORE and context[CONTEXT.index('isotope_of_better')] == 0 and
            context[CONTEXT.index('other_charge_of_better')] == 0 and
            context[CONTEXT.index('better_is_its_isotope')] == 0)


def select(rows, X, probability, keep):
    """The precursors Corvid reports: scan -> [(mean m/z of the readings, z)], best first."""
    return {scan: [(reported_mz(rows[i]), int(rows[i]['charge'])) for i in kept]
            for scan, kept in choose(rows, X, probability, keep).items()}


def choose(rows, X, probability, keep):
    """Corvid's rule: keep p > keep, and clear co-isolated candidates with p > LEAST_PROBABILITY; a
    scan with none kept keeps the candidate of greatest p times window share when its p is above
    LEAST_PROBABILITY; kept ones ordered by p times window share (ties in table order). Returns
    scan -> [row index]."""
    chosen = {}
    for scan, idx in scans_of(rows).items():
        carried = {i: probability[i] * X[i][SHARE] for i in idx}
        kept = [i for i in idx
                if probability[i] > keep or (clear_co_isolated(X[i]) and probability[i] > LEAST_PROBABILITY)]
        if not kept:
            likeliest = idx[0]
            for i in idx[1:]:
                if carried[i] > carried[likeliest]:
                    likeliest = i
            if probability[likeliest] > LEAST_PROBABILITY:
                kept = [likeliest]
        kept.sort(key=lambda i: -carried[i])
        chosen[int(scan)] = kept
    return chosen


def figures(truth, chosen, recorded):
    """R_10, P, top1, reports per scan, as the yardstick counts them (the recorded precursor stands
    for a scan with nothing chosen when recorded has it: the default mode's report)."""
    n10 = hit10 = reports = good = top = top_ok = 0
    for scan, ions in truth.items():
        reported = chosen.get(scan) or ([recorded[scan]] if scan in recorded else [])
        reports += len(reported)
        good += sum(1 for mz, z in reported if any(matches(mz, z, ion) for ion in ions))
        for ion in ions:
            if ion[2] >= 0.10:
                n10 += 1
                hit10 += any(matches(mz, z, ion) for mz, z in reported)
        if ions and ions[0][2] > 0:
            top += 1
            top_ok += bool(reported) and matches(reported[0][0], reported[0][1], ions[0])
    return hit10 / n10, good / reports, top_ok / top, reports / len(truth)


def plain_figures(truth, rows, recorded, threshold=-0.34):
    chosen = defaultdict(list)
    for r in rows:
        if float(r['score']) > threshold:
            chosen[int(r['scan'])].append((float(r['mz']), int(r['charge'])))
    return figures(truth, chosen, recorded)


def train(X, y):
    return HistGradientBoostingClassifier(**SETTINGS).fit(X, y)


def write_model(path, model, keep, names):
    baseline = float(np.ravel(model._baseline_prediction)[0])
    with open(path, 'w', newline='\n') as out:
        out.write('# Corvid precision_mode classifier: gradient-boosted trees over the inputs below.\n')
        out.write('# Written by tools/precision_model/train_precision_model.py; retrain with retrain.sh.\n')
        out.write('corvid-boosted-trees 1\n')
        out.write('inputs %d %s\n' % (len(FEATURES) + 1 + len(CONTEXT), ' '.join(FEATURES + ['score'] + CONTEXT)))
        out.write('keep_probability %r\n' % keep)
        out.write('baseline %r\n' % baseline)
        out.write('trees %d\n' % len(model._predictors))
        for predictors in model._predictors:
            nodes = predictors[0].nodes
            out.write('tree %d\n' % len(nodes))
            for node in nodes:
                if node['is_leaf']:
                    out.write('leaf %r\n' % float(node['value']))
                else:
                    out.write('split %d %r %d %d %d\n' % (node['feature_idx'], float(node['num_threshold']),
                                                        int(node['missing_go_to_left']), node['left'], node['right']))
    print('wrote %s (%d trees, trained on %s, keep p > %s)' % (path, len(model._predictors), ', '.join(names), keep))


def main(argv):
    check = None
    if '--check' in argv:
        at = argv.index('--check')
        check = (argv[at + 1], int(argv[at + 2]))
        del argv[at:at + 3]
    out_path, pairs = argv[0], argv[1:]
    runs = []
    for pair in pairs:
        run_dir, table = pair.split(':', 1)
        name = table.rsplit('/', 1)[-1].split('.')[0]
        truth = load_truth('%s/%s.truth.tsv' % (run_dir, name))
        rows, recorded = load_table(table)
        runs.append((name, truth, rows, recorded, inputs(rows), labels(rows, truth)))
        print('%s: %d candidates, %d real' % (name, len(rows), runs[-1][5].sum()))

    # Leave each run out: figures of the plain threshold and of every keep probability.
    held = {}
    for k, (name, truth, rows, recorded, X, y) in enumerate(runs):
        others = [r for j, r in enumerate(runs) if j != k]
        model = train(np.vstack([r[4] for r in others]), np.concatenate([r[5] for r in others]))
        probability = model.predict_proba(X)[:, 1]
        held[name] = {t: figures(truth, select(rows, X, probability, t), {}) for t in THRESHOLDS}
        held[name]['plain'] = plain_figures(truth, rows, recorded)
    mean = lambda key, i: sum(held[n][key][i] for n in held) / len(held)
    keep = THRESHOLDS[0]
    for t in THRESHOLDS:
        if mean(t, 0) >= mean('plain', 0) - 0.01:
            keep = t
    print('left-out runs (R_10 P top1 n/scan):')
    for name in held:
        for key in ('plain', keep):
            print('  %-8s %-6s %s' % (name, key, ' '.join('%.3f' % v for v in held[name][key])))

    model = train(np.vstack([r[4] for r in runs]), np.concatenate([r[5] for r in runs]))
    write_model(out_path, model, keep, [r[0] for r in runs])

    if check:
        path, count = check
        name, truth, rows, recorded, X, y = runs[0]
        first = sorted({int(r['scan']) for r in rows})[:count]
        probability = model.predict_proba(X)[:, 1]
        chosen = choose(rows, X, probability, keep)
        with open(path, 'w', newline='\n') as out:
            out.write('\t'.join(['scan', 'mz', 'charge', 'score'] + DETECTED + ['f_window_share', 'probability',
                                                                                'kept_as']) + '\n')
            for i, r in enumerate(rows):
                if int(r['scan']) in first:
                    kept = chosen[int(r['scan'])]
                    place = kept.index(i) + 1 if i in kept else 0
                    out.write('\t'.join([r['scan'], r['mz'], r['charge'], r['score']] + [r[f] for f in DETECTED] +
                                        [r['f_window_share']] +
                                        [repr(float(probability[i])), str(place)]) + '\n')
        print('wrote %s (%d scans)' % (path, count))


if __name__ == '__main__':
    main(sys.argv[1:])
