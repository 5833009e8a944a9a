#pragma once
// Corvid's own files (the isotope pattern table, its helper tools) are expected in `binpath`, the
// folder argument 0 names. A run found through PATH, started through a symlink or installed into
// bin/ + share/corvid/ has them elsewhere: these functions find them there.
#include <string>
#include <string_view>

namespace corvid {

// The folder of the running executable as the operating system reports it, with a trailing
// separator; symlinks resolved. Empty when the system does not say.
std::string runningExecutableFolder();

// The file `name` in binFolder when it is there. An absolute name is used as given. Otherwise the
// first of: the real executable's folder, its ../share/corvid/ (an installed tree moved anywhere),
// the share folder of the configured install prefix. When none holds it, binFolder + name, so the
// caller's "not found" message names the place it was expected.
std::string locateSupportFile(std::string_view binFolder, std::string_view name);

}  // namespace corvid
