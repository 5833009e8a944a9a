#include "spectra/mzxml_parser.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "spectra/binary_array_decoder.h"
#include "spectra/open_format_terms.h"
#include "spectra/xml_stream.h"

namespace corvid {

namespace {

struct MzXMLReader {
  XmlStreamState xml;
  const SpectrumSink* sink = nullptr;
  OpenFormatLimits limits;
  std::int64_t scanIndex = 0;

  std::unordered_map<std::string, AnalyzerKind> instruments;  // msInstrumentID -> analyzer
  std::unordered_map<std::string, std::string> analyzerNames;  // msInstrumentID -> msMassAnalyzer value
  std::string currentInstrument;
  AnalyzerKind firstAnalyzer = AnalyzerKind::Unknown;

  OpenSpectrum scan;
  bool scanOpen = false;      // a scan was started and not handed on yet
  long long peaksCount = -1;  // declared peak count, -1 when not given
  std::string instrumentRef;
  int precursorCount = 0;
  bool inPrecursor = false;
  std::string precursorText;

  ArrayEncoding encoding;
  bool inPeaks = false;
  std::string peaksText;
  DecodeScratch scratch;
  std::vector<double> pairs;
};

void fail(MzXMLReader& reader, const std::string& reason) { stopXmlStream(reader.xml, reason); }

std::string scanName(const MzXMLReader& reader) { return "scan \"" + reader.scan.nativeId + "\""; }

void emitScan(MzXMLReader& reader) {
  reader.scanOpen = false;
  OpenSpectrum& s = reader.scan;
  s.analyzer = analyzerFromFilter(s.filterText);
  if (s.analyzer == AnalyzerKind::Unknown) {
    auto it = reader.instruments.find(reader.instrumentRef);
    s.analyzer = it != reader.instruments.end() ? it->second : reader.firstAnalyzer;
    const auto named = reader.analyzerNames.find(reader.instrumentRef);
    if (s.analyzer == AnalyzerKind::Unknown && named != reader.analyzerNames.end()) s.unknownAnalyzer = named->second;
  }
  if (s.activation.empty() && s.msLevel >= 2) s.activation = activationFromFilter(s.filterText);
  if (reader.peaksCount > 0 && s.mz.empty())
    return fail(reader, scanName(reader) + " declares " + std::to_string(reader.peaksCount) +
                            " peaks but has no peak list");
  std::string reason;
  if (!(*reader.sink)(s, reason)) fail(reader, reason);
}

void startScan(MzXMLReader& reader, const XML_Char** attributes) {
  if (reader.scanOpen) emitScan(reader);  // the parent comes before the scans nested in it
  if (!reader.xml.error.empty()) return;
  OpenSpectrum& s = reader.scan;
  const char* num = attributeValue(attributes, "num");
  const char* level = attributeValue(attributes, "msLevel");
  const char* count = attributeValue(attributes, "peaksCount");
  const char* time = attributeValue(attributes, "retentionTime");
  const char* filter = attributeValue(attributes, "filterLine");
  const char* instrument = attributeValue(attributes, "msInstrumentID");
  const char* centroided = attributeValue(attributes, "centroided");
  const char* voltage = attributeValue(attributes, "compensationVoltage");
  long long number = 0;
  if (num == nullptr || !parseInteger(num, number) || number < 0)
    return fail(reader,
                "scan " + std::to_string(reader.scanIndex + 1) + " has no valid num attribute");
  s.nativeId = "scan=" + std::to_string(number);
  s.index = reader.scanIndex++;
  clearSpectrumContents(s);
  long long msLevel = 1;
  if (level != nullptr && (!parseInteger(level, msLevel) || msLevel < 0 || msLevel > 1000))
    return fail(reader, scanName(reader) + " has an invalid msLevel \"" + level + "\"");
  s.msLevel = static_cast<int>(msLevel);
  reader.peaksCount = -1;
  if (count != nullptr && (!parseInteger(count, reader.peaksCount) || reader.peaksCount < 0))
    return fail(reader, scanName(reader) + " has an invalid peaksCount \"" + count + "\"");
  s.retentionTime = 0.0;
  if (time != nullptr && !parseDurationSeconds(time, s.retentionTime))
    return fail(reader, scanName(reader) + " has an invalid retentionTime \"" + time + "\"");
  // A value that is not a number reads as no voltage.
  s.hasCompensationVoltage = voltage != nullptr && parseReal(voltage, s.compensationVoltage);
  s.filterText = filter != nullptr ? filter : "";
  if (centroided != nullptr) s.centroided = (std::string_view(centroided) == "1" || std::string_view(centroided) == "true") ? 1 : 0;
  reader.instrumentRef = instrument != nullptr ? instrument : "";
  reader.precursorCount = 0;
  reader.scanOpen = true;
}

void startPrecursor(MzXMLReader& reader, const XML_Char** attributes) {
  if (reader.precursorCount++ > 0) return;  // Corvid keeps one precursor per scan
  reader.inPrecursor = true;
  reader.precursorText.clear();
  OpenSpectrum& s = reader.scan;
  const char* scanNum = attributeValue(attributes, "precursorScanNum");
  const char* charge = attributeValue(attributes, "precursorCharge");
  const char* method = attributeValue(attributes, "activationMethod");
  const char* wideness = attributeValue(attributes, "windowWideness");
  double width = 0.0;
  if (wideness != nullptr && parseReal(wideness, width) && std::isfinite(width) && width > 0.0)
    s.isolationLower = s.isolationUpper = width / 2;
  long long number = 0;
  if (scanNum != nullptr && parseInteger(scanNum, number))
    s.precursorRef = "scan=" + std::to_string(number);
  if (charge != nullptr && parseInteger(charge, number) && number > 0 && number < 1000)
    s.charge = static_cast<int>(number);
  if (method != nullptr) s.activation = activationFromMethodName(method);
}

void endPrecursor(MzXMLReader& reader) {
  reader.inPrecursor = false;
  double mz = 0.0;
  if (!parseReal(reader.precursorText, mz))
    return fail(reader,
                scanName(reader) + " has an invalid precursorMz \"" + reader.precursorText + "\"");
  // mzXML gives one precursor m/z; it is both the selected ion and the isolation target.
  reader.scan.selectedMz = reader.scan.isolationTarget = mz;
  reader.scan.hasSelectedMz = reader.scan.hasIsolationTarget = true;
}

void startPeaks(MzXMLReader& reader, const XML_Char** attributes) {
  const char* precision = attributeValue(attributes, "precision");
  const char* order = attributeValue(attributes, "byteOrder");
  const char* content = attributeValue(attributes, "contentType");
  const char* pairOrder = attributeValue(attributes, "pairOrder");
  const char* compression = attributeValue(attributes, "compressionType");
  reader.encoding = ArrayEncoding{};
  reader.encoding.bits = precision != nullptr && std::strcmp(precision, "64") == 0 ? 64 : 32;
  if (precision != nullptr && std::strcmp(precision, "64") != 0 &&
      std::strcmp(precision, "32") != 0)
    return fail(reader,
                scanName(reader) + " has an unsupported peak precision \"" + precision + "\"");
  reader.encoding.bigEndian = order == nullptr || std::strcmp(order, "network") == 0;
  const char* layout = content != nullptr ? content : pairOrder;
  if (layout != nullptr && std::strcmp(layout, "m/z-int") != 0)
    return fail(reader, scanName(reader) + " has unsupported peak contents \"" + layout + "\"");
  if (compression != nullptr && std::strcmp(compression, "zlib") == 0)
    reader.encoding.zlib = true;
  else if (compression != nullptr && std::strcmp(compression, "none") != 0)
    return fail(reader,
                scanName(reader) + " has an unsupported compression \"" + compression + "\"");
  reader.inPeaks = true;
  reader.peaksText.clear();
}

void endPeaks(MzXMLReader& reader) {
  reader.inPeaks = false;
  if (!reader.scanOpen) return;
  // Pairs: twice the peaks. A declared count past the limit is refused before anything is inflated.
  const std::size_t limit = reader.limits.maxSpectrumValues;
  if (reader.peaksCount > 0 && static_cast<std::size_t>(reader.peaksCount) > limit)
    return fail(reader, scanName(reader) + " declares " + std::to_string(reader.peaksCount) + " peaks encoded in " +
                            std::to_string(reader.peaksText.size()) + " bytes, more than max_spectrum_values (" +
                            std::to_string(limit) + "): refused");
  std::string reason;
  if (!decodeBinaryArray(reader.peaksText, reader.encoding, reader.pairs, reader.scratch, reason, 2 * limit))
    return fail(reader, scanName(reader) + ": " + reason);
  std::size_t count = reader.pairs.size() / 2;
  if (reader.pairs.size() % 2 != 0 ||
      (reader.peaksCount >= 0 && static_cast<long long>(count) != reader.peaksCount))
    return fail(reader, scanName(reader) + " declares " + std::to_string(reader.peaksCount) +
                            " peaks but its peak list holds " +
                            std::to_string(reader.pairs.size()) + " values");
  OpenSpectrum& s = reader.scan;
  s.mz.resize(count);
  s.intensity.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    s.mz[i] = reader.pairs[2 * i];
    s.intensity[i] = reader.pairs[2 * i + 1];
  }
  emitScan(reader);
}

void XMLCALL onStart(void* data, const XML_Char* rawName, const XML_Char** attributes) {
  auto& reader = *static_cast<MzXMLReader*>(data);
  if (!reader.xml.error.empty()) return;
  std::string_view name = localName(rawName);
  if (!checkRootElement(reader.xml, name, "mzXML", "msRun", "mzXML")) return;
  if (name == "scan") {
    startScan(reader, attributes);
  } else if (name == "precursorMz" && reader.scanOpen) {
    startPrecursor(reader, attributes);
  } else if (name == "peaks" && reader.scanOpen) {
    startPeaks(reader, attributes);
  } else if (name == "msInstrument") {
    const char* id = attributeValue(attributes, "msInstrumentID");
    if (id == nullptr) id = attributeValue(attributes, "id");
    reader.currentInstrument = id != nullptr ? id : "";
  } else if (name == "msMassAnalyzer") {
    const char* value = attributeValue(attributes, "value");
    AnalyzerKind kind = analyzerFromName(value != nullptr ? value : "");
    reader.instruments[reader.currentInstrument] = kind;
    reader.analyzerNames[reader.currentInstrument] = value != nullptr ? value : "";
    if (reader.firstAnalyzer == AnalyzerKind::Unknown) reader.firstAnalyzer = kind;
  }
}

void XMLCALL onEnd(void* data, const XML_Char* rawName) {
  auto& reader = *static_cast<MzXMLReader*>(data);
  if (!reader.xml.error.empty()) return;
  std::string_view name = localName(rawName);
  if (name == "precursorMz" && reader.inPrecursor)
    endPrecursor(reader);
  else if (name == "peaks" && reader.inPeaks)
    endPeaks(reader);
  else if (name == "scan" && reader.scanOpen)
    emitScan(reader);
}

void XMLCALL onText(void* data, const XML_Char* text, int length) {
  auto& reader = *static_cast<MzXMLReader*>(data);
  if (reader.inPeaks)
    reader.peaksText.append(text, static_cast<std::size_t>(length));
  else if (reader.inPrecursor)
    reader.precursorText.append(text, static_cast<std::size_t>(length));
}

// The base64 peak lists are most of the file: their text may be read without the XML tokenizer.
constexpr const char* kDirectContent = "peaks";

}  // namespace

bool readMzXMLFile(const std::string& path, const SpectrumSink& sink, std::string& error,
                   const OpenFormatLimits& limits) {
  MzXMLReader reader;
  reader.sink = &sink;
  reader.limits = limits;
  return parseXmlFile(path, XmlHandlers{onStart, onEnd, onText, kDirectContent}, &reader,
                      reader.xml, error);
}

}  // namespace corvid
