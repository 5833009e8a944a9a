#pragma once
// The two kinds of failure corvid-reference-list reports: a wrong command line (exit status 2)
// and an input it cannot use (exit status 1). Both carry the one-line message shown to the user.
#include <stdexcept>
#include <string>

namespace corvid::reflist {

struct UsageError : std::runtime_error {
  explicit UsageError(const std::string& message) : std::runtime_error(message) {}
};

struct InputError : std::runtime_error {
  explicit InputError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace corvid::reflist
