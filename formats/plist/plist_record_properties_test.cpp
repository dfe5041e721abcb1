// Property tests: the records' dictionary forms through property lists. Many random
// nodes and settings (tests/support/random_records.hpp) are written with toDictionary(),
// as XML and as binary property lists, read back and read as records: each gives the
// record that reading its dictionary directly gives, texts byte for byte. A node holding
// a text with a NUL character is refused, as property lists cannot hold one, and in the
// XML form also one holding a character XML 1.0 forbids.
#include <gtest/gtest.h>

#include "support/random_records.hpp"
#include "support/record_forms.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

using testing_support::afterDictionaryRoundTrip;
using testing_support::RecordGenerator;
using testing_support::sameBytes;

constexpr int kRounds = 1000;
constexpr plist::Format kFormats[] = {plist::Format::xml, plist::Format::binary};

// The dictionary written as a property list and read back.
PropertyDictionary throughPlist(const PropertyDictionary& d, plist::Format format) {
  return plist::parseDictionary(plist::serialize(d, format));
}

// Whether `format` refuses the text: a NUL character in either form; a C0 control other
// than tab, line feed and carriage return, U+FFFE or U+FFFF in XML.
bool refusedIn(const std::optional<std::string>& text, plist::Format format) {
  if (!text) return false;
  if (text->find('\0') != std::string::npos) return true;
  if (format == plist::Format::binary) return false;
  for (const char c : *text)
    if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') return true;
  return text->find("\xEF\xBF\xBE") != std::string::npos || text->find("\xEF\xBF\xBF") != std::string::npos;
}

TEST(PlistRecordProperties, NodesMeanTheSameAfterAPropertyList) {
  RecordGenerator gen(11);
  int refused = 0;
  for (int i = 0; i < kRounds; ++i) {
    auto n = gen.node();
    n.aetitle = n.aetitle.value_or("A");
    n.name = n.name.value_or("N");
    n.address = n.address.value_or("h");
    n.port = n.port.value_or("104");
    const auto d = *n.toDictionary();
    for (auto format : kFormats) {
      bool unwritable = false;
      for (const auto* text : {&n.aetitle, &n.name, &n.address, &n.port, &n.icon, &n.wadoSettings.url,
                               &n.wadoSettings.password, &n.wadoSettings.username})
        unwritable = unwritable || refusedIn(*text, format);
      if (unwritable) {
        EXPECT_THROW(plist::serialize(d, format), plist::PlistError);
        ++refused;
        continue;
      }
      const DicomNode direct(d);
      DicomNode viaPlist(throughPlist(d, format));
      viaPlist.uniqueId = direct.uniqueId;
      EXPECT_TRUE(sameBytes(viaPlist, direct)) << plist::serialize(d, format);
      // ... which is the documented round trip of the node itself.
      EXPECT_TRUE(sameBytes(viaPlist, afterDictionaryRoundTrip(n, direct.uniqueId)));
    }
  }
  EXPECT_GT(refused, 0);
  EXPECT_LT(refused, kRounds);
}

TEST(PlistRecordProperties, SettingsMeanTheSameAfterAPropertyList) {
  RecordGenerator gen(12);
  for (int i = 0; i < kRounds; ++i) {
    const auto tls = gen.tls();
    const auto generated = gen.wado();
    for (auto format : kFormats) {
      auto wado = generated;
      for (auto* text : {&wado.url, &wado.password, &wado.username})
        if (refusedIn(*text, format)) text->reset();
      EXPECT_EQ(TlsSettings(throughPlist(*tls.toDictionary(), format)), tls);
      EXPECT_TRUE(sameBytes(WadoSettings(throughPlist(*wado.toDictionary(), format)), afterDictionaryRoundTrip(wado)));
    }
  }
}

TEST(PlistRecordProperties, ACatalogueOfNodesKeepsItsOrder) {
  RecordGenerator gen(13);
  plist::PropertyListDocument catalogue{{}, true};
  for (int i = 0; i < 50; ++i) {
    auto n = gen.node();
    n.aetitle = "AE" + std::to_string(i);
    n.name = n.address = n.port = std::to_string(i);
    n.icon.reset();
    n.wadoSettings.url = n.wadoSettings.password = n.wadoSettings.username = std::nullopt;
    catalogue.dictionaries.push_back(*n.toDictionary());
  }
  for (auto format : kFormats) {
    const auto back = plist::parse(plist::serialize(catalogue, format));
    ASSERT_TRUE(back.wasArray);
    ASSERT_EQ(back.dictionaries.size(), catalogue.dictionaries.size());
    for (std::size_t i = 0; i < back.dictionaries.size(); ++i)
      EXPECT_EQ(DicomNode(back.dictionaries[i]).aetitle, "AE" + std::to_string(i));
  }
}

}  // namespace
}  // namespace telvor
