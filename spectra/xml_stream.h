#pragma once
// Feeds a file to an expat parser in fixed-size blocks, so memory stays the same whatever the
// file's size. The handlers of the caller do the work; they stop the parser on bad content.
#include <expat.h>

#include <string>
#include <string_view>

namespace corvid {

// What every streaming reader keeps about its parse: the parser (so a handler can stop it), the
// reason a handler stopped it, and whether the root element was seen yet.
struct XmlStreamState {
  XML_Parser parser = nullptr;
  std::string error;  // set by a handler that stops the parser
  bool sawRoot = false;
};

// The element and text handlers of one reader; each receives the reader's own data pointer.
struct XmlHandlers {
  XML_StartElementHandler onStart = nullptr;
  XML_EndElementHandler onEnd = nullptr;
  XML_CharacterDataHandler onText = nullptr;
};

// Creates a parser for the handlers, keeps it in state.parser while the whole file is streamed,
// then frees it. Returns false with a reason as streamXmlFile does.
bool parseXmlFile(const std::string& path, const XmlHandlers& handlers, void* userData,
                  XmlStreamState& state, std::string& error);

// Parses the whole file with the prepared parser. Returns false with a reason when the file cannot
// be read, the XML is malformed or truncated, or a handler stopped the parser (then handlerError,
// which the handler filled, is the reason).
bool streamXmlFile(const std::string& path, XML_Parser parser, const std::string& handlerError,
                   std::string& error);

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

}  // namespace corvid
