// Bad property lists beyond the format's own hostile-input table: every truncation and
// every single-byte change of a real node catalogue, in both forms, each refused with
// PlistError or read into a document whose nodes read and which writes back; and huge
// texts, which pass intact.
#include <gtest/gtest.h>

#include <map>

#include "support/scratch_files.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

std::string catalogueXml() { return testing_support::slurp(TELVOR_SOURCE_DIR "/examples/nodes.plist"); }

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

TEST(PlistBadInput, EveryTruncationIsRefused) {
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

TEST(PlistBadInput, EverySingleByteChangeIsRefusedOrReadConsistently) {
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

TEST(PlistBadInput, HugeTextsPassIntactInBothForms) {
  const std::string huge(16u << 20, 'A');
  const PropertyDictionary d{{"AETitle", PropertyValue::text(huge)}, {huge, PropertyValue::integer(1)}};
  for (auto format : {plist::Format::xml, plist::Format::binary}) {
    const auto back = plist::parseDictionary(plist::serialize(d, format));
    EXPECT_EQ(back, d);
    EXPECT_EQ(DicomNode(back).aetitle, huge);
  }
}

}  // namespace
}  // namespace telvor
