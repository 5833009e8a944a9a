// Scoring throughput: candidates scored per second by the default model ("4") and by the
// two-model combination ("15"), on deterministic feature vectors spread over the models' knots.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "scoring/mars_model.h"
#include "scoring/score_candidates.h"
#include "scoring/threshold_filter.h"
#include "tests/support/table_adapters.h"

namespace {

constexpr std::size_t kCandidates = 100000;

std::vector<corvid::PrecursorFeatures> makeCandidates() {
  std::mt19937_64 generator(2024);
  std::uniform_real_distribution<double> unit(-0.05, 1.0);
  std::uniform_int_distribution<int> charge(2, 6);
  std::uniform_real_distribution<double> mass(600.0, 5000.0);
  std::uniform_real_distribution<double> spread(0.0, 10.0);
  std::vector<corvid::PrecursorFeatures> candidates(kCandidates);
  for (corvid::PrecursorFeatures& features : candidates) {
    features = {double(charge(generator)), unit(generator), spread(generator), unit(generator),
                unit(generator), unit(generator), double(charge(generator)), double(charge(generator)),
                mass(generator), 0.0, unit(generator), unit(generator), unit(generator)};
  }
  return candidates;
}

void scoreWithModel(benchmark::State& state, const char* model) {
  const corvid::ParameterTable parameters{{"mars_model", model}};
  const std::vector<corvid::PrecursorFeatures> source = makeCandidates();
  std::vector<corvid::PrecursorFeatures> features;
  std::vector<double> scores;
  scores.reserve(kCandidates);
  for (auto _ : state) {
    state.PauseTiming();
    features = source;
    // As detection leaves them: room for the appended score.
    for (corvid::PrecursorFeatures& candidate : features) candidate.reserve(16);
    scores.clear();
    state.ResumeTiming();
    corvid::scoreCandidates(parameters, features, scores);
    benchmark::DoNotOptimize(scores.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kCandidates));
}

void BM_ScoreModel4(benchmark::State& state) { scoreWithModel(state, "4"); }
void BM_ScoreModel15(benchmark::State& state) { scoreWithModel(state, "15"); }

// The evaluation alone, on vectors already in memory: the cost of the model itself.
void BM_EvaluateModel4(benchmark::State& state) {
  const std::vector<corvid::PrecursorFeatures> source = makeCandidates();
  for (auto _ : state) {
    double sum = 0.0;
    for (const corvid::PrecursorFeatures& features : source) {
      sum += corvid::scoreByChoice(corvid::MarsModelChoice::kModel4, features);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kCandidates));
}

// Threshold filter on 100000 candidates in scans of 1 to 8 candidates.
void BM_FilterByThreshold(benchmark::State& state) {
  std::mt19937_64 generator(7);
  std::uniform_real_distribution<double> score(-2.0, 2.0);
  std::uniform_int_distribution<int> perScan(1, 8);
  std::vector<corvid::PrecursorRecord> source;
  std::vector<double> scores;
  double scan = 1.0;
  while (source.size() < kCandidates) {
    const int count = perScan(generator);
    for (int i = 0; i < count; ++i) {
      source.push_back({scan, 2.0, 500.0 + i});
      scores.push_back(score(generator));
    }
    scan += 1.0;
  }
  const corvid::ParameterTable parameters{{"mars_threshold", "-0.34"}};
  std::vector<corvid::PrecursorRecord> records;
  for (auto _ : state) {
    state.PauseTiming();
    records = source;
    state.ResumeTiming();
    corvid::filterByThreshold(parameters, scores, records);
    benchmark::DoNotOptimize(records.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}

}  // namespace

BENCHMARK(BM_ScoreModel4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScoreModel15)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EvaluateModel4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FilterByThreshold)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
