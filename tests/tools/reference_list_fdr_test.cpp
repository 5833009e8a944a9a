// corvid-reference-list's choice of PSMs: one per spectrum, then the target-decoy or q-value cut,
// on small examples worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tools/reference_list/fdr_cut.h"

namespace corvid::reflist {
namespace {

Psm psm(long scan, double score, bool decoy, double qValue = std::nan("")) {
  Psm p;
  p.scan = scan;
  p.spectrumKey = "scan " + std::to_string(scan);
  p.score = score;
  p.isDecoy = decoy;
  p.qValue = qValue;
  return p;
}

std::vector<long> scans(const std::vector<Psm>& psms) {
  std::vector<long> out;
  for (const Psm& p : psms) out.push_back(p.scan);
  return out;
}

// Ranked by score (lower is better), T = target, D = decoy; FDR = D / T after each step:
//   scan 1 T 0.001 -> 0/1 = 0      scan 6 T 0.005 -> 1/5 = 0.2
//   scan 2 T 0.002 -> 0/2 = 0      scan 7 D 0.006 -> 2/5 = 0.4
//   scan 3 D 0.003 -> 1/2 = 0.5    scan 8 D 0.007 -> 3/5 = 0.6
//   scans 4, 5 T 0.004 (one step) -> 1/4 = 0.25
//   scan 9 T 0.008 -> 3/6 = 0.5
// q-values (minimum from the worst up): 9: 0.5, 8: 0.5, 7: 0.4, 6: 0.2, 5/4: 0.2, 3: 0.2, 2: 0, 1: 0.
// Given in shuffled order: the result keeps the input order.
std::vector<Psm> handExample(bool higherIsBetter) {
  const double sign = higherIsBetter ? -1.0 : 1.0;
  return {psm(6, sign * 0.005, false), psm(3, sign * 0.003, true), psm(9, sign * 0.008, false),
          psm(1, sign * 0.001, false), psm(8, sign * 0.007, true), psm(4, sign * 0.004, false),
          psm(2, sign * 0.002, false), psm(7, sign * 0.006, true), psm(5, sign * 0.004, false)};
}

TEST(ReferenceListFdr, HandComputedExample) {
  const auto psms = handExample(false);
  CutResult cut = cutAtFdr(psms, 0.1, true);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{1, 2}));
  EXPECT_EQ(cut.targets, 6U);
  EXPECT_EQ(cut.decoys, 3U);
  EXPECT_DOUBLE_EQ(cut.scoreThreshold, 0.002);

  cut = cutAtFdr(psms, 0.2, true);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{6, 1, 4, 2, 5}));
  EXPECT_DOUBLE_EQ(cut.scoreThreshold, 0.005);

  cut = cutAtFdr(psms, 0.5, true);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{6, 9, 1, 4, 2, 5}));
  EXPECT_DOUBLE_EQ(cut.scoreThreshold, 0.008);

  cut = cutAtFdr(psms, 0.0, true);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{1, 2}));
}

TEST(ReferenceListFdr, HigherIsBetterGivesTheSameCut) {
  const CutResult cut = cutAtFdr(handExample(true), 0.2, false);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{6, 1, 4, 2, 5}));
  EXPECT_DOUBLE_EQ(cut.scoreThreshold, -0.005);
}

TEST(ReferenceListFdr, TiedTargetAndDecoyFormOneStep) {
  // The top step holds a target and a decoy: FDR 1/1, so nothing passes 50 %; the target
  // below it lowers the FDR to 1/2 for both steps.
  const std::vector<Psm> psms = {psm(1, 1.0, false), psm(2, 1.0, true), psm(3, 2.0, false)};
  EXPECT_TRUE(cutAtFdr(psms, 0.4, true).kept.empty());
  EXPECT_EQ(scans(cutAtFdr(psms, 0.5, true).kept), (std::vector<long>{1, 3}));
}

TEST(ReferenceListFdr, OnlyDecoysOrNoScoreKeepsNothing) {
  const std::vector<Psm> psms = {psm(1, 1.0, true), psm(2, std::nan(""), false)};
  const CutResult cut = cutAtFdr(psms, 1.0, true);
  EXPECT_TRUE(cut.kept.empty());
  EXPECT_EQ(cut.withoutValue, 1U);
  EXPECT_TRUE(std::isnan(cut.scoreThreshold));
  EXPECT_TRUE(cutAtFdr({}, 0.01, true).kept.empty());
}

TEST(ReferenceListFdr, QValueCutKeepsTargetsAtOrBelow) {
  const std::vector<Psm> psms = {psm(1, 0, false, 0.01), psm(2, 0, true, 0.0), psm(3, 0, false, 0.011),
                                 psm(4, 0, false), psm(5, 0, false, 0.0)};
  const CutResult cut = cutAtQValue(psms, 0.01);
  EXPECT_EQ(scans(cut.kept), (std::vector<long>{1, 5}));
  EXPECT_EQ(cut.targets, 3U);
  EXPECT_EQ(cut.decoys, 1U);
  EXPECT_EQ(cut.withoutValue, 1U);
}

TEST(ReferenceListFdr, BestPsmPerSpectrum) {
  std::vector<Psm> psms = {psm(1, 0.5, false, 0.2), psm(2, 0.1, true, 0.3), psm(1, 0.01, false, 0.4),
                           psm(3, std::nan(""), false), psm(3, 0.7, false, 0.1), psm(1, 0.01, true, 0.5)};
  // By score (lower better): scan 1 -> the 0.01 target (first of the tie), scan 3 -> the scored one.
  auto best = bestPsmPerSpectrum(psms, false, true);
  ASSERT_EQ(scans(best), (std::vector<long>{1, 2, 3}));
  EXPECT_DOUBLE_EQ(best[0].score, 0.01);
  EXPECT_FALSE(best[0].isDecoy);
  EXPECT_DOUBLE_EQ(best[2].score, 0.7);
  // Higher is better: scan 1 -> 0.5.
  best = bestPsmPerSpectrum(psms, false, false);
  EXPECT_DOUBLE_EQ(best[0].score, 0.5);
  // By q-value: scan 1 -> q 0.2, scan 3 -> q 0.1.
  best = bestPsmPerSpectrum(psms, true, false);
  EXPECT_DOUBLE_EQ(best[0].qValue, 0.2);
  EXPECT_DOUBLE_EQ(best[2].qValue, 0.1);
}

}  // namespace
}  // namespace corvid::reflist
