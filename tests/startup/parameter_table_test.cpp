#include "startup/parameter_table.h"

#include <gtest/gtest.h>

namespace corvid {
namespace {

TEST(SetDefaults, EveryKeyHasItsDefaultText) {
  ParameterTable table;
  setDefaults(table);
  const ParameterTable expected = {
      {"datanum", "0"}, {"datapath", "D:\\Data\\"}, {"logfilepath", "EmptyPath"},
      {"outputpath", "EmptyPath"}, {"isolation_width", "2"}, {"input_format", "raw"},
      {"co-elute", "1"}, {"ipv_file", "IPV.txt"}, {"mars_model", "4"}, {"delete_msn", "0"},
      {"output_mgf", "1"}, {"output_kx", "1"}, {"output_ms2", "0"}, {"output_mars_y", "0"},
      {"debug_mode", "0"}, {"rewrite_files", "0"}, {"check_activationcenter", "1"},
      {"output_all_mars_y", "0"}, {"mars_threshold", "-0.34"}, {"export_unchecked_mono", "0"},
      {"cut_similiar_mono", "1"}, {"output_trainingdata", "0"}, {"trainingset", "EmptyPath"},
      {"recalibrate_window", "7"}, {"binpath", ".\\"}, {"m/z", "5"}, {"Intensity", "1"},
      {"outputsvmlight", "0"}, {"samplenumberinsvmlight", "-1"}, {"svmlight_charge_range", "2-6"},
      {"output_freq", "0"}};
  EXPECT_EQ(table, expected);
}

TEST(SetDefaults, ThresholdStaysText) {
  ParameterTable table;
  setDefaults(table);
  EXPECT_EQ(table["mars_threshold"], "-0.34");
}

TEST(ParameterTable, ReadingAnUnsetKeyCreatesItEmpty) {
  ParameterTable table;
  setDefaults(table);
  const std::size_t before = table.size();
  EXPECT_EQ(table["datapath7"], "");
  EXPECT_EQ(table.size(), before + 1);
  EXPECT_EQ(table.count("datapath7"), 1u);
}

TEST(ParameterTable, KeysAreCaseSensitive) {
  ParameterTable table;
  setDefaults(table);
  EXPECT_EQ(table.count("Intensity"), 1u);
  EXPECT_EQ(table.count("intensity"), 0u);
}

TEST(IsOn, OnlyTheTextOneIsOn) {
  EXPECT_TRUE(isOn("1"));
  EXPECT_FALSE(isOn("01"));
  EXPECT_FALSE(isOn("yes"));
  EXPECT_FALSE(isOn("true"));
  EXPECT_FALSE(isOn(" 1"));
  EXPECT_FALSE(isOn(""));
}

TEST(ReadInteger, NonNumberReadsAsZero) {
  EXPECT_EQ(readInteger("abc"), 0);
  EXPECT_EQ(readInteger("  42xyz"), 42);
  EXPECT_EQ(readInteger("-3"), -3);
  EXPECT_EQ(readInteger(""), 0);
}

TEST(ReadReal, PrefixConversion) {
  EXPECT_DOUBLE_EQ(readReal("-0.34"), -0.34);
  EXPECT_DOUBLE_EQ(readReal("abc"), 0.0);
  EXPECT_DOUBLE_EQ(readReal(" 2.5Th"), 2.5);
}

TEST(KeyForOption, LettersMapToTheirKeys) {
  EXPECT_STREQ(keyForOption('D'), "datapath");
  EXPECT_STREQ(keyForOption('z'), "m/z");
  EXPECT_STREQ(keyForOption('i'), "Intensity");
  EXPECT_STREQ(keyForOption('N'), "samplenumberinsvmlight");
  EXPECT_EQ(keyForOption('x'), nullptr);
  EXPECT_EQ(keyForOption('\0'), nullptr);
}

}  // namespace
}  // namespace corvid
