#include "platform/sha1.h"

namespace corvid {
namespace {

std::uint32_t rotateLeft(std::uint32_t value, int bits) { return (value << bits) | (value >> (32 - bits)); }

void compress(Sha1& hash, const unsigned char* chunk) {
  std::array<std::uint32_t, 80> w{};
  for (int i = 0; i < 16; ++i) {
    w[i] = (std::uint32_t{chunk[4 * i]} << 24) | (std::uint32_t{chunk[4 * i + 1]} << 16) |
           (std::uint32_t{chunk[4 * i + 2]} << 8) | std::uint32_t{chunk[4 * i + 3]};
  }
  for (int i = 16; i < 80; ++i) w[i] = rotateLeft(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
  std::uint32_t a = hash.state[0], b = hash.state[1], c = hash.state[2], d = hash.state[3], e = hash.state[4];
  for (int i = 0; i < 80; ++i) {
    std::uint32_t f = 0;
    std::uint32_t k = 0;
    if (i < 20) {
      f = (b & c) | (~b & d);
      k = 0x5A827999u;
    } else if (i < 40) {
      f = b ^ c ^ d;
      k = 0x6ED9EBA1u;
    } else if (i < 60) {
      f = (b & c) | (b & d) | (c & d);
      k = 0x8F1BBCDCu;
    } else {
      f = b ^ c ^ d;
      k = 0xCA62C1D6u;
    }
    const std::uint32_t next = rotateLeft(a, 5) + f + e + k + w[i];
    e = d;
    d = c;
    c = rotateLeft(b, 30);
    b = a;
    a = next;
  }
  hash.state[0] += a;
  hash.state[1] += b;
  hash.state[2] += c;
  hash.state[3] += d;
  hash.state[4] += e;
}

}  // namespace

void sha1Update(Sha1& hash, std::string_view bytes) {
  hash.totalBytes += bytes.size();
  std::size_t at = 0;
  if (hash.blockFill > 0) {
    while (at < bytes.size() && hash.blockFill < 64) hash.block[hash.blockFill++] = static_cast<unsigned char>(bytes[at++]);
    if (hash.blockFill < 64) return;
    compress(hash, hash.block.data());
    hash.blockFill = 0;
  }
  // Whole blocks straight from the input.
  for (; at + 64 <= bytes.size(); at += 64) compress(hash, reinterpret_cast<const unsigned char*>(bytes.data() + at));
  while (at < bytes.size()) hash.block[hash.blockFill++] = static_cast<unsigned char>(bytes[at++]);
}

std::string sha1Hex(Sha1& hash) {
  const std::uint64_t bits = hash.totalBytes * 8;
  std::string padding(1, static_cast<char>(0x80));
  const std::size_t fill = (hash.blockFill + 1) % 64;
  padding.append(fill <= 56 ? 56 - fill : 120 - fill, '\0');
  for (int shift = 56; shift >= 0; shift -= 8) padding += static_cast<char>((bits >> shift) & 0xFF);
  const std::uint64_t total = hash.totalBytes;
  sha1Update(hash, padding);
  hash.totalBytes = total;
  static const char* const kDigits = "0123456789abcdef";
  std::string hex;
  for (std::uint32_t word : hash.state) {
    for (int shift = 28; shift >= 0; shift -= 4) hex += kDigits[(word >> shift) & 0xF];
  }
  return hex;
}

}  // namespace corvid
