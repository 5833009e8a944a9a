#include "spectra/read_buffer.h"

#include <gtest/gtest.h>

#include <cstring>

namespace corvid {
namespace {

TEST(ReadBuffer, SmallBufferHasItsSizeAndIsWritable) {
  ReadBuffer buffer(100, "small.ms1");
  EXPECT_EQ(buffer.size, 100u);
  ASSERT_NE(buffer.data, nullptr);
  std::memset(buffer.data, 'x', buffer.size);
  EXPECT_EQ(buffer.data[99], 'x');
}

TEST(ReadBuffer, LargeBufferIsWritableToItsLastByte) {
  const std::size_t bytes = (std::size_t{5} << 20) + 3;  // above one huge page, not a multiple
  ReadBuffer buffer(bytes, "large.ms2");
  EXPECT_EQ(buffer.size, bytes);
  std::memset(buffer.data, 'y', bytes);
  EXPECT_EQ(buffer.data[0], 'y');
  EXPECT_EQ(buffer.data[bytes - 1], 'y');
}

TEST(ReadBuffer, ZeroBytesStillGivesAUsablePointer) {
  ReadBuffer buffer(0, "empty.ms1");
  EXPECT_EQ(buffer.size, 0u);
  EXPECT_NE(buffer.data, nullptr);
}

}  // namespace
}  // namespace corvid
