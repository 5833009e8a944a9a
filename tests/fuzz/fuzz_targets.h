#pragma once
// Fuzz targets: each takes arbitrary bytes and must neither crash, hang nor leak, whatever the
// bytes. They run as ordinary tests over a corpus and a deterministic sweep of random and
// mutated inputs (fuzz_replay_test.cpp); each has libFuzzer's signature, so a coverage-guided
// fuzzer can drive it through a one-line LLVMFuzzerTestOneInput.
#include <cstddef>
#include <cstdint>

namespace corvid::fuzz {

int fuzzParameterFile(const std::uint8_t* data, std::size_t size);
int fuzzMs1Text(const std::uint8_t* data, std::size_t size);
int fuzzMs2Text(const std::uint8_t* data, std::size_t size);
int fuzzMgf(const std::uint8_t* data, std::size_t size);
int fuzzReferenceList(const std::uint8_t* data, std::size_t size);
int fuzzOpenFormat(const std::uint8_t* data, std::size_t size);  // mzML
int fuzzMzXML(const std::uint8_t* data, std::size_t size);
// Differential: the XML streamer with and without reading spectrum content itself.
int fuzzXmlStream(const std::uint8_t* data, std::size_t size);
// Gzip-compressed input read through the byte source, damaged or sound.
int fuzzGzipInput(const std::uint8_t* data, std::size_t size);

}  // namespace corvid::fuzz
