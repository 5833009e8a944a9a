#include "spectra/file_size.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "platform/run_failure.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/failure_text.h"

namespace corvid {
namespace {

using namespace testing;

std::string failureText(const std::string& path) {
  return corvid::testing::failureText([&] { fileSize(path); });
}

TEST(FileSize, ReturnsTheSizeInBytes) {
  TempDir folder;
  testing::writeFile(folder.file("a.ms1"), std::string(12345, 'x'));
  testing::writeFile(folder.file("empty.ms1"), "");
  EXPECT_EQ(fileSize(folder.file("a.ms1")), 12345);
  EXPECT_EQ(fileSize(folder.file("empty.ms1")), 0);
}

TEST(FileSize, MissingFileRaisesTheDoesNotExistText) {
  TempDir folder;
  const std::string path = folder.file("gone.ms2");
  EXPECT_EQ(failureText(path), missingFileText(path));
}

TEST(FileSize, FolderIsTreatedAsAFileThatCannotBeOpened) {
  TempDir folder;
  const std::string path = folder.path().string();
  EXPECT_EQ(failureText(path), missingFileText(path));
}

#ifdef __linux__
TEST(FileSize, FailedSeekPrintsErrorIn180AndRaisesEndOfFileText) {
  // A pipe opens like a file but cannot seek.
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
  ::testing::internal::CaptureStdout();
  const std::string text = failureText(path);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  close(ends[0]);
  close(ends[1]);
  EXPECT_EQ(printed, "Error in 180filesize\n");
  EXPECT_EQ(text, "Fail to find end of file. Corvid exits.");
}
#endif

}  // namespace
}  // namespace corvid
