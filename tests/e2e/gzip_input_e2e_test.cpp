// Gzip-compressed mzML and mzXML inputs through the real binary: every spelling, as a plain
// argument, a data path and a folder, gives the results of the uncompressed file byte for byte;
// damaged and truncated files fail with the compressed offset, strict status 11 and no outputs.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/bsa1_copy.h"
#include "tests/support/gzip_support.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kFixtures = fs::path(CORVID_TEST_DATA_DIR) / "mzml";
const std::vector<std::string> kResultOptions = {"--output_kx=1", "--output_mgf=1", "--strict_exit=1"};

// The results and extraction products in a folder (CSV, MGF, KX2 and its index, MS1/MS2 text), by name.
std::map<std::string, std::string> resultsIn(const fs::path& folder) {
  std::map<std::string, std::string> results;
  for (const std::string& name : namesIn(folder)) {
    const std::string extension = fs::path(name).extension().string();
    for (const char* kept : {".csv", ".mgf", ".kx2", ".kx2idx", ".ms1", ".ms2"})
      if (extension == kept) results[name] = readFile(folder / name);
  }
  return results;
}

std::vector<std::string> withOptions(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), kResultOptions.begin(), kResultOptions.end());
  return arguments;
}

// The fixture run uncompressed, as a plain argument: what every compressed run must give.
std::map<std::string, std::string> plainResults(const std::string& fixture) {
  TempDir dir;
  fs::copy_file(kFixtures / fixture, dir.path() / fixture);
  const RunResult run = runCorvid(dir.path(), withOptions({fixture}));
  EXPECT_EQ(run.status, 0) << run.out;
  return resultsIn(dir.path());
}

TEST(GzipInputEndToEnd, EverySpellingAndRouteGivesTheUncompressedResults) {
  const std::map<std::string, std::string> expected = plainResults("coeluting.mzML");
  ASSERT_TRUE(expected.count("coeluting.csv") && expected.count("coeluting_HCDFT.kx2") &&
              expected.count("coeluting_HCDFT.mgf"))
      << expected.size();
  const std::string compressed = gzipMember(readFile(kFixtures / "coeluting.mzML"));
  for (const char* ending : {".mzML.gz", ".mzml.GZ", ".MZML.gz", ".mzML.GZ", ".mzml.gz"}) {
    const std::string name = std::string("coeluting") + ending;
    for (const char* route : {"argument", "datapath", "folder"}) {
      TempDir dir;
      writeFile(dir.path() / name, compressed);
      const std::string how = std::string(route);
      const RunResult run = how == "argument" ? runCorvid(dir.path(), withOptions({name}))
                            : how == "datapath"
                                ? runCorvid(dir.path(), withOptions({"-D", (dir.path() / name).string()}))
                                : runCorvid(dir.path(), withOptions({"-D", dir.folder(), "-F", "mzml"}));
      ASSERT_EQ(run.status, 0) << name << " " << route << "\n" << run.out;
      EXPECT_EQ(run.out.find("The data path"), std::string::npos) << run.out;
      EXPECT_TRUE(fs::exists(dir.path() / "coeluting.quarry")) << name << " " << route;
      EXPECT_EQ(resultsIn(dir.path()), expected) << name << " " << route;
    }
  }
}

TEST(GzipInputEndToEnd, CompressedMzXMLMultiMemberAndMisnamedFiles) {
  TempDir plain;
  writeFile(plain.path() / "run.mzML", readFile(kFixtures / "coeluting.mzML"));
  ASSERT_EQ(runCorvid(plain.path(), withOptions({"run.mzML"})).status, 0);
  const std::map<std::string, std::string> expected = resultsIn(plain.path());
  const std::string text = readFile(kFixtures / "coeluting.mzML");
  // pigz and bgzip write several members; a compressed file may also be named as an uncompressed one.
  for (const auto& [name, bytes] : std::map<std::string, std::string>{
           {"run.mzML.gz", gzipMembers(text, 5) + gzipMember("")}, {"run.mzML", gzipMember(text)}}) {
    TempDir dir;
    writeFile(dir.path() / name, bytes);
    const RunResult run = runCorvid(dir.path(), withOptions({name}));
    ASSERT_EQ(run.status, 0) << name << "\n" << run.out;
    EXPECT_EQ(resultsIn(dir.path()), expected) << name;
  }
  // mzXML: its extraction products equal the uncompressed file's, in a folder of mzXML files.
  TempDir xmlPlain, xmlPacked;
  fs::copy_file(kFixtures / "nested.mzXML", xmlPlain.path() / "nested.mzXML");
  writeFile(xmlPacked.path() / "nested.mzXML.GZ", gzipMember(readFile(kFixtures / "nested.mzXML")));
  const RunResult first = runCorvid(xmlPlain.path(), {"-D", xmlPlain.folder(), "-F", "mzxml"});
  const RunResult second = runCorvid(xmlPacked.path(), {"-D", xmlPacked.folder(), "-F", "mzxml"});
  EXPECT_EQ(second.status, first.status) << second.out;
  EXPECT_TRUE(fs::exists(xmlPacked.path() / "nested.ms2")) << second.out;
  EXPECT_EQ(resultsIn(xmlPacked.path()), resultsIn(xmlPlain.path()));
}

TEST(GzipInputEndToEnd, FolderWithBothFilesOfAStemProcessesTheUncompressedOne) {
  TempDir dir;
  fs::copy_file(kFixtures / "coeluting.mzML", dir.path() / "coeluting.mzML");
  writeFile(dir.path() / "coeluting.mzML.gz", gzipMember(readFile(kFixtures / "coeluting.mzML")));
  const RunResult run = runCorvid(dir.path(), withOptions({"-D", dir.folder(), "-F", "mzml"}));
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("coeluting.mzML.gz is skipped: coeluting.mzML in the same folder is processed "
                         "instead (both would give coeluting.ms1, coeluting.ms2 and coeluting.csv)."),
            std::string::npos)
      << run.out;
  EXPECT_NE(readFile(dir.path() / "coeluting.quarry").find("input coeluting.mzML\r\n"), std::string::npos);
}

TEST(GzipInputEndToEnd, FolderWithTwoCompressedFilesOfAStemProcessesTheFirstListed) {
  TempDir dir;
  const std::string compressed = gzipMember(readFile(kFixtures / "coeluting.mzML"));
  writeFile(dir.path() / "coeluting.mzML.gz", compressed);
  writeFile(dir.path() / "coeluting.mzML.GZ", compressed);
  const RunResult run = runCorvid(dir.path(), withOptions({"-D", dir.folder(), "-F", "mzml"}));
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("coeluting.mzML.gz is skipped: coeluting.mzML.GZ in the same folder is processed instead"),
            std::string::npos)
      << run.out;
}

// The corrected mzML copies the input's own bytes: a compressed input says it gets none.
TEST(GzipInputEndToEnd, CorrectedMzMLIsNotWrittenForACompressedInput) {
  TempDir dir;
  writeFile(dir.path() / "coeluting.mzML.gz", gzipMember(readFile(kFixtures / "coeluting.mzML")));
  const RunResult run = runCorvid(dir.path(), {"coeluting.mzML.gz", "--output_mzml=1", "--strict_exit=1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("output_mzml: no corrected mzML for coeluting: it is not written for gzip-compressed inputs; "
                         "decompress the input to get it."),
            std::string::npos)
      << run.out;
  EXPECT_FALSE(fs::exists(dir.path() / "coeluting.corrected.mzML"));
}

// The files a failed run leaves beside its input: none of the extraction's or the results'.
void expectNoOutputs(const fs::path& folder, const std::string& input) {
  for (const std::string& name : namesIn(folder)) {
    if (name == input || name.starts_with(".") || name.ends_with(".log") || name.ends_with(".txt")) continue;
    ADD_FAILURE() << name << " left in " << folder;
  }
}

TEST(GzipInputEndToEnd, TruncatedAndDamagedFilesFailWithStatus11AndNoOutputs) {
  const std::string compressed = gzipMember(readFile(kFixtures / "coeluting.mzML"));
  std::string damaged = compressed;
  damaged[damaged.size() - 6] = static_cast<char>(damaged[damaged.size() - 6] ^ 0x55);
  const std::size_t cut = compressed.size() / 2;
  const std::map<std::string, std::string> problems = {
      {compressed.substr(0, cut), "the gzip data ends early at byte " + std::to_string(cut) + " (truncated file)"},
      {damaged, "the gzip data is damaged at byte " + std::to_string(damaged.size() - 4) + " (incorrect data check)"}};
  for (const auto& [bytes, problem] : problems) {
    TempDir dir;
    writeFile(dir.path() / "coeluting.mzML.gz", bytes);
    const fs::path input = dir.path() / "coeluting.mzML.gz";
    const RunResult run = runCorvid(dir.path(), withOptions({"-D", input.string()}));
    EXPECT_EQ(run.status, 11) << run.out;
    EXPECT_NE(run.out.find("Cannot extract " + input.string() + ": " + problem + " \n"), std::string::npos) << run.out;
    expectNoOutputs(dir.path(), "coeluting.mzML.gz");
  }
}

using Bsa1GzipEndToEnd = Bsa1Copy;

TEST_F(Bsa1GzipEndToEnd, CompressedBsa1GivesTheUncompressedResults) {
  RunResult run = runCorvid(dir.path(), withOptions({"-D", (data / "BSA1.mzML").string()}));
  ASSERT_EQ(run.status, 0) << run.out;
  const std::map<std::string, std::string> expected = resultsIn(data);
  const fs::path packed = dir.path() / "packed";
  fs::create_directories(packed);
  writeFile(packed / "BSA1.mzML.gz", gzipMembers(readFile(data / "BSA1.mzML"), 4));
  run = runCorvid(dir.path(), withOptions({"-D", packed.string(), "-F", "mzML"}));
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(resultsIn(packed), expected);
  // Unchanged, the compressed file's extraction is reused.
  run = runCorvid(dir.path(), withOptions({"-D", (packed / "BSA1.mzML.gz").string(), "-r", "1"}));
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("Reusing the earlier extraction of BSA1.mzML.gz"), std::string::npos) << run.out;
  EXPECT_EQ(resultsIn(packed), expected);
}

}  // namespace
}  // namespace corvid
