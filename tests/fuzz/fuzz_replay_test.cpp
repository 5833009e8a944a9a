// Runs every fuzz target over its corpus (tests/fuzz/corpus/<target>/) and over a deterministic
// sweep of random and mutated inputs, so that the targets guard every ordinary test run.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/test_support.h"

namespace corvid::fuzz {
namespace {

namespace fs = std::filesystem;
using Target = std::function<int(const std::uint8_t*, std::size_t)>;

// Seeds from the corpus, then random bytes and byte-level mutations of each seed.
void replay(const std::string& corpus, const Target& target, int sweeps = 200) {
  std::vector<std::string> seeds;
  const fs::path folder = fs::path(CORVID_SOURCE_DIR) / "tests" / "fuzz" / "corpus" / corpus;
  if (fs::exists(folder)) {
    for (const auto& entry : fs::directory_iterator(folder)) seeds.push_back(corvid::testing::readFile(entry.path()));
  }
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

TEST(FuzzReplay, ParameterFile) { replay("parameter_file", fuzzParameterFile); }
TEST(FuzzReplay, Ms1Text) { replay("ms1", fuzzMs1Text); }
TEST(FuzzReplay, Ms2Text) { replay("ms2", fuzzMs2Text); }
TEST(FuzzReplay, Mgf) { replay("mgf", fuzzMgf); }
TEST(FuzzReplay, ReferenceList) { replay("reference_list", fuzzReferenceList); }
TEST(FuzzReplay, OpenFormat) { replay("open_format", fuzzOpenFormat, 100); }
TEST(FuzzReplay, MzXML) { replay("mzxml", fuzzMzXML, 100); }
TEST(FuzzReplay, XmlStream) { replay("xml_stream", fuzzXmlStream, 300); }

}  // namespace
}  // namespace corvid::fuzz
