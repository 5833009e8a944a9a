#pragma once
// Feeds a file to an expat parser in fixed-size blocks, so memory stays the same whatever the
// file's size. The handlers of the caller do the work; they stop the parser on bad content.
#include <expat.h>

#include <string>

namespace corvid {

// Parses the whole file with the prepared parser. Returns false with a reason when the file cannot
// be read, the XML is malformed or truncated, or a handler stopped the parser (then handlerError,
// which the handler filled, is the reason).
bool streamXmlFile(const std::string& path, XML_Parser parser, const std::string& handlerError,
                   std::string& error);

// Value of the named attribute, or nullptr.
const char* attributeValue(const XML_Char** attributes, const char* name);
// Element name without a namespace prefix ("mzml:spectrum" -> "spectrum").
const char* localName(const XML_Char* name);

}  // namespace corvid
