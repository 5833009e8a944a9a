#include "startup/run_settings.h"

#include <gtest/gtest.h>

#include "spectra/ms2_splitter.h"

namespace corvid {
namespace {

ParameterTable defaults() {
  ParameterTable table;
  setDefaults(table);
  return table;
}

TEST(RunSettings, DefaultsGiveTheDocumentedRun) {
  const RunSettings settings = readRunSettings(defaults());
  EXPECT_EQ(settings.paths.data, "D:\\Data\\");
  EXPECT_EQ(settings.paths.output, "EmptyPath");
  EXPECT_EQ(settings.paths.isotopeTable, "IPV.txt");
  EXPECT_TRUE(settings.paths.trainingSet.empty());
  EXPECT_EQ(settings.inputFormat.folderFormat, InputFormat::kRaw);
  EXPECT_DOUBLE_EQ(settings.detection.isolationWidth, 2.0);
  EXPECT_EQ(settings.detection.coElute, 1);
  EXPECT_TRUE(settings.detection.checkActivationCenter);
  EXPECT_DOUBLE_EQ(settings.threshold.threshold, -0.34);
  EXPECT_FALSE(settings.threshold.wideWindow);
  EXPECT_EQ(settings.model, selectMarsModel("4"));
  EXPECT_TRUE(settings.outputs.mgf);
  EXPECT_TRUE(settings.outputs.kx);
  EXPECT_FALSE(settings.outputs.ms2);
  EXPECT_TRUE(settings.writeSpectrumFiles);
  EXPECT_FALSE(settings.rewriteFiles);
  EXPECT_EQ(settings.split.thresholdBytes, kMS2SplitThreshold);
  EXPECT_EQ(settings.split.partScans, ms2PartSize(false));
  EXPECT_EQ(settings.extractorMz, "5");
  EXPECT_EQ(settings.extractorIntensity, "1");
  EXPECT_TRUE(settings.valueAlerts.empty());
}

TEST(RunSettings, ThresholdOverridesFollowTheWidthAndKeepAll) {
  ParameterTable table = defaults();
  table["isolation_width"] = "4";
  table["mars_threshold"] = "0.5";
  EXPECT_DOUBLE_EQ(readRunSettings(table).threshold.threshold, kWideWindowThreshold);
  EXPECT_TRUE(readRunSettings(table).threshold.wideWindow);
  table["output_all_mars_y"] = "1";
  EXPECT_DOUBLE_EQ(readRunSettings(table).threshold.threshold, kKeepAllThreshold);
  EXPECT_TRUE(readRunSettings(table).keepEveryCandidate);
}

TEST(RunSettings, ViewsOfOneKeyComeFromOneReading) {
  ParameterTable table = defaults();
  table["debug_mode"] = "1";
  table["outputsvmlight"] = "1";
  RunSettings settings = readRunSettings(table);
  EXPECT_EQ(settings.detection.debugMode, DebugMode::kSingleScan);
  EXPECT_TRUE(settings.threshold.debug);
  EXPECT_FALSE(settings.writeSpectrumFiles);
  EXPECT_TRUE(settings.useSvm);
  EXPECT_TRUE(settings.detection.outputSvmLight);
  // A value that selects no debug mode still writes no spectrum file, as it always has.
  table["debug_mode"] = "3";
  settings = readRunSettings(table);
  EXPECT_EQ(settings.detection.debugMode, DebugMode::kOff);
  EXPECT_FALSE(settings.threshold.debug);
  EXPECT_FALSE(settings.writeSpectrumFiles);
}

TEST(RunSettings, PrecisionModeWidensDetectionAndNeedsItsModelUnlessAllAreKept) {
  ParameterTable table = defaults();
  table["precision_mode"] = "1";
  RunSettings settings = readRunSettings(table);
  EXPECT_TRUE(settings.detection.precisionCandidates);
  EXPECT_FALSE(settings.detection.checkActivationCenter);
  EXPECT_TRUE(precisionModelChooses(settings));
  table["output_all_mars_y"] = "1";
  EXPECT_FALSE(precisionModelChooses(readRunSettings(table)));
}

TEST(RunSettings, InternalSplitSizesOnlyWhenPositive) {
  ParameterTable table = defaults();
  table["input_format"] = "wiff";
  EXPECT_EQ(readRunSettings(table).split.partScans, ms2PartSize(true));
  table["ms2_split_threshold"] = "1000";
  table["ms2_part_scans"] = "5";
  EXPECT_EQ(readRunSettings(table).split.thresholdBytes, 1000);
  EXPECT_EQ(readRunSettings(table).split.partScans, 5);
  table["ms2_split_threshold"] = "-3";
  table["ms2_part_scans"] = "abc";
  EXPECT_EQ(readRunSettings(table).split.thresholdBytes, kMS2SplitThreshold);
  EXPECT_EQ(readRunSettings(table).split.partScans, ms2PartSize(true));
}

TEST(RunSettings, InputFormatSpellingsNameTheirFolderFormat) {
  ParameterTable table = defaults();
  for (const auto& [value, format] : {std::pair<const char*, InputFormat>{"RAW", InputFormat::kRaw},
                                      {"mgf", InputFormat::kMGF},
                                      {"Wiff", InputFormat::kWiff},
                                      {"MZML", InputFormat::kMzML},
                                      {"mzXML", InputFormat::kMzXML}}) {
    table["input_format"] = value;
    EXPECT_EQ(readRunSettings(table).inputFormat.folderFormat, format) << value;
  }
  table["input_format"] = "ms1";
  EXPECT_FALSE(readRunSettings(table).inputFormat.folderFormat.has_value());
  table["input_format"] = "Mzml";
  EXPECT_FALSE(readRunSettings(table).inputFormat.folderFormat.has_value());
}

TEST(RunSettings, ValueAlertsAreReadWithTheSettings) {
  ParameterTable table = defaults();
  table["mars_threshold"] = "abc";
  const RunSettings settings = readRunSettings(table);
  ASSERT_EQ(settings.valueAlerts.size(), 1u);
  EXPECT_EQ(settings.valueAlerts[0], "mars_threshold = abc is not a number: the run uses 0");
  EXPECT_DOUBLE_EQ(settings.threshold.threshold, 0.0);
}

TEST(DataCount, NegativeIsADocumentedValueTextIsNot) {
  EXPECT_EQ(readDataCount({{"datanum", "-1"}}).count, -1);
  EXPECT_TRUE(readDataCount({{"datanum", "-1"}}).alert.empty());
  EXPECT_TRUE(readDataCount({{"datanum", "2"}}).alert.empty());
  EXPECT_EQ(readDataCount({{"datanum", "x"}}).alert, "datanum = x is not a number: the run uses 0 (datapath)");
}

}  // namespace
}  // namespace corvid

namespace corvid {
namespace {

TEST(RunSettings, NonDefaultSettingsListWhatDiffersFromTheTemplateButNoPaths) {
  ParameterTable table;
  setDefaults(table);
  EXPECT_TRUE(readRunSettings(table).nonDefaultSettings.empty());
  table["mars_threshold"] = "0.1";
  table["output_qc"] = "1";
  table["output_table"] = "0";    // an extension key at its default
  table["ms2_part_scans"] = "5";  // an internal key: no default, listed when given
  table["datapath"] = "/data/";
  table["datapath1"] = "/more/";
  table["outputpath"] = "/out/";
  table["extract_path"] = "/x/";
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"mars_threshold", "0.1"}, {"ms2_part_scans", "5"}, {"output_qc", "1"}};
  EXPECT_EQ(readRunSettings(table).nonDefaultSettings, expected);
  EXPECT_TRUE(readRunSettings(table).outputs.qcReport);
}

}  // namespace
}  // namespace corvid
