#pragma once
// A failure that ends the run: thrown where it is detected, caught by the entry routine, which
// logs the text with label "Error", adds the exit notice and ends the process with status 255.
#include <string>
#include <utility>

namespace corvid {

struct RunFailure {
  std::string text;
  explicit RunFailure(std::string message) : text(std::move(message)) {}
};

}  // namespace corvid
