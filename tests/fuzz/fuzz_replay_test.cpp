// Runs every fuzz target over its corpus (tests/fuzz/corpus/<target>/) and over a deterministic
// sweep of random and mutated inputs, so that the targets guard every ordinary test run.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/test_support.h"

namespace corvid::fuzz {
namespace {

namespace fs = std::filesystem;
using Target = std::function<int(const std::uint8_t*, std::size_t)>;

// The seeds of a target's corpus folder. A missing or empty folder fails the test: random bytes
// alone would pass without ever reaching the structure the seeds reach.
std::vector<std::string> corpusSeeds(const fs::path& folder) {
  std::vector<std::string> seeds;
  if (fs::is_directory(folder)) {
    for (const auto& entry : fs::directory_iterator(folder)) seeds.push_back(corvid::testing::readFile(entry.path()));
  }
  EXPECT_FALSE(seeds.empty()) << "the corpus folder " << folder.string() << " is missing or empty";
  return seeds;
}

// Seeds from the corpus, then random bytes and byte-level mutations of each seed.
void replay(const std::string& corpus, const Target& target, int sweeps = 200) {
  const std::vector<std::string> seeds =
      corpusSeeds(fs::path(CORVID_SOURCE_DIR) / "tests" / "fuzz" / "corpus" / corpus);
  for (const std::string& seed : seeds) target(reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size());
  std::mt19937 random(20261122);
  for (int i = 0; i < sweeps; ++i) {
    std::string input;
    if (!seeds.empty() && i % 2 == 0) {
      input = seeds[static_cast<std::size_t>(i / 2) % seeds.size()];
      const int edits = 1 + static_cast<int>(random() % 8);
      for (int e = 0; e < edits && !input.empty(); ++e) {
        const std::size_t at = random() % input.size();
        switch (random() % 3) {
          case 0: input[at] = static_cast<char>(random()); break;
          case 1: input.erase(at, 1 + random() % 16); break;
          default: input.insert(at, input.substr(at, random() % 64)); break;
        }
      }
    } else {
      input.resize(random() % 2048);
      for (char& c : input) c = static_cast<char>(random());
    }
    target(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  }
}

TEST(FuzzReplay, MissingOrEmptyCorpusFolderFailsNamingIt) {
  const corvid::testing::TempDir root;
  const fs::path missing = root.path() / "missing_corpus";
  EXPECT_NONFATAL_FAILURE(corpusSeeds(missing), "the corpus folder " + missing.string() + " is missing or empty");
  const fs::path empty = root.path() / "empty_corpus";
  fs::create_directories(empty);
  EXPECT_NONFATAL_FAILURE(corpusSeeds(empty), "the corpus folder " + empty.string() + " is missing or empty");
  corvid::testing::writeFile(empty / "seed.txt", "seed");
  EXPECT_EQ(corpusSeeds(empty), std::vector<std::string>{"seed"});
}

TEST(FuzzReplay, ParameterFile) { replay("parameter_file", fuzzParameterFile); }
TEST(FuzzReplay, Ms1Text) { replay("ms1", fuzzMs1Text); }
TEST(FuzzReplay, Ms2Text) { replay("ms2", fuzzMs2Text); }
TEST(FuzzReplay, Mgf) { replay("mgf", fuzzMgf); }
TEST(FuzzReplay, ReferenceList) { replay("reference_list", fuzzReferenceList); }
TEST(FuzzReplay, OpenFormat) { replay("open_format", fuzzOpenFormat, 100); }
TEST(FuzzReplay, MzXML) { replay("mzxml", fuzzMzXML, 100); }
TEST(FuzzReplay, XmlStream) { replay("xml_stream", fuzzXmlStream, 300); }
TEST(FuzzReplay, GzipInput) { replay("gzip_input", fuzzGzipInput, 200); }

}  // namespace
}  // namespace corvid::fuzz
