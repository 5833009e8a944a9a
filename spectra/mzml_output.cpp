#include "spectra/mzml_output.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/cv_accessions.h"

namespace corvid {
namespace {

std::string indexText(const std::vector<IndexEntry>& spectra, const std::vector<IndexEntry>& chromatograms) {
  std::string out = "<indexList count=\"" + std::to_string(chromatograms.empty() ? 1 : 2) + "\">\n";
  auto list = [&out](const char* name, const std::vector<IndexEntry>& entries) {
    out += std::string("\t<index name=\"") + name + "\">\n";
    for (const IndexEntry& entry : entries) {
      out += "\t\t<offset idRef=\"" + entry.id + "\">" + std::to_string(entry.offset) + "</offset>\n";
    }
    out += "\t</index>\n";
  };
  list("spectrum", spectra);
  if (!chromatograms.empty()) list("chromatogram", chromatograms);
  out += "</indexList>\n";
  return out;
}


}  // namespace

std::string cvParam(std::string_view accession, std::string_view name, std::string_view attributes) {
  return "<cvParam cvRef=\"MS\" accession=\"" + std::string(accession) + "\" name=\"" + std::string(name) + "\"" +
         std::string(attributes) + " />";
}

std::string valueAttribute(std::string_view value) { return " value=\"" + std::string(value) + "\""; }

std::string unitAttributes(std::string_view cvRef, std::string_view accession, std::string_view name) {
  return " unitCvRef=\"" + std::string(cvRef) + "\" unitAccession=\"" + std::string(accession) + "\" unitName=\"" +
         std::string(name) + "\"";
}

std::string corvidSoftwareEntry() {
  return "<software id=\"" + std::string(kSoftwareId) + "\" version=\"2.0.8\">" +
         cvParam(cv::kCustomUnreleasedSoftwareTool, "custom unreleased software tool", valueAttribute("Corvid")) +
         "</software>";
}

std::string corvidProcessingEntry() {
  return "<dataProcessing id=\"" + std::string(kProcessingId) + "\"><processingMethod order=\"0\" softwareRef=\"" +
         std::string(kSoftwareId) + "\">" +
         cvParam(cv::kPrecursorRecalculation, "precursor recalculation", valueAttribute("")) +
         "</processingMethod></dataProcessing>";
}

void MzMLOutput::put(std::string_view bytes) {
  if (bytes.empty()) return;
  putBytes(pending, bytes);
  flushIfLarge(pending);
  offset += bytes.size();
  if (!checksummed) sha1Update(checksum, bytes);
}

std::string formatNumber(double value) {
  char buffer[64];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

std::string selectedIonList(const std::vector<CorrectedPrecursor>& precursors, std::string_view indent,
                            std::string_view instrumentMz, std::string_view instrumentCharge) {
  const std::string inner = std::string(indent) + "\t";
  const std::string param = inner + "\t";
  std::string out = "<selectedIonList count=\"" + std::to_string(precursors.size()) + "\">\n";
  for (std::size_t i = 0; i < precursors.size(); ++i) {
    const CorrectedPrecursor& precursor = precursors[i];
    out += inner + "<selectedIon>\n";
    out += param +
           cvParam(cv::kSelectedIonMz, "selected ion m/z",
                   valueAttribute(formatNumber(precursor.mz)) + unitAttributes("MS", cv::kMz, "m/z")) +
           "\n";
    out += param + cvParam(cv::kChargeState, "charge state", valueAttribute(std::to_string(precursor.charge))) + "\n";
    if (std::isfinite(precursor.score)) {
      out += param + "<userParam name=\"Corvid score\" value=\"" + formatNumber(precursor.score) +
             "\" type=\"xsd:double\" />\n";
    }
    out += param + "<userParam name=\"Corvid rank\" value=\"" + std::to_string(precursor.rank) +
           "\" type=\"xsd:int\" />\n";
    if (i == 0 && !instrumentMz.empty()) {
      out += param + "<userParam name=\"instrument selected ion m/z\" value=\"" + std::string(instrumentMz) +
             "\" type=\"xsd:double\" />\n";
    }
    if (i == 0 && !instrumentCharge.empty()) {
      out += param + "<userParam name=\"instrument charge state\" value=\"" + std::string(instrumentCharge) +
             "\" type=\"xsd:int\" />\n";
    }
    out += inner + "</selectedIon>\n";
  }
  out += std::string(indent) + "</selectedIonList>";
  return out;
}

bool finishIndexedMzML(MzMLOutput& out, const std::vector<IndexEntry>& spectra,
                       const std::vector<IndexEntry>& chromatograms, std::string& error) {
  const std::uint64_t indexOffset = out.offset;
  out.put(indexText(spectra, chromatograms));
  out.put("<indexListOffset>" + std::to_string(indexOffset) + "</indexListOffset>\n<fileChecksum>");
  const std::string digest = sha1Hex(out.checksum);
  out.checksummed = true;
  out.put(digest + "</fileChecksum>\n</indexedmzML>\n");
  if (commitPending(out.pending)) return true;
  error = out.pending.error;
  return false;
}

CorrectedMzMLOutcome writeReportedCorrectedMzML(CorrectedMzMLCopy copy, const std::string& inputPath,
                                                const CorrectionsByNativeId& corrections,
                                                const std::string& outputPath) {
  CorrectedMzMLOutcome outcome;
  outcome.written = copy(inputPath, corrections, outputPath, outcome);
  if (!outcome.written) {
    logMessage(LogLabel::kError, "Fail to write the corrected mzML " + outputPath + ": " + outcome.error);
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
  return outcome;
}

std::string escapeXml(std::string_view text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

}  // namespace corvid
