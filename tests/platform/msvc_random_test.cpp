#include "platform/msvc_random.h"

#include <gtest/gtest.h>

namespace corvid {
namespace {

// The first draws of the Windows C runtime after srand(1) and srand(90).
TEST(MsvcRandom, ReproducesWindowsRuntimeSequence) {
  MsvcRandom generator;
  generator.seed(1);
  EXPECT_EQ(generator.next(), 41);
  EXPECT_EQ(generator.next(), 18467);
  EXPECT_EQ(generator.next(), 6334);
  EXPECT_EQ(generator.next(), 26500);
}

TEST(MsvcRandom, DefaultStateEqualsSeedOne) {
  MsvcRandom fresh;
  MsvcRandom seeded;
  seeded.seed(1);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(fresh.next(), seeded.next());
}

}  // namespace
}  // namespace corvid
