#include "spectra/corrected_mzml.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string_view>

#include "platform/pending_file.h"
#include "spectra/cv_accessions.h"
#include "spectra/mzml_output.h"

namespace corvid {
namespace {

constexpr std::size_t kReadSize = 1 << 20;

// A window over the input that grows as far as a search needs and forgets what was consumed.
class InputWindow {
 public:
  explicit InputWindow(std::FILE* file) : file_(file) {}
  std::string_view text() const { return std::string_view(buffer_).substr(start_); }
  // Position of token at or after `from` in text(), reading on as needed; npos at end of input.
  std::size_t find(std::string_view token, std::size_t from) {
    std::size_t searchFrom = from;
    for (;;) {
      const std::size_t at = text().find(token, searchFrom);
      if (at != std::string_view::npos) return at;
      const std::size_t size = text().size();
      searchFrom = size >= token.size() ? std::max(from, size - token.size() + 1) : from;
      if (!readMore()) return std::string_view::npos;
    }
  }
  // Makes at least `count` bytes available from the window start, when the input has them.
  bool require(std::size_t count) {
    while (text().size() < count) {
      if (!readMore()) return false;
    }
    return true;
  }
  void drop(std::size_t count) {
    start_ += count;
    if (start_ > kReadSize && start_ * 2 > buffer_.size()) {
      buffer_.erase(0, start_);
      start_ = 0;
    }
  }
  bool failed() const { return failed_; }

 private:
  bool readMore() {
    if (ended_) return false;
    const std::size_t old = buffer_.size();
    buffer_.resize(old + kReadSize);
    const std::size_t got = std::fread(buffer_.data() + old, 1, kReadSize, file_);
    buffer_.resize(old + got);
    if (got < kReadSize) {
      ended_ = true;
      failed_ = std::ferror(file_) != 0;
    }
    return got > 0;
  }
  std::FILE* file_;
  std::string buffer_;
  std::size_t start_ = 0;
  bool ended_ = false;
  bool failed_ = false;
};

bool isXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string unescapeXml(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '&') {
      out += text[i];
      continue;
    }
    const std::size_t end = text.find(';', i);
    if (end == std::string_view::npos) {
      out += text.substr(i);
      break;
    }
    const std::string_view entity = text.substr(i + 1, end - i - 1);
    if (entity == "amp") out += '&';
    else if (entity == "lt") out += '<';
    else if (entity == "gt") out += '>';
    else if (entity == "quot") out += '"';
    else if (entity == "apos") out += '\'';
    else out += text.substr(i, end - i + 1);
    i = end;
  }
  return out;
}

// The raw (still escaped) value of attribute `name` in a start tag; empty when absent.
std::string_view attributeValue(std::string_view startTag, std::string_view name) {
  for (std::size_t at = startTag.find(name); at != std::string_view::npos; at = startTag.find(name, at + 1)) {
    if (at == 0 || !isXmlSpace(startTag[at - 1])) continue;
    std::size_t p = at + name.size();
    while (p < startTag.size() && isXmlSpace(startTag[p])) ++p;
    if (p >= startTag.size() || startTag[p] != '=') continue;
    ++p;
    while (p < startTag.size() && isXmlSpace(startTag[p])) ++p;
    if (p >= startTag.size() || (startTag[p] != '"' && startTag[p] != '\'')) continue;
    const char quote = startTag[p];
    const std::size_t close = startTag.find(quote, p + 1);
    if (close == std::string_view::npos) return {};
    return startTag.substr(p + 1, close - p - 1);
  }
  return {};
}

// The value of the cvParam with the accession inside text, or empty.
std::string_view cvParamValue(std::string_view text, std::string_view accession) {
  const std::string key = "\"" + std::string(accession) + "\"";
  const std::size_t at = text.find(key);
  if (at == std::string_view::npos) return {};
  const std::size_t open = text.rfind('<', at);
  const std::size_t close = text.find('>', at);
  if (open == std::string_view::npos || close == std::string_view::npos) return {};
  return attributeValue(text.substr(open, close - open), "value");
}

// The element `<name ...>` (not `<nameSomething`) at or after from, or npos.
std::size_t findElement(std::string_view text, std::string_view name, std::size_t from) {
  const std::string open = "<" + std::string(name);
  for (std::size_t at = text.find(open, from); at != std::string_view::npos; at = text.find(open, at + 1)) {
    const std::size_t next = at + open.size();
    if (next < text.size() && (isXmlSpace(text[next]) || text[next] == '>' || text[next] == '/')) return at;
  }
  return std::string_view::npos;
}

// The whitespace that starts the line of position at, for indenting what replaces it.
std::string_view indentationBefore(std::string_view text, std::size_t at) {
  std::size_t begin = at;
  while (begin > 0 && (text[begin - 1] == ' ' || text[begin - 1] == '\t')) --begin;
  return text.substr(begin, at - begin);
}

// The spectrum element with its first precursor's selected ions replaced; false (and the element
// unchanged) when it has no selected ion list.
bool correctSpectrum(std::string& element, const std::vector<CorrectedPrecursor>& precursors) {
  const std::size_t precursor = findElement(element, "precursor", 0);
  if (precursor == std::string::npos) return false;
  const std::size_t listStart = findElement(element, "selectedIonList", precursor);
  const std::size_t precursorEnd = element.find("</precursor>", precursor);
  if (listStart == std::string::npos || (precursorEnd != std::string::npos && listStart > precursorEnd)) return false;
  constexpr std::string_view kListEnd = "</selectedIonList>";
  const std::size_t listEnd = element.find(kListEnd, listStart);
  if (listEnd == std::string::npos) return false;
  const std::string_view original = std::string_view(element).substr(listStart, listEnd - listStart);
  const std::string replacement =
      selectedIonList(precursors, indentationBefore(element, listStart), cvParamValue(original, cv::kSelectedIonMz),
                      cvParamValue(original, cv::kChargeState));
  element.replace(listStart, listEnd + kListEnd.size() - listStart, replacement);
  return true;
}

// Adds one entry before the list's closing tag and counts it in the list's count attribute.
void addToList(std::string& header, std::string_view list, const std::string& entry) {
  const std::size_t open = findElement(header, list, 0);
  const std::string closing = "</" + std::string(list) + ">";
  const std::size_t close = header.find(closing, open == std::string::npos ? 0 : open);
  if (open == std::string::npos || close == std::string::npos) return;
  const std::size_t tagEnd = header.find('>', open);
  const std::string_view count = attributeValue(std::string_view(header).substr(open, tagEnd - open), "count");
  // The count stands before the insertion point, so its position survives the insertion.
  const std::size_t countAt = count.empty() ? std::string::npos : static_cast<std::size_t>(count.data() - header.data());
  const std::size_t countSize = count.size();
  long value = 0;
  if (!count.empty()) std::from_chars(count.data(), count.data() + count.size(), value);
  const std::string indent(indentationBefore(header, close));
  header.insert(close, "\t" + entry + "\n" + indent);
  if (countAt != std::string::npos) header.replace(countAt, countSize, std::to_string(value + 1));
}

std::string withCorvidProcessing(std::string header) {
  addToList(header, "softwareList", corvidSoftwareEntry());
  addToList(header, "dataProcessingList", corvidProcessingEntry());
  return header;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The XML declaration as it stands (it names the encoding), a fresh indexedmzML opening and
// everything before <run> (small, edited whole). Returns why the input cannot be copied, or nothing.
std::string copyPreamble(InputWindow& window, MzMLOutput& out) {
  std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  window.require(5);
  if (window.text().starts_with("<?xml")) {
    const std::size_t end = window.find("?>", 0);
    if (end == std::string_view::npos) return "no end of the XML declaration";
    declaration = std::string(window.text().substr(0, end + 2));
  }
  const std::size_t mzml = window.find("<mzML", 0);
  if (mzml == std::string_view::npos) return "no <mzML> element: not an mzML file";
  window.drop(mzml);
  out.put(declaration);
  out.put("\n");
  out.put(kIndexedOpening);
  std::size_t run = std::string_view::npos;
  for (std::size_t from = 0;; from = run + 1) {
    run = window.find("<run", from);
    if (run == std::string_view::npos) return "no <run> element";
    if (window.require(run + 5) && (isXmlSpace(window.text()[run + 4]) || window.text()[run + 4] == '>')) break;
  }
  out.put(withCorvidProcessing(std::string(window.text().substr(0, run))));
  window.drop(run);
  return {};
}

struct RunIndex {
  std::vector<IndexEntry> spectra;
  std::vector<IndexEntry> chromatograms;
};

// Copies the <spectrum> or <chromatogram> element that starts the window, indexes it and gives a
// spectrum its corrections. False when the element is not closed before the end of the file.
bool copyElement(InputWindow& window, bool spectrum, const CorrectionsByNativeId& corrections, MzMLOutput& out,
                 RunIndex& index, CorrectedMzMLOutcome& outcome) {
  const std::string_view closing = spectrum ? "</spectrum>" : "</chromatogram>";
  const std::size_t close = window.find(closing, 0);
  if (close == std::string_view::npos) return false;
  std::string element(window.text().substr(0, close + closing.size()));
  window.drop(close + closing.size());
  const std::string id(attributeValue(std::string_view(element).substr(0, element.find('>')), "id"));
  (spectrum ? index.spectra : index.chromatograms).push_back({id, out.offset});
  if (spectrum) {
    ++outcome.spectra;
    const auto found = corrections.find(unescapeXml(id));
    if (found != corrections.end() && !found->second.empty()) {
      if (correctSpectrum(element, found->second)) {
        ++outcome.corrected;
      } else {
        ++outcome.withoutIonList;
      }
    }
  }
  out.put(element);
  return true;
}

// The run up to </mzML>, element by element. Returns why the input cannot be copied, or nothing.
std::string copyRun(InputWindow& window, const CorrectionsByNativeId& corrections, MzMLOutput& out, RunIndex& index,
                    CorrectedMzMLOutcome& outcome) {
  std::size_t cursor = 0;
  for (;;) {
    const std::size_t tag = window.find("<", cursor);
    if (tag == std::string_view::npos) return window.failed() ? "read error" : "the file ends before </mzML>";
    window.require(tag + 16);
    const std::string_view rest = window.text().substr(tag);
    const bool spectrum = rest.size() > 9 && rest.starts_with("<spectrum") && isXmlSpace(rest[9]);
    const bool chromatogram = rest.size() > 13 && rest.starts_with("<chromatogram") && isXmlSpace(rest[13]);
    if (rest.starts_with("</mzML>")) {
      out.put(window.text().substr(0, tag + 7));
      window.drop(tag + 7);
      return {};
    }
    if (spectrum || chromatogram) {
      out.put(window.text().substr(0, tag));
      window.drop(tag);
      if (!copyElement(window, spectrum, corrections, out, index, outcome))
        return "an element is not closed before the end of the file";
      cursor = 0;
      continue;
    }
    cursor = tag + 1;
    // Copy what is settled, so that the window stays small between elements.
    if (cursor > kReadSize) {
      out.put(window.text().substr(0, cursor));
      window.drop(cursor);
      cursor = 0;
    }
  }
}

// Writes the corrected copy; false with outcome.error set when it cannot.
bool copyWithCorrections(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                         const std::string& outputPath, CorrectedMzMLOutcome& outcome) {
  std::unique_ptr<std::FILE, FileCloser> input(std::fopen(inputPath.c_str(), "rb"));
  if (!input) {
    outcome.error = "cannot open " + inputPath + ": " + lastErrorText();
    return false;
  }
  MzMLOutput out;
  if (!openPending(outputPath, out.pending)) {
    outcome.error = out.pending.error;
    return false;
  }
  InputWindow window(input.get());
  RunIndex index;
  outcome.error = copyPreamble(window, out);
  if (outcome.error.empty()) outcome.error = copyRun(window, corrections, out, index, outcome);
  if (!outcome.error.empty()) return false;
  out.put("\n");
  return finishIndexedMzML(out, index.spectra, index.chromatograms, outcome.error);
}

}  // namespace

CorrectedMzMLOutcome writeCorrectedMzML(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                                        const std::string& outputPath) {
  return writeReportedCorrectedMzML(copyWithCorrections, inputPath, corrections, outputPath);
}

}  // namespace corvid
