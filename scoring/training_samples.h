#pragma once
// Labelled training tables: every candidate of a group, labelled against the reference list of
// known precursors, written to Positive.csv or Negative.csv in the output folder.
#include <string>
#include <vector>

#include "spectra/precursor_features.h"
#include "spectra/reference_index.h"
#include "spectra/reference_precursor_list.h"
#include "spectra/precursor_record.h"

namespace corvid {

// Marks the first matching entry of each candidate found (and clears its training flag); with
// writeTables, writes each candidate as "scan, 13 features, last element" to
// outputPath + "Positive.csv" when an entry matched, else to "Negative.csv". Both files are
// created empty whenever there are candidates, whatever writeTables says. A file that cannot be
// created throws RunFailure "Can not open positive Sample file! Please Check your disk!".
// No candidates: nothing happens.
void writeTrainingSamples(const std::string& outputPath, bool writeTables, ReferencePrecursorList& reference,
                          const std::vector<PrecursorFeatures>& features,
                          const std::vector<PrecursorRecord>& records);

}  // namespace corvid
