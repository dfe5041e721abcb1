#include "telvor/node/dictionary_edit.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace telvor {
namespace {

using Strings = std::vector<std::string>;

// What a node's dictionary form reads back as (it never reads back a false "isDicomNode").
std::optional<PropertyDictionary> settled(const DicomNode& n) { return DicomNode(*n.toDictionary()).toDictionary(); }

// A C-MOVE node as another program saved it: stale WADO keys, a foreign key, and no
// "transferSyntax" (it reads as the default).
PropertyDictionary storedCmoveNode() {
  return PropertyDictionary{
      {"AETitle", PropertyValue::text("ARCHIVE")},
      {"Port", PropertyValue::text("104")},
      {"Description", PropertyValue::text("Main")},
      {"Address", PropertyValue::text("10.0.0.5")},
      {"isDicomNode", PropertyValue::boolean(true)},
      {"retrieveMode", PropertyValue::numberObject(0)},
      {"WADOUrl", PropertyValue::text("https://pacs/wado")},
      {"WADOPassword", PropertyValue::text("secret")},
      {"isQueryable", PropertyValue::text("0")},
      {"OtherAppColour", PropertyValue::integer(7)},
  };
}

TEST(DictionaryEdit, WritesOnlyWhatTheEditChanged) {
  struct Case {
    const char* what;
    std::function<void(DicomNode&)> edit;
    Strings written;
    Strings removed;
  };
  const Case cases[] = {
      {"nothing", [](DicomNode&) {}, {}, {}},
      {"port", [](DicomNode& n) { n.port = "11112"; }, {"Port"}, {}},
      {"queryable again", [](DicomNode& n) { n.isQueryable = true; }, {}, {"isQueryable"}},
      {"icon", [](DicomNode& n) { n.icon = "server"; }, {"icon"}, {}},
      {"to WADO: stale WADO keys replaced",
       [](DicomNode& n) { n.retrieveMode = RetrieveModeType::wado; },
       {"WADOPassword", "WADOPort", "WADOTransferSyntax", "WADOUrl", "WADOUsername", "WADOhttps", "retrieveMode"},
       {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    PropertyDictionary stored = storedCmoveNode();
    const PropertyDictionary original = stored;
    const DicomNode before(stored);
    DicomNode after = before;
    c.edit(after);
    const DictionaryEdit edit = applyDictionaryEdit(stored, before, after);
    EXPECT_TRUE(edit.applied);
    EXPECT_EQ(edit.written, c.written);
    EXPECT_EQ(edit.removed, c.removed);
    // Every entry the edit did not name is exactly as it was.
    for (const auto& [key, value] : original) {
      const bool named = std::find(c.written.begin(), c.written.end(), key) != c.written.end() ||
                         std::find(c.removed.begin(), c.removed.end(), key) != c.removed.end();
      if (!named) {
        EXPECT_EQ(*stored.find(key), value) << key;
      }
    }
    // And the stored dictionary now reads as the edited node.
    EXPECT_EQ(DicomNode(stored).toDictionary(), settled(after));
  }
}

TEST(DictionaryEdit, ANodeWithoutADictionaryFormChangesNothing) {
  PropertyDictionary stored = storedCmoveNode();
  const PropertyDictionary original = stored;
  DicomNode after(stored);
  after.address.reset();
  EXPECT_FALSE(applyDictionaryEdit(stored, DicomNode(stored), after).applied);
  EXPECT_EQ(stored, original);
}

TEST(DictionaryEdit, AnIncompleteStoredNodeIsCompletedAndKeepsItsForeignKeys) {
  PropertyDictionary stored{{"AETitle", PropertyValue::text("X")}, {"Mine", PropertyValue::boolean(false)}};
  const DicomNode before(stored);
  DicomNode after = before;
  after.name = "N";
  after.address = "h";
  after.port = "1";
  EXPECT_TRUE(applyDictionaryEdit(stored, before, after).applied);
  EXPECT_EQ(stored.readBool("Mine"), false);
  EXPECT_EQ(DicomNode(stored).toDictionary(), settled(after));
}

}  // namespace
}  // namespace telvor
