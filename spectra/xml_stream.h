#pragma once
// Feeds a file to an expat parser in fixed-size blocks, so memory stays the same whatever the
// file's size; a gzip-compressed file is inflated on the way (byte_source.h). The handlers of the
// caller do the work; they stop the parser on bad content.
//
// Almost all of an mzML or mzXML file is the content of one kind of element (spectrum, peaks), in
// plain markup and base64 text. The streamer reads such content itself, several times faster than
// the general parser, and falls back on the parser for anything else (see
// XmlHandlers::directContentElement): the handlers see the same events in the same order, and an
// error is reported as the parser reports it.
#include <expat.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace corvid {

// What every streaming reader keeps about its parse: the parser (so a handler can stop it), the
// reason a handler stopped it, and whether the root element was seen yet.
struct XmlStreamState {
  XML_Parser parser = nullptr;
  std::string error;  // set by a handler that stops the parser
  bool sawRoot = false;
  std::size_t directContents = 0;  // elements whose content the streamer read without the parser
};

// The element and text handlers of one reader; each receives the reader's own data pointer.
struct XmlHandlers {
  XML_StartElementHandler onStart = nullptr;
  XML_EndElementHandler onEnd = nullptr;
  XML_CharacterDataHandler onText = nullptr;
  // Name (as written, prefix included) of an element whose content (children and text) the
  // streamer may read itself, or nullptr. It does so only when the parser has just reported that
  // element's start tag and the content is plain markup (see xml_content_scanner.h); the handlers
  // then get the same events the parser would give, and the parser goes on from the end tag.
  // Content that is not plain goes through the parser. The text handler must treat text as a
  // stream (the streamer may split it elsewhere than the parser does).
  const char* directContentElement = nullptr;
};

// Sizes of the streamer's work; tests make them small to cross every block boundary.
struct XmlStreamLimits {
  std::size_t block = std::size_t{1} << 20;  // bytes read at a time
  // Longest content the streamer reads itself; longer content goes through the parser, so the
  // buffer never holds much more than this plus a block.
  std::size_t maxDirectContent = std::size_t{64} << 20;
};

// Creates a parser for the handlers, keeps it in state.parser while the whole file is streamed,
// then frees it. Returns false with a reason when the file cannot be read, its gzip data is damaged
// or truncated, the XML is malformed or truncated, or a handler stopped the parser (then
// state.error, which the handler filled, is the reason).
bool parseXmlFile(const std::string& path, const XmlHandlers& handlers, void* userData,
                  XmlStreamState& state, std::string& error, const XmlStreamLimits& limits = {});

// Stops the parser with the reason; only the first reason is kept.
void stopXmlStream(XmlStreamState& state, const std::string& reason);

// On the first element only: stops the parser with "not an <format> file (its root element is
// <name>)" unless the element is one of the format's two accepted roots. Returns false when it
// stopped the parser.
bool checkRootElement(XmlStreamState& state, std::string_view name, std::string_view root,
                      std::string_view wrapperRoot, std::string_view format);

// Value of the named attribute, or nullptr.
const char* attributeValue(const XML_Char** attributes, const char* name);
// Element name without a namespace prefix ("mzml:spectrum" -> "spectrum").
const char* localName(const XML_Char* name);

// Length of the leading run of bytes in [begin, end) that an XML parser passes on unchanged as
// character data: printable ASCII other than '<', '&' and ']'.
std::size_t plainTextLength(const char* begin, const char* end);

}  // namespace corvid
