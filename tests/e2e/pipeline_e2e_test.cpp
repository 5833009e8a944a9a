// The vendor and MS1 pipelines end to end: extractor stand-ins in the program's folder record
// their command lines and leave fixture outputs; the real per-file driver processes them.
#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kFixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";

// The program's copy with extractor stand-ins in its folder.
struct Installation : ProgramCopy {
  // A stand-in extractor: records its arguments, then copies the fixture pair as <stem>.ms1/.ms2
  // and (RAW only) leaves the completion marker. <stem>.csv is the result report's name: an
  // extraction is only skipped when the run was already processed.
  void addExtractor(const std::string& name, bool writesMarker) const {
    const fs::path script = bin / name;
    std::string text = "#!/bin/sh\necho \"$@\" >> \"" + (root.path() / (name + ".calls")).string() + "\"\n";
    text += "for last; do :; done\nstem=\"${last%.*}\"\n";
    text += "cp \"" + (kFixture / "run1.ms1").string() + "\" \"$stem.ms1\"\n";
    text += "cp \"" + (kFixture / "run1.ms2").string() + "\" \"$stem.ms2\"\n";
    if (writesMarker) text += "echo done > \"$stem.quarry\"\n";
    writeFile(script, text);
    fs::permissions(script, fs::perms::owner_all);
  }
  std::string calls(const std::string& name) const { return readFile(root.path() / (name + ".calls")); }
  std::string normalised(std::string text) const {
    text = replaceAll(text, root.path().string(), "<root>");
    return text;
  }
};

void copyFixtureInto(const fs::path& folder, const std::string& stem) {
  fs::copy_file(kFixture / "run1.ms1", folder / (stem + ".ms1"));
  fs::copy_file(kFixture / "run1.ms2", folder / (stem + ".ms2"));
}

TEST(PipelineEndToEnd, Ms1FolderProducesReportAndSpectra) {
  Installation install;
  copyFixtureInto(install.data, "run1");
  RunResult run = install.run({"-D", install.data.string(), "-F", "ms1"});
  ASSERT_EQ(run.status, 0) << run.out;
  expectGolden(readFile(install.data / "run1.csv"), "pipeline_ms1/run1.csv");
  expectGolden(readFile(install.data / "run1_CIDIT.mgf"), "pipeline_ms1/run1_CIDIT.mgf");
  expectGolden(readFile(install.data / "run1_HCDFT.mgf"), "pipeline_ms1/run1_HCDFT.mgf");
  EXPECT_TRUE(fs::exists(install.data / "run1_CIDIT.kx2"));
  EXPECT_TRUE(fs::exists(install.data / "run1_CIDIT.kx2idx"));
  EXPECT_TRUE(fs::exists(install.data / "run1.kx1"));
  EXPECT_FALSE(fs::exists(install.data / "run1_ETDIT.mgf"));
  EXPECT_NE(run.out.find("[Corvid] Exported "), std::string::npos);
  EXPECT_NE(run.out.find("[Corvid] Found 0 duplicate scans. \n"), std::string::npos);
}

TEST(PipelineEndToEnd, ExistingReportStopsEarlyUnlessRewriteIsOn) {
  Installation install;
  copyFixtureInto(install.data, "run1");
  ASSERT_EQ(install.run({"-D", install.data.string(), "-F", "ms1"}).status, 0);
  RunResult again = install.run({"-D", install.data.string(), "-F", "ms1"});
  EXPECT_EQ(again.status, 0);
  EXPECT_NE(again.out.find("[Corvid] CSV file already exists, Corvid Complete! \n"), std::string::npos);
  EXPECT_EQ(again.out.find("Loading MS1 and MS2 files"), std::string::npos);
  RunResult rewrite = install.run({"-D", install.data.string(), "-F", "ms1", "-r", "1"});
  EXPECT_NE(rewrite.out.find("Loading MS1 and MS2 files"), std::string::npos);
}

TEST(PipelineEndToEnd, OutputFolderReceivesAllOutputs) {
  Installation install;
  copyFixtureInto(install.data, "run1");
  fs::create_directories(install.root.path() / "out");
  RunResult run = install.run({"-D", install.data.string(), "-F", "ms1", "-O", (install.root.path() / "out").string()});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_TRUE(fs::exists(install.root.path() / "out" / "run1.csv"));
  EXPECT_TRUE(fs::exists(install.root.path() / "out" / "run1_CIDIT.mgf"));
  EXPECT_FALSE(fs::exists(install.data / "run1.csv"));
}

TEST(PipelineEndToEnd, RawFileRunsTheExtractorWithItsCommandLine) {
  Installation install;
  install.addExtractor("quarry_raw", true);
  writeFile(install.data / "run1.raw", "vendor bytes");
  RunResult run = install.run({(install.data / "run1.raw").string()});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(install.normalised(install.calls("quarry_raw")), "-m 5 -i 1 -a -ms <root>/data/run1.raw\n");
  EXPECT_NE(run.out.find("[Corvid] Calling Quarry to export MS1 and MS2 files... \n"), std::string::npos);
  EXPECT_TRUE(fs::exists(install.data / "run1.csv"));
  EXPECT_TRUE(fs::exists(install.data / "run1_CIDIT.mgf"));
}

TEST(PipelineEndToEnd, RawExtractionIsReusedWhenMarkerAndCsvExist) {
  Installation install;
  install.addExtractor("quarry_raw", true);
  writeFile(install.data / "run1.raw", "vendor bytes");
  copyFixtureInto(install.data, "run1");
  writeFile(install.data / "run1.quarry", "done\n");
  writeFile(install.data / "run1.csv", "ActivationType\n");
  RunResult run = install.run({"-D", (install.data / "run1.raw").string()});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(install.calls("quarry_raw"), "");
}

TEST(PipelineEndToEnd, MissingRawFileIsReportedThenMissingMs2Aborts) {
  Installation install;
  RunResult run = install.run({"-D", (install.data / "absent.raw").string()});
  EXPECT_EQ(run.status, 255);
  EXPECT_NE(run.out.find("[Corvid] RAW file not exists! absent.raw \n"), std::string::npos);
  EXPECT_NE(run.out.find("this file does not exist any more!"), std::string::npos);
}

TEST(PipelineEndToEnd, ThreeRawArgumentsAreThreeRuns) {
  Installation install;
  install.addExtractor("quarry_raw", true);
  install.addExtractor("quarry_wiff", false);
  for (const char* name : {"a.raw", "b.RAW", "c.wiff"}) writeFile(install.data / name, "vendor");
  RunResult run = install.run({(install.data / "a.raw").string(), (install.data / "b.RAW").string(),
                               (install.data / "c.wiff").string()});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(install.normalised(install.calls("quarry_raw")),
            "-m 5 -i 1 -a -ms <root>/data/a.raw\n-m 5 -i 1 -a -ms <root>/data/b.RAW\n");
  // With the default input_format "raw", a WIFF data path lists the folder's RAW files instead
  // (already processed here), and the user is told that the WIFF file itself was not processed.
  EXPECT_EQ(install.calls("quarry_wiff"), "");
  EXPECT_NE(install.normalised(run.out).find("[Corvid] The data path <root>/data/c.wiff names a WIFF file, but "
                                             "input_format is \"raw\": the RAW files of its folder are processed "
                                             "instead and the WIFF file is not. Give -F wiff to process it. \n"),
            std::string::npos)
      << run.out;
}

TEST(PipelineEndToEnd, WiffFileWithWiffFormatRunsTheWiffExtractorAndBothPipelines) {
  Installation install;
  install.addExtractor("quarry_wiff", false);
  writeFile(install.data / "c.wiff", "vendor");
  RunResult run = install.run({"-D", (install.data / "c.wiff").string(), "-F", "wiff"});
  EXPECT_EQ(run.status, 0) << run.out;
  // The route extracts once; the WIFF pipeline looks for the .quarry marker, which the WIFF tool
  // never writes, and so extracts a second time before processing.
  EXPECT_EQ(install.normalised(install.calls("quarry_wiff")), "-ms <root>/data/c.wiff\n-ms <root>/data/c.wiff\n");
  EXPECT_NE(install.normalised(run.out).find("-> hello, <root>/data/c.ms2\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Process complete! \n"), std::string::npos);
  EXPECT_TRUE(fs::exists(install.data / "c.csv"));
  // The common tail runs the same MS1 file again; its report now exists, so it stops early.
  EXPECT_NE(run.out.find("[Corvid] CSV file already exists, Corvid Complete! \n"), std::string::npos);
}

TEST(PipelineEndToEnd, WiffExtractionIsReusedWhenMs1AndCsvExist) {
  Installation install;
  install.addExtractor("quarry_wiff", false);
  writeFile(install.data / "w.wiff", "vendor");
  copyFixtureInto(install.data, "w");
  writeFile(install.data / "w.csv", "x\n");
  writeFile(install.data / "w.quarry", "done\n");
  RunResult run = install.run({"-D", (install.data / "w.wiff").string()});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(install.calls("quarry_wiff"), "");
}

TEST(PipelineEndToEnd, LargeMs2IsSplitProcessedAndJoined) {
  Installation install;
  copyFixtureInto(install.data, "run1");
  // Internal settings (parameter file only): split above 1000 bytes, 5 scans a part.
  writeFile(install.root.path() / "split.para", "datapath = " + install.data.string() +
                                                    "\ninput_format = ms1\nms2_split_threshold = 1000\nms2_part_scans = 5\n");
  RunResult run = install.run({"split.para"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Start spliting MS2... \n"), std::string::npos);
  EXPECT_NE(run.out.find("[Corvid] File 4: "), std::string::npos);
  for (const auto& entry : fs::directory_iterator(install.data)) {
    EXPECT_EQ(entry.path().filename().string().find("_ID_"), std::string::npos) << entry.path();
  }
  EXPECT_TRUE(fs::exists(install.data / "run1.csv"));
  // Every MS2 scan of the split run is exported once in the joined MGF files, as without splitting.
  const std::string cid = readFile(install.data / "run1_CIDIT.mgf");
  const std::string hcd = readFile(install.data / "run1_HCDFT.mgf");
  EXPECT_GE(std::count(cid.begin(), cid.end(), 'B') , 12);
  EXPECT_NE(hcd.find("BEGIN IONS"), std::string::npos);
  EXPECT_TRUE(fs::exists(install.data / "run1_CIDIT.kx2"));
}

}  // namespace
}  // namespace corvid

namespace corvid {
namespace {

using namespace corvid::testing;

TEST(PipelineEndToEnd, ProgramRunsWithAHugePageHeapExceptUnderSanitizers) {
  TempDir root;
  fs::create_directories(root.path() / "bin");
  fs::copy_file(CORVID_EXE, root.path() / "bin" / "corvid");
  const fs::path tool = root.path() / "bin" / "quarry_raw";
  writeFile(tool, "#!/bin/sh\necho \"[$GLIBC_TUNABLES]\" > \"" + (root.path() / "env.txt").string() + "\"\n");
  fs::permissions(tool, fs::perms::owner_all);
  writeFile(root.path() / "a.raw", "vendor");
  runProgram((root.path() / "bin" / "corvid").string(), root.path(), {(root.path() / "a.raw").string()});
#if defined(__SANITIZE_ADDRESS__)
  EXPECT_EQ(readFile(root.path() / "env.txt").find("hugetlb"), std::string::npos);
#else
  EXPECT_NE(readFile(root.path() / "env.txt").find("glibc.malloc.hugetlb=1"), std::string::npos);
#endif
}

}  // namespace
}  // namespace corvid
