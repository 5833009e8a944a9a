#pragma once
// Gzip-compressed test inputs made at run time with zlib, so that no compressed file needs to be
// committed: one member, or several members one after another as pigz and bgzip write them.
#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <string_view>
#include <vector>

namespace corvid::testing {

// One complete gzip member holding text.
inline std::string gzipMember(std::string_view text, int level = Z_DEFAULT_COMPRESSION) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, level, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string out(deflateBound(&stream, static_cast<uLong>(text.size())) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

// The text cut into `members` pieces, each compressed as a member of its own, concatenated.
inline std::string gzipMembers(std::string_view text, std::size_t members) {
  std::string out;
  const std::size_t piece = text.size() / members + 1;
  for (std::size_t at = 0; at < text.size(); at += piece) out += gzipMember(text.substr(at, piece));
  return out;
}

}  // namespace corvid::testing
