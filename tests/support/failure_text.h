#pragma once
// The text of the RunFailure an action throws, or "(no failure)".
#include <functional>
#include <string>

#include "startup/run_failure.h"

namespace corvid::testing {

inline std::string failureText(const std::function<void()>& action) {
  try {
    action();
  } catch (const RunFailure& failure) {
    return failure.text;
  }
  return "(no failure)";
}

}  // namespace corvid::testing
