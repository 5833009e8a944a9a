// The golden-file comparison itself: a mismatch or a missing file fails, a match passes, and the
// update switch rewrites the file but never lets the comparison pass.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "tests/support/test_support.h"

namespace corvid::testing {
namespace {

// Sets or clears CORVID_UPDATE_GOLDEN for one test and puts back what the environment held.
class UpdateSwitch {
 public:
  explicit UpdateSwitch(const char* value) {
    if (const char* old = std::getenv(kName)) old_ = old;
    if (value == nullptr) {
      ::unsetenv(kName);
    } else {
      ::setenv(kName, value, 1);
    }
  }
  ~UpdateSwitch() {
    if (old_) {
      ::setenv(kName, old_->c_str(), 1);
    } else {
      ::unsetenv(kName);
    }
  }
  UpdateSwitch(const UpdateSwitch&) = delete;
  UpdateSwitch& operator=(const UpdateSwitch&) = delete;

 private:
  static constexpr const char* kName = "CORVID_UPDATE_GOLDEN";
  std::optional<std::string> old_;
};

class GoldenFile : public ::testing::Test {
 protected:
  // A golden file in the test's folder that holds `content`.
  fs::path goldenHolding(const std::string& content) const {
    writeFile(golden, content);
    return golden;
  }
  TempDir dir;
  fs::path golden = dir.path() / "golden.txt";
};

TEST_F(GoldenFile, MatchPassesWithoutTheSwitch) {
  const UpdateSwitch off(nullptr);
  expectGoldenFile("line 1\r\nline 2\r\n", goldenHolding("line 1\r\nline 2\r\n"));
}

TEST_F(GoldenFile, MismatchFailsAndLeavesTheFileWithoutTheSwitch) {
  const UpdateSwitch off(nullptr);
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("new\n", goldenHolding("old\n")),
                          "differs from golden file " + golden.string());
  EXPECT_EQ(readFile(golden), "old\n");
}

TEST_F(GoldenFile, MissingFileFailsWithoutTheSwitch) {
  const UpdateSwitch off(nullptr);
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("text", golden), "missing golden file " + golden.string());
  EXPECT_FALSE(fs::exists(golden));
}

TEST_F(GoldenFile, SwitchWritesAMissingFileAndItsFolderAndFails) {
  const UpdateSwitch on("1");
  const fs::path inFolder = dir.path() / "folder" / "changed.txt";
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("new\n", inFolder),
                          "golden file " + inFolder.string() +
                              " was updated (CORVID_UPDATE_GOLDEN=1, content changed)"
                              ": review it, then rerun the suite without CORVID_UPDATE_GOLDEN");
  EXPECT_EQ(readFile(inFolder), "new\n");
}

TEST_F(GoldenFile, SwitchRewritesAChangedFileAndFails) {
  const UpdateSwitch on("1");
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("new\n", goldenHolding("old\n")), "content changed");
  EXPECT_EQ(readFile(golden), "new\n");
}

TEST_F(GoldenFile, SwitchFailsEvenWhenNothingChanged) {
  const UpdateSwitch on("1");
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("same\n", goldenHolding("same\n")), "content unchanged");
  EXPECT_EQ(readFile(golden), "same\n");
}

TEST_F(GoldenFile, SwitchOnlyActsWhenSetToOne) {
  const UpdateSwitch zero("0");
  EXPECT_NONFATAL_FAILURE(expectGoldenFile("other\n", goldenHolding("kept\n")), "differs from golden file");
  EXPECT_EQ(readFile(golden), "kept\n");
}

}  // namespace
}  // namespace corvid::testing
