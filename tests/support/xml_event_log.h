#pragma once
// Writes down what an XML stream gives its handlers, so that the streamer reading spectrum
// content itself can be compared with expat alone (tests and the differential fuzz target).
#include <string>

#include "spectra/xml_stream.h"

namespace corvid::testing {

// Every event as a line; adjacent text is joined, since text may be split anywhere. Like the
// real readers, it ignores what the parser reports after a handler stopped it.
struct XmlEventLog {
  XmlStreamState xml;
  std::string log;
  std::string text;
  std::string stopAtValue;  // a start tag with an attribute of this value stops the parse

  void flushText() {
    if (!text.empty()) log += "T[" + text + "]\n";
    text.clear();
  }
};

inline void XMLCALL logStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  auto& r = *static_cast<XmlEventLog*>(data);
  if (!r.xml.error.empty()) return;
  r.flushText();
  r.log += std::string("S ") + name;
  for (int i = 0; attributes[i] != nullptr; i += 2) {
    r.log += std::string(" ") + attributes[i] + "=" + attributes[i + 1];
    if (!r.stopAtValue.empty() && r.stopAtValue == attributes[i + 1])
      stopXmlStream(r.xml, "stopped at " + r.stopAtValue);
  }
  r.log += "\n";
}

inline void XMLCALL logEnd(void* data, const XML_Char* name) {
  auto& r = *static_cast<XmlEventLog*>(data);
  if (!r.xml.error.empty()) return;
  r.flushText();
  r.log += std::string("E ") + name + "\n";
}

inline void XMLCALL logText(void* data, const XML_Char* text, int length) {
  auto& r = *static_cast<XmlEventLog*>(data);
  if (r.xml.error.empty()) r.text.append(text, static_cast<std::size_t>(length));
}

struct XmlStreamOutcome {
  bool ok = false;
  std::string error;
  std::string log;
  std::size_t directContents = 0;

  bool operator==(const XmlStreamOutcome& other) const {
    return ok == other.ok && error == other.error && log == other.log;
  }
};

// Streams the file with the given direct-content element (nullptr: expat alone).
inline XmlStreamOutcome streamAndLog(const std::string& path, const char* direct,
                                     const XmlStreamLimits& limits,
                                     const std::string& stopAtValue = "") {
  XmlEventLog events;
  events.stopAtValue = stopAtValue;
  XmlStreamOutcome outcome;
  outcome.ok = parseXmlFile(path, XmlHandlers{logStart, logEnd, logText, direct}, &events,
                            events.xml, outcome.error, limits);
  // Text the parser had passed on before it failed comes in pieces that depend on where the
  // blocks ended; no reader acts on text whose element never ended.
  if (outcome.ok) events.flushText();
  outcome.log = events.log;
  outcome.directContents = events.xml.directContents;
  return outcome;
}

}  // namespace corvid::testing
