#include "platform/support_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

namespace fs = std::filesystem;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

TEST(SupportFiles, RunningExecutableFolderIsThisTestsFolder) {
  const std::string folder = runningExecutableFolder();
  ASSERT_FALSE(folder.empty());
  EXPECT_EQ(folder.back(), '/');
  EXPECT_TRUE(fs::exists(folder + "corvid_tests"));
}

TEST(SupportFiles, FileAtBinPathIsTakenFirst) {
  TempDir bin;
  writeFile(bin.path() / "IPV.txt", "x");
  EXPECT_EQ(locateSupportFile(bin.folder(), "IPV.txt"), bin.folder() + "IPV.txt");
}

TEST(SupportFiles, AbsoluteNameIsUsedAsGiven) {
  EXPECT_EQ(locateSupportFile("/opt/corvid/", "/data/tables/IPV.txt"), "/data/tables/IPV.txt");
}

TEST(SupportFiles, MissingEverywhereNamesTheExpectedPlace) {
  EXPECT_EQ(locateSupportFile("/nonexistent/bin/", "no-such-table.txt"), "/nonexistent/bin/no-such-table.txt");
}

TEST(SupportFiles, FallsBackToTheRealExecutablesFolder) {
  const std::string name = "support_probe_" + std::to_string(::getpid()) + ".txt";
  const std::string placed = runningExecutableFolder() + name;
  writeFile(placed, "x");
  EXPECT_EQ(locateSupportFile("/nonexistent/bin/", name), placed);
  fs::remove(placed);
}

TEST(SupportFiles, FallsBackToTheShareFolderOfAnInstalledTree) {
  // <exe folder>/../share/corvid/: a tree installed under any prefix.
  const fs::path share = fs::path(runningExecutableFolder()).parent_path().parent_path() / "share" / "corvid";
  const std::string name = "support_probe_share_" + std::to_string(::getpid()) + ".txt";
  const bool created = !fs::exists(share);
  fs::create_directories(share);
  writeFile(share / name, "x");
  const std::string found = locateSupportFile("/nonexistent/bin/", name);
  EXPECT_EQ(fs::canonical(found), fs::canonical(share / name));
  fs::remove(share / name);
  if (created) {
    fs::remove(share);
    std::error_code ignored;
    fs::remove(share.parent_path(), ignored);  // only when empty
  }
}

}  // namespace
}  // namespace corvid
