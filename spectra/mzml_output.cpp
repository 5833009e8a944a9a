#include "spectra/mzml_output.h"

#include <charconv>
#include <cmath>
#include <cstdio>

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

std::string corvidSoftwareEntry() {
  return "<software id=\"" + std::string(kSoftwareId) +
         "\" version=\"2.0.8\"><cvParam cvRef=\"MS\" accession=\"MS:1000799\" "
         "name=\"custom unreleased software tool\" value=\"Corvid\" /></software>";
}

std::string corvidProcessingEntry() {
  return "<dataProcessing id=\"" + std::string(kProcessingId) + "\"><processingMethod order=\"0\" softwareRef=\"" +
         std::string(kSoftwareId) +
         "\"><cvParam cvRef=\"MS\" accession=\"MS:1000780\" name=\"precursor recalculation\" value=\"\" />"
         "</processingMethod></dataProcessing>";
}

void MzMLOutput::put(std::string_view bytes) {
  if (bytes.empty()) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), pending.file) != bytes.size()) writeFailed = true;
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
    out += param + "<cvParam cvRef=\"MS\" accession=\"MS:1000744\" name=\"selected ion m/z\" value=\"" +
           formatNumber(precursor.mz) +
           "\" unitCvRef=\"MS\" unitAccession=\"MS:1000040\" unitName=\"m/z\" />\n";
    out += param + "<cvParam cvRef=\"MS\" accession=\"MS:1000041\" name=\"charge state\" value=\"" +
           std::to_string(precursor.charge) + "\" />\n";
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
                       const std::vector<IndexEntry>& chromatograms) {
  const std::uint64_t indexOffset = out.offset;
  out.put(indexText(spectra, chromatograms));
  out.put("<indexListOffset>" + std::to_string(indexOffset) + "</indexListOffset>\n<fileChecksum>");
  const std::string digest = sha1Hex(out.checksum);
  out.checksummed = true;
  out.put(digest + "</fileChecksum>\n</indexedmzML>\n");
  return commitPending(out.pending, out.writeFailed);
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
