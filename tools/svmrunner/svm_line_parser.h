#pragma once
// One line of an SVMlight file ("<label> <index>:<value> ..."), read exactly as LIBSVM's
// svm-train and svm-predict read it, so every line they accept gives the same numbers here.
#include <optional>
#include <string>
#include <vector>

#include <libsvm/svm.h>

namespace svmrunner {

// Parses `line` (without its line break; the text is cut up in place) and appends its features to
// `nodes`, followed by the end marker (index -1). Returns the label, or nothing when the line is
// malformed (then `nodes` may hold part of the line).
std::optional<double> parseSvmLine(std::string& line, std::vector<svm_node>& nodes);

// Removes the line break left at the end of a line read with std::getline: the CR of a CR LF file.
void dropCarriageReturn(std::string& line);

}  // namespace svmrunner
