// Gzip-compressed mzML and mzXML inputs: the byte source inflates every member whatever the file's
// name, reports damaged and truncated data with the compressed offset, and the extractor gives
// the same text from a compressed file as from the file itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "spectra/byte_source.h"
#include "spectra/input_formats.h"
#include "spectra/open_format_extractor.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/gzip_support.h"

namespace corvid {
namespace {

using namespace testing;

// Everything the source gives, read in pieces of the given size; error text instead when it fails.
std::string readAll(const std::string& path, std::size_t piece = 4096) {
  ByteSource source;
  std::string error;
  if (!source.open(path, error)) return "error: " + error;
  std::string content(piece, '\0');
  std::string all;
  for (std::size_t got = piece; got == piece;) {
    if (!source.read(content.data(), piece, got)) return "error: " + source.error();
    all.append(content, 0, got);
  }
  return all;
}

// Text of a few megabytes that does not compress to nothing: more than one inflated block.
std::string largeText() {
  std::string text;
  for (int i = 0; text.size() < (std::size_t{5} << 20); ++i)
    text += "<peak index=\"" + std::to_string(i) + "\" value=\"" + std::to_string(i * 7919 % 100003) + "\"/>\n";
  return text;
}

TEST(ByteSource, PlainFileIsReadAsItIs) {
  TempDir temp;
  const std::string text = largeText();
  EXPECT_EQ(readAll(temp.write("plain.txt", text)), text);
  ByteSource source;
  std::string error;
  ASSERT_TRUE(source.open(temp.file("plain.txt"), error));
  EXPECT_FALSE(source.compressed());
}

TEST(ByteSource, GzipFileIsInflatedWhateverItsName) {
  TempDir temp;
  const std::string text = largeText();
  for (const char* name : {"run.mzML.gz", "run.mzML", "run.txt"}) {
    EXPECT_EQ(readAll(temp.write(name, gzipMember(text))), text) << name;
    EXPECT_EQ(readAll(temp.file(name), 1000003), text) << name;
  }
  ByteSource source;
  std::string error;
  ASSERT_TRUE(source.open(temp.file("run.txt"), error));
  EXPECT_TRUE(source.compressed());
}

TEST(ByteSource, EveryMemberOfAMultiMemberFileIsRead) {
  TempDir temp;
  const std::string text = largeText();
  EXPECT_EQ(readAll(temp.write("members.gz", gzipMembers(text, 7))), text);
  // bgzip ends its files with an empty member.
  EXPECT_EQ(readAll(temp.write("bgzip.gz", gzipMembers(text, 3) + gzipMember(""))), text);
}

TEST(ByteSource, TruncatedGzipNamesTheOffsetWhereItEnds) {
  TempDir temp;
  const std::string compressed = gzipMember(largeText());
  const std::size_t cut = compressed.size() / 2;
  EXPECT_EQ(readAll(temp.write("cut.gz", compressed.substr(0, cut))),
            "error: the gzip data ends early at byte " + std::to_string(cut) + " (truncated file)");
  // Cut inside the trailer: all the content came out, but the member is not complete.
  EXPECT_EQ(readAll(temp.write("trailer.gz", compressed.substr(0, compressed.size() - 2))),
            "error: the gzip data ends early at byte " + std::to_string(compressed.size() - 2) + " (truncated file)");
}

TEST(ByteSource, DamagedGzipNamesTheOffsetWhereItShowed) {
  TempDir temp;
  std::string compressed = gzipMember(largeText());
  // The checksum of the content, in the last eight bytes, no longer matches it.
  compressed[compressed.size() - 6] = static_cast<char>(compressed[compressed.size() - 6] ^ 0x55);
  EXPECT_EQ(
      readAll(temp.write("crc.gz", compressed)),
      "error: the gzip data is damaged at byte " + std::to_string(compressed.size() - 4) + " (incorrect data check)");
  // Bytes after the last member that are not another member.
  const std::string sound = gzipMember("<a/>");
  EXPECT_EQ(readAll(temp.write("trailing.gz", sound + "garbage")).rfind("error: the gzip data is damaged at byte ", 0),
            0U);
}

TEST(OpenFormatNames, GzipEndingsFollowEveryOpenFormatSpelling) {
  for (const char* name : {"a.mzML.gz", "a.mzml.GZ", "a.MZML.gz", "a.mzXML.gz", "a.mzxml.GZ", "a.MZXML.gz"}) {
    EXPECT_TRUE(isOpenFormatName(name)) << name;
    EXPECT_TRUE(isGzipOpenFormatName(name)) << name;
    EXPECT_EQ(openFormatStem(name), "a") << name;
  }
  EXPECT_TRUE(isMzXMLName("a.mzXML.gz"));
  EXPECT_FALSE(isMzXMLName("a.mzML.gz"));
  EXPECT_TRUE(hasExtension("a.mzML.GZ", InputFormat::kMzML));
  EXPECT_FALSE(hasExtension("a.mzML.Gz", InputFormat::kMzML));
  EXPECT_FALSE(hasExtension("a.mgf.gz", InputFormat::kMGF));
  EXPECT_FALSE(isOpenFormatName("a.gz"));
  EXPECT_FALSE(isGzipOpenFormatName("a.mzML"));
  EXPECT_EQ(withoutGzipEnding("dir/a.mzML.gz"), "dir/a.mzML");
  EXPECT_EQ(withoutGzipEnding("a.txt.gz"), "a.txt.gz");
  EXPECT_EQ(openFormatStem("BSA1.mzML"), "BSA1");
}

// The extraction of a compressed file is the extraction of the file itself, byte for byte.
void expectSameExtraction(const std::string& fixture, const std::string& compressedName, const std::string& stem) {
  TempDir plain, packed;
  ASSERT_TRUE(extractOpenFormat(fixturePath(fixture), plain.folder(), stem));
  const std::string input = packed.write(compressedName, gzipMembers(readFile(fixturePath(fixture)), 3));
  ASSERT_TRUE(extractOpenFormat(input, packed.folder(), stem));
  for (const char* suffix : {".ms1", ".ms2", "_scans.csv"})
    EXPECT_EQ(readFile(packed.file(stem + suffix)), readFile(plain.file(stem + suffix))) << compressedName << suffix;
}

TEST(ExtractCompressedOpenFormat, GivesTheTextOfTheUncompressedFile) {
  expectSameExtraction("small.mzML", "small.mzML.gz", "small");
  expectSameExtraction("unordered.mzML", "unordered.MZML.GZ", "unordered");
  expectSameExtraction("nested.mzXML", "nested.mzXML.gz", "nested");
  expectSameExtraction("small.mzML", "small.mzML", "small");  // compressed but named as plain
}

TEST(ExtractCompressedOpenFormat, MarkerFollowsTheCompressedFile) {
  TempDir temp;
  const std::string input = temp.write("small.mzML.gz", gzipMember(readFile(fixturePath("small.mzML"))));
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "small"));
  EXPECT_NE(readFile(temp.file("small.quarry")).find("input small.mzML.gz\r\n"), std::string::npos);
  EXPECT_TRUE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  // The same content compressed otherwise is another file.
  writeFile(input, gzipMember(readFile(fixturePath("small.mzML")), 1) + gzipMember(""));
  StdoutCapture capture;
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
}

TEST(ExtractCompressedOpenFormat, DamagedFileFailsWithTheOffsetAndLeavesNothing) {
  TempDir temp;
  std::string compressed = gzipMember(readFile(fixturePath("small.mzML")));
  compressed[compressed.size() - 6] = static_cast<char>(compressed[compressed.size() - 6] ^ 0x55);
  const std::string input = temp.write("small.mzML.gz", compressed);
  StdoutCapture capture;
  EXPECT_FALSE(extractOpenFormat(input, temp.folder(), "small"));
  EXPECT_NE(capture.text().find("Cannot extract " + input + ": the gzip data is damaged at byte " +
                                std::to_string(compressed.size() - 4) + " (incorrect data check)"),
            std::string::npos)
      << capture.text();
  EXPECT_EQ(namesIn(temp.path()), std::vector<std::string>{"small.mzML.gz"});
}

// Damage inside the deflate data may reach the XML parser as bad content before zlib notices:
// the compressed data is still named as the cause.
TEST(ExtractCompressedOpenFormat, DamageInTheMiddleIsReportedAsDamagedGzip) {
  TempDir temp;
  const std::string text = readFile(fixturePath("small.mzML"));
  std::string compressed = gzipMember(text);
  for (std::size_t at = compressed.size() / 3; at < compressed.size() / 3 + 16; ++at)
    compressed[at] = static_cast<char>(compressed[at] ^ 0xa5);
  const std::string input = temp.write("small.mzML.gz", compressed);
  StdoutCapture capture;
  EXPECT_FALSE(extractOpenFormat(input, temp.folder(), "small"));
  EXPECT_NE(capture.text().find("Cannot extract " + input + ": the gzip data is damaged at byte "), std::string::npos)
      << capture.text();
  EXPECT_EQ(namesIn(temp.path()), std::vector<std::string>{"small.mzML.gz"});
}

}  // namespace
}  // namespace corvid
