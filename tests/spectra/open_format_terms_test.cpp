#include "spectra/open_format_terms.h"

#include <gtest/gtest.h>

namespace corvid {
namespace {

TEST(ParseDurationSeconds, SecondsMinutesHoursAndBareNumbers) {
  double seconds = -1.0;
  ASSERT_TRUE(parseDurationSeconds("PT1503.96166992188S", seconds));
  EXPECT_DOUBLE_EQ(seconds, 1503.96166992188);
  ASSERT_TRUE(parseDurationSeconds("PT25.5M", seconds));
  EXPECT_DOUBLE_EQ(seconds, 1530.0);
  ASSERT_TRUE(parseDurationSeconds("PT1H2M3.5S", seconds));
  EXPECT_DOUBLE_EQ(seconds, 3723.5);
  ASSERT_TRUE(parseDurationSeconds("12.25", seconds));
  EXPECT_DOUBLE_EQ(seconds, 12.25);
  for (const char* bad : {"PT", "PTS", "PT5X", "-PT5S", "PTabcS", ""})
    EXPECT_FALSE(parseDurationSeconds(bad, seconds)) << bad;
}

TEST(AnalyzerTerms, AccessionsNamesAndFilters) {
  EXPECT_EQ(analyzerFromAccession("MS:1000484"), AnalyzerKind::FourierTransform);
  EXPECT_EQ(analyzerFromAccession("MS:1000079"), AnalyzerKind::FourierTransform);
  EXPECT_EQ(analyzerFromAccession("MS:1000084"), AnalyzerKind::TimeOfFlight);
  EXPECT_EQ(analyzerFromAccession("MS:1000291"), AnalyzerKind::IonTrap);
  EXPECT_EQ(analyzerFromAccession("MS:1000081"), AnalyzerKind::Unknown);  // quadrupole alone
  EXPECT_EQ(analyzerFromName("FTMS"), AnalyzerKind::FourierTransform);
  EXPECT_EQ(analyzerFromName("orbitrap"), AnalyzerKind::FourierTransform);
  EXPECT_EQ(analyzerFromName("TOF"), AnalyzerKind::TimeOfFlight);
  EXPECT_EQ(analyzerFromName("ITMS"), AnalyzerKind::IonTrap);
  EXPECT_EQ(analyzerFromFilter("FTMS + p NSI Full ms [300.00-2000.00]"),
            AnalyzerKind::FourierTransform);
  EXPECT_EQ(analyzerFromFilter("ITMS + c NSI d w Full ms2 457.72@cid35.00 [115.00-930.00]"),
            AnalyzerKind::IonTrap);
  EXPECT_EQ(analyzerFromFilter(""), AnalyzerKind::Unknown);
  EXPECT_STREQ(analyzerText(AnalyzerKind::Unknown), "ITMS");
}

TEST(ActivationTerms, BeamTypeCollisionIsHCD) {
  EXPECT_EQ(activationFromAccession("MS:1000133"), "CID");
  EXPECT_EQ(activationFromAccession("MS:1000422"), "HCD");
  EXPECT_EQ(activationFromAccession("MS:1002481"), "HCD");
  EXPECT_EQ(activationFromAccession("MS:1000598"), "ETD");
  EXPECT_EQ(activationFromAccession("MS:1000599"), "PQD");
  EXPECT_EQ(activationFromAccession("MS:1000045"), "");  // collision energy is no method
  EXPECT_EQ(activationFromMethodName("CID"), "CID");
  EXPECT_EQ(activationFromMethodName("HCD"), "HCD");
  EXPECT_EQ(activationFromMethodName("ETD"), "ETD");
  EXPECT_EQ(activationFromMethodName("PQD"), "PQD");
  EXPECT_EQ(activationFromMethodName("UVPD"), "UNK");
  EXPECT_EQ(activationFromFilter("ITMS + c NSI d Full ms2 457.72@cid35.00 [115.00-930.00]"), "CID");
  EXPECT_EQ(activationFromFilter("FTMS + c NSI d Full ms2 457.72@hcd28.00 [100.00-930.00]"), "HCD");
  EXPECT_EQ(activationFromFilter("FTMS + p NSI Full ms"), "");
}

TEST(ParseReal, WholeTextOnly) {
  double value = 0.0;
  EXPECT_TRUE(parseReal(" 12.5 ", value));
  EXPECT_DOUBLE_EQ(value, 12.5);
  EXPECT_TRUE(parseReal("1e3", value));
  EXPECT_DOUBLE_EQ(value, 1000.0);
  EXPECT_FALSE(parseReal("12.5x", value));
  EXPECT_FALSE(parseReal("", value));
}

}  // namespace
}  // namespace corvid
