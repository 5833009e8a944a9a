// The pair scanned while the extraction writes .ms1/.ms2 must equal what loading those files
// gives, for files written as they stream and for files rewritten in another order at the end.
#include "spectra/loaded_pair.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "spectra/ms1_reader.h"
#include "spectra/open_format_extractor.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

void expectSamePeaks(const std::vector<Peak>& a, const std::vector<Peak>& b, std::uint32_t scan) {
  ASSERT_EQ(a.size(), b.size()) << "scan " << scan;
  for (std::size_t i = 0; i < a.size(); ++i) {
    ASSERT_EQ(a[i].mz, b[i].mz) << "scan " << scan << " peak " << i;
    ASSERT_EQ(a[i].intensity, b[i].intensity) << "scan " << scan << " peak " << i;
  }
}

void expectSameMS1(const MS1File& a, const MS1File& b) {
  EXPECT_EQ(a.spectrumCount, b.spectrumCount);
  EXPECT_EQ(a.instrumentName, b.instrumentName);
  ASSERT_EQ(a.spectra.size(), b.spectra.size());
  for (std::size_t i = 0; i < a.spectra.size(); ++i) {
    const MS1Spectrum& x = a.spectra[i];
    const MS1Spectrum& y = b.spectra[i];
    EXPECT_EQ(x.scanNumber, y.scanNumber);
    EXPECT_EQ(x.retentionTime, y.retentionTime);
    EXPECT_EQ(x.instrumentLetter, y.instrumentLetter);
    expectSamePeaks(x.peaks, y.peaks, x.scanNumber);
  }
}

void expectSameMS2(const MS2File& a, const MS2File& b) {
  EXPECT_EQ(a.spectrumCount, b.spectrumCount);
  EXPECT_EQ(a.groupPresent, b.groupPresent);
  EXPECT_EQ(a.scanTable.size(), b.scanTable.size());
  ASSERT_EQ(a.spectra.size(), b.spectra.size());
  for (std::size_t i = 0; i < a.spectra.size(); ++i) {
    const MS2Spectrum& x = a.spectra[i];
    const MS2Spectrum& y = b.spectra[i];
    EXPECT_EQ(x.scanNumber, y.scanNumber);
    EXPECT_EQ(x.activationGroup, y.activationGroup);
    EXPECT_EQ(x.precursorMH, y.precursorMH);
    EXPECT_EQ(x.charge, y.charge);
    EXPECT_EQ(x.precursorScan, y.precursorScan);
    EXPECT_EQ(x.retentionTime, y.retentionTime);
    EXPECT_EQ(x.ionInjectionTime, y.ionInjectionTime);
    EXPECT_EQ(x.activationType, y.activationType);
    EXPECT_EQ(x.activationCode, y.activationCode);
    EXPECT_EQ(x.instrumentType, y.instrumentType);
    EXPECT_EQ(x.instrumentCode, y.instrumentCode);
    EXPECT_EQ(x.activationCenter, y.activationCenter);
    expectSamePeaks(x.peaks, y.peaks, x.scanNumber);
  }
}

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
  expectSameMS1(pair.ms1, ms1);
  expectSameMS2(pair.ms2, ms2);
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

TEST(LoadedPair, IsHandedOnlyForTheFilesItWasMadeFrom) {
  TempDir temp;
  LoadedPair pair;
  ASSERT_TRUE(extractOpenFormat(kFixtures + "coeluting.mzML", temp.folder(), "run", 1, &pair));
  const std::string ms1Path = temp.folder() + "run.ms1";
  const std::string ms2Path = temp.folder() + "run.ms2";
  const std::size_t spectra = pair.ms1.spectra.size();
  offerLoadedPair(ms1Path, ms2Path, pair);
  EXPECT_FALSE(takeLoadedPair(ms2Path, ms1Path).has_value());  // other files: released
  EXPECT_FALSE(takeLoadedPair(ms1Path, ms2Path).has_value());  // nothing held any more
  offerLoadedPair(ms1Path, ms2Path, pair);
  const std::optional<LoadedPair> taken = takeLoadedPair(temp.folder() + "./run.ms1", ms2Path);
  ASSERT_TRUE(taken.has_value());
  EXPECT_EQ(taken->ms1.spectra.size(), spectra);
  // A file changed since it was written is read again from disk.
  offerLoadedPair(ms1Path, ms2Path, pair);
  writeFile(ms2Path, readFile(ms2Path) + "\r\n");
  EXPECT_FALSE(takeLoadedPair(ms1Path, ms2Path).has_value());
  // A pair whose byte counts do not match the files is never held.
  LoadedPair wrong = pair;
  wrong.ms1Bytes += 1;
  offerLoadedPair(ms1Path, ms2Path, wrong);
  EXPECT_FALSE(takeLoadedPair(ms1Path, ms2Path).has_value());
}

}  // namespace
}  // namespace corvid
