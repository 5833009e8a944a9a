#include "tools/reference_list/xml_file_reader.h"

#include <expat.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

#include "tools/reference_list/errors.h"

namespace corvid::reflist {

const char* XmlAttributes::find(std::string_view name) const {
  for (const char** pair = pairs_; pair != nullptr && *pair != nullptr; pair += 2) {
    if (name == *pair) return *(pair + 1);
  }
  return nullptr;
}

std::string_view XmlAttributes::get(std::string_view name) const {
  const char* value = find(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

namespace {

constexpr unsigned kChunkBytes = 1U << 16;

std::string_view localName(const char* name) {
  std::string_view full(name);
  const std::size_t colon = full.rfind(':');
  return colon == std::string_view::npos ? full : full.substr(colon + 1);
}

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
struct GzDeleter {
  void operator()(gzFile_s* file) const { gzclose(file); }
};

// State shared with expat's C callbacks. A C++ exception must not cross expat's frames, so a
// handler failure is kept here and the parser is stopped instead.
struct ParseState {
  XML_Parser parser = nullptr;
  XmlHandler* handler = nullptr;
  bool stopAfterRoot = false;
  std::string rootName;
  std::string failure;
  unsigned long failureLine = 0;
};

void recordFailure(ParseState& state, const std::string& message) {
  state.failure = message;
  state.failureLine = XML_GetCurrentLineNumber(state.parser);
  XML_StopParser(state.parser, XML_FALSE);
}

void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  auto& state = *static_cast<ParseState*>(data);
  if (state.rootName.empty()) state.rootName = std::string(localName(name));
  if (state.stopAfterRoot) {
    XML_StopParser(state.parser, XML_FALSE);
    return;
  }
  try {
    state.handler->startElement(localName(name), XmlAttributes(attributes));
  } catch (const std::exception& error) {
    recordFailure(state, error.what());
  }
}

void XMLCALL onEnd(void* data, const XML_Char* name) {
  auto& state = *static_cast<ParseState*>(data);
  try {
    state.handler->endElement(localName(name));
  } catch (const std::exception& error) {
    recordFailure(state, error.what());
  }
}

void parseFile(const std::string& path, ParseState& state) {
  // gzread passes plain files through unchanged, so one path serves .gz and uncompressed input.
  std::unique_ptr<gzFile_s, GzDeleter> file(gzopen(path.c_str(), "rb"));
  if (!file) throw InputError(path + ": cannot open: " + std::strerror(errno));
  std::unique_ptr<XML_ParserStruct, ParserDeleter> parser(XML_ParserCreate(nullptr));
  if (!parser) throw InputError(path + ": out of memory for the XML parser");
  state.parser = parser.get();
  XML_SetUserData(parser.get(), &state);
  XML_SetElementHandler(parser.get(), onStart, onEnd);

  std::vector<char> buffer(kChunkBytes);
  for (;;) {
    const int got = gzread(file.get(), buffer.data(), kChunkBytes);
    if (got < 0) {
      const int readErrno = errno;
      int code = 0;
      const char* reason = gzerror(file.get(), &code);
      if (code == Z_ERRNO) reason = std::strerror(readErrno);
      throw InputError(path + ": cannot read: " + reason);
    }
    const bool last = got == 0;
    if (XML_Parse(parser.get(), buffer.data(), got, last ? XML_TRUE : XML_FALSE) != XML_STATUS_OK) {
      if (!state.failure.empty()) {
        throw InputError(path + ":" + std::to_string(state.failureLine) + ": " + state.failure);
      }
      if (state.stopAfterRoot && !state.rootName.empty()) return;
      throw InputError(path + ":" + std::to_string(XML_GetCurrentLineNumber(parser.get())) +
                       ": malformed XML: " + XML_ErrorString(XML_GetErrorCode(parser.get())));
    }
    if (last) return;
  }
}

class IgnoringHandler : public XmlHandler {
 public:
  void startElement(std::string_view, const XmlAttributes&) override {}
  void endElement(std::string_view) override {}
};

}  // namespace

void readXmlFile(const std::string& path, XmlHandler& handler) {
  ParseState state;
  state.handler = &handler;
  parseFile(path, state);
}

std::string readRootElementName(const std::string& path) {
  IgnoringHandler ignoring;
  ParseState state;
  state.handler = &ignoring;
  state.stopAfterRoot = true;
  parseFile(path, state);
  if (state.rootName.empty()) throw InputError(path + ": holds no XML element");
  return state.rootName;
}

}  // namespace corvid::reflist
