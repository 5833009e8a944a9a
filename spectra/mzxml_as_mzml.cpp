#include "spectra/mzxml_as_mzml.h"

#include <zlib.h>

#include <array>
#include <cstring>

#include "platform/paths.h"
#include "spectra/cv_accessions.h"
#include "spectra/mzml_output.h"
#include "spectra/mzxml_parser.h"

namespace corvid {
namespace {

const char* configurationOf(AnalyzerKind kind) {
  switch (kind) {
    case AnalyzerKind::FourierTransform: return "IC_FT";
    case AnalyzerKind::IonTrap: return "IC_IT";
    case AnalyzerKind::TimeOfFlight: return "IC_TOF";
    default: return "IC_UNKNOWN";
  }
}

// The PSI-MS dissociation term of an activation name.
std::pair<std::string_view, std::string_view> activationTerm(const std::string& activation) {
  if (activation == "CID") return {cv::kCollisionInducedDissociation, "collision-induced dissociation"};
  if (activation == "HCD")
    return {cv::kBeamTypeCollisionInducedDissociation, "beam-type collision-induced dissociation"};
  if (activation == "ETD") return {cv::kElectronTransferDissociation, "electron transfer dissociation"};
  if (activation == "PQD") return {cv::kPulsedQDissociation, "pulsed q dissociation"};
  if (activation == "ECD") return {cv::kElectronCaptureDissociation, "electron capture dissociation"};
  if (activation == "IRM") return {cv::kInfraredMultiphotonDissociation, "infrared multiphoton dissociation"};
  return {cv::kDissociationMethod, "dissociation method"};
}

std::string base64(const unsigned char* bytes, std::size_t size) {
  static const char* const kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((size + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < size; i += 3) {
    const std::uint32_t n = (std::uint32_t{bytes[i]} << 16) | (std::uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) out += kAlphabet[(n >> shift) & 63];
  }
  if (i < size) {
    const std::uint32_t n = (std::uint32_t{bytes[i]} << 16) | (i + 1 < size ? std::uint32_t{bytes[i + 1]} << 8 : 0);
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += i + 1 < size ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

// Little-endian 64-bit floats, zlib-compressed, base64: the most widely read mzML encoding.
std::string encodeArray(const std::vector<double>& values, std::string& error) {
  std::string raw(values.size() * 8, '\0');
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &values[i], 8);
    for (int b = 0; b < 8; ++b) raw[i * 8 + b] = static_cast<char>((bits >> (8 * b)) & 0xFF);
  }
  uLongf packedSize = compressBound(static_cast<uLong>(raw.size()));
  std::string packed(packedSize, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize, reinterpret_cast<const Bytef*>(raw.data()),
                static_cast<uLong>(raw.size()), Z_DEFAULT_COMPRESSION) != Z_OK) {
    error = "zlib cannot compress a peak array";
    return std::string();
  }
  return base64(reinterpret_cast<const unsigned char*>(packed.data()), packedSize);
}

std::string binaryArray(const std::vector<double>& values, bool mz, std::string& error) {
  const std::string text = encodeArray(values, error);
  std::string out = "\t\t\t\t\t<binaryDataArray encodedLength=\"" + std::to_string(text.size()) + "\">\n";
  const std::string indent = "\t\t\t\t\t\t";
  out += indent + cvParam(cv::k64BitFloat, "64-bit float") + "\n";
  out += indent + cvParam(cv::kZlibCompression, "zlib compression") + "\n";
  out += indent +
         (mz ? cvParam(cv::kMzArray, "m/z array", unitAttributes("MS", cv::kMz, "m/z"))
             : cvParam(cv::kIntensityArray, "intensity array",
                       unitAttributes("MS", cv::kNumberOfDetectorCounts, "number of detector counts"))) +
         "\n";
  out += "\t\t\t\t\t\t<binary>" + text + "</binary>\n\t\t\t\t\t</binaryDataArray>\n";
  return out;
}

// The precursor of an MS2 scan: isolation window, Corvid's precursors as selected ions (or the
// instrument's own when none were accepted) and the activation. `corrected` tells which it was.
void appendPrecursorList(std::string& out, const OpenSpectrum& s, const CorrectionsByNativeId& corrections,
                         bool& corrected) {
  out += "\t\t\t\t<precursorList count=\"1\">\n";
  out += s.precursorRef.empty() ? "\t\t\t\t\t<precursor>\n"
                                : "\t\t\t\t\t<precursor spectrumRef=\"" + escapeXml(s.precursorRef) + "\">\n";
  if (s.hasIsolationTarget) {
    out += "\t\t\t\t\t\t<isolationWindow>\n\t\t\t\t\t\t\t" +
           cvParam(cv::kIsolationWindowTargetMz, "isolation window target m/z",
                   valueAttribute(formatNumber(s.isolationTarget)) + unitAttributes("MS", cv::kMz, "m/z")) +
           "\n\t\t\t\t\t\t</isolationWindow>\n";
  }
  const auto found = corrections.find(s.nativeId);
  const std::string instrumentMz = s.hasSelectedMz ? formatNumber(s.selectedMz) : std::string();
  const std::string instrumentCharge = s.charge > 0 ? std::to_string(s.charge) : std::string();
  if (found != corrections.end() && !found->second.empty()) {
    out += "\t\t\t\t\t\t" + selectedIonList(found->second, "\t\t\t\t\t\t", instrumentMz, instrumentCharge) + "\n";
    corrected = true;
  } else if (s.hasSelectedMz) {
    out += "\t\t\t\t\t\t<selectedIonList count=\"1\">\n\t\t\t\t\t\t\t<selectedIon>\n";
    out += "\t\t\t\t\t\t\t\t" +
           cvParam(cv::kSelectedIonMz, "selected ion m/z",
                   valueAttribute(instrumentMz) + unitAttributes("MS", cv::kMz, "m/z")) +
           "\n";
    if (!instrumentCharge.empty()) {
      out += "\t\t\t\t\t\t\t\t" + cvParam(cv::kChargeState, "charge state", valueAttribute(instrumentCharge)) + "\n";
    }
    out += "\t\t\t\t\t\t\t</selectedIon>\n\t\t\t\t\t\t</selectedIonList>\n";
  }
  const auto [accession, name] = activationTerm(s.activation);
  out += "\t\t\t\t\t\t<activation>\n\t\t\t\t\t\t\t" + cvParam(accession, name) + "\n\t\t\t\t\t\t</activation>\n";
  out += "\t\t\t\t\t</precursor>\n\t\t\t\t</precursorList>\n";
}

std::string spectrumElement(const OpenSpectrum& s, std::size_t index, const CorrectionsByNativeId& corrections,
                            bool& corrected, std::string& error) {
  const std::string id = escapeXml(s.nativeId);
  std::string out = "<spectrum index=\"" + std::to_string(index) + "\" id=\"" + id + "\" defaultArrayLength=\"" +
                    std::to_string(s.mz.size()) + "\">\n";
  out += "\t\t\t\t" + cvParam(cv::kMsLevel, "ms level", valueAttribute(std::to_string(s.msLevel))) + "\n";
  out += "\t\t\t\t" +
         (s.msLevel == 1 ? cvParam(cv::kMs1Spectrum, "MS1 spectrum") : cvParam(cv::kMsnSpectrum, "MSn spectrum")) +
         "\n";
  // mzXML says centroided="0" or "1"; when it says nothing, the representation is not known.
  out += "\t\t\t\t" +
         (s.centroided == 1   ? cvParam(cv::kCentroidSpectrum, "centroid spectrum")
          : s.centroided == 0 ? cvParam(cv::kProfileSpectrum, "profile spectrum")
                              : cvParam(cv::kSpectrumRepresentation, "spectrum representation")) +
         "\n";
  out += "\t\t\t\t<scanList count=\"1\">\n\t\t\t\t\t" + cvParam(cv::kNoCombination, "no combination") + "\n";
  out += std::string("\t\t\t\t\t<scan instrumentConfigurationRef=\"") + configurationOf(s.analyzer) + "\">\n";
  out += "\t\t\t\t\t\t" +
         cvParam(cv::kScanStartTime, "scan start time",
                 valueAttribute(formatNumber(s.retentionTime)) + unitAttributes("UO", "UO:0000010", "second")) +
         "\n";
  if (!s.filterText.empty()) {
    out += "\t\t\t\t\t\t" + cvParam(cv::kFilterString, "filter string", valueAttribute(escapeXml(s.filterText))) + "\n";
  }
  if (s.ionInjectionTime > 0.0) {
    out +=
        "\t\t\t\t\t\t" +
        cvParam(cv::kIonInjectionTime, "ion injection time",
                valueAttribute(formatNumber(s.ionInjectionTime)) + unitAttributes("UO", "UO:0000028", "millisecond")) +
        "\n";
  }
  out += "\t\t\t\t\t</scan>\n\t\t\t\t</scanList>\n";
  if (s.msLevel > 1) appendPrecursorList(out, s, corrections, corrected);
  out += "\t\t\t\t<binaryDataArrayList count=\"2\">\n";
  out += binaryArray(s.mz, true, error);
  out += binaryArray(s.intensity, false, error);
  out += "\t\t\t\t</binaryDataArrayList>\n\t\t\t</spectrum>\n";
  return out;
}

std::string instrumentConfiguration(std::string_view id, std::string_view accession, std::string_view name) {
  return "\t\t<instrumentConfiguration id=\"" + std::string(id) + "\">\n\t\t\t" +
         cvParam(cv::kInstrumentModel, "instrument model") + "\n\t\t\t<componentList count=\"3\">\n" +
         "\t\t\t\t<source order=\"1\">" + cvParam(cv::kIonizationType, "ionization type") + "</source>\n" +
         "\t\t\t\t<analyzer order=\"2\">" + cvParam(accession, name) + "</analyzer>\n" +
         "\t\t\t\t<detector order=\"3\">" + cvParam(cv::kDetectorType, "detector type") + "</detector>\n" +
         "\t\t\t</componentList>\n\t\t</instrumentConfiguration>\n";
}

std::string header(const std::string& inputPath, const std::string& inputSha1, std::size_t spectrumCount) {
  const std::string name = escapeXml(fileNameOf(inputPath));
  std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + std::string(kIndexedOpening);
  out += "<mzML xmlns=\"http://psi.hupo.org/ms/mzml\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
         "xsi:schemaLocation=\"http://psi.hupo.org/ms/mzml http://psidev.info/files/ms/mzML/xsd/mzML1.1.0.xsd\" "
         "version=\"1.1.0\">\n";
  out += "\t<cvList count=\"2\">\n"
         "\t\t<cv id=\"MS\" fullName=\"Proteomics Standards Initiative Mass Spectrometry Ontology\" version=\"4.1.0\" "
         "URI=\"https://raw.githubusercontent.com/HUPO-PSI/psi-ms-CV/master/psi-ms.obo\" />\n"
         "\t\t<cv id=\"UO\" fullName=\"Unit Ontology\" version=\"09:04:2014\" "
         "URI=\"https://raw.githubusercontent.com/bio-ontology-research-group/unit-ontology/master/unit.obo\" />\n"
         "\t</cvList>\n";
  out +=
      "\t<fileDescription>\n\t\t<fileContent>\n"
      "\t\t\t" +
      cvParam(cv::kMs1Spectrum, "MS1 spectrum") + "\n" + "\t\t\t" + cvParam(cv::kMsnSpectrum, "MSn spectrum") +
      "\n\t\t</fileContent>\n" + "\t\t<sourceFileList count=\"1\">\n\t\t\t<sourceFile id=\"SF1\" name=\"" + name +
      "\" location=\"file://" + escapeXml(folderOf(inputPath)) + "\">\n" + "\t\t\t\t" +
      cvParam(cv::kScanNumberOnlyNativeIdFormat, "scan number only nativeID format") + "\n" + "\t\t\t\t" +
      cvParam(cv::kIsbMzXmlFormat, "ISB mzXML format") + "\n" + "\t\t\t\t" +
      cvParam(cv::kSha1, "SHA-1", valueAttribute(inputSha1)) + "\n" +
      "\t\t\t</sourceFile>\n\t\t</sourceFileList>\n\t</fileDescription>\n";
  out += "\t<softwareList count=\"1\">\n\t\t" + corvidSoftwareEntry() + "\n\t</softwareList>\n";
  out += "\t<instrumentConfigurationList count=\"4\">\n";
  out += instrumentConfiguration("IC_FT", cv::kFourierTransformIonCyclotronResonance,
                                 "fourier transform ion cyclotron resonance mass spectrometer");
  out += instrumentConfiguration("IC_IT", cv::kIonTrap, "ion trap");
  out += instrumentConfiguration("IC_TOF", cv::kTimeOfFlight, "time-of-flight");
  out += instrumentConfiguration("IC_UNKNOWN", cv::kMassAnalyzerType, "mass analyzer type");
  out += "\t</instrumentConfigurationList>\n";
  out += "\t<dataProcessingList count=\"1\">\n\t\t" + corvidProcessingEntry() + "\n\t</dataProcessingList>\n";
  out += "\t<run id=\"" + escapeXml(withoutExtension(fileNameOf(inputPath)) + "x") +
         "\" defaultInstrumentConfigurationRef=\"IC_UNKNOWN\" defaultSourceFileRef=\"SF1\">\n";
  out += "\t\t<spectrumList count=\"" + std::to_string(spectrumCount) + "\" defaultDataProcessingRef=\"" +
         std::string(kProcessingId) + "\">\n";
  return out;
}

// Writes the converted copy; false with outcome.error set when it cannot.
bool convertWithCorrections(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                            const std::string& outputPath, CorrectedMzMLOutcome& outcome) {
  // The spectrum count stands before the spectra: one reading pass to count them.
  std::size_t count = 0;
  std::string error;
  if (!readMzXMLFile(inputPath, [&count](const OpenSpectrum&, std::string&) { return ++count > 0; }, error)) {
    outcome.error = error;
    return false;
  }
  std::string inputSha1;
  if (!fileSha1(inputPath, inputSha1)) {
    outcome.error = "cannot read " + inputPath;
    return false;
  }
  MzMLOutput out;
  if (!openPending(outputPath, out.pending)) {
    outcome.error = out.pending.error;
    return false;
  }
  out.put(header(inputPath, inputSha1, count));
  std::vector<IndexEntry> index;
  const bool read = readMzXMLFile(inputPath, [&](const OpenSpectrum& spectrum, std::string& reason) {
    if (index.size() == count) {
      reason = "the file changed while it was read";
      return false;
    }
    out.put("\t\t\t");  // the index points at the element itself, after its indentation
    index.push_back({escapeXml(spectrum.nativeId), out.offset});
    bool corrected = false;
    out.put(spectrumElement(spectrum, index.size() - 1, corrections, corrected, reason));
    if (corrected) ++outcome.corrected;
    return reason.empty();
  }, error);
  if (!read || index.size() != count) {
    outcome.error = read ? "the file changed while it was read" : error;
    return false;
  }
  outcome.spectra = count;
  out.put("\t\t</spectrumList>\n\t</run>\n</mzML>\n");
  return finishIndexedMzML(out, index, {}, outcome.error);
}

}  // namespace

CorrectedMzMLOutcome writeCorrectedMzMLFromMzXML(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                                                 const std::string& outputPath) {
  return writeReportedCorrectedMzML(convertWithCorrections, inputPath, corrections, outputPath);
}

}  // namespace corvid
