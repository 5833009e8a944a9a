#pragma once
// Streams an XML file, plain or gzip-compressed, through expat in fixed-size chunks, so memory
// does not grow with the file. Element names reach the handler without any namespace prefix.
#include <string>
#include <string_view>

namespace corvid::reflist {

// The attribute list expat hands over: name, value, name, value, ..., null.
class XmlAttributes {
 public:
  explicit XmlAttributes(const char** pairs) : pairs_(pairs) {}
  // The value of `name`, or nullptr when the element does not carry it.
  const char* find(std::string_view name) const;
  // The value of `name`, or "" when absent.
  std::string_view get(std::string_view name) const;

 private:
  const char** pairs_;
};

class XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  // May throw InputError; the reader adds the file name and line number to its message.
  virtual void startElement(std::string_view name, const XmlAttributes& attributes) = 0;
  virtual void endElement(std::string_view name) = 0;
};

// Parses the whole file. Throws InputError for a file that cannot be read or is not well-formed
// XML ("<path>:<line>: <reason>").
void readXmlFile(const std::string& path, XmlHandler& handler);

// The name of the first element (the root), without namespace prefix; reads only as far as needed.
// Throws InputError as readXmlFile does, also when the file holds no element at all.
std::string readRootElementName(const std::string& path);

}  // namespace corvid::reflist
