#include "spectra/xml_content_scanner.h"

#include <cstring>
#include <string_view>

#include "spectra/xml_stream.h"

namespace corvid {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool isNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool isNameChar(char c) {
  return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

class ContentScanner {
 public:
  ContentScanner(const char* begin, const char* end, XmlContentEvents& out)
      : begin_(begin), p_(begin), end_(end), out_(out) {
    out_.events.clear();
    out_.strings.clear();
    out_.attributeOffsets.clear();
    out_.lineBreaks = 0;
  }

  bool scan() {
    while (p_ < end_) {
      if (*p_ != '<') {
        if (!text()) return false;
      } else if (p_ + 1 < end_ && p_[1] == '/') {
        if (!endTag()) return false;
      } else if (!startTag()) {
        return false;
      }
    }
    return open_.empty();
  }

 private:
  // Whitespace inside a tag, counting its line breaks.
  void skipSpace() {
    while (p_ < end_ && isSpace(*p_)) {
      if (*p_ == '\n' || (*p_ == '\r' && (p_ + 1 == end_ || p_[1] != '\n'))) ++out_.lineBreaks;
      ++p_;
    }
  }

  // Copies a name into strings; returns its offset, or npos when there is none.
  std::size_t name() {
    if (p_ == end_ || !isNameStart(*p_)) return std::string::npos;
    const char* from = p_;
    while (p_ < end_ && isNameChar(*p_)) ++p_;
    std::size_t offset = out_.strings.size();
    out_.strings.append(from, static_cast<std::size_t>(p_ - from));
    out_.strings.push_back('\0');
    return offset;
  }

  bool text() {
    const char* from = p_;
    bool carriageReturn = false;
    for (;;) {
      p_ += plainTextLength(p_, end_);
      if (p_ == end_ || *p_ == '<') break;
      char c = *p_;
      if (c == '\n') {
        ++out_.lineBreaks;
      } else if (c == '\r') {
        carriageReturn = true;
        if (p_ + 1 == end_ || p_[1] != '\n') ++out_.lineBreaks;
      } else if (c != '\t') {
        return false;  // a reference, "]", a control character or a byte beyond ASCII
      }
      ++p_;
    }
    XmlContentEvent event;
    event.kind = XmlContentEvent::Kind::Text;
    if (!carriageReturn) {
      event.first = static_cast<std::size_t>(from - begin_);
      event.count = static_cast<std::size_t>(p_ - from);
    } else {
      // The parser turns CR LF and a lone CR into LF.
      event.textInStrings = true;
      event.first = out_.strings.size();
      for (const char* c = from; c < p_; ++c) {
        if (*c != '\r') {
          out_.strings.push_back(*c);
        } else {
          out_.strings.push_back('\n');
          if (c + 1 < p_ && c[1] == '\n') ++c;
        }
      }
      event.count = out_.strings.size() - event.first;
    }
    out_.events.push_back(event);
    return true;
  }

  bool startTag() {
    ++p_;  // '<'
    std::size_t element = name();
    if (element == std::string::npos) return false;  // comment, CDATA, processing instruction
    std::size_t firstAttribute = out_.attributeOffsets.size();
    for (;;) {
      const char* beforeSpace = p_;
      skipSpace();
      if (p_ == end_) return false;
      if (*p_ == '>' || *p_ == '/') break;
      if (p_ == beforeSpace) return false;  // attributes must be separated by whitespace
      std::size_t attribute = name();
      if (attribute == std::string::npos) return false;
      skipSpace();
      if (p_ == end_ || *p_ != '=') return false;
      ++p_;
      skipSpace();
      if (p_ == end_ || (*p_ != '"' && *p_ != '\'')) return false;
      const char quote = *p_++;
      const char* value = p_;
      const void* close = std::memchr(p_, quote, static_cast<std::size_t>(end_ - p_));
      if (close == nullptr) return false;
      p_ = static_cast<const char*>(close);
      // Printable ASCII only: no references, no '<', nothing the parser would normalise.
      for (const char* c = value; c < p_; ++c)
        if (*c < 0x20 || *c > 0x7e || *c == '<' || *c == '&') return false;
      const char* attributeName = out_.strings.data() + attribute;
      for (std::size_t i = firstAttribute; i < out_.attributeOffsets.size(); i += 2)
        if (std::strcmp(out_.strings.data() + out_.attributeOffsets[i], attributeName) == 0)
          return false;  // a duplicate attribute is an error the parser reports
      std::size_t valueOffset = out_.strings.size();
      out_.strings.append(value, static_cast<std::size_t>(p_ - value));
      out_.strings.push_back('\0');
      out_.attributeOffsets.push_back(attribute);
      out_.attributeOffsets.push_back(valueOffset);
      ++p_;  // closing quote
    }
    bool empty = *p_ == '/';
    if (empty) {
      ++p_;
      if (p_ == end_ || *p_ != '>') return false;
    }
    ++p_;  // '>'
    XmlContentEvent start;
    start.kind = XmlContentEvent::Kind::Start;
    start.first = element;
    start.count = (out_.attributeOffsets.size() - firstAttribute) / 2;
    out_.events.push_back(start);
    if (empty) {
      out_.events.push_back({XmlContentEvent::Kind::End, element, 0, false});
    } else {
      open_.push_back(element);
    }
    return true;
  }

  bool endTag() {
    p_ += 2;  // "</"
    const char* from = p_;
    while (p_ < end_ && isNameChar(*p_)) ++p_;
    if (open_.empty() || p_ == from) return false;
    std::string_view expected(out_.strings.data() + open_.back());
    if (std::string_view(from, static_cast<std::size_t>(p_ - from)) != expected) return false;
    skipSpace();
    if (p_ == end_ || *p_ != '>') return false;
    ++p_;
    out_.events.push_back({XmlContentEvent::Kind::End, open_.back(), 0, false});
    open_.pop_back();
    return true;
  }

  const char* begin_;
  const char* p_;
  const char* end_;
  XmlContentEvents& out_;
  std::vector<std::size_t> open_;  // name offsets of the elements opened and not yet closed
};

}  // namespace

bool scanPlainXmlContent(const char* begin, const char* end, XmlContentEvents& out) {
  return ContentScanner(begin, end, out).scan();
}

}  // namespace corvid
