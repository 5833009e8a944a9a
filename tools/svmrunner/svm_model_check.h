#pragma once
// svm_load_model trusts the layout of a model file: a header without nr_class or total_sv, or a
// file cut short among its support vectors, makes it read uninitialised memory or hand a null
// token to strtod. These checks run first and turn such files into a plain message.
#include <cstddef>
#include <optional>
#include <string>

#include <libsvm/svm.h>

namespace svmrunner {

// What is wrong with the model file at `path`, or nothing when libsvm may load it (or when the file
// cannot be opened, which svm_load_model reports).
std::optional<std::string> findModelFileDamage(const std::string& path);

// For a loaded model: what would make prediction read outside the model's arrays, or nothing.
std::optional<std::string> findLoadedModelDamage(const svm_model& model);

// With a precomputed kernel, the number of kernel values a test line must hold so that every
// support vector's serial number points inside it; 0 for other kernels.
std::size_t precomputedLineLength(const svm_model& model);

}  // namespace svmrunner
