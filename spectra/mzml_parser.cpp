#include "spectra/mzml_parser.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "spectra/binary_array_decoder.h"
#include "spectra/cv_accessions.h"
#include "spectra/instrument_configurations.h"
#include "spectra/open_format_terms.h"
#include "spectra/xml_stream.h"

namespace corvid {

namespace {

// Where a cvParam stands decides what it describes.
enum class Context {
  Outside,
  Spectrum,
  Scan,
  IsolationWindow,
  SelectedIon,
  Activation,
  BinaryArray,
  Analyzer,
  ParamGroup,
  Ignored
};

enum class ArrayKind { Other, Mz, Intensity };

struct CvParam {
  std::string accession;
  std::string value;
  std::string unitAccession;
  std::string unitName;
};

struct MzMLReader {
  XmlStreamState xml;
  const SpectrumSink* sink = nullptr;
  OpenFormatLimits limits;
  bool sawMzML = false;
  std::vector<Context> contexts;

  std::unordered_map<std::string, std::vector<CvParam>> paramGroups;
  std::string currentGroup;
  InstrumentConfigurations configurations;

  OpenSpectrum spectrum;
  long long defaultArrayLength = 0;
  std::string scanConfiguration;
  int scanCount = 0;
  int precursorCount = 0;
  int selectedIonCount = 0;
  bool sawRetentionTime = false;
  bool sawMzArray = false;
  bool sawIntensityArray = false;

  ArrayEncoding encoding;
  ArrayKind arrayKind = ArrayKind::Other;
  bool unsupportedArrayType = false;
  long long arrayLength = -1;
  bool inBinary = false;
  std::string binaryText;
  DecodeScratch scratch;
  std::vector<double> decoded;
};

void fail(MzMLReader& reader, const std::string& reason) { stopXmlStream(reader.xml, reason); }

// An isolation offset Corvid can use: finite and above 0, else 0 (not stated).
double usableOffset(double value) { return std::isfinite(value) && value > 0.0 ? value : 0.0; }

std::string spectrumName(const MzMLReader& reader) {
  return "spectrum \"" + reader.spectrum.nativeId + "\"";
}

// Ranks activation names when a spectrum lists several: a named method beats an unknown one,
// beam-type collision beats the plain collision term some converters write beside it, and electron
// transfer with supplemental collision (EThcD, ETciD) counts as ETD.
int activationRank(std::string_view name) {
  if (name == "ETD") return 4;
  if (name == "HCD") return 3;
  if (name == "CID") return 2;
  return name.empty() ? 0 : 1;
}

void setActivation(std::string& current, std::string_view found) {
  if (activationRank(found) > activationRank(current)) current = found;
}

void binaryArrayParam(MzMLReader& reader, std::string_view accession) {
  ArrayEncoding& e = reader.encoding;
  if (accession == cv::kMzArray)
    reader.arrayKind = ArrayKind::Mz;
  else if (accession == cv::kIntensityArray)
    reader.arrayKind = ArrayKind::Intensity;
  else if (accession == cv::k32BitFloat)
    e.bits = 32;
  else if (accession == cv::k64BitFloat)
    e.bits = 64;
  else if (accession == cv::k32BitInteger || accession == cv::k64BitInteger ||
           accession == cv::kNullTerminatedAsciiString)
    reader.unsupportedArrayType = true;  // integer or text arrays never hold peaks
  else if (accession == cv::kZlibCompression)
    e.zlib = true;
  else if (accession == cv::kMsNumpressLinearPredictionCompression)
    e.numpress = NumpressKind::Linear;
  else if (accession == cv::kMsNumpressPositiveIntegerCompression)
    e.numpress = NumpressKind::Pic;
  else if (accession == cv::kMsNumpressShortLoggedFloatCompression)
    e.numpress = NumpressKind::Slof;
  else if (accession == cv::kMsNumpressLinearPredictionCompressionFollowedByZlibCompression)
    e = {64, true, NumpressKind::Linear, false};
  else if (accession == cv::kMsNumpressPositiveIntegerCompressionFollowedByZlibCompression)
    e = {64, true, NumpressKind::Pic, false};
  else if (accession == cv::kMsNumpressShortLoggedFloatCompressionFollowedByZlibCompression)
    e = {64, true, NumpressKind::Slof, false};
}

// A cvParam of the spectrum or its scan: level, retention time, injection time, filter line, FAIMS
// compensation voltage (converters put it in either place).
void spectrumParam(MzMLReader& reader, const CvParam& param) {
  OpenSpectrum& s = reader.spectrum;
  const std::string& accession = param.accession;
  double value = 0.0;
  if (accession == cv::kMsLevel) {
    long long level = 0;
    if (!parseInteger(param.value, level) || level < 0 || level > 1000)
      return fail(reader, spectrumName(reader) + " has an invalid ms level \"" + param.value + "\"");
    s.msLevel = static_cast<int>(level);
  } else if (accession == cv::kScanStartTime && !reader.sawRetentionTime) {
    if (!parseReal(param.value, value))
      return fail(reader, spectrumName(reader) + " has an invalid scan start time \"" + param.value + "\"");
    bool minutes = param.unitAccession == "UO:0000031" || param.unitName == "minute";
    s.retentionTime = minutes ? value * 60.0 : value;
    reader.sawRetentionTime = true;
  } else if (accession == cv::kIonInjectionTime) {
    if (parseReal(param.value, value)) s.ionInjectionTime = value;
  } else if (accession == cv::kFilterString) {
    s.filterText = param.value;
  } else if (accession == cv::kFaimsCompensationVoltage && parseReal(param.value, value)) {
    s.compensationVoltage = value;  // a value that is not a number reads as no voltage
    s.hasCompensationVoltage = true;
  }
}

void handleCvParam(MzMLReader& reader, Context context, const CvParam& param) {
  OpenSpectrum& s = reader.spectrum;
  const std::string& accession = param.accession;
  double value = 0.0;
  switch (context) {
    case Context::Spectrum:
    case Context::Scan: spectrumParam(reader, param); return;
    case Context::IsolationWindow:
      if (accession == cv::kIsolationWindowTargetMz && parseReal(param.value, value)) {
        s.isolationTarget = value;
        s.hasIsolationTarget = true;
      } else if (accession == cv::kIsolationWindowLowerOffset && parseReal(param.value, value)) {
        s.isolationLower = usableOffset(value);
      } else if (accession == cv::kIsolationWindowUpperOffset && parseReal(param.value, value)) {
        s.isolationUpper = usableOffset(value);
      }
      return;
    case Context::SelectedIon:
      if ((accession == cv::kSelectedIonMz || accession == cv::kMz) && parseReal(param.value, value)) {
        s.selectedMz = value;
        s.hasSelectedMz = true;
      } else if (accession == cv::kChargeState) {
        long long charge = 0;
        if (parseInteger(param.value, charge) && charge > 0 && charge < 1000)
          s.charge = static_cast<int>(charge);
      }
      return;
    case Context::Activation: {
      std::string_view name = activationFromAccession(accession);
      if (!name.empty()) setActivation(s.activation, name);
      return;
    }
    case Context::BinaryArray:
      binaryArrayParam(reader, accession);
      return;
    case Context::Analyzer: addAnalyzerTerm(reader.configurations, accession); return;
    case Context::ParamGroup:
      reader.paramGroups[reader.currentGroup].push_back(param);
      return;
    case Context::Outside:
    case Context::Ignored:
      return;
  }
}

void startSpectrum(MzMLReader& reader, const XML_Char** attributes) {
  OpenSpectrum& s = reader.spectrum;
  const char* id = attributeValue(attributes, "id");
  const char* index = attributeValue(attributes, "index");
  const char* length = attributeValue(attributes, "defaultArrayLength");
  s.nativeId = id != nullptr ? id : "";
  long long number = 0;
  if (index != nullptr && parseInteger(index, number)) s.index = number;
  reader.defaultArrayLength = 0;
  if (length != nullptr &&
      (!parseInteger(length, reader.defaultArrayLength) || reader.defaultArrayLength < 0))
    return fail(reader,
                spectrumName(reader) + " has an invalid defaultArrayLength \"" + length + "\"");
  clearSpectrumContents(s);
  reader.scanConfiguration.clear();
  reader.scanCount = reader.precursorCount = reader.selectedIonCount = 0;
  reader.sawRetentionTime = reader.sawMzArray = reader.sawIntensityArray = false;
}

void startBinaryArray(MzMLReader& reader, const XML_Char** attributes) {
  reader.encoding = ArrayEncoding{};
  reader.arrayKind = ArrayKind::Other;
  reader.unsupportedArrayType = false;
  reader.arrayLength = reader.defaultArrayLength;
  const char* length = attributeValue(attributes, "arrayLength");
  if (length != nullptr && (!parseInteger(length, reader.arrayLength) || reader.arrayLength < 0))
    fail(reader, spectrumName(reader) + " has an invalid arrayLength \"" + length + "\"");
}

void endBinary(MzMLReader& reader) {
  reader.inBinary = false;
  if (reader.arrayKind == ArrayKind::Other) return;
  if (reader.unsupportedArrayType)
    return fail(reader,
                spectrumName(reader) + " stores its peaks as integers, which are not supported");
  // A declared size past the limit is refused before anything is inflated.
  const std::size_t limit = reader.limits.maxSpectrumValues;
  if (reader.arrayLength > 0 && static_cast<std::size_t>(reader.arrayLength) > limit)
    return fail(reader, spectrumName(reader) + " declares " + std::to_string(reader.arrayLength) +
                            " values in a peak array encoded in " + std::to_string(reader.binaryText.size()) +
                            " bytes, more than max_spectrum_values (" + std::to_string(limit) + "): refused");
  std::string reason;
  if (!decodeBinaryArray(reader.binaryText, reader.encoding, reader.decoded, reader.scratch, reason, limit))
    return fail(reader, spectrumName(reader) + ": " + reason);
  if (static_cast<long long>(reader.decoded.size()) != reader.arrayLength)
    return fail(reader, spectrumName(reader) + " declares " + std::to_string(reader.arrayLength) +
                            " values but its array holds " + std::to_string(reader.decoded.size()));
  if (reader.arrayKind == ArrayKind::Mz) {
    reader.spectrum.mz.swap(reader.decoded);
    reader.sawMzArray = true;
  } else {
    reader.spectrum.intensity.swap(reader.decoded);
    reader.sawIntensityArray = true;
  }
}

void endSpectrum(MzMLReader& reader) {
  OpenSpectrum& s = reader.spectrum;
  if (reader.defaultArrayLength > 0 && (!reader.sawMzArray || !reader.sawIntensityArray))
    return fail(reader, spectrumName(reader) + " lacks its m/z or intensity array");
  if (s.mz.size() != s.intensity.size())
    return fail(reader,
                spectrumName(reader) + " has m/z and intensity arrays of different lengths");
  s.analyzer = analyzerFromFilter(s.filterText);
  if (s.analyzer == AnalyzerKind::Unknown)
    s.analyzer = configuredAnalyzer(reader.configurations, reader.scanConfiguration, s.unknownAnalyzer);
  if (s.activation.empty() && s.msLevel >= 2) s.activation = activationFromFilter(s.filterText);
  std::string reason;
  if (!(*reader.sink)(s, reason)) fail(reader, reason);
}

Context contextOf(MzMLReader& reader, std::string_view name, Context parent,
                  const XML_Char** attributes) {
  if (parent == Context::Ignored) return parent;
  if (name == "spectrum") {
    startSpectrum(reader, attributes);
    return Context::Spectrum;
  }
  if (name == "scan" && parent == Context::Spectrum) {
    if (reader.scanCount++ > 0) return Context::Ignored;  // later scans of a combination
    const char* ref = attributeValue(attributes, "instrumentConfigurationRef");
    if (ref != nullptr) reader.scanConfiguration = ref;
    return Context::Scan;
  }
  if (name == "precursor" && parent == Context::Spectrum) {
    if (reader.precursorCount++ > 0) return Context::Ignored;  // Corvid keeps one precursor
    const char* ref = attributeValue(attributes, "spectrumRef");
    if (ref != nullptr) reader.spectrum.precursorRef = ref;
    return Context::Spectrum;
  }
  if (name == "product" || name == "scanWindowList" || name == "chromatogram")
    return Context::Ignored;
  if (name == "isolationWindow" && parent == Context::Spectrum) return Context::IsolationWindow;
  if (name == "selectedIon" && parent == Context::Spectrum)
    return reader.selectedIonCount++ > 0 ? Context::Ignored : Context::SelectedIon;
  if (name == "activation" && parent == Context::Spectrum) return Context::Activation;
  if (name == "binaryDataArray" && parent == Context::Spectrum) {
    startBinaryArray(reader, attributes);
    return Context::BinaryArray;
  }
  if (name == "referenceableParamGroup") {
    const char* id = attributeValue(attributes, "id");
    reader.currentGroup = id != nullptr ? id : "";
    return Context::ParamGroup;
  }
  if (name == "instrumentConfiguration") {
    const char* id = attributeValue(attributes, "id");
    startConfiguration(reader.configurations, id != nullptr ? id : "");
  }
  if (name == "analyzer") return Context::Analyzer;
  if (name == "run") {
    const char* ref = attributeValue(attributes, "defaultInstrumentConfigurationRef");
    if (ref != nullptr) reader.configurations.runDefault = ref;
  }
  return parent;
}

void XMLCALL onStart(void* data, const XML_Char* rawName, const XML_Char** attributes) {
  auto& reader = *static_cast<MzMLReader*>(data);
  if (!reader.xml.error.empty()) return;
  std::string_view name = localName(rawName);
  if (!checkRootElement(reader.xml, name, "mzML", "indexedmzML", "mzML")) return;
  if (name == "mzML") reader.sawMzML = true;
  Context parent = reader.contexts.empty() ? Context::Outside : reader.contexts.back();
  if (name == "cvParam") {
    CvParam param;
    const char* value = attributeValue(attributes, "value");
    const char* accession = attributeValue(attributes, "accession");
    const char* unit = attributeValue(attributes, "unitAccession");
    const char* unitName = attributeValue(attributes, "unitName");
    if (accession != nullptr) param.accession = accession;
    if (value != nullptr) param.value = value;
    if (unit != nullptr) param.unitAccession = unit;
    if (unitName != nullptr) param.unitName = unitName;
    handleCvParam(reader, parent, param);
  } else if (name == "referenceableParamGroupRef") {
    const char* ref = attributeValue(attributes, "ref");
    auto group = reader.paramGroups.find(ref != nullptr ? ref : "");
    if (group != reader.paramGroups.end())
      for (const CvParam& param : group->second) handleCvParam(reader, parent, param);
  } else if (name == "userParam" && (parent == Context::Spectrum || parent == Context::Scan)) {
    const char* userName = attributeValue(attributes, "name");
    const char* value = attributeValue(attributes, "value");
    if (userName != nullptr && value != nullptr && std::strcmp(userName, "filter string") == 0)
      reader.spectrum.filterText = value;
  } else if (name == "binary" && parent == Context::BinaryArray) {
    reader.inBinary = true;
    reader.binaryText.clear();
  }
  reader.contexts.push_back(contextOf(reader, name, parent, attributes));
}

void XMLCALL onEnd(void* data, const XML_Char* rawName) {
  auto& reader = *static_cast<MzMLReader*>(data);
  if (!reader.xml.error.empty()) return;
  std::string_view name = localName(rawName);
  Context context = reader.contexts.empty() ? Context::Outside : reader.contexts.back();
  if (!reader.contexts.empty()) reader.contexts.pop_back();
  if (name == "binary" && reader.inBinary)
    endBinary(reader);
  else if (name == "spectrum" && context == Context::Spectrum)
    endSpectrum(reader);
}

void XMLCALL onText(void* data, const XML_Char* text, int length) {
  auto& reader = *static_cast<MzMLReader*>(data);
  if (reader.inBinary) reader.binaryText.append(text, static_cast<std::size_t>(length));
}

// Spectra are almost all of the file: their content may be read without the XML tokenizer.
constexpr const char* kDirectContent = "spectrum";

}  // namespace

bool readMzMLFile(const std::string& path, const SpectrumSink& sink, std::string& error,
                  const OpenFormatLimits& limits) {
  MzMLReader reader;
  reader.sink = &sink;
  reader.limits = limits;
  bool ok = parseXmlFile(path, XmlHandlers{onStart, onEnd, onText, kDirectContent}, &reader,
                         reader.xml, error);
  if (ok && !reader.sawMzML) {
    error = "not an mzML file (no <mzML> element)";
    ok = false;
  }
  return ok;
}

}  // namespace corvid
