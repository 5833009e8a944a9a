#include "svm_model_check.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

namespace svmrunner {

namespace {

// More classes than this cannot come from a real training set; a damaged count would only make
// libsvm allocate absurd arrays.
constexpr long kMaxClasses = 1L << 20;

// The number a word holds, or -1 when it is not a whole number (no count here is negative).
long countIn(const std::string& word) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(word.c_str(), &end, 10);
  if (word.empty() || *end != '\0' || errno != 0 || value < 0) return -1;
  return value;
}

// The single count after a header keyword, or -1.
long headerCount(const std::vector<std::string>& values) { return values.size() == 1 ? countIn(values[0]) : -1; }

std::vector<std::string> wordsOf(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

}  // namespace

std::optional<std::string> findModelFileDamage(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;  // svm_load_model cannot open it either, which is reported then
  // The header: one keyword and its values a line, as svm_save_model writes it, up to "SV".
  std::map<std::string, std::vector<std::string>> header;
  std::string line;
  bool sawSupportVectors = false;
  while (std::getline(in, line)) {
    std::vector<std::string> words = wordsOf(line);
    if (words.empty()) continue;
    if (words[0] == "SV") {
      sawSupportVectors = true;
      break;
    }
    const std::string keyword = words[0];
    words.erase(words.begin());
    header[keyword] = std::move(words);
  }
  // svm_save_model always writes the "SV" line; without it libsvm would only add its own complaint.
  if (!sawSupportVectors) return "model file " + path + " is not a LIBSVM model (no SV line)";
  const auto damaged = [&path](const std::string& why) { return "model file " + path + " is damaged: " + why; };

  // libsvm leaves a field it did not find uninitialised or null, and uses it all the same.
  const auto has = [&header](const char* keyword) { return header.count(keyword) != 0; };
  for (const char* keyword : {"svm_type", "kernel_type", "nr_class", "total_sv", "rho"}) {
    if (!has(keyword)) return damaged(std::string("no ") + keyword + " line");
  }
  const std::string svmType = header["svm_type"].empty() ? std::string() : header["svm_type"][0];
  const std::string kernelType = header["kernel_type"].empty() ? std::string() : header["kernel_type"][0];
  const bool classifier = svmType == "c_svc" || svmType == "nu_svc";
  if (classifier && (!has("label") || !has("nr_sv"))) return damaged("no label or nr_sv line");
  const bool usesGamma = kernelType == "polynomial" || kernelType == "rbf" || kernelType == "sigmoid";
  if (usesGamma && !has("gamma")) return damaged("no gamma line");
  if ((kernelType == "polynomial" || kernelType == "sigmoid") && !has("coef0")) return damaged("no coef0 line");
  if (kernelType == "polynomial" && !has("degree")) return damaged("no degree line");

  const long classes = headerCount(header["nr_class"]);
  if (classes < 1 || classes > kMaxClasses) return damaged("bad nr_class line");
  const long supportVectors = headerCount(header["total_sv"]);
  if (supportVectors < 0 || supportVectors > INT_MAX) return damaged("bad total_sv line");
  if (classes == 1 && supportVectors != 0) return damaged("one class cannot have support vectors");
  if (has("nr_sv")) {
    long sum = 0;
    for (const std::string& word : header["nr_sv"]) {
      const long count = countIn(word);
      if (count < 0 || count > INT_MAX) return damaged("bad nr_sv line");
      sum += count;
    }
    if (header["nr_sv"].size() != static_cast<std::size_t>(classes) || sum != supportVectors) {
      return damaged("nr_sv does not match nr_class and total_sv");
    }
  }

  // Every support vector line starts with one coefficient per other class.
  const std::size_t coefficients = static_cast<std::size_t>(std::max(1L, classes - 1));
  long found = 0;
  while (found < supportVectors && std::getline(in, line)) {
    if (wordsOf(line).size() < coefficients) {
      return damaged("support vector " + std::to_string(found + 1) + " lacks its coefficients");
    }
    ++found;
  }
  if (found < supportVectors) {
    return "model file " + path + " is cut short: total_sv says " + std::to_string(supportVectors) +
           " support vectors, the file holds " + std::to_string(found);
  }
  return std::nullopt;
}

std::optional<std::string> findLoadedModelDamage(const svm_model& model) {
  if (model.nr_class < 1) return std::string("the model has no classes");
  if (model.param.kernel_type == PRECOMPUTED) {
    for (int i = 0; i < model.l; ++i) {
      const double serial = model.SV[i][0].value;
      if (model.SV[i][0].index != 0 || !(serial >= 0.0 && serial < static_cast<double>(INT_MAX))) {
        return "support vector " + std::to_string(i + 1) + " has no valid 0:sample_serial_number";
      }
    }
  }
  return std::nullopt;
}

std::size_t precomputedLineLength(const svm_model& model) {
  if (model.param.kernel_type != PRECOMPUTED) return 0;
  std::size_t length = 0;
  for (int i = 0; i < model.l; ++i) {
    length = std::max(length, static_cast<std::size_t>(model.SV[i][0].value) + 1);
  }
  return length;
}

}  // namespace svmrunner
