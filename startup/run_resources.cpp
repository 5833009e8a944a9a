#include "startup/run_resources.h"

#include <utility>

#include "platform/run_log.h"
#include "platform/support_files.h"
#include "scoring/precise_selection.h"

namespace corvid {

void loadRunIsotopeTable(RunResources& resources, const std::string& programFolder, const std::string& fileName) {
  loadIsotopePatternTable(locateSupportFile(programFolder, fileName), *resources.isotopes);
}

const BoostedTrees& precisionModelFor(RunResources& resources, const std::string& programFolder) {
  const std::string modelPath = locateSupportFile(programFolder, kPrecisionModelFile);
  if (modelPath != resources.precisionModelPath) {
    BoostedTrees read = loadBoostedTrees(modelPath);
    requireClassifierInputs(read, modelPath);
    resources.precisionModel = std::move(read);
    resources.precisionModelPath = modelPath;
  }
  return resources.precisionModel;
}

// The tables keep only the last group's candidates. That is kept, but a user who trains on them
// must know which candidates they hold.
void noteTrainingTablesSource(RunResources& resources, const std::string& folder, const std::string& source) {
  if (!resources.trainingTablesSource.empty() && resources.trainingTablesFolder == folder &&
      resources.trainingTablesSource != source) {
    logMessage(LogLabel::kAlert, "Positive.csv and Negative.csv in " + folder + " now hold the candidates of " +
                                     source + " only: those of " + resources.trainingTablesSource +
                                     " were overwritten.");
  }
  resources.trainingTablesFolder = folder;
  resources.trainingTablesSource = source;
}

}  // namespace corvid
