// The pair scanned while the extraction writes .ms1/.ms2 must equal what loading those files
// gives, for files written as they stream and for files rewritten in another order at the end.
#include "spectra/loaded_pair.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "spectra/ms1_reader.h"
#include "spectra/open_format_extractor.h"
#include "tests/spectra/ms_text_compare.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

// Extracts `input` with a pair scanned on the way and compares it with loading the files.
void expectPairEqualsTheFiles(const std::string& input, unsigned threads) {
  TempDir temp;
  LoadedPair pair;
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "run", threads, &pair));
  const std::string ms1Path = temp.folder() + "run.ms1";
  const std::string ms2Path = temp.folder() + "run.ms2";
  MS1File ms1;
  loadMS1File(ms1Path, ms1);
  MS2File ms2;
  loadMS2File(ms2Path, ms2);
  EXPECT_EQ(pair.ms1Bytes, static_cast<std::int64_t>(std::filesystem::file_size(ms1Path)));
  EXPECT_EQ(pair.ms2Bytes, static_cast<std::int64_t>(std::filesystem::file_size(ms2Path)));
  finishMS1Load(ms1Path, pair.ms1Instrument, pair.ms1Notes, 0, pair.ms1);
  finishMS2Load(ms2Path, pair.ms2Notes, pair.ms2GroupNotes, pair.ms2);
  EXPECT_FALSE(pair.ms1.spectra.empty());
  expectSameMs1(pair.ms1, ms1);
  expectSameMs2(pair.ms2, ms2);
  EXPECT_EQ(pair.ms2.scanTable.size(), ms2.scanTable.size());
}

const std::string kFixtures = std::string(CORVID_TEST_DATA_DIR) + "/mzml/";

TEST(LoadedPair, StreamedFilesEqualTheirLoad) {
  for (unsigned threads : {1u, 2u}) {
    expectPairEqualsTheFiles(kFixtures + "small.mzML", threads);
    expectPairEqualsTheFiles(kFixtures + "coeluting.mzML", threads);
    expectPairEqualsTheFiles(kFixtures + "nested.mzXML", threads);
  }
}

TEST(LoadedPair, RewrittenFilesEqualTheirLoad) {
  // Spectra out of retention-time order: the files are renumbered and rewritten at the end.
  expectPairEqualsTheFiles(kFixtures + "unordered.mzML", 2);
}

TEST(LoadedPair, Bsa1EqualsItsLoad) {
  // BSA1 lists every MS1 spectrum first and numbers each level on its own: rewritten.
  const std::filesystem::path bsa1 = bsa1MzmlPath();
  if (!std::filesystem::exists(bsa1)) GTEST_SKIP() << "BSA1 not cached: " << bsa1;
  expectPairEqualsTheFiles(bsa1.string(), 2);
}

TEST(LoadedPair, ALargeRunIsGivenUpAndItsMemoryFreed) {
  TempDir temp;
  LoadedPair pair;
  pair.ms2ByteLimit = 100;  // smaller than the fixture's MS2 text
  ASSERT_TRUE(extractOpenFormat(kFixtures + "coeluting.mzML", temp.folder(), "run", 2, &pair));
  EXPECT_TRUE(pair.abandoned);
  EXPECT_EQ(pair.ms2ByteLimit, 100);
  EXPECT_TRUE(pair.ms1.spectra.empty());
  EXPECT_TRUE(pair.ms2.spectra.empty());
  EXPECT_FALSE(loadsLikeTheFiles(pair));
  EXPECT_FALSE(handOverPair(temp.folder() + "run.ms1", temp.folder() + "run.ms2", pair).has_value());
}

TEST(LoadedPair, IsHandedOnlyForTheFilesItWasMadeFrom) {
  TempDir temp;
  LoadedPair pair;
  ASSERT_TRUE(extractOpenFormat(kFixtures + "coeluting.mzML", temp.folder(), "run", 1, &pair));
  const std::string ms1Path = temp.folder() + "run.ms1";
  const std::string ms2Path = temp.folder() + "run.ms2";
  const std::size_t spectra = pair.ms1.spectra.size();
  std::optional<HandedOverPair> handed = handOverPair(ms1Path, ms2Path, pair);
  ASSERT_TRUE(handed.has_value());
  EXPECT_FALSE(takeHandedOverPair(handed, ms2Path, ms1Path).has_value());  // other files: released
  EXPECT_FALSE(handed.has_value());
  EXPECT_FALSE(takeHandedOverPair(handed, ms1Path, ms2Path).has_value());  // nothing held any more
  handed = handOverPair(ms1Path, ms2Path, pair);
  const std::optional<LoadedPair> taken = takeHandedOverPair(handed, temp.folder() + "./run.ms1", ms2Path);
  ASSERT_TRUE(taken.has_value());
  EXPECT_EQ(taken->ms1.spectra.size(), spectra);
  // A file changed since it was written is read again from disk.
  handed = handOverPair(ms1Path, ms2Path, pair);
  writeFile(ms2Path, readFile(ms2Path) + "\r\n");
  EXPECT_FALSE(takeHandedOverPair(handed, ms1Path, ms2Path).has_value());
  // A pair whose byte counts do not match the files is never handed over.
  LoadedPair wrong = pair;
  wrong.ms1Bytes += 1;
  EXPECT_FALSE(handOverPair(ms1Path, ms2Path, wrong).has_value());
}

}  // namespace
}  // namespace corvid
