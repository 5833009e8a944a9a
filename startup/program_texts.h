#pragma once
// The texts the program prints about itself: banner, version block, usage.
#include <string>

namespace corvid {

// "-Release-2.0.8(x64)": the version text built from the release and the platform.
std::string versionText();
void printBanner();
// The version line, What's New and the config-file usage; the template is written by the caller.
void printVersionBlock();
void printUsage();
// What --help adds after the usage: the long options and the extension keys.
void printLongOptionHelp();
// What --version prints: "corvid <version>" and the version line of the version block.
void printVersionLine();

}  // namespace corvid
