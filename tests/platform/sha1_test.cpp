#include "platform/sha1.h"

#include <gtest/gtest.h>

#include <string>

namespace corvid {
namespace {

std::string digestOf(std::string_view text) {
  Sha1 hash;
  sha1Update(hash, text);
  return sha1Hex(hash);
}

TEST(Sha1, KnownDigests) {
  EXPECT_EQ(digestOf(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(digestOf("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(digestOf(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, PiecesGiveTheSameDigestAsTheWhole) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += std::to_string(i * 7919) + ",";
  for (std::size_t piece : {1u, 3u, 63u, 64u, 65u, 1000u}) {
    Sha1 hash;
    for (std::size_t at = 0; at < text.size(); at += piece) sha1Update(hash, std::string_view(text).substr(at, piece));
    EXPECT_EQ(sha1Hex(hash), digestOf(text)) << piece;
  }
}

TEST(Sha1, LengthsAroundThePaddingBoundary) {
  // 55 bytes pad within their block; 56, 64, 119 and 120 need a second one.
  EXPECT_EQ(digestOf(std::string(55, 'x')), "cef734ba81a024479e09eb5a75b6ddae62e6abf1");
  EXPECT_EQ(digestOf(std::string(56, 'x')), "901305367c259952f4e7af8323f480d59f81335b");
  EXPECT_EQ(digestOf(std::string(64, 'x')), "bb2fa3ee7afb9f54c6dfb5d021f14b1ffe40c163");
  EXPECT_EQ(digestOf(std::string(119, 'x')), "4300320394f7ee239bcdce7d3b8bcee173a0cd5c");
  EXPECT_EQ(digestOf(std::string(120, 'x')), "ceb2821639c4b6dcb10bce0e522ca2e608ce056d");
}

}  // namespace
}  // namespace corvid
