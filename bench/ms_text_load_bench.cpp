// Loading throughput of the MS1 and MS2 text loaders on deterministically generated files.
//
// The files are written once into a private temporary folder (removed at exit) and then loaded
// repeatedly, so the figures are those of a warm page cache: the scanner's own speed. Size of
// each file: CORVID_BENCH_BYTES (default 128 MiB; 1073741824 for the 1 GB figures).
// Counters: bytes_per_second (MB/s), spectra, peaks and peak_rss_MB (getrusage ru_maxrss of the
// whole process so far; run one benchmark per process with --benchmark_filter for its own peak).
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"

namespace {

constexpr std::int64_t kDefaultBytes = std::int64_t{128} << 20;
constexpr int kPeaksPerScan = 400;

std::int64_t benchBytes() {
  const char* text = std::getenv("CORVID_BENCH_BYTES");
  if (text == nullptr) return kDefaultBytes;
  const long long value = std::atoll(text);
  return value > 0 ? value : kDefaultBytes;
}

struct Lcg {
  std::uint64_t state = 88172645463325252ULL;
  std::uint32_t next() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<std::uint32_t>(state >> 33);
  }
};

void appendNumber(std::string& out, std::uint64_t value) {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, result.ptr);
}

// value with a fixed number of decimals, e.g. (123456789, 6) -> "123.456789".
void appendFixed(std::string& out, std::uint64_t scaled, int decimals) {
  std::uint64_t divisor = 1;
  for (int i = 0; i < decimals; ++i) divisor *= 10;
  appendNumber(out, scaled / divisor);
  out += '.';
  char fraction[24];
  std::uint64_t rest = scaled % divisor;
  for (int i = decimals - 1; i >= 0; --i) {
    fraction[i] = static_cast<char>('0' + rest % 10);
    rest /= 10;
  }
  out.append(fraction, static_cast<std::size_t>(decimals));
}

// Realistic peak lines such as "123.456789 12345.6\r\n", ascending m/z within a scan.
void appendPeaks(std::string& out, Lcg& random) {
  std::uint64_t mz = 150000000 + random.next() % 1000000;
  for (int k = 0; k < kPeaksPerScan; ++k) {
    mz += 100000 + random.next() % 4000000;
    appendFixed(out, mz, 6);
    out += ' ';
    appendFixed(out, 1000 + random.next() % 9000000, 1);
    out += "\r\n";
  }
}

void writeGenerated(const std::string& path, std::int64_t bytes, bool ms2) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    std::exit(1);
  }
  Lcg random;
  std::string block = "H\tCreationDate\tMon Jan 01 00:00:00 2024\r\nH\tExtractor\tQuarry\r\n";
  std::int64_t written = 0;
  for (std::uint64_t scan = 1; written < bytes; ++scan) {
    block += "S\t";
    appendNumber(block, scan);
    block += '\t';
    appendNumber(block, scan);
    if (ms2) {
      block += '\t';
      appendFixed(block, 400000000 + random.next() % 1000000000, 6);
    }
    block += "\r\nI\tRetTime\t";
    appendFixed(block, scan * 37, 4);
    if (ms2) {
      block += "\r\nI\tIonInjectionTime\t";
      appendFixed(block, random.next() % 100000, 3);
      block += "\r\nI\tActivationType\tHCD\r\nI\tInstrumentType\tFTMS\r\nI\tActivationCenter\t";
      appendFixed(block, 400000000 + random.next() % 1000000000, 6);
      block += "\r\nI\tPrecursorScan\t";
      appendNumber(block, scan);
      block += "\r\nZ\t2\t";
      appendFixed(block, 800000000 + random.next() % 2000000000, 6);
    } else {
      block += "\r\nI\tInstrumentType\tFTMS";
    }
    block += "\r\n";
    appendPeaks(block, random);
    if (block.size() > (1u << 20) || written + static_cast<std::int64_t>(block.size()) >= bytes) {
      std::fwrite(block.data(), 1, block.size(), file);
      written += static_cast<std::int64_t>(block.size());
      block.clear();
    }
  }
  // Written back to disk before anything is timed, so write-back does not compete with loading.
  std::fflush(file);
  fsync(fileno(file));
  std::fclose(file);
}

struct GeneratedFiles {
  std::filesystem::path folder;
  std::string ms1;
  std::string ms2;
  GeneratedFiles() {
    folder = std::filesystem::temp_directory_path() /
             ("corvid_text_bench_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    ms1 = (folder / "bench.ms1").string();
    ms2 = (folder / "bench.ms2").string();
    writeGenerated(ms1, benchBytes(), false);
    writeGenerated(ms2, benchBytes(), true);
  }
  ~GeneratedFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
};

const GeneratedFiles& generatedFiles() {
  static const GeneratedFiles files;
  return files;
}

double peakRssMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;  // Linux reports kilobytes
}

void BM_LoadMS1Text(benchmark::State& state) {
  const std::string& path = generatedFiles().ms1;
  const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(path));
  std::int64_t spectra = 0;
  std::int64_t peaks = 0;
  for (auto _ : state) {
    corvid::MS1File ms1;
    corvid::loadMS1File(path, ms1);
    spectra = ms1.spectrumCount;
    peaks = 0;
    for (const corvid::MS1Spectrum& s : ms1.spectra)
      peaks += static_cast<std::int64_t>(s.peaks.size());
    benchmark::DoNotOptimize(ms1.spectra.data());
  }
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["spectra"] = static_cast<double>(spectra);
  state.counters["peaks"] = static_cast<double>(peaks);
  state.counters["peak_rss_MB"] = peakRssMegabytes();
}

void BM_LoadMS2Text(benchmark::State& state) {
  const std::string& path = generatedFiles().ms2;
  const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(path));
  std::int64_t spectra = 0;
  std::int64_t peaks = 0;
  for (auto _ : state) {
    corvid::MS2File ms2;
    corvid::loadMS2File(path, ms2);
    spectra = ms2.spectrumCount;
    peaks = 0;
    for (const corvid::MS2Spectrum& s : ms2.spectra)
      peaks += static_cast<std::int64_t>(s.peaks.size());
    benchmark::DoNotOptimize(ms2.spectra.data());
  }
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["spectra"] = static_cast<double>(spectra);
  state.counters["peaks"] = static_cast<double>(peaks);
  state.counters["peak_rss_MB"] = peakRssMegabytes();
}

BENCHMARK(BM_LoadMS1Text)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadMS2Text)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
