#pragma once
// Reads the reference list of known precursors (the file named by trainingset).
#include <string>
#include <string_view>

#include "spectra/reference_precursor_list.h"

namespace corvid {

// One entry per line, no header: scan TAB m/z TAB charge TAB value, each line ended by a line
// feed (a CR before it is ignored, the last line may lack it). Each field is read from its start
// like "%d" / "%lf" (leading blanks and "+" accepted, text after the number ignored up to the
// next tab). A line that lacks a tab or whose field holds no number in range is skipped with an
// "Alert" naming its line number; blank lines are skipped. New entries have found 0, training 1
// and pending 1.
ReferencePrecursorList parseReferencePrecursorList(std::string_view text, const std::string& path);

// Reads the whole file and parses it. A file that cannot be opened throws RunFailure with
// "\nDear User:\n Corvid.exe failed to open <path>, this file does not exist any more!\n".
ReferencePrecursorList loadReferencePrecursorList(const std::string& path);

}  // namespace corvid
