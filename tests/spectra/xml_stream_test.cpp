// The streamer reads the content of spectrum elements itself when it is plain markup. Whatever the
// document and wherever the blocks end, the handlers must see exactly what expat alone gives them,
// and a failing document must fail with expat's own message and line.
#include "spectra/xml_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "spectra/xml_content_scanner.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/xml_event_log.h"

namespace corvid {
namespace {

using namespace testing;

// Parses the document at many block sizes, with expat alone and with the streamer reading spectra
// itself; each pair must agree. (Text before an error may arrive in other pieces at other block
// sizes, so blocks are compared like with like.) Returns how many spectra the streamer read itself
// at the default block size.
std::size_t expectSameAsParser(const std::string& document, const std::string& stopAtValue = "",
                               std::size_t maxDirectContent = std::size_t{64} << 20) {
  TempDir temp;
  std::string path = temp.file("doc.xml");
  writeFile(path, document);
  std::vector<std::size_t> blocks = {1, 2, 3, 5, 7, 11, 16, 31, 64, 100, 257, 1 << 20};
  std::size_t direct = 0;
  for (std::size_t block : blocks) {
    XmlStreamOutcome expected = streamAndLog(path, nullptr, XmlStreamLimits{block, maxDirectContent}, stopAtValue);
    XmlStreamOutcome got = streamAndLog(path, "spectrum", XmlStreamLimits{block, maxDirectContent}, stopAtValue);
    EXPECT_EQ(got.ok, expected.ok) << "block " << block;
    EXPECT_EQ(got.error, expected.error) << "block " << block;
    EXPECT_EQ(got.log, expected.log) << "block " << block;
    direct = got.directContents;
  }
  return direct;
}

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mzML>\n <run id=\"r\">\n  <spectrumList count=\"2\">\n";
const std::string kTail = "  </spectrumList>\n </run>\n</mzML>\n";

std::string spectrum(int index, const std::string& inside) {
  return "   <spectrum index=\"" + std::to_string(index) + "\" id=\"scan=" +
         std::to_string(index + 1) + "\" defaultArrayLength=\"2\">\n" + inside +
         "   </spectrum>\n";
}

const std::string kPlain =
    "    <cvParam cvRef=\"MS\" accession=\"MS:1000511\" name=\"ms level\" value=\"2\"/>\n"
    "    <precursorList count='1'><precursor spectrumRef=\"scan=1\">\n"
    "     <selectedIonList count=\"1\"><selectedIon>\n"
    "      <cvParam accession=\"MS:1000744\" value=\"445.12\" name=\"a > b\" />\n"
    "     </selectedIon></selectedIonList></precursor></precursorList>\n"
    "    <binaryDataArrayList count=\"1\"><binaryDataArray encodedLength=\"12\">\n"
    "     <binary>AAAAAAAA8D8AAAAAAAAAQA==</binary>\n"
    "     <binary></binary>\n"
    "    </binaryDataArray >\n"
    "    </binaryDataArrayList\t>\n";

TEST(XmlStream, PlainSpectraAreReadWithoutTheParserAndGiveTheSameEvents) {
  std::string document = kHead + spectrum(0, kPlain) + spectrum(1, kPlain) + kTail;
  EXPECT_EQ(expectSameAsParser(document), 2u);
}

TEST(XmlStream, CarriageReturnLineEndsAreNormalisedAsTheParserDoes) {
  std::string crlf;
  for (char c : kHead + spectrum(0, kPlain + "  text\r  more\r\n") + kTail) {
    if (c == '\n') crlf += '\r';
    crlf += c;
  }
  EXPECT_EQ(expectSameAsParser(crlf), 1u);
  std::string lone;
  for (char c : kHead + spectrum(0, kPlain) + kTail) lone += c == '\n' ? '\r' : c;
  EXPECT_EQ(expectSameAsParser(lone), 1u);
}

TEST(XmlStream, ContentThatIsNotPlainGoesThroughTheParser) {
  const std::vector<std::string> insides = {
      "    <!-- a comment -->\n",
      "    <?pi data?>\n",
      "    <binary><![CDATA[AAAA]]></binary>\n",
      "    <cvParam value=\"&quot;quoted&quot; &#65;\"/>\n",
      "    <cvParam value=\"caf\xC3\xA9\"/>\n",
      "    <cvParam value=\"tab\there\"/>\n",
      "    text &amp; more\n",
      "    <mzml:cvParam value=\"1\"/>\n",  // a prefix is a plain name to expat without namespaces
  };
  for (const std::string& inside : insides) {
    SCOPED_TRACE(inside);
    std::size_t direct = expectSameAsParser(kHead + spectrum(0, inside) + spectrum(1, kPlain) + kTail);
    EXPECT_GE(direct, 1u);  // the plain spectrum after it is still read directly
  }
}

TEST(XmlStream, MalformedContentFailsWithTheParsersMessageAndLine) {
  const std::vector<std::string> insides = {
      "    <cvParam a=\"1\" a=\"2\"/>\n",         // duplicate attribute
      "    <cvParam a=\"1\"b=\"2\"/>\n",          // no space between attributes
      "    <scan></scanList>\n",                  // mismatched end tag
      "    <scan>\n",                             // unclosed element
      "    </scan>\n",                            // end tag without a start
      "    <binary>AA]]>AA</binary>\n",           // "]]>" in text
      "    <cvParam a=1/>\n",                     // unquoted value
      "    <cvParam a=\"<\"/>\n",                 // '<' in a value
      "    <cvParam a=\"1\" / >\n",               // space inside "/>"
      "    <1bad/>\n",                            // not a name
      "    <binary>\x01</binary>\n",              // a control character
  };
  for (const std::string& inside : insides) {
    SCOPED_TRACE(inside);
    // Two plain spectra first, so the error's line counts lines the parser never saw.
    std::string document = kHead + spectrum(0, kPlain) + spectrum(1, kPlain) +
                           spectrum(2, inside) + kTail;
    expectSameAsParser(document);
    TempDir temp;
    writeFile(temp.file("doc.xml"), document);
    XmlStreamOutcome alone = streamAndLog(temp.file("doc.xml"), nullptr, XmlStreamLimits{});
    EXPECT_FALSE(alone.ok);
    EXPECT_NE(alone.error.find("malformed or truncated XML at line "), std::string::npos);
  }
}

TEST(XmlStream, TruncationAnywhereFailsAsWithTheParserAlone) {
  std::string document = kHead + spectrum(0, kPlain) + spectrum(1, kPlain) + kTail;
  for (std::size_t length = 0; length < document.size(); length += 7) {
    SCOPED_TRACE(length);
    expectSameAsParser(document.substr(0, length));
  }
}

TEST(XmlStream, SpectrumTagsTheParserDoesNotReportAsElementsAreLeftToIt) {
  // In a comment, in CDATA, a longer name, an empty element, a '>' inside a quoted value.
  std::string document = kHead + "  <!-- <spectrum id=\"c\"> <cvParam/> </spectrum> -->\n" +
                         "  <x><![CDATA[<spectrum id=\"d\"><cvParam/></spectrum>]]></x>\n" +
                         "  <spectrumX a=\"1\"><cvParam/></spectrumX>\n" +
                         "  <spectrum id=\"empty\"/>\n" +
                         "  <spectrum id=\"a>b\"><cvParam v=\"1\"/></spectrum>\n" + kTail;
  EXPECT_EQ(expectSameAsParser(document), 1u);
}

TEST(XmlStream, AHandlerStoppingInsideDirectContentEndsTheParse) {
  std::string document = kHead + spectrum(0, kPlain) + spectrum(1, kPlain) + kTail;
  expectSameAsParser(document, "445.12");
  TempDir temp;
  writeFile(temp.file("doc.xml"), document);
  XmlStreamOutcome stopped = streamAndLog(temp.file("doc.xml"), "spectrum", XmlStreamLimits{}, "445.12");
  EXPECT_FALSE(stopped.ok);
  EXPECT_EQ(stopped.error, "stopped at 445.12");
  EXPECT_EQ(stopped.log.find("S spectrum index=1"), std::string::npos);  // nothing after the stop
}

TEST(XmlStream, ContentLongerThanTheLimitGoesThroughTheParser) {
  std::string big = "    <binary>" + std::string(5000, 'A') + "</binary>\n";
  std::string document = kHead + spectrum(0, big) + spectrum(1, kPlain) + kTail;
  EXPECT_EQ(expectSameAsParser(document, "", 1000), 1u);  // only the small one
  EXPECT_EQ(expectSameAsParser(document), 2u);
}

TEST(XmlStream, DamagedDocumentsBehaveAsWithTheParserAlone) {
  const std::string original = readFile(fixturePath("small.mzML"));
  ASSERT_FALSE(original.empty());
  std::uint32_t state = 77;
  for (int round = 0; round < 150; ++round) {
    std::string damaged = original;
    for (int k = 0; k <= round % 3; ++k) {
      state = state * 1664525U + 1013904223U;  // fixed sequence: the same damage every run
      std::size_t at = state % damaged.size();
      state = state * 1664525U + 1013904223U;
      // Mostly markup characters, which change the structure rather than a value.
      const char markup[] = "<>/=\"' \r\n&]!?-";
      damaged[at] = (state >> 31) != 0 ? markup[(state >> 8) % (sizeof markup - 1)]
                                       : static_cast<char>(state >> 24);
    }
    SCOPED_TRACE(round);
    expectSameAsParser(damaged);
  }
}

TEST(XmlStream, PlainTextLengthStopsAtTheFirstByteTheParserWouldTreatSpecially) {
  for (int value = 0; value < 256; ++value) {
    bool plain = value >= 0x20 && value <= 0x7f && value != '<' && value != '&' && value != ']';
    for (std::size_t at : {0, 5, 15, 16, 17, 31, 40}) {
      std::string text(41, 'A');
      text[at] = static_cast<char>(value);
      EXPECT_EQ(plainTextLength(text.data(), text.data() + text.size()), plain ? 41 : at)
          << value << " at " << at;
    }
  }
}

TEST(XmlContentScanner, CountsLineBreaksAsTheParserDoes) {
  XmlContentEvents events;
  std::string content = "a\r\nb\rc\n<x\r\n y=\"1\"\r/>";
  ASSERT_TRUE(scanPlainXmlContent(content.data(), content.data() + content.size(), events));
  EXPECT_EQ(events.lineBreaks, 5u);
  ASSERT_EQ(events.events.size(), 3u);  // text, start, end
  EXPECT_TRUE(events.events[0].textInStrings);
  EXPECT_EQ(events.strings.substr(events.events[0].first, events.events[0].count), "a\nb\nc\n");
}

}  // namespace
}  // namespace corvid
