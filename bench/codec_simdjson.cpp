// The catalogue read with simdjson's DOM alone: the floor under the library's decoder.
// Lookups are simdjson's own (the first entry under a key; the library takes the last).
#include <simdjson.h>

#include <optional>

#include "catalogue.hpp"
#include "codecs.hpp"
#include "direct_reader.hpp"

namespace bench::simdjson_direct {
namespace {

using simdjson::dom::element;

// simdjson's DOM values, for the hand-written reader; simdjson's conversions throw on
// another kind.
struct SimdjsonAccess {
  using Object = simdjson::dom::object;
  static std::optional<element> present(const Object& o, std::string_view key) {
    element e;
    if (o.at_key(key).get(e) != simdjson::SUCCESS || e.is_null()) return std::nullopt;
    return e;
  }
  static element at(const Object& o, std::string_view key) { return o.at_key(key); }
  static std::string_view text(const element& e) { return std::string_view(e); }
  static std::int64_t integer(const element& e) { return std::int64_t(e); }
  static bool boolean(const element& e) { return bool(e); }
  static Object asObject(const element& e) { return Object(e); }
};

}  // namespace

std::vector<telvor::DicomNode> decode(std::string_view text) {
  // One parser for every call, as the library keeps one per thread.
  static simdjson::dom::parser parser;
  const simdjson::dom::array array(parser.parse(text.data(), text.size(), true));
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(array.size());
  for (const element e : array) nodes.push_back(DirectReader<SimdjsonAccess>::readNode(simdjson::dom::object(e)));
  return nodes;
}

}  // namespace bench::simdjson_direct
