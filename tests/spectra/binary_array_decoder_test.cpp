#include "spectra/binary_array_decoder.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <libmsnumpress/MSNumpress.hpp>

namespace corvid {
namespace {

std::string encodeBase64(const std::string& bytes) {
  static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    std::uint32_t g = (static_cast<unsigned char>(bytes[i]) << 16) |
                      (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                      static_cast<unsigned char>(bytes[i + 2]);
    for (int k = 3; k >= 0; --k) out += alphabet[(g >> (6 * k)) & 63];
  }
  if (bytes.size() - i == 1) {
    std::uint32_t g = static_cast<unsigned char>(bytes[i]) << 16;
    out += alphabet[(g >> 18) & 63];
    out += alphabet[(g >> 12) & 63];
    out += "==";
  } else if (bytes.size() - i == 2) {
    std::uint32_t g = (static_cast<unsigned char>(bytes[i]) << 16) |
                      (static_cast<unsigned char>(bytes[i + 1]) << 8);
    out += alphabet[(g >> 18) & 63];
    out += alphabet[(g >> 12) & 63];
    out += alphabet[(g >> 6) & 63];
    out += '=';
  }
  return out;
}

std::string compress(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string out(size, '\0');
  EXPECT_EQ(::compress(reinterpret_cast<Bytef*>(out.data()), &size,
                       reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()),
            Z_OK);
  out.resize(size);
  return out;
}

template <typename Float>
std::string rawBytes(const std::vector<double>& values, bool bigEndian) {
  std::string out;
  for (double value : values) {
    Float f = static_cast<Float>(value);
    char bytes[sizeof(Float)];
    std::memcpy(bytes, &f, sizeof(Float));
    if (bigEndian) std::reverse(bytes, bytes + sizeof(Float));
    out.append(bytes, sizeof(Float));
  }
  return out;
}

TEST(DecodeBase64, KnownTextsAndPadding) {
  std::string bytes, error;
  ASSERT_TRUE(decodeBase64("TWFu", bytes, error));
  EXPECT_EQ(bytes, "Man");
  ASSERT_TRUE(decodeBase64("TWE=", bytes, error));
  EXPECT_EQ(bytes, "Ma");
  ASSERT_TRUE(decodeBase64("TQ==", bytes, error));
  EXPECT_EQ(bytes, "M");
  ASSERT_TRUE(decodeBase64(" TW\nFu\r\n", bytes, error));  // line breaks inside long arrays
  EXPECT_EQ(bytes, "Man");
  ASSERT_TRUE(decodeBase64("", bytes, error));
  EXPECT_EQ(bytes, "");
}

TEST(DecodeBase64, RejectsInvalidText) {
  std::string bytes, error;
  for (const char* text : {"TW@u", "T", "TWFuT", "TQ=A", "=TWF", "TQ===", "TWFu=", "TW-u"}) {
    error.clear();
    EXPECT_FALSE(decodeBase64(text, bytes, error)) << text;
    EXPECT_EQ(error, "invalid base64 text") << text;
  }
}

// The decoder as a plain character-by-character loop, to hold the fast one to: each character is
// a value, white space, padding (nothing may follow but padding and white space) or an error.
bool referenceBase64(std::string_view text, std::string& bytes) {
  bytes.clear();
  std::uint32_t group = 0;
  int filled = 0;
  int padding = 0;
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char* at = c == '\0' ? nullptr : std::strchr(alphabet, c);
    if (at == nullptr || padding > 0) return false;
    group = (group << 6) | static_cast<std::uint32_t>(at - alphabet);
    if (++filled == 4) {
      bytes += static_cast<char>(group >> 16);
      bytes += static_cast<char>((group >> 8) & 0xFF);
      bytes += static_cast<char>(group & 0xFF);
      group = 0;
      filled = 0;
    }
  }
  if (filled == 1 || padding > 2 || (filled == 0 && padding > 0) ||
      (filled > 0 && padding > 0 && filled + padding != 4))
    return false;
  if (filled == 2) bytes += static_cast<char>(group >> 4);
  if (filled == 3) {
    bytes += static_cast<char>(group >> 10);
    bytes += static_cast<char>((group >> 2) & 0xFF);
  }
  return true;
}

TEST(DecodeBase64, AgreesWithACharacterByCharacterDecoder) {
  // Mostly base64, with white space, padding and stray characters at pseudo-random places.
  const std::string pool = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::uint32_t state = 99;
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    state = state * 1664525U + 1013904223U;
    const std::size_t length = (state >> 8) % 40;
    for (std::size_t k = 0; k < length; ++k) {
      state = state * 1664525U + 1013904223U;
      const std::uint32_t pick = (state >> 8) % 100;
      if (pick < 85) text += pool[(state >> 16) % pool.size()];
      else if (pick < 91) text += " \t\r\n"[(state >> 16) % 4];
      else if (pick < 97) text += '=';
      else text += static_cast<char>(state >> 24);
    }
    std::string expected;
    std::string got;
    std::string error;
    const bool expectedOk = referenceBase64(text, expected);
    ASSERT_EQ(decodeBase64(text, got, error), expectedOk) << text;
    if (expectedOk) {
      ASSERT_EQ(got, expected) << text;
    }
  }
}

TEST(DecodeBinaryArray, LittleEndianWidthsWithAndWithoutZlib) {
  std::vector<double> input = {100.5, 1234.25, 0.125, 99999.75};
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  for (bool zlib : {false, true}) {
    std::string raw32 = rawBytes<float>(input, false);
    std::string raw64 = rawBytes<double>(input, false);
    ASSERT_TRUE(decodeBinaryArray(encodeBase64(zlib ? compress(raw32) : raw32),
                                  {32, zlib, NumpressKind::None, false}, values, scratch, error))
        << error;
    EXPECT_EQ(values, input);
    ASSERT_TRUE(decodeBinaryArray(encodeBase64(zlib ? compress(raw64) : raw64),
                                  {64, zlib, NumpressKind::None, false}, values, scratch, error))
        << error;
    EXPECT_EQ(values, input);
  }
}

TEST(DecodeBinaryArray, NetworkByteOrder) {
  std::vector<double> input = {445.12, 10.5};
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  ASSERT_TRUE(decodeBinaryArray(encodeBase64(rawBytes<double>(input, true)),
                                {64, false, NumpressKind::None, true}, values, scratch, error));
  EXPECT_EQ(values, input);
  ASSERT_TRUE(decodeBinaryArray(encodeBase64(rawBytes<float>(input, true)),
                                {32, false, NumpressKind::None, true}, values, scratch, error));
  EXPECT_EQ(values[0], static_cast<double>(445.12f));
}

TEST(DecodeBinaryArray, PartialValueIsAnError) {
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  EXPECT_FALSE(decodeBinaryArray(encodeBase64("abcdef"), {32, false, NumpressKind::None, false},
                                 values, scratch, error));
  EXPECT_EQ(error, "binary array of 6 bytes is not a whole number of 32-bit values");
}

TEST(DecodeBinaryArray, CorruptOrCutZlibIsAnError) {
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  EXPECT_FALSE(decodeBinaryArray(encodeBase64("not zlib at all!"),
                                 {64, true, NumpressKind::None, false}, values, scratch, error));
  EXPECT_EQ(error, "corrupt zlib data");
  std::string packed = compress(rawBytes<double>({1.0, 2.0, 3.0}, false));
  error.clear();
  EXPECT_FALSE(decodeBinaryArray(encodeBase64(packed.substr(0, packed.size() - 3)),
                                 {64, true, NumpressKind::None, false}, values, scratch, error));
  EXPECT_EQ(error, "corrupt zlib data");
}

// MS-Numpress arrays, alone and inside zlib, decode to what the reference decoder gives.
TEST(DecodeBinaryArray, NumpressLinearPicAndSlof) {
  using namespace ms::numpress::MSNumpress;
  std::vector<double> mz = {100.12345, 200.5, 300.25, 445.98765, 1000.0};
  std::vector<double> intensity = {10.0, 2000.0, 35.0, 123456.0, 7.0};
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  struct Case {
    NumpressKind kind;
    const std::vector<double>* input;
  };
  for (bool zlib : {false, true}) {
    for (Case c : {Case{NumpressKind::Linear, &mz}, Case{NumpressKind::Pic, &intensity},
                   Case{NumpressKind::Slof, &intensity}}) {
      std::vector<unsigned char> encoded(c.input->size() * 5 + 8);
      std::size_t size = 0;
      if (c.kind == NumpressKind::Linear)
        size = encodeLinear(c.input->data(), c.input->size(), encoded.data(), 1e5);
      if (c.kind == NumpressKind::Pic)
        size = encodePic(c.input->data(), c.input->size(), encoded.data());
      if (c.kind == NumpressKind::Slof)
        size = encodeSlof(c.input->data(), c.input->size(), encoded.data(),
                          optimalSlofFixedPoint(c.input->data(), c.input->size()));
      std::string bytes(reinterpret_cast<const char*>(encoded.data()), size);
      std::vector<double> expected(c.input->size() * 2 + 8);
      expected.resize(
          c.kind == NumpressKind::Linear ? decodeLinear(encoded.data(), size, expected.data())
          : c.kind == NumpressKind::Pic  ? decodePic(encoded.data(), size, expected.data())
                                         : decodeSlof(encoded.data(), size, expected.data()));
      ASSERT_TRUE(decodeBinaryArray(encodeBase64(zlib ? compress(bytes) : bytes),
                                    {64, zlib, c.kind, false}, values, scratch, error))
          << error;
      EXPECT_EQ(values, expected);
      ASSERT_EQ(values.size(), c.input->size());
      for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(values[i], (*c.input)[i], (*c.input)[i] * 1e-3);
    }
  }
}

TEST(DecodeBinaryArray, CorruptNumpressIsAnError) {
  DecodeScratch scratch;
  std::vector<double> values;
  std::string error;
  EXPECT_FALSE(decodeBinaryArray(encodeBase64("abc"), {64, false, NumpressKind::Linear, false},
                                 values, scratch, error));
  EXPECT_EQ(error.rfind("corrupt MS-Numpress data", 0), 0U) << error;
}

}  // namespace
}  // namespace corvid
