#include "startup/parameter_table.h"

#include <array>
#include <cstdlib>
#include <string>

namespace corvid {
namespace {

constexpr std::array<ParameterDefault, 31> kDefaults{{
    {"datanum", "0", '\0'},
    {"datapath", "D:\\Data\\", 'D'},
    {"logfilepath", "EmptyPath", 'L'},
    {"outputpath", "EmptyPath", 'O'},
    {"isolation_width", "2", 'W'},
    {"input_format", "raw", 'F'},
    {"co-elute", "1", 'C'},
    {"ipv_file", "IPV.txt", 'I'},
    {"mars_model", "4", 'M'},
    {"delete_msn", "0", 'd'},
    {"output_mgf", "1", 'm'},
    {"output_kx", "1", 'p'},
    {"output_ms2", "0", '\0'},
    {"output_mars_y", "0", 'Y'},
    {"debug_mode", "0", 'g'},
    {"rewrite_files", "0", 'r'},
    {"check_activationcenter", "1", 'a'},
    {"output_all_mars_y", "0", 'y'},
    {"mars_threshold", "-0.34", 't'},
    {"export_unchecked_mono", "0", 'u'},
    {"cut_similiar_mono", "1", 'S'},
    {"output_trainingdata", "0", 's'},
    {"trainingset", "EmptyPath", 'T'},
    {"recalibrate_window", "7", 'R'},
    {"binpath", ".\\", '\0'},
    {"m/z", "5", 'z'},
    {"Intensity", "1", 'i'},
    {"outputsvmlight", "0", 'v'},
    {"samplenumberinsvmlight", "-1", 'N'},
    {"svmlight_charge_range", "2-6", 'c'},
    {"output_freq", "0", 'f'},
}};

constexpr std::array<ExtensionKey, 9> kExtensionKeys{{
    {"precision_mode", "0"},
    {"isolation_from_file", "0"},
    {"threads", "0"},
    {"output_mzml", "0"},
    {"output_table", "0"},
    {"output_qc", "0"},
    {"strict_exit", "0"},
    {"extract_path", ""},
    {"max_spectrum_values", "20000000"},
}};

bool isNumberedDataPath(std::string_view key) {
  constexpr std::string_view kPrefix = "datapath";
  if (!key.starts_with(kPrefix) || key.size() == kPrefix.size()) return false;
  for (char c : key.substr(kPrefix.size())) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

}  // namespace

std::span<const ParameterDefault> parameterDefaults() { return kDefaults; }

std::span<const ExtensionKey> extensionKeys() { return kExtensionKeys; }

bool isSettableKey(std::string_view key) {
  for (const ParameterDefault& row : kDefaults) {
    if (key == row.key) return true;
  }
  for (const ExtensionKey& row : kExtensionKeys) {
    if (key == row.key) return true;
  }
  return isNumberedDataPath(key);
}

void setDefaults(ParameterTable& table) {
  for (const ParameterDefault& row : kDefaults) table[row.key] = row.value;
}

const char* keyForOption(char letter) {
  if (letter == '\0') return nullptr;
  for (const ParameterDefault& row : kDefaults) {
    if (row.option == letter) return row.key;
  }
  return nullptr;
}

const std::string& valueOrEmpty(const ParameterTable& table, const std::string& key) {
  static const std::string kEmpty;
  const auto found = table.find(key);
  return found == table.end() ? kEmpty : found->second;
}

}  // namespace corvid
