// Time to load the shipped 15000-row isotope pattern table (done once per file pair).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "detection/isotope_pattern_table.h"
#include "tests/support/table_adapters.h"

namespace {

// The shipped table, found from this source file's place in the tree (bench/ beside data/).
std::string shippedTablePath() {
  return (std::filesystem::path(__FILE__).parent_path().parent_path() / "data" / "IPV.txt")
      .string();
}

void BM_LoadIsotopePatternTable(benchmark::State& state) {
  const std::string path = shippedTablePath();
  const auto bytes = static_cast<int64_t>(std::filesystem::file_size(path));
  for (auto _ : state) {
    corvid::loadIsotopePatternTable(path, corvid::runIsotopeTable());
    benchmark::DoNotOptimize(corvid::runIsotopeTable().rows[14999][4]);
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK(BM_LoadIsotopePatternTable)->Unit(benchmark::kMicrosecond);

void BM_IsotopePatternLookup(benchmark::State& state) {
  double mass = 0.25;
  for (auto _ : state) {
    benchmark::DoNotOptimize(corvid::isotopePattern(corvid::runIsotopeTable(), mass));
    mass = mass < 14999.0 ? mass + 7.3 : 0.25;
  }
}
BENCHMARK(BM_IsotopePatternLookup);

}  // namespace

BENCHMARK_MAIN();
