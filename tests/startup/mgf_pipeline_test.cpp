#include "startup/mgf_pipeline.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "platform/run_failure.h"
#include "spectra/kx_format.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

std::string blocksFor(const std::string& raw, std::initializer_list<int> scans) {
  std::string text;
  int previous = -1;
  int index = 0;
  for (int scan : scans) {
    index = scan == previous ? index + 1 : 0;
    previous = scan;
    std::string number = std::to_string(scan);
    text += "BEGIN IONS\r\nTITLE=" + raw + "." + number + "." + number + ".2." +
            std::to_string(index) +
            ".dta\r\nCHARGE=2+\r\n"
            "PEPMASS=450.5\r\n100.0 5.0\r\nEND IONS\r\n";
  }
  return text;
}

TEST(RunMGFPipeline, TwoFilesGiveTwoKX2PairsNamedAfterThem) {
  TempDir folder;
  writeFile(folder.file("first.mgf"), blocksFor("first", {10, 11, 11}));
  writeFile(folder.file("SECOND.MGF"), blocksFor("second", {5}));
  const std::string dataFolder = folder.path().string() + "/";
  ::testing::internal::CaptureStdout();
  runMGFPipeline(dataFolder, {"first.mgf", "SECOND.MGF"});
  EXPECT_EQ(
      ::testing::internal::GetCapturedStdout(),
      "[Corvid] Processing first.mgf \n[Corvid] Loading MGF... \n[Corvid] Writing KX2... \n"
      "[Corvid] Processing SECOND.MGF \n[Corvid] Loading MGF... \n[Corvid] Writing KX2... \n");
  for (const char* stem : {"first", "SECOND"}) {
    EXPECT_TRUE(std::filesystem::exists(folder.file(std::string(stem) + ".kx2"))) << stem;
    EXPECT_TRUE(std::filesystem::exists(folder.file(std::string(stem) + ".kx2idx"))) << stem;
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("SECOND.MGF.kx2")));
  KXReader first;
  KXReader second;
  ::testing::internal::CaptureStdout();
  openKX(first, folder.file("first.kx2"));
  readKXHeader(first);
  openKX(second, folder.file("SECOND.kx2"));
  readKXHeader(second);
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(first.spectrumCount, 2);  // scans 10 and 11, the two blocks of 11 merged
  EXPECT_EQ(first.title, "first");
  EXPECT_EQ(first.indexSize, 16);
  EXPECT_EQ(second.spectrumCount, 1);
  EXPECT_EQ(second.title, "second");
}

TEST(RunMGFPipelineDeathTest, MissingFileEndsTheRunAndKeepsEarlierOutputs) {
  TempDir folder;
  writeFile(folder.file("a.mgf"), blocksFor("a", {1}));
  const std::string dataFolder = folder.path().string() + "/";
  std::string consolePath = folder.file("console.txt");
  EXPECT_EXIT(
      {
        if (std::freopen(consolePath.c_str(), "w", stdout) == nullptr) std::exit(1);
        try {
          runMGFPipeline(dataFolder, {"a.mgf", "b.mgf"});
        } catch (const RunFailure& failure) {
          std::fflush(stdout);
          std::exit(failure.kind == FailureKind::kEndedQuietly ? 255 : 1);
        }
        std::exit(0);
      },
      ::testing::ExitedWithCode(255), "");
  EXPECT_EQ(readFile(consolePath),
            "[Corvid] Processing a.mgf \n[Corvid] Loading MGF... \n[Corvid] Writing KX2... \n"
            "[Corvid] Processing b.mgf \n[Corvid] Loading MGF... \nThe MGF does not exist.\n");
  EXPECT_TRUE(std::filesystem::exists(folder.file("a.kx2")));
}

}  // namespace
}  // namespace corvid
