#pragma once
// A fixture for the end-to-end tests on real data: a temporary folder whose data/ holds a copy of
// BSA1.mzML (Debian's openms-doc, cached by tools/fetch_bsa1.sh) beside an empty out/. The test is
// skipped when BSA1 is not cached.
#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace corvid::testing {

class Bsa1Copy : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
    fs::create_directories(data);
    fs::create_directories(out);
    fs::copy_file(bsa1MzmlPath(), data / "BSA1.mzML");
  }
  TempDir dir;
  fs::path data = dir.path() / "data";
  fs::path out = dir.path() / "out";
};

}  // namespace corvid::testing
