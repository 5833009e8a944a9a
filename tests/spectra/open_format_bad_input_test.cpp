#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <cstdint>
#include <cstring>
#include <limits>

#include "tests/spectra/spectra_test_support.h"
#include "spectra/open_format_extractor.h"

namespace corvid {
namespace {

using namespace testing;

// Extraction of `bytes`, saved as `name`, must fail with an error naming the file and `problem`,
// and leave neither a marker nor partial outputs.
void expectFailure(const std::string& name, const std::string& bytes, const std::string& problem) {
  TempDir temp;
  std::string input = temp.file(name);
  writeFile(input, bytes);
  std::string stem = name.substr(0, name.rfind('.'));
  std::size_t mark = runLogLines().size();
  EXPECT_FALSE(extractOpenFormat(input, temp.folder(), stem));
  std::string log = logSince(mark);
  EXPECT_NE(log.find("Cannot extract " + input + ": "), std::string::npos) << log;
  EXPECT_NE(log.find(problem), std::string::npos) << log;
  for (const char* suffix : {".quarry", ".ms1", ".ms2", "_scans.csv", ".ms1.part", ".ms2.part",
                             ".scans.part", ".ids.part"})
    EXPECT_FALSE(exists(temp.file(stem + suffix))) << suffix;
}

std::string smallMzML() { return readFile(fixturePath("small.mzML")); }

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(ExtractOpenFormatBadInput, MissingFileIsReported) {
  TempDir temp;
  std::size_t mark = runLogLines().size();
  EXPECT_FALSE(extractOpenFormat(temp.file("absent.mzML"), temp.folder(), "absent"));
  EXPECT_NE(logSince(mark).find("Cannot extract " + temp.file("absent.mzML") +
                                ": the file does not exist or cannot be opened"),
            std::string::npos);
  EXPECT_FALSE(exists(temp.file("absent.quarry")));
}

TEST(ExtractOpenFormatBadInput, EmptyFileIsReported) {
  expectFailure("empty.mzML", "", "the file is empty");
}

TEST(ExtractOpenFormatBadInput, TruncatedMzMLIsReported) {
  std::string text = smallMzML();
  expectFailure("cut.mzML", text.substr(0, text.size() / 2), "malformed or truncated XML at line");
}

// Every cut of the fixture fails cleanly: no crash, no hang, no marker.
TEST(ExtractOpenFormatBadInput, EveryTruncationFailsCleanly) {
  std::string text = smallMzML();
  TempDir temp;
  for (std::size_t length = 0; length + 1 < text.size(); length += 37) {
    writeFile(temp.file("cut.mzML"), text.substr(0, length));
    ASSERT_FALSE(extractOpenFormat(temp.file("cut.mzML"), temp.folder(), "cut")) << length;
    ASSERT_FALSE(exists(temp.file("cut.quarry"))) << length;
    ASSERT_FALSE(exists(temp.file("cut.ms1"))) << length;
  }
}

TEST(ExtractOpenFormatBadInput, InvalidBase64IsReported) {
  std::string text = smallMzML();
  std::size_t start = text.find("<binary>") + 8;
  text.replace(start, 4, "@@@@");
  expectFailure("base64.mzML", text, "invalid base64 text");
}

TEST(ExtractOpenFormatBadInput, WrongDeclaredArrayLengthIsReported) {
  std::string text = replaced(smallMzML(), "defaultArrayLength=\"3\"", "defaultArrayLength=\"4\"");
  expectFailure("length.mzML", text,
                "spectrum \"controllerType=0 controllerNumber=1 scan=1\" declares 4 values but its "
                "array holds 3");
}

TEST(ExtractOpenFormatBadInput, HugeDeclaredArrayLengthIsReported) {
  std::string text =
      replaced(smallMzML(), "defaultArrayLength=\"3\"", "defaultArrayLength=\"99999999999999\"");
  // Past max_spectrum_values: refused before the array is decoded.
  expectFailure("huge.mzML", text, "declares 99999999999999 values in a peak array encoded in ");
  expectFailure("huge.mzML", text, " bytes, more than max_spectrum_values (20000000): refused");
}

TEST(ExtractOpenFormatBadInput, NonMzMLXmlIsReported) {
  expectFailure("page.mzML", "<?xml version=\"1.0\"?>\n<html><body>run</body></html>\n",
                "not an mzML file (its root element is <html>)");
}

TEST(ExtractOpenFormatBadInput, MzMLGivenAsMzXMLIsReported) {
  expectFailure("swapped.mzXML", smallMzML(),
                "not an mzXML file (its root element is <indexedmzML>)");
}

TEST(ExtractOpenFormatBadInput, RandomBytesAreReported) {
  std::string bytes;
  std::uint32_t state = 12345;
  for (int i = 0; i < 5000; ++i) {
    state = state * 1103515245U + 12345U;  // any fixed sequence will do
    bytes += static_cast<char>(state >> 24);
  }
  expectFailure("noise.mzML", bytes, "malformed or truncated XML");
}

TEST(ExtractOpenFormatBadInput, CorruptZlibIsReported) {
  // The first spectrum's intensity array is zlib-compressed; "AAAAAAAAAAAA" is nine zero bytes.
  std::string text = smallMzML();
  std::size_t array = text.find("<binary>", text.find("<binary>") + 8) + 8;
  std::size_t end = text.find("</binary>", array);
  text.replace(array, end - array, "AAAAAAAAAAAA");
  expectFailure("zlib.mzML", text, "corrupt zlib data");
}

// A NaN peak does not cost the file: the peak is left out with a counted Alert.
TEST(ExtractOpenFormatBadInput, NonFinitePeakValueIsLeftOut) {
  // Second spectrum, intensity array of 64-bit plain floats: replace it by NaN and 1.
  double values[2] = {std::numeric_limits<double>::quiet_NaN(), 1.0};
  unsigned char bytes[16];
  std::memcpy(bytes, values, 16);
  static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string encoded;
  for (int i = 0; i < 15; i += 3) {
    std::uint32_t group = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    for (int k = 3; k >= 0; --k) encoded += alphabet[(group >> (6 * k)) & 63];
  }
  std::uint32_t last = bytes[15] << 16;
  encoded += alphabet[(last >> 18) & 63];
  encoded += alphabet[(last >> 12) & 63];
  encoded += "==";
  std::string text = smallMzML();
  std::size_t spectrum = text.find("scan=2\"");
  std::size_t array = text.find("<binary>", text.find("<binary>", spectrum) + 8) + 8;
  std::size_t end = text.find("</binary>", array);
  text.replace(array, end - array, encoded);
  TempDir temp;
  writeFile(temp.file("nan.mzML"), text);
  std::size_t mark = runLogLines().size();
  ASSERT_TRUE(extractOpenFormat(temp.file("nan.mzML"), temp.folder(), "nan"));
  EXPECT_NE(logSince(mark).find("nan.mzML: 1 peaks in 1 spectra had a non-finite or negative m/z "
                                "or intensity and were left out"),
            std::string::npos)
      << logSince(mark);
  std::string ms2 = readFile(temp.file("nan.ms2"));
  EXPECT_EQ(ms2.find("150.250000"), std::string::npos);
  EXPECT_NE(ms2.find("Z\t2\t889.239524\r\n300.750000 1.0000\r\nS\t"), std::string::npos) << ms2;
}

TEST(ExtractOpenFormatBadInput, WrongMzXMLPeakCountIsReported) {
  std::string text =
      replaced(readFile(fixturePath("nested.mzXML")), "peaksCount=\"2\"", "peaksCount=\"3\"");
  expectFailure("count.mzXML", text,
                "scan \"scan=21\" declares 3 peaks but its peak list holds 4 values");
}

// Files under the final names are only ever complete, and another run may be reading them: a
// failure removes the marker (so nothing is reused) and its own temporary files only.
TEST(ExtractOpenFormatBadInput, FailureRemovesTheMarkerAndLeavesNoTemporaryFile) {
  TempDir temp;
  for (const char* suffix : {".quarry", ".ms1", ".ms2", "_scans.csv"})
    writeFile(temp.file(std::string("old") + suffix), "earlier");
  writeFile(temp.file("old.mzML"), "<mzML><run><spectrumList>");
  EXPECT_FALSE(extractOpenFormat(temp.file("old.mzML"), temp.folder(), "old"));
  EXPECT_FALSE(exists(temp.file("old.quarry")));
  for (const char* suffix : {".ms1", ".ms2", "_scans.csv"})
    EXPECT_EQ(readFile(temp.file(std::string("old") + suffix)), "earlier") << suffix;
  EXPECT_FALSE(openFormatAlreadyExtracted(temp.file("old.mzML"), temp.folder(), "old"));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(temp.path())) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"old.ms1", "old.ms2", "old.mzML", "old_scans.csv"}));
}

TEST(ExtractOpenFormatBadInput, UnwritableFolderIsReported) {
  TempDir temp;
  std::size_t mark = runLogLines().size();
  EXPECT_FALSE(extractOpenFormat(fixturePath("small.mzML"), temp.file("no/such/folder/"), "small"));
  EXPECT_NE(logSince(mark).find("the MS1/MS2 text files cannot be created"), std::string::npos);
}

}  // namespace
}  // namespace corvid
