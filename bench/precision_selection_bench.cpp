// Precision mode's classifier on scans of candidates: the shipped 100-tree model judging every
// candidate of a scan (context values, tree walks), as the selection does for each MS2 scan.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "scoring/boosted_trees.h"
#include "scoring/precise_selection.h"
#include "spectra/precursor_features.h"

namespace {

// The shipped model, found from this source file's place in the tree (bench/ beside data/).
std::string shippedModelPath() {
  return (std::filesystem::path(__FILE__).parent_path().parent_path() / "data" / "precision_model.txt").string();
}

struct Candidates {
  std::vector<corvid::PrecursorFeatures> features;
  std::vector<std::vector<corvid::RankedCandidate>> scans;
};

// Scans of `perScan` candidates with features in the ranges detection gives them; fixed seed.
Candidates makeScans(std::size_t scanCount, std::size_t perScan) {
  Candidates made;
  std::mt19937_64 random(20261124);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  made.features.resize(scanCount * perScan, corvid::PrecursorFeatures(corvid::kFeatureWindowShare + 1, 0.0));
  for (std::size_t i = 0; i < made.features.size(); ++i) {
    corvid::PrecursorFeatures& f = made.features[i];
    f[corvid::kFeatureCharge] = 2.0 + static_cast<double>(i % 4);
    f[corvid::kFeatureMaxSim] = 0.5 + 0.5 * unit(random);
    f[corvid::kFeatureMonoPlusOneCosine] = unit(random);
    f[corvid::kFeatureIsotopeShare] = unit(random);
    f[corvid::kFeatureMinusOneMonoCosine] = unit(random);
    f[corvid::kFeatureIsoPeakInWindow] = static_cast<double>(1 + i % 4);
    f[corvid::kFeatureIsoLen] = static_cast<double>(2 + i % 5);
    f[corvid::kFeatureChargeTimesMz] = 800.0 + 2000.0 * unit(random);
    f[corvid::kFeatureElutionBoundaryCount] = static_cast<double>(i % 9);
    f[corvid::kFeaturePif] = unit(random);
    f[corvid::kFeatureShiftedSimilarityOne] = unit(random);
    f[corvid::kFeatureShiftedSimilarityTwo] = unit(random);
    f[corvid::kFeatureWindowShare] = unit(random);
  }
  made.scans.resize(scanCount);
  for (std::size_t s = 0; s < scanCount; ++s) {
    for (std::size_t c = 0; c < perScan; ++c) {
      const std::size_t i = s * perScan + c;
      const double mz = 400.0 + 3.0 * unit(random);
      made.scans[s].push_back({{static_cast<double>(s), made.features[i][corvid::kFeatureCharge], mz},
                               made.features[i],
                               1.0 - 0.3 * static_cast<double>(c),
                               made.features[i][corvid::kFeatureWindowShare]});
    }
  }
  return made;
}

void BM_JudgeCandidates(benchmark::State& state) {
  const corvid::BoostedTrees model = corvid::loadBoostedTrees(shippedModelPath());
  const Candidates made = makeScans(2000, static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    double sum = 0.0;
    for (const std::vector<corvid::RankedCandidate>& scan : made.scans) {
      for (const corvid::CandidateJudgement& judgement : corvid::judgeCandidates(model, scan)) {
        sum += judgement.probability;
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(made.features.size()));
}
BENCHMARK(BM_JudgeCandidates)->Arg(1)->Arg(5)->Arg(12)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
