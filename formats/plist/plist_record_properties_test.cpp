// Property tests: the records' dictionary forms through property lists. Many random
// nodes and settings (tests/support/random_records.hpp) are written with toDictionary(),
// as XML and as binary property lists, read back and read as records: each gives the
// record that reading its dictionary directly gives, texts byte for byte. A node holding
// a text with a NUL character is refused, as property lists cannot hold one.
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

bool holdsNul(const std::optional<std::string>& text) { return text && text->find('\0') != std::string::npos; }

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
    const bool nul = holdsNul(n.aetitle) || holdsNul(n.name) || holdsNul(n.address) || holdsNul(n.port) ||
                     holdsNul(n.icon) || holdsNul(n.wadoSettings.url) || holdsNul(n.wadoSettings.password) ||
                     holdsNul(n.wadoSettings.username);
    for (auto format : kFormats) {
      if (nul) {
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
    auto wado = gen.wado();
    for (auto* text : {&wado.url, &wado.password, &wado.username})
      if (holdsNul(*text)) text->reset();
    for (auto format : kFormats) {
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
