#include "detection/isotope_profile.h"

#include <gtest/gtest.h>

#include <vector>

namespace corvid {
namespace {

std::vector<double> cut(std::vector<double> values, int groupSize) {
  std::vector<std::int32_t> valleys;
  cutAfterFirstValley(values.data(), static_cast<int>(values.size()), groupSize, valleys);
  return values;
}

TEST(FindValleys, ValleyNeedsNotHigherLeftAndStrictlyHigherRight) {
  const std::vector<double> values = {1, 1, 1, 2, 2, 0, 0, 3, 1};
  std::vector<std::int32_t> valleys;
  findValleys(values.data(), static_cast<int>(values.size()), valleys);
  // i = 2: 1 >= 1 < 2; i = 6: 0 >= 0 < 3; i = 5 fails (0 < 0 is false); the ends never count.
  EXPECT_EQ(valleys, (std::vector<std::int32_t>{2, 6}));
}

TEST(CutAfterFirstValley, ZeroesTheSlotsAfterTheFirstDipOfAGroup) {
  EXPECT_EQ(cut({0, 5, 3, 1, 2, 4, 0, 1, 2, 3, 4, 5}, 6),
            (std::vector<double>{0, 5, 3, 1, 0, 0, 0, 1, 2, 3, 4, 5}));
}

TEST(CutAfterFirstValley, ValleyOnTheMonoisotopicSlotIsSkipped) {
  // Valleys 1 (at the lower bound group start + 1: skipped) and 3 (cuts).
  EXPECT_EQ(cut({3, 1, 2, 1, 5, 0}, 6), (std::vector<double>{3, 1, 2, 1, 0, 0}));
}

TEST(CutAfterFirstValley, ValleyAtTheNextGroupStartIsExaminedAgainThere) {
  // Valley 6 is beyond group 0 and at group 1's lower bound... no: group 1's lower bound is 7,
  // so 6 is skipped there and valley 8 cuts group 1.
  EXPECT_EQ(cut({0, 5, 4, 3, 2, 1, 0, 9, 1, 2, 0, 0}, 6),
            (std::vector<double>{0, 5, 4, 3, 2, 1, 0, 9, 1, 0, 0, 0}));
}

TEST(CutAfterFirstValley, OnlyTheFirstValleyOfAGroupCuts) {
  // Valleys 2 and 4 in group 0: 2 cuts, 4 then belongs to the walk of group 1 and is skipped.
  EXPECT_EQ(cut({0, 5, 1, 4, 2, 3, 0, 0, 0, 0, 0, 0}, 6),
            (std::vector<double>{0, 5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(CutAfterFirstValley, TwelveSlotGroupsCountFromSlotEight) {
  std::vector<double> values(24, 0.0);
  // Group 0: a dip at slot 7 (the lower bound, skipped) and one at slot 9 (cuts 10, 11).
  const double group0[12] = {0, 0, 0, 0, 0, 1, 3, 1, 2, 1, 4, 4};
  std::copy(group0, group0 + 12, values.begin());
  std::vector<double> expected = values;
  expected[10] = 0.0;
  expected[11] = 0.0;
  EXPECT_EQ(cut(values, 12), expected);
}

TEST(CutAfterFirstValley, MonotonicEnvelopesStayWhole) {
  const std::vector<double> values = {0, 1.0, 0.8, 0.4, 0.15, 0.05, 0, 0.5, 0.4, 0.2, 0.075, 0.025};
  EXPECT_EQ(cut(values, 6), values);
}

ProfileGrid gridWith(std::initializer_list<std::tuple<int, int, double>> cells) {
  ProfileGrid grid = makeProfileGrid(kFilteredGridRows, kFilteredGridCenterRow);
  for (const auto& [row, bin, value] : cells) addToProfileGrid(grid, row, bin, value);
  return grid;
}

TEST(BinIsotopeProfile, LowerBinZeroContributesNothing) {
  // center 500, tolerance 0.01, charge 2, start 497.5165: isotope -1 covers 0.5..2.5 -> bins 0..2
  // but b0 = 0; isotope 0 covers 50.65..52.65 -> bins 50..52.
  const ProfileGrid grid = gridWith({{0, 1, 9.0}, {0, 51, 7.0}, {3, 52, 2.0}});
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  binIsotopeProfile(grid, {497.5165, 2, 0.01, 500.0}, -1, 4, kIsotopeGroupSize, profile.data(), nullptr, nullptr);
  EXPECT_EQ(profile[1 * 6 + 0], 0.0);
  EXPECT_EQ(profile[1 * 6 + 1], 7.0);
  EXPECT_EQ(profile[4 * 6 + 1], 2.0);
  double sum = 0.0;
  for (const double v : profile) sum += v;
  EXPECT_EQ(sum, 9.0);
}

TEST(BinIsotopeProfile, LowerBinOneContributes) {
  // Start 497.5265: isotope -1 covers 1.5..3.5 -> bins 1..3.
  const ProfileGrid grid = gridWith({{2, 1, 9.0}, {2, 3, 1.0}, {2, 4, 50.0}});
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  binIsotopeProfile(grid, {497.5265, 2, 0.01, 500.0}, -1, 4, kIsotopeGroupSize, profile.data(), nullptr, nullptr);
  EXPECT_EQ(profile[3 * 6 + 0], 10.0);
}

TEST(BinIsotopeProfile, IsotopesPastTheGridEndAreNotRead) {
  // Start 502.995: isotope 0 covers bins 598..600 (600 lies outside), isotope 1 starts at 648.
  const ProfileGrid grid = gridWith({{0, 598, 1.0}, {0, 599, 2.0}, {1, 0, 4.0}});
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  binIsotopeProfile(grid, {502.995, 2, 0.01, 500.0}, -1, 4, kIsotopeGroupSize, profile.data(), nullptr, nullptr);
  EXPECT_EQ(profile[1 * 6 + 1], 3.0);
  EXPECT_EQ(profile[2 * 6 + 1], 0.0);  // row 1, bin 600 would be row 2 bin 0 in the flat matrix
  EXPECT_EQ(profile[1 * 6 + 2], 0.0);
}

TEST(BinIsotopeProfile, ErrorIsTheMeanDistanceOfTheBinsHoldingSignal) {
  const ProfileGrid grid = gridWith({{0, 50, 3.0}, {0, 51, 7.0}, {0, 52, 1e-7}});
  std::vector<double> profile(kExtendedProfileSize, 0.0);
  std::vector<double> error(kExtendedProfileSize, 0.0);
  std::vector<std::int32_t> count(kExtendedProfileSize, 0);
  binIsotopeProfile(grid, {497.5165, 2, 0.01, 500.0}, -7, 4, kExtendedGroupSize, profile.data(), error.data(),
                    count.data());
  EXPECT_DOUBLE_EQ(profile[12 + 7], 10.0000001);
  EXPECT_EQ(count[12 + 7], 2);
  // Bin 50 sits at 497.50, bin 51 at 497.51; the isotope at 497.5165.
  EXPECT_NEAR(error[12 + 7], (0.0165 + 0.0065) / 2, 1e-12);
}

TEST(NormaliseProfile, DividesByTheSumFromTheFirstGroupOn) {
  std::vector<double> values = {5, 5, 1, 3};
  normaliseProfile(values.data(), 2, 4);
  EXPECT_EQ(values, (std::vector<double>{5, 5, 0.25, 0.75}));
  std::vector<double> empty = {1, 0, 0};
  normaliseProfile(empty.data(), 1, 3);
  EXPECT_EQ(empty, (std::vector<double>{1, 0, 0}));
}

TEST(IsotopeLength, LongestRunOfPositiveSlotsFromTheMonoisotopicPeak) {
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  EXPECT_EQ(isotopeLength(profile.data()), 0);
  profile[6 + 0] = 1.0;  // M-1 alone does not count
  EXPECT_EQ(isotopeLength(profile.data()), 0);
  profile[6 + 1] = 0.1;
  profile[6 + 2] = 0.1;
  profile[6 + 4] = 0.1;  // after a gap
  EXPECT_EQ(isotopeLength(profile.data()), 2);
  for (int slot = 1; slot <= 5; ++slot) profile[60 + slot] = 0.01;
  EXPECT_EQ(isotopeLength(profile.data()), 5);
}

TEST(ElutionBoundaryCount, SpanBetweenTheValleysAroundTheBestRow) {
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  // M over rows 0..9 (groups 1..10, slot 1): valleys at 3 and 7.
  const double mono[10] = {5, 4, 3, 1, 2, 3, 4, 2, 3, 4};
  // M+1: one valley at 2.
  const double plusOne[10] = {5, 4, 1, 2, 3, 4, 5, 6, 7, 8};
  for (int row = 0; row < 10; ++row) {
    profile[(row + 1) * 6 + 1] = mono[row];
    profile[(row + 1) * 6 + 2] = plusOne[row];
  }
  std::vector<std::int32_t> valleys;
  // best row 5: M gives 3..7, M+1 gives 2..9 -> 9 - 2.
  EXPECT_EQ(elutionBoundaryCount(profile.data(), 5, valleys), 7.0);
  // best row 3: a valley at the best row is "not above" it -> M 3..7, M+1 2..9.
  EXPECT_EQ(elutionBoundaryCount(profile.data(), 3, valleys), 7.0);
  // best row 1: M 0..3, M+1 0..2 -> 3.
  EXPECT_EQ(elutionBoundaryCount(profile.data(), 1, valleys), 3.0);
}

TEST(ElutionBoundaryCount, NoValleysGiveNine) {
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  std::vector<std::int32_t> valleys;
  EXPECT_EQ(elutionBoundaryCount(profile.data(), 4, valleys), 9.0);
}

}  // namespace
}  // namespace corvid
