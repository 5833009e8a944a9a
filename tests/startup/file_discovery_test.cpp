#include "startup/file_discovery.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

TEST(ListRawFiles, AcceptsOnlyTheThreeSpellings) {
  TempDir dir;
  for (const char* name : {"a.raw", "B.RAW", "c.rAw", "d.Raw"}) writeFile(dir.file(name), "");
  EXPECT_EQ(listRawFiles(dir.folder()), (std::vector<std::string>{"B.RAW", "a.raw", "d.Raw"}));
}

TEST(ListRawFiles, NameMustBeLongerThanTheEnding) {
  TempDir dir;
  writeFile(dir.file(".raw"), "");
  writeFile(dir.file("x.raw"), "");
  EXPECT_EQ(listRawFiles(dir.folder()), std::vector<std::string>{"x.raw"});
}

TEST(ListRawFiles, SubFolderWithAcceptedEndingIsListed) {
  TempDir dir;
  std::filesystem::create_directory(dir.path() / "folder.raw");
  EXPECT_EQ(listRawFiles(dir.folder()), std::vector<std::string>{"folder.raw"});
}

TEST(ListMs1Files, EmptyFolderGivesEmptyListWithoutMessage) {
  TempDir dir;
  StdoutCapture capture;
  EXPECT_TRUE(listMS1Files(dir.folder()).empty());
  EXPECT_EQ(capture.text(), "");
}

TEST(ListMs1Files, MissingFolderPrintsMessage) {
  StdoutCapture capture;
  EXPECT_TRUE(listMS1Files("/nonexistent-corvid-folder/").empty());
  EXPECT_EQ(capture.text(), "[Error] Fail to get directory. \n");
}

TEST(ListMs1Files, SpellingsAndOrder) {
  TempDir dir;
  for (const char* name : {"b.ms1", "a.MS1", "c.Ms1", "d.mS1", "e.ms2"}) writeFile(dir.file(name), "");
  EXPECT_EQ(listMS1Files(dir.folder()), (std::vector<std::string>{"a.MS1", "b.ms1", "c.Ms1"}));
}

TEST(ListWiffFiles, NeedsSixCharacters) {
  TempDir dir;
  for (const char* name : {".wiff", "x.wiff", "y.WIFF", "z.Wiff", "w.wIFF"}) writeFile(dir.file(name), "");
  EXPECT_EQ(listWiffFiles(dir.folder()), (std::vector<std::string>{"x.wiff", "y.WIFF", "z.Wiff"}));
}

TEST(ListMgfFiles, TwoSpellings) {
  TempDir dir;
  for (const char* name : {"a.mgf", "b.MGF", "c.Mgf"}) writeFile(dir.file(name), "");
  EXPECT_EQ(listMGFFiles(dir.folder()), (std::vector<std::string>{"a.mgf", "b.MGF"}));
}

TEST(ListOpenFormatFiles, BothFormatsAllSpellings) {
  TempDir dir;
  for (const char* name : {"a.mzML", "b.mzml", "c.MZML", "d.mzXML", "e.mzxml", "f.MZXML", "g.MzML"}) {
    writeFile(dir.file(name), "");
  }
  EXPECT_EQ(listOpenFormatFiles(dir.folder()),
            (std::vector<std::string>{"a.mzML", "b.mzml", "c.MZML", "d.mzXML", "e.mzxml", "f.MZXML"}));
}

TEST(IsDirectory, FoldersOnly) {
  TempDir dir;
  writeFile(dir.file("x.raw"), "");
  EXPECT_TRUE(isDirectory(dir.folder()));
  EXPECT_TRUE(isDirectory(dir.path().string()));
  EXPECT_FALSE(isDirectory(dir.file("x.raw")));
  EXPECT_FALSE(isDirectory(dir.file("missing")));
  EXPECT_FALSE(isDirectory(""));
}

TEST(IsDirectory, OverLongPathFails) {
  EXPECT_FALSE(isDirectory("/" + std::string(300, 'a')));
}

TEST(ReadDirectory, DotEntriesFirstThenNameOrder) {
  TempDir dir;
  writeFile(dir.file("b"), "");
  writeFile(dir.file("a"), "");
  std::optional<DirectoryReader> reader = openDirectory(dir.folder());
  ASSERT_TRUE(reader);
  std::vector<std::string> names;
  while (auto entry = readDirectory(*reader)) names.push_back(entry->name);
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "b"}));
  EXPECT_EQ(closeDirectory(reader), 0);
  EXPECT_EQ(closeDirectory(reader), -1);
}

}  // namespace
}  // namespace corvid
