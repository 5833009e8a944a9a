#include "spectra/output_fields.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

std::string written(const TempDir& folder, void (*fill)(PendingFile&)) {
  PendingFile out;
  std::string path = folder.file("out.bin");
  EXPECT_TRUE(openPending(path, out));
  fill(out);
  EXPECT_TRUE(commitPending(out));
  return readFile(path);
}

std::string printed(const char* format, double value) {
  char text[512];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

TEST(OutputFile, NumbersMatchPrintfFormats) {
  TempDir folder;
  const double values[] = {0.0,
                           -0.0,
                           0.05,
                           0.25,
                           2.5,
                           20.25,
                           1497.985448,
                           500.256,
                           1e-7,
                           123456789.123456789,
                           1e22,
                           -3.75,
                           std::numeric_limits<double>::infinity(),
                           std::nan("")};
  for (double value : values) {
    PendingFile out;
    ASSERT_TRUE(openPending(folder.file("n.txt"), out));
    putFixed(out, value, 6);
    putText(out, "|");
    putFixed(out, value, 1);
    putText(out, "|");
    putFixed(out, value, 7);
    putText(out, "|");
    putFixed(out, value, 2);
    putText(out, "|");
    putGeneral(out, value, 10);
    ASSERT_TRUE(commitPending(out));
    EXPECT_EQ(readFile(folder.file("n.txt")),
              printed("%lf", value) + "|" + printed("%.1f", value) + "|" + printed("%.7lf", value) +
                  "|" + printed("%.2f", value) + "|" + printed("%.10g", value))
        << value;
  }
}

TEST(OutputFile, ZeroPaddedAsPrintfWidthSix) {
  TempDir folder;
  std::string bytes = written(folder, [](PendingFile& out) {
    for (std::int64_t value : {0, 12, 999999, 1234567, -12}) {
      putZeroPadded(out, value, 6);
      putText(out, ",");
    }
  });
  EXPECT_EQ(bytes, "000000,000012,999999,1234567,-00012,");
}

TEST(OutputFile, BinaryFieldsAreLittleEndian) {
  TempDir folder;
  std::string bytes = written(folder, [](PendingFile& out) {
    putU32(out, 0x04030201u);
    putF64(out, 1.0);
  });
  EXPECT_EQ(bytes, std::string("\x01\x02\x03\x04\0\0\0\0\0\0\xF0\x3F", 12));
}

TEST(OutputFile, PositionCountsBufferedAndLargeWrites) {
  TempDir folder;
  PendingFile out;
  ASSERT_TRUE(openPending(folder.file("big.bin"), out));
  putText(out, "head");
  std::string large(3 << 20, 'x');
  putBytes(out, large);
  putLineEnd(out);
  EXPECT_EQ(positionOf(out), 4u + large.size() + 2u);
  ASSERT_TRUE(commitPending(out));
  std::string bytes = readFile(folder.file("big.bin"));
  EXPECT_EQ(bytes.size(), 4u + large.size() + 2u);
  EXPECT_EQ(bytes.substr(0, 5), "headx");
  EXPECT_EQ(bytes.substr(bytes.size() - 3), "x\r\n");
}

TEST(OutputFile, UncreatableFileIsReported) {
  TempDir folder;
  PendingFile out;
  EXPECT_FALSE(openPending(folder.file("none/x.bin"), out));
  EXPECT_EQ(out.file, nullptr);
}

}  // namespace
}  // namespace corvid
