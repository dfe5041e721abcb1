// Damaged property lists: every truncation and every single-byte change of a real node
// catalogue, in both forms. Each must be refused with PlistError or read into a document
// whose nodes read and which writes back and reads again unchanged; nothing else.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "telvor/node/dicom_node.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

std::string catalogueXml() {
  std::ifstream in(TELVOR_SOURCE_DIR "/examples/nodes.plist", std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Reads `bytes`; returns the error kind's name, or "read" after checking the document.
std::string outcome(std::string_view bytes) {
  plist::PropertyListDocument document;
  try {
    document = plist::parse(bytes);
  } catch (const plist::PlistError& e) {
    return std::string(e.kindName());
  }
  for (const auto& d : document.dictionaries) DicomNode{d};
  if (document.dictionaries.size() == 1 || document.wasArray) {
    const auto again = plist::parse(plist::serialize(document, plist::Format::binary));
    EXPECT_EQ(again.dictionaries.size(), document.dictionaries.size());
  }
  return "read";
}

TEST(PlistCorruption, EveryTruncationIsRefused) {
  const std::string xml = catalogueXml();
  const std::string binary = plist::serialize(plist::parse(xml), plist::Format::binary);
  for (const std::string* bytes : {&xml, &binary}) {
    // The XML text's last bytes are a line break after the closing tag: still whole.
    const std::size_t whole = bytes == &xml ? xml.rfind("</plist>") + 8 : bytes->size();
    for (std::size_t n = 0; n < whole; ++n) {
      EXPECT_NE(outcome(bytes->substr(0, n)), "read") << n;
    }
  }
}

TEST(PlistCorruption, EverySingleByteChangeIsRefusedOrReadConsistently) {
  const std::string binary = plist::serialize(plist::parse(catalogueXml()), plist::Format::binary);
  std::map<std::string, int> tally;
  for (std::size_t i = 0; i < binary.size(); ++i) {
    for (const unsigned char change : {0x00, 0xFF, 0x01, 0x80}) {
      std::string damaged = binary;
      damaged[i] = static_cast<char>(change == 0x01 || change == 0x80 ? damaged[i] ^ change : change);
      ++tally[outcome(damaged)];
    }
  }
  // Most damage is noticed; some (a changed letter in a text) is a different valid list.
  EXPECT_GT(tally["malformed"], 0);
  EXPECT_GT(tally["read"], 0);
}

}  // namespace
}  // namespace telvor
