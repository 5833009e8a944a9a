#pragma once
// Reading and writing of open formats on two threads: this thread parses the file and decodes the
// peak arrays, a second one formats and writes each spectrum, in file order. A few spectra wait
// in between, so neither side stalls the other for long and memory stays bounded.
#include <cstddef>
#include <functional>
#include <string>

#include "spectra/open_format_spectrum.h"

namespace corvid {

// A reader: hands every spectrum of its file to the sink; false with a reason on failure.
using SpectrumReader = std::function<bool(const SpectrumSink& sink, std::string& error)>;

// Runs `read` on this thread and `consume` on a second thread for each spectrum, in order, with
// at most `depth` spectra waiting. A consumer failure stops the reading with its reason; the
// result is false with `error` set when either side failed.
bool readThroughPipe(const SpectrumReader& read, const SpectrumSink& consume, std::string& error,
                     std::size_t depth = 32);

}  // namespace corvid
