// Decompression bombs: a small mzML whose compressed peak arrays declare or inflate to far more
// values than any real spectrum is refused with an Error naming the spectrum and its sizes, quickly
// and without taking the memory; max_spectrum_values sets the bound, and an array at the bound is
// read.
#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <string>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

// A zlib stream of `bytes` zero bytes, made in pieces so the test never holds them.
std::string zlibZeros(std::size_t bytes) {
  z_stream stream{};
  EXPECT_EQ(deflateInit(&stream, Z_BEST_COMPRESSION), Z_OK);
  const std::string piece(1 << 20, '\0');
  std::string out;
  std::string buffer(1 << 16, '\0');
  for (std::size_t done = 0; done < bytes || stream.avail_in > 0;) {
    if (stream.avail_in == 0) {
      const std::size_t take = std::min(piece.size(), bytes - done);
      stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
      stream.avail_in = static_cast<uInt>(take);
      done += take;
    }
    stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
    stream.avail_out = static_cast<uInt>(buffer.size());
    deflate(&stream, Z_NO_FLUSH);
    out.append(buffer.data(), buffer.size() - stream.avail_out);
  }
  int status = Z_OK;
  while (status != Z_STREAM_END) {
    stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
    stream.avail_out = static_cast<uInt>(buffer.size());
    status = deflate(&stream, Z_FINISH);
    out.append(buffer.data(), buffer.size() - stream.avail_out);
  }
  deflateEnd(&stream);
  return out;
}

std::string base64(const std::string& bytes) {
  static const char* const kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                       static_cast<unsigned char>(bytes[i + 2]);
    for (int shift : {18, 12, 6, 0}) out += kDigits[(v >> shift) & 63];
  }
  if (i < bytes.size()) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += kDigits[(v >> 18) & 63];
    out += kDigits[(v >> 12) & 63];
    out += i + 1 < bytes.size() ? kDigits[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

// One MS1 spectrum "scan=1" declaring `declared` values, both arrays the given zlib data.
std::string bombMzML(long long declared, const std::string& compressed) {
  const std::string array = base64(compressed);
  auto binaryArray = [&](const char* accession, const char* name) {
    return "<binaryDataArray encodedLength=\"" + std::to_string(array.size()) +
           "\"><cvParam cvRef=\"MS\" accession=\"MS:1000523\" name=\"64-bit float\"/><cvParam cvRef=\"MS\" "
           "accession=\"MS:1000574\" name=\"zlib compression\"/><cvParam cvRef=\"MS\" accession=\"" +
           accession + "\" name=\"" + name + "\"/><binary>" + array + "</binary></binaryDataArray>";
  };
  return "<?xml version=\"1.0\"?><mzML><run id=\"r\"><spectrumList count=\"1\"><spectrum index=\"0\" "
         "id=\"scan=1\" defaultArrayLength=\"" +
         std::to_string(declared) +
         "\"><cvParam cvRef=\"MS\" accession=\"MS:1000511\" name=\"ms level\" value=\"1\"/><binaryDataArrayList "
         "count=\"2\">" +
         binaryArray("MS:1000514", "m/z array") + binaryArray("MS:1000515", "intensity array") +
         "</binaryDataArrayList></spectrum></spectrumList></run></mzML>\n";
}

struct BombRun {
  RunResult result;
  double seconds = 0.0;
  std::vector<std::string> files;
};

BombRun runOn(const std::string& mzml, const std::vector<std::string>& options = {}) {
  TempDir dir;
  writeFile(dir.path() / "bomb.mzML", mzml);
  std::vector<std::string> arguments{"bomb.mzML", "--strict_exit=1"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const auto start = std::chrono::steady_clock::now();
  BombRun run;
  run.result = runCorvid(dir.path(), arguments);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.files = namesIn(dir.path());
  return run;
}

TEST(DecompressionBomb, DeclaredSizePastTheBoundIsRefusedBeforeInflating) {
  const std::string compressed = zlibZeros(1 << 20);
  const BombRun run = runOn(bombMzML(100000000, compressed));
  EXPECT_EQ(run.result.status, 11) << run.result.out;
  EXPECT_NE(run.result.out.find("spectrum \"scan=1\" declares 100000000 values in a peak array encoded in " +
                                std::to_string(base64(compressed).size()) +
                                " bytes, more than max_spectrum_values (20000000): refused"),
            std::string::npos)
      << run.result.out;
  EXPECT_LT(run.seconds, 20.0);
  EXPECT_EQ(run.files, (std::vector<std::string>{"CorvidPlusLog.txt", "bomb.mzML"}));
}

TEST(DecompressionBomb, ArrayInflatingPastTheBoundIsStoppedThere) {
  // Declares one value, inflates to 25 million (200 MB): inflating stops at the bound.
  const BombRun run = runOn(bombMzML(1, zlibZeros(std::size_t{25000000} * 8)));
  EXPECT_EQ(run.result.status, 11) << run.result.out;
  EXPECT_NE(run.result.out.find("spectrum \"scan=1\": its compressed array of "), std::string::npos) << run.result.out;
  EXPECT_NE(run.result.out.find(" bytes inflates to more than 20000000 values (max_spectrum_values)"),
            std::string::npos)
      << run.result.out;
  EXPECT_EQ(run.files, (std::vector<std::string>{"CorvidPlusLog.txt", "bomb.mzML"}));
}

TEST(DecompressionBomb, ArrayAtTheBoundIsReadAndOneValueMoreIsRefused) {
  const std::string mzml = bombMzML(1000, zlibZeros(1000 * 8));
  const BombRun at = runOn(mzml, {"--max_spectrum_values=1000"});
  EXPECT_EQ(at.result.out.find("max_spectrum_values"), std::string::npos) << at.result.out;
  EXPECT_NE(std::find(at.files.begin(), at.files.end(), "bomb.ms1"), at.files.end());
  const BombRun past = runOn(mzml, {"--max_spectrum_values=999"});
  EXPECT_EQ(past.result.status, 11);
  EXPECT_NE(past.result.out.find("declares 1000 values in a peak array encoded in"), std::string::npos)
      << past.result.out;
  EXPECT_NE(past.result.out.find("more than max_spectrum_values (999): refused"), std::string::npos);
}

TEST(DecompressionBomb, InvalidBoundFallsBackToTheDefaultWithAnAlert) {
  const BombRun run = runOn(bombMzML(1000, zlibZeros(1000 * 8)), {"--max_spectrum_values=lots"});
  EXPECT_NE(run.result.out.find("max_spectrum_values = lots is not a whole number above 0: the run uses 20000000"),
            std::string::npos)
      << run.result.out;
  EXPECT_NE(std::find(run.files.begin(), run.files.end(), "bomb.ms1"), run.files.end());
}

}  // namespace
}  // namespace corvid
