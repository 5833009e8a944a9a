#pragma once
// The text of the RunFailure an action throws, or "(no failure)".
#include <functional>
#include <string>

#include "platform/run_failure.h"

namespace corvid::testing {

inline std::string failureText(const std::function<void()>& action) {
  try {
    action();
  } catch (const RunFailure& failure) {
    return failure.text;
  }
  return "(no failure)";
}

// The failure text of a file that cannot be opened, as users know it.
inline std::string missingFileText(const std::string& path) {
  return "\nDear User:\n Corvid.exe failed to open " + path + ", this file does not exist any more!\n";
}

// The kind of the RunFailure an action throws; false when it throws none.
inline bool failsAsOutOfBounds(const std::function<void()>& action) {
  try {
    action();
  } catch (const RunFailure& failure) {
    return failure.kind == FailureKind::kOutOfBounds;
  }
  return false;
}

}  // namespace corvid::testing
