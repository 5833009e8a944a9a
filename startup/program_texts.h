#pragma once
// The texts the program prints about itself: banner, version block, usage, help.
#include <string>
#include <string_view>

namespace corvid {

// "-Release-2.0.8(x64)": the version text built from the release and the platform.
std::string versionText();
void printBanner();
// The version line, What's New and the config-file usage; the template is written by the caller.
void printVersionBlock();
void printUsage();
// What --help prints: the usage on this platform, the single-letter and long options, the
// extension keys and the exit statuses, built from the tables that drive them.
std::string helpText();
void printHelp();
// The one-line meaning --help gives an extension key; empty for a key it does not know.
std::string extensionKeyMeaning(std::string_view key);
// What --version prints: "corvid <version>" and the version line of the version block.
void printVersionLine();

}  // namespace corvid
