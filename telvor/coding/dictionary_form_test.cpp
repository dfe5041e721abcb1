#include "telvor/coding/dictionary_form.hpp"

#include <gtest/gtest.h>

#include <utility>

#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

// A text read out of a temporary dictionary would be a view into freed memory: neither
// `node.toDictionary()->readString(...)` nor `(*node.toDictionary()).readString(...)`
// compiles; the same reads through a kept form do.
template <class R>
concept ReadsTextFromATemporaryForm = requires(const R& r) { r.toDictionary()->readString("AETitle"); };
template <class R>
concept ReadsTextFromATemporaryDictionary = requires(const R& r) { (*r.toDictionary()).readString("AETitle"); };
template <class D>
concept ReadsText = requires(D&& d) { std::forward<D>(d).readString("AETitle"); };
template <class F>
concept Reaches = requires(F&& f) { std::forward<F>(f)->readInt("Port"); };

static_assert(!ReadsTextFromATemporaryForm<DicomNode> && !ReadsTextFromATemporaryForm<WadoSettings> &&
              !ReadsTextFromATemporaryForm<TlsSettings>);
static_assert(!ReadsTextFromATemporaryDictionary<DicomNode>);
static_assert(ReadsText<const PropertyDictionary&> && ReadsText<PropertyDictionary&> && !ReadsText<PropertyDictionary>);
static_assert(Reaches<DictionaryForm&> && Reaches<const DictionaryForm&> && !Reaches<DictionaryForm>);

TEST(DictionaryForm, BehavesAsAnOptionalDictionary) {
  DicomNode node(104);
  EXPECT_FALSE(node.toDictionary().has_value());
  node.aetitle = "ARCHIVE";
  node.name = "Main";
  node.address = "10.0.0.5";
  const auto form = node.toDictionary();
  ASSERT_TRUE(form);
  EXPECT_EQ(form->readString("AETitle"), "ARCHIVE");
  const std::optional<PropertyDictionary> plain = node.toDictionary();
  EXPECT_EQ(plain, form);
  EXPECT_EQ(DicomNode(*node.toDictionary()).aetitle, "ARCHIVE");
}

}  // namespace
}  // namespace telvor
