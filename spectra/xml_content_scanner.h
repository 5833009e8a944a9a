#pragma once
// Reads the content of one XML element (its children and text, up to its end tag) without a
// general XML parser, for the plain markup that spectrum files are made of: elements with quoted
// attributes of printable ASCII, and text. Anything else (comments, processing instructions,
// CDATA, entity or character references, bytes outside printable ASCII, malformed or unbalanced
// tags) makes it decline, and the caller leaves the content to the XML parser. What it accepts it
// reports exactly as expat would: the same elements, attributes in the same order, and the same
// text once line ends are normalised.
#include <cstddef>
#include <string>
#include <vector>

namespace corvid {

struct XmlContentEvent {
  enum class Kind { Start, End, Text };
  Kind kind = Kind::Text;
  std::size_t first = 0;  // Start/End: name offset in strings; Text: offset in the scanned range
  std::size_t count = 0;  // Start: number of attributes; Text: length
  bool textInStrings = false;  // Text: normalised copy in strings instead of the scanned range
};

// The events of one element's content. Names and attribute values are kept in strings, each
// followed by '\0'; attributeOffsets holds name and value offsets in pairs, in order.
struct XmlContentEvents {
  std::vector<XmlContentEvent> events;
  std::string strings;
  std::vector<std::size_t> attributeOffsets;
  std::size_t lineBreaks = 0;  // as an XML parser counts them: CR LF, CR and LF are one each
};

// Scans [begin, end) as the complete content of an element. Returns false when it declines.
bool scanPlainXmlContent(const char* begin, const char* end, XmlContentEvents& out);

}  // namespace corvid
