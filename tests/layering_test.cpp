// The folders form one-way layers, lowest first: platform (operating system, run log, failure
// type), spectra (records, readers, writers, formats), then scoring (features, models, reports)
// and detection (candidate detection on records and typed settings) side by side, and startup
// (the application: entry, options, parameter files, drivers, pipelines). A source file may
// include its own folder and the folders below it, never one above nor a sibling: this test reads
// every #include and fails on one that points upward or sideways, which also rules out circles
// between folders.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace corvid {
namespace {

namespace fs = std::filesystem;

const std::map<std::string, int> kLayer = {
    {"platform", 0}, {"spectra", 1}, {"scoring", 2}, {"detection", 2}, {"startup", 3}};

struct Include {
  std::string file;
  std::string target;
};

// The project includes ("folder/name.h") of every source file of the layered folders.
std::vector<Include> projectIncludes() {
  std::vector<Include> includes;
  for (const auto& [folder, layer] : kLayer) {
    for (const auto& entry : fs::directory_iterator(fs::path(CORVID_SOURCE_DIR) / folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".h" && extension != ".cpp") continue;
      std::ifstream in(entry.path());
      for (std::string line; std::getline(in, line);) {
        if (!line.starts_with("#include \"")) continue;
        const std::string target = line.substr(10, line.find('"', 10) - 10);
        includes.push_back({folder + "/" + entry.path().filename().string(), target});
      }
    }
  }
  return includes;
}

TEST(Layering, NoFolderIncludesALayerAboveIt) {
  const std::vector<Include> includes = projectIncludes();
  ASSERT_GT(includes.size(), 200u) << "the sources were not found under " << CORVID_SOURCE_DIR;
  for (const Include& include : includes) {
    const std::string from = include.file.substr(0, include.file.find('/'));
    const std::size_t slash = include.target.find('/');
    if (slash == std::string::npos) {
      EXPECT_EQ(include.target, "build_config.h") << include.file << " includes " << include.target;
      continue;
    }
    const std::string to = include.target.substr(0, slash);
    const auto layer = kLayer.find(to);
    ASSERT_NE(layer, kLayer.end()) << include.file << " includes " << include.target << " outside the layers";
    EXPECT_LE(layer->second, kLayer.at(from)) << include.file << " includes " << include.target
                                              << ": " << to << " is a layer above " << from;
    if (to != from) {
      EXPECT_NE(layer->second, kLayer.at(from)) << include.file << " includes " << include.target
                                                << ": " << to << " is a sibling of " << from;
    }
  }
}

TEST(Layering, EveryLayerIsUsedFromAbove) {
  // Guards the test itself: the upward check above only means something if includes between
  // folders are really read.
  std::map<std::string, int> usedFromAbove;
  for (const Include& include : projectIncludes()) {
    const std::string from = include.file.substr(0, include.file.find('/'));
    const std::string to = include.target.substr(0, include.target.find('/'));
    if (kLayer.count(to) != 0 && to != from) ++usedFromAbove[to];
  }
  for (const char* lower : {"platform", "spectra", "scoring", "detection"}) EXPECT_GT(usedFromAbove[lower], 0) << lower;
}

}  // namespace
}  // namespace corvid
