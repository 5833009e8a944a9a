#include "spectra/xml_stream.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <vector>

#include "spectra/byte_source.h"
#include "spectra/xml_content_scanner.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace corvid {

namespace {

// Stands between expat and the reader's handlers, to know whether the parser's last event was the
// start tag of the direct-content element, and where that tag began.
struct Relay {
  XML_Parser parser = nullptr;
  const XmlHandlers* handlers = nullptr;
  void* userData = nullptr;
  XML_Index directStart = -1;  // byte offset of that start tag when it was the last event, else -1
};

void XMLCALL relayStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  auto& relay = *static_cast<Relay*>(data);
  if (relay.handlers->onStart != nullptr) relay.handlers->onStart(relay.userData, name, attributes);
  const char* direct = relay.handlers->directContentElement;
  relay.directStart = direct != nullptr && std::strcmp(name, direct) == 0
                          ? XML_GetCurrentByteIndex(relay.parser)
                          : -1;
}

void XMLCALL relayEnd(void* data, const XML_Char* name) {
  auto& relay = *static_cast<Relay*>(data);
  relay.directStart = -1;
  if (relay.handlers->onEnd != nullptr) relay.handlers->onEnd(relay.userData, name);
}

void XMLCALL relayText(void* data, const XML_Char* text, int length) {
  auto& relay = *static_cast<Relay*>(data);
  relay.directStart = -1;
  if (relay.handlers->onText != nullptr) relay.handlers->onText(relay.userData, text, length);
}

bool isTagSeparator(char c) {
  return c == '>' || c == '/' || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Position of the '>' that ends the tag whose name ends at from, passing over quoted attribute
// values (which may hold '>'), or npos when the buffer ends first.
std::size_t findTagEnd(const char* data, std::size_t from, std::size_t end) {
  for (std::size_t i = from; i < end;) {
    char c = data[i];
    if (c == '>') return i;
    if (c != '"' && c != '\'') {
      ++i;
      continue;
    }
    const void* quote = std::memchr(data + i + 1, c, end - i - 1);
    if (quote == nullptr) return std::string_view::npos;
    i = static_cast<std::size_t>(static_cast<const char*>(quote) - data) + 1;
  }
  return std::string_view::npos;
}

// The file as the parser should see it, read block by block. [fed, filled) of the buffer holds the
// bytes read but not yet given to the parser; content the streamer read itself is passed by
// without ever being given.
class XmlFeeder {
 public:
  XmlFeeder(ByteSource& source, XML_Parser parser, const XmlStreamLimits& limits)
      : source_(source), parser_(parser), limits_(limits), buffer_(limits.block) {}

  // Byte offset, as the parser counts, of buffer position i.
  XML_Index offsetOf(std::size_t i) const {
    return parserOffset_ + static_cast<XML_Index>(i - fed_);
  }

  // Gives [fed, upto) to the parser; final marks the end of the document.
  bool give(std::size_t upto, bool final) {
    while (fed_ < upto || final) {
      std::size_t length = std::min<std::size_t>(upto - fed_, INT_MAX);
      bool last = final && fed_ + length == upto;
      if (XML_Parse(parser_, buffer_.data() + fed_, static_cast<int>(length), last ? 1 : 0) !=
          XML_STATUS_OK)
        return false;
      fed_ += length;
      parserOffset_ += static_cast<XML_Index>(length);
      if (last) break;
    }
    return true;
  }

  // Passes [fed, upto) by the parser, remembering its line breaks for the parser's line numbers.
  void skip(std::size_t upto, std::size_t lineBreaks) {
    fed_ = upto;
    skippedLineBreaks_ += lineBreaks;
  }

  // Moves the bytes not yet given to the front, then reads one more block. Positions the caller
  // keeps in the buffer move down by the returned shift. Grows the buffer when the kept bytes leave
  // less than a block free.
  bool refill(std::size_t& shift) {
    shift = fed_;
    std::size_t kept = filled_ - fed_;
    if (fed_ > 0 && kept > 0) std::memmove(buffer_.data(), buffer_.data() + fed_, kept);
    fed_ = 0;
    filled_ = kept;
    if (buffer_.size() - filled_ < limits_.block) buffer_.resize(filled_ + limits_.block);
    std::size_t got = 0;
    if (!source_.read(buffer_.data() + filled_, limits_.block, got)) return false;
    filled_ += got;
    if (got < limits_.block) atEnd_ = true;
    return true;
  }

  const char* data() const { return buffer_.data(); }
  std::size_t fed() const { return fed_; }
  std::size_t filled() const { return filled_; }
  bool atEnd() const { return atEnd_; }
  std::size_t skippedLineBreaks() const { return skippedLineBreaks_; }

 private:
  ByteSource& source_;
  XML_Parser parser_;
  XmlStreamLimits limits_;
  std::vector<char> buffer_;
  std::size_t fed_ = 0;
  std::size_t filled_ = 0;
  XML_Index parserOffset_ = 0;
  std::size_t skippedLineBreaks_ = 0;
  bool atEnd_ = false;
};

// Gives the reader the events of content the streamer read itself. Returns false when a handler
// stopped the parse.
bool replayContent(const Relay& relay, const XmlContentEvents& content, const char* text,
                   std::vector<const XML_Char*>& attributes, const std::string& handlerError) {
  const XmlHandlers& handlers = *relay.handlers;
  const char* strings = content.strings.data();
  std::size_t nextAttribute = 0;
  for (const XmlContentEvent& event : content.events) {
    switch (event.kind) {
      case XmlContentEvent::Kind::Start:
        attributes.clear();
        for (std::size_t i = 0; i < 2 * event.count; ++i)
          attributes.push_back(strings + content.attributeOffsets[nextAttribute++]);
        attributes.push_back(nullptr);
        if (handlers.onStart != nullptr)
          handlers.onStart(relay.userData, strings + event.first, attributes.data());
        break;
      case XmlContentEvent::Kind::End:
        if (handlers.onEnd != nullptr) handlers.onEnd(relay.userData, strings + event.first);
        break;
      case XmlContentEvent::Kind::Text:
        if (handlers.onText != nullptr && event.count > 0)
          handlers.onText(relay.userData, (event.textInStrings ? strings : text) + event.first,
                          static_cast<int>(event.count));
        break;
    }
    if (!handlerError.empty()) return false;
  }
  return true;
}

// Going: the step left the stream running; the others end it.
enum class StreamResult { Done, ParseFailed, ReadFailed, Going };

// Without a direct-content element every byte goes to the parser.
StreamResult streamWhole(XmlFeeder& feeder) {
  for (;;) {
    if (!feeder.give(feeder.filled(), feeder.atEnd())) return StreamResult::ParseFailed;
    if (feeder.atEnd()) return StreamResult::Done;
    std::size_t shift = 0;
    if (!feeder.refill(shift)) return StreamResult::ReadFailed;
  }
}

// Streams a file with a direct-content element: each start tag of that element goes to the
// parser; when the parser has reported exactly that tag as its last event and the content up to
// the end tag is plain markup, the streamer gives the content's events to the handlers itself and
// the parser goes on from the end tag.
class DirectContentStreamer {
 public:
  DirectContentStreamer(XmlFeeder& feeder, Relay& relay, const XmlStreamLimits& limits, XmlStreamState& state)
      : feeder_(feeder),
        relay_(relay),
        limits_(limits),
        state_(state),
        open_("<" + std::string(relay.handlers->directContentElement)),
        close_("</" + std::string(relay.handlers->directContentElement) + ">") {}

  StreamResult run() {
    for (;;) {
      const StreamResult step = inContent_ ? contentStep() : tagStep();
      if (step != StreamResult::Going) return step;
    }
  }

 private:
  // Reads one more block; the positions kept in the buffer move with its bytes.
  bool refill() {
    std::size_t shift = 0;
    if (!feeder_.refill(shift)) return false;
    searchFrom_ -= shift;
    if (inContent_) closeFrom_ -= shift;
    return true;
  }

  // With the parser just past the element's start tag: replays its content when the end tag is
  // near enough and the content is plain markup; otherwise leaves the content to the parser.
  StreamResult contentStep() {
    const char* data = feeder_.data();
    const std::size_t filled = feeder_.filled();
    std::size_t closeAt = std::string_view(data, filled).find(close_, closeFrom_);
    if (closeAt == std::string_view::npos) {
      if (!feeder_.atEnd() && filled - feeder_.fed() <= limits_.maxDirectContent) {
        closeFrom_ = std::max(closeFrom_, filled >= close_.size() ? filled - (close_.size() - 1) : 0);
        return refill() ? StreamResult::Going : StreamResult::ReadFailed;
      }
    } else if (closeAt - feeder_.fed() <= limits_.maxDirectContent &&
               scanPlainXmlContent(data + feeder_.fed(), data + closeAt, content_)) {
      if (!replayContent(relay_, content_, data + feeder_.fed(), attributes_, state_.error))
        return StreamResult::ParseFailed;
      feeder_.skip(closeAt, content_.lineBreaks);
      ++state_.directContents;
    }
    // Content not taken goes through the parser like the rest of the file.
    inContent_ = false;
    searchFrom_ = feeder_.fed();
    return StreamResult::Going;
  }

  // Gives the parser everything up to the end of the element's next start tag.
  StreamResult tagStep() {
    const char* data = feeder_.data();
    const std::size_t filled = feeder_.filled();
    std::size_t tag = std::string_view(data, filled).find(open_, searchFrom_);
    const bool found = tag != std::string_view::npos;
    std::size_t tagEnd = std::string_view::npos;
    if (found && tag + open_.size() < filled) {
      if (!isTagSeparator(data[tag + open_.size()])) {  // a longer name, such as <spectrumList
        searchFrom_ = tag + 1;
        return StreamResult::Going;
      }
      tagEnd = findTagEnd(data, tag + open_.size(), filled);
    }
    if (tagEnd == std::string_view::npos) {
      if (feeder_.atEnd()) return feeder_.give(filled, true) ? StreamResult::Done : StreamResult::ParseFailed;
      // Keep what may be the start of a tag for the next block; an overlong one goes through.
      std::size_t keepFrom =
          found ? tag : std::max(searchFrom_, filled >= open_.size() ? filled - (open_.size() - 1) : 0);
      if (filled - keepFrom > limits_.block) keepFrom = filled;
      if (!feeder_.give(keepFrom, false)) return StreamResult::ParseFailed;
      searchFrom_ = keepFrom;
      return refill() ? StreamResult::Going : StreamResult::ReadFailed;
    }
    XML_Index tagOffset = feeder_.offsetOf(tag);
    if (!feeder_.give(tagEnd + 1, false)) return StreamResult::ParseFailed;
    inContent_ = relay_.directStart == tagOffset;  // an empty element's end event cleared it
    closeFrom_ = searchFrom_ = tagEnd + 1;
    return StreamResult::Going;
  }

  XmlFeeder& feeder_;
  Relay& relay_;
  const XmlStreamLimits& limits_;
  XmlStreamState& state_;
  const std::string open_;
  const std::string close_;
  std::size_t searchFrom_ = 0;  // where the next start tag may begin
  bool inContent_ = false;      // the parser has just reported the start tag ending at fed
  std::size_t closeFrom_ = 0;   // where the end tag may begin, while inContent_
  XmlContentEvents content_;
  std::vector<const XML_Char*> attributes_;
};

// Streams the whole file, through the direct-content path when the reader names an element.
StreamResult streamXml(XmlFeeder& feeder, Relay& relay, const XmlStreamLimits& limits, XmlStreamState& state) {
  if (relay.handlers->directContentElement == nullptr) return streamWhole(feeder);
  return DirectContentStreamer(feeder, relay, limits, state).run();
}

}  // namespace

std::size_t plainTextLength(const char* begin, const char* end) {
  const char* p = begin;
#if defined(__SSE2__)
  // Sixteen bytes at a time: as signed bytes, those below 0x20 and those above 0x7f are both
  // below 0x20.
  const __m128i space = _mm_set1_epi8(0x20);
  const __m128i less = _mm_set1_epi8('<');
  const __m128i ampersand = _mm_set1_epi8('&');
  const __m128i bracket = _mm_set1_epi8(']');
  while (end - p >= 16) {
    __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i stop = _mm_or_si128(
        _mm_cmplt_epi8(bytes, space),
        _mm_or_si128(_mm_cmpeq_epi8(bytes, less), _mm_or_si128(_mm_cmpeq_epi8(bytes, ampersand),
                                                               _mm_cmpeq_epi8(bytes, bracket))));
    int mask = _mm_movemask_epi8(stop);
    if (mask != 0) return static_cast<std::size_t>(p - begin) + __builtin_ctz(mask);
    p += 16;
  }
#endif
  for (; p < end; ++p) {
    auto byte = static_cast<unsigned char>(*p);
    if (byte < 0x20 || byte > 0x7f || byte == '<' || byte == '&' || byte == ']') break;
  }
  return static_cast<std::size_t>(p - begin);
}

bool parseXmlFile(const std::string& path, const XmlHandlers& handlers, void* userData,
                  XmlStreamState& state, std::string& error, const XmlStreamLimits& limits) {
  ByteSource source;
  if (!source.open(path, error)) return false;
  state.parser = XML_ParserCreate(nullptr);
  if (state.parser == nullptr) {
    error = "out of memory";
    return false;
  }
  Relay relay{state.parser, &handlers, userData};
  XML_SetUserData(state.parser, &relay);
  XML_SetElementHandler(state.parser, relayStart, relayEnd);
  XML_SetCharacterDataHandler(state.parser, relayText);
  XmlFeeder feeder(source, state.parser, limits);
  StreamResult result = streamXml(feeder, relay, limits, state);
  if (result == StreamResult::ReadFailed) {
    error = source.error();
  } else if (result == StreamResult::ParseFailed) {
    if (!source.compressedRestIsSound()) {
      error = source.error();  // damaged compressed data explains the bad content
    } else if (!state.error.empty()) {
      error = state.error;
    } else if (XML_GetErrorCode(state.parser) == XML_ERROR_NO_MEMORY) {
      error = "out of memory while parsing";
    } else {
      // The parser never saw the content read without it: add that content's line breaks.
      auto line = static_cast<unsigned long long>(XML_GetCurrentLineNumber(state.parser)) +
                  feeder.skippedLineBreaks();
      error = "malformed or truncated XML at line " + std::to_string(line) + " (" +
              XML_ErrorString(XML_GetErrorCode(state.parser)) + ")";
    }
  }
  XML_ParserFree(state.parser);
  state.parser = nullptr;
  return result == StreamResult::Done;
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
