#pragma once
// Checks of an indexed mzML file's own bookkeeping: every index offset points at the element it
// names, the index offset points at the index, and the SHA-1 checksum covers the bytes before it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/sha1.h"

namespace corvid::testing {

// The values of attribute `name` of every `<tag ` start tag, in file order.
inline std::vector<std::string> attributeValues(const std::string& text, const std::string& tag, const std::string& name) {
  std::vector<std::string> values;
  const std::string open = "<" + tag + " ";
  for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at + 1)) {
    const std::size_t end = text.find('>', at);
    const std::size_t attribute = text.find(" " + name + "=\"", at);
    if (attribute == std::string::npos || attribute > end) continue;
    const std::size_t value = attribute + name.size() + 3;
    values.push_back(text.substr(value, text.find('"', value) - value));
  }
  return values;
}

inline void expectConsistentIndexedMzML(const std::string& text) {
  ASSERT_TRUE(text.find("<indexedmzML") != std::string::npos);
  EXPECT_EQ(text.find("<indexList "), text.rfind("<indexList ")) << "more than one index";
  const std::size_t offsetTag = text.find("<indexListOffset>");
  ASSERT_NE(offsetTag, std::string::npos);
  const std::size_t indexOffset = std::stoull(text.substr(offsetTag + 17));
  EXPECT_EQ(text.compare(indexOffset, 10, "<indexList"), 0);
  const std::string indexText = text.substr(indexOffset, offsetTag - indexOffset);
  std::size_t entries = 0;
  for (std::size_t at = indexText.find("<offset idRef=\""); at != std::string::npos;
       at = indexText.find("<offset idRef=\"", at + 1)) {
    const std::size_t idStart = at + 15;
    const std::string id = indexText.substr(idStart, indexText.find('"', idStart) - idStart);
    const std::size_t offset = std::stoull(indexText.substr(indexText.find('>', at) + 1));
    const std::size_t tagEnd = text.find('>', offset);
    ASSERT_NE(tagEnd, std::string::npos);
    const std::string startTag = text.substr(offset, tagEnd - offset);
    EXPECT_TRUE(startTag.starts_with("<spectrum ") || startTag.starts_with("<chromatogram ")) << startTag;
    EXPECT_NE(startTag.find(" id=\"" + id + "\""), std::string::npos) << id << " at " << offset;
    ++entries;
  }
  EXPECT_EQ(entries, attributeValues(text, "spectrum", "id").size() + attributeValues(text, "chromatogram", "id").size());
  const std::string checksumTag = "<fileChecksum>";
  const std::size_t checksum = text.find(checksumTag);
  ASSERT_NE(checksum, std::string::npos);
  Sha1 hash;
  sha1Update(hash, std::string_view(text).substr(0, checksum + checksumTag.size()));
  EXPECT_EQ(text.substr(checksum + checksumTag.size(), 40), sha1Hex(hash));
}

}  // namespace corvid::testing
