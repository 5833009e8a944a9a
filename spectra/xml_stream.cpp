#include "spectra/xml_stream.h"

#include <cstdio>
#include <cstring>

namespace corvid {

// Read size of one block: large enough for few system calls, small enough for the cache.
constexpr int kXmlBlock = 1 << 20;

bool streamXmlFile(const std::string& path, XML_Parser parser, const std::string& handlerError,
                   std::string& error) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    error = "the file cannot be opened";
    return false;
  }
  bool ok = true;
  for (;;) {
    void* buffer = XML_GetBuffer(parser, kXmlBlock);
    if (buffer == nullptr) {
      error = "out of memory while parsing";
      ok = false;
      break;
    }
    std::size_t got = std::fread(buffer, 1, kXmlBlock, file);
    if (std::ferror(file)) {
      error = "read error";
      ok = false;
      break;
    }
    bool last = got < static_cast<std::size_t>(kXmlBlock) && std::feof(file);
    if (XML_ParseBuffer(parser, static_cast<int>(got), last ? 1 : 0) != XML_STATUS_OK) {
      if (!handlerError.empty()) {
        error = handlerError;
      } else {
        error = "malformed or truncated XML at line " +
                std::to_string(XML_GetCurrentLineNumber(parser)) + " (" +
                XML_ErrorString(XML_GetErrorCode(parser)) + ")";
      }
      ok = false;
      break;
    }
    if (last) break;
  }
  std::fclose(file);
  return ok;
}

bool parseXmlFile(const std::string& path, const XmlHandlers& handlers, void* userData,
                  XmlStreamState& state, std::string& error) {
  state.parser = XML_ParserCreate(nullptr);
  if (state.parser == nullptr) {
    error = "out of memory";
    return false;
  }
  XML_SetUserData(state.parser, userData);
  XML_SetElementHandler(state.parser, handlers.onStart, handlers.onEnd);
  XML_SetCharacterDataHandler(state.parser, handlers.onText);
  bool ok = streamXmlFile(path, state.parser, state.error, error);
  XML_ParserFree(state.parser);
  state.parser = nullptr;
  return ok;
}

void stopXmlStream(XmlStreamState& state, const std::string& reason) {
  if (!state.error.empty()) return;
  state.error = reason;
  XML_StopParser(state.parser, XML_FALSE);
}

bool checkRootElement(XmlStreamState& state, std::string_view name, std::string_view root,
                      std::string_view wrapperRoot, std::string_view format) {
  if (state.sawRoot) return true;
  state.sawRoot = true;
  if (name == root || name == wrapperRoot) return true;
  stopXmlStream(state, "not an " + std::string(format) + " file (its root element is <" +
                           std::string(name) + ">)");
  return false;
}

const char* attributeValue(const XML_Char** attributes, const char* name) {
  for (int i = 0; attributes[i] != nullptr; i += 2)
    if (std::strcmp(attributes[i], name) == 0) return attributes[i + 1];
  return nullptr;
}

const char* localName(const XML_Char* name) {
  const char* colon = std::strrchr(name, ':');
  return colon == nullptr ? name : colon + 1;
}

}  // namespace corvid
