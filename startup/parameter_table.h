#pragma once
// The settings of one run as the user gave them: key text to value text. The command line and
// the parameter file fill it; readRunSettings (startup/run_settings.h) converts it once into typed
// values, and nothing else reads it. Looking up a missing key with operator[] creates it empty,
// which the start-up routes rely on (a datapath<i> that a parameter file lacks reads as an empty
// path).
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "platform/lenient_numbers.h"

namespace corvid {

using ParameterTable = std::map<std::string, std::string>;

// One row of the built-in settings: the default and the command-line letter that sets it
// ('\0' where no option exists). This table drives setDefaults and the option parser.
struct ParameterDefault {
  const char* key;
  const char* value;
  char option;
};

std::span<const ParameterDefault> parameterDefaults();

// Keys beyond the built-in table that Corvid reads when present; absent, each behaves as its
// default. They are set in a parameter file or with a long option, never written into templates.
struct ExtensionKey {
  const char* key;
  const char* defaultValue;
};
std::span<const ExtensionKey> extensionKeys();

// True for a key a long option may set: a built-in key, "datapath<N>", or an extension key.
bool isSettableKey(std::string_view key);

// Inserts every built-in key with its default text, in table order.
void setDefaults(ParameterTable& table);

// The key that an option letter sets, or nullptr for a letter that sets nothing.
const char* keyForOption(char letter);

// A switch is on exactly when its value is the text "1".
inline bool isOn(const std::string& value) { return value == "1"; }
// The value of key, or empty text when the table lacks it (as the index operation would create
// it), without changing a table that is only read.
const std::string& valueOrEmpty(const ParameterTable& table, const std::string& key);

// The marker for a path that was not given.
inline constexpr std::string_view kEmptyPath = "EmptyPath";

}  // namespace corvid
