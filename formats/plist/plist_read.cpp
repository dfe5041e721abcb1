#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include "detail/binary_screen.hpp"
#include "detail/libplist_node.hpp"
#include "detail/refuse.hpp"
#include "detail/xml_screen.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist {
namespace {

using detail::refuseInput;
using Kind = PlistError::Kind;

struct MallocFree {
  void operator()(void* p) const noexcept { std::free(p); }
};

// What a node is, for messages: "the root is a string, not ...".
std::string kindOf(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: return "a boolean";
    case PLIST_UINT: return "an integer";
    case PLIST_REAL: return "a real number";
    case PLIST_STRING: return "a string";
    case PLIST_ARRAY: return "an array";
    case PLIST_DICT: return "a dictionary";
    case PLIST_DATE: return "a date";
    case PLIST_DATA: return "data";
    case PLIST_KEY: return "a key";
    case PLIST_UID: return "a UID";
    case PLIST_NONE: break;
  }
  return "an unknown value";
}

std::string where(const CodingPathLink& at) { return describe(at.materialize()); }

// Calls f(element) for each element of an array node, in order.
template <class F>
void forEachElement(plist_t array, F&& f) {
  plist_array_iter raw = nullptr;
  plist_array_new_iter(array, &raw);
  const std::unique_ptr<void, MallocFree> iter(raw);
  if (raw == nullptr) throw std::bad_alloc();
  for (;;) {
    plist_t item = nullptr;
    plist_array_next_item(array, raw, &item);
    if (item == nullptr) return;
    f(item);
  }
}

// Calls f(key, value) for each entry of a dictionary node, in stored order.
template <class F>
void forEachEntry(plist_t dict, F&& f) {
  plist_dict_iter raw = nullptr;
  plist_dict_new_iter(dict, &raw);
  const std::unique_ptr<void, MallocFree> iter(raw);
  if (raw == nullptr) throw std::bad_alloc();
  for (;;) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dict, raw, &key, &value);
    const std::unique_ptr<char, MallocFree> ownedKey(key);  // libplist hands out a copy
    if (key == nullptr || value == nullptr) return;
    f(std::string_view(key), value);
  }
}

// Turns a screened libplist tree into property values. Recursion is bounded: the
// screens refused anything nested deeper than kMaxDepth, and `level` checks it again.
class Reader {
 public:
  PropertyDictionary dictionary(plist_t node, const CodingPathLink& at, std::size_t level) const {
    checkLevel(at, level);
    PropertyDictionary out;
    forEachEntry(node, [&](std::string_view key, plist_t value) {
      if (!isValidUtf8(key)) refuseInput(Kind::unsupportedValue, "a key in " + where(at) + " is not valid UTF-8");
      const CodingPathLink here(&at, key);
      out.setValue(std::string(key), this->value(value, here, level));
    });
    return out;
  }

 private:
  static void checkLevel(const CodingPathLink& at, std::size_t level) {
    if (level > kMaxDepth) {
      refuseInput(Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels at " + where(at));
    }
  }

  // The value of an entry or element whose container stands at `level`.
  PropertyValue value(plist_t node, const CodingPathLink& at, std::size_t level) const {
    switch (plist_get_node_type(node)) {
      case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* bytes = plist_get_string_ptr(node, &length);
        const std::string_view text(bytes == nullptr ? "" : bytes, bytes == nullptr ? 0 : length);
        // Refused as the writer refuses them, so that whatever is read can be written.
        if (!isValidUtf8(text)) refuseInput(Kind::unsupportedValue, "the text at " + where(at) + " is not valid UTF-8");
        if (text.find('\0') != std::string_view::npos) {
          refuseInput(Kind::unsupportedValue, "the text at " + where(at) + " contains a NUL character");
        }
        return PropertyValue::text(std::string(text));
      }
      case PLIST_UINT: {
        const auto integer = detail::integerValue(node);
        if (integer.isUnsigned) return PropertyValue::other(PropertyOther(integer.bits));
        return PropertyValue::integer(static_cast<std::int64_t>(integer.bits));
      }
      case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return PropertyValue::boolean(flag != 0);
      }
      case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return PropertyValue::other(PropertyOther(real));
      }
      case PLIST_DATE: return PropertyValue::other(PropertyOther(PropertyDate{detail::dateValue(node)}));
      case PLIST_DATA: {
        std::uint64_t length = 0;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &length));
        return PropertyValue::other(PropertyOther(PropertyOther::Data(bytes, bytes == nullptr ? bytes : bytes + length)));
      }
      case PLIST_ARRAY: {
        checkLevel(at, level + 1);
        PropertyOther::Array elements;
        std::int64_t index = 0;
        forEachElement(node, [&](plist_t element) {
          const CodingPathLink here(&at, index++);
          elements.push_back(value(element, here, level + 1));
        });
        return PropertyValue::other(PropertyOther(std::move(elements)));
      }
      case PLIST_DICT: return PropertyValue::other(PropertyOther(dictionary(node, at, level + 1)));
      case PLIST_UID:
        refuseInput(Kind::unsupportedValue,
                    "the UID (a keyed-archive reference) at " + where(at) + " has no property-dictionary counterpart");
      case PLIST_KEY:
      case PLIST_NONE: break;
    }
    refuseInput(Kind::unsupportedValue, "the value at " + where(at) + " is " + kindOf(node));
  }
};

// Screens `bytes` and hands them to libplist.
detail::NodeHandle load(std::string_view bytes) {
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
    refuseInput(Kind::tooLarge, std::to_string(bytes.size()) + " bytes of input; at most 4 GiB are read");
  }
  const auto length = static_cast<std::uint32_t>(bytes.size());
  plist_t root = nullptr;
  if (bytes.starts_with("bplist")) {
    detail::screenBinary(bytes);
    plist_from_bin(bytes.data(), length, &root);
    if (root == nullptr) refuseInput(Kind::malformed, "a damaged binary property list");
  } else {
    detail::screenXml(bytes);
    plist_from_xml(bytes.data(), length, &root);
    if (root == nullptr) refuseInput(Kind::malformed, "malformed XML");
  }
  return detail::NodeHandle(root);
}

}  // namespace

PropertyListDocument parse(std::string_view bytes) {
  const detail::NodeHandle root = load(bytes);
  const Reader reader;
  PropertyListDocument document;
  switch (plist_get_node_type(root.get())) {
    case PLIST_DICT:
      document.dictionaries.push_back(reader.dictionary(root.get(), {}, 1));
      return document;
    case PLIST_ARRAY: {
      document.wasArray = true;
      const CodingPathLink top;
      std::int64_t index = 0;
      forEachElement(root.get(), [&](plist_t element) {
        if (plist_get_node_type(element) != PLIST_DICT) {
          refuseInput(Kind::unexpectedShape, "the root array's element at index " + std::to_string(index) + " is " +
                                                 kindOf(element) + ", not a dictionary");
        }
        const CodingPathLink here(&top, index++);
        document.dictionaries.push_back(reader.dictionary(element, here, 2));
      });
      return document;
    }
    default:
      refuseInput(Kind::unexpectedShape,
                  "the root is " + kindOf(root.get()) + ", not a dictionary or an array of dictionaries");
  }
}

PropertyDictionary parseDictionary(std::string_view bytes) {
  PropertyListDocument document = parse(bytes);
  if (document.wasArray) {
    refuseInput(Kind::unexpectedShape, "the root is an array of " + std::to_string(document.dictionaries.size()) +
                                           " dictionaries, not a dictionary");
  }
  return std::move(document.dictionaries.front());
}

}  // namespace telvor::plist
