#pragma once
// What lives as long as a run of Corvid and is shared by its file pairs: the isotope pattern
// table, precision mode's classifier, and which candidates the training tables hold. The start-up
// route owns one and hands it down by reference; nothing of a run is kept in file-scope state.
#include <memory>
#include <string>

#include "detection/isotope_pattern_table.h"
#include "scoring/boosted_trees.h"

namespace corvid {

struct RunResources {
  // Loaded again for every file pair; rows a short file does not reach keep the values of the
  // previous load, so the table lives as long as the run.
  std::unique_ptr<IsotopePatternTable> isotopes = std::make_unique<IsotopePatternTable>();
  // precision mode's classifier and the file it was read from (empty until read).
  std::string precisionModelPath;
  BoostedTrees precisionModel;
  // The training tables are rewritten for every group of every file: where they were written last
  // and from which file and group.
  std::string trainingTablesFolder;
  std::string trainingTablesSource;
};

// Reads the isotope pattern table `fileName`, found beside corvid in `programFolder` (or where
// support files are installed), into the run's table.
void loadRunIsotopeTable(RunResources& resources, const std::string& programFolder, const std::string& fileName);

// precision_mode's classifier, found like the isotope pattern table and checked to read the
// inputs Corvid computes; a missing, damaged or foreign model throws RunFailure. Read once per
// run and path: runs check it before any work, so a bad model costs no extraction, and every file
// pair of a batch then uses the same model.
const BoostedTrees& precisionModelFor(RunResources& resources, const std::string& programFolder);

// Before the training tables are written again: an "Alert" when they held another file's or
// group's candidates in the same folder, which are now overwritten.
void noteTrainingTablesSource(RunResources& resources, const std::string& folder, const std::string& source);

}  // namespace corvid
