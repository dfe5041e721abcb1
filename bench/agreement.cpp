// Before anything is timed: every codec reads the same nodes from the catalogue's text
// and writes the same text from its nodes, so that the timings compare equal work.
#include <boost/json/parse.hpp>

#include <string>

#include "benches.hpp"
#include "catalogue.hpp"
#include "codecs.hpp"

namespace bench {
namespace {

using DecodeFn = std::vector<telvor::DicomNode> (*)(std::string_view);
using EncodeFn = std::string (*)(std::span<const telvor::DicomNode>);

struct Codec {
  const char* name;
  DecodeFn decode;
  EncodeFn encode;
  bool sortsKeys;  // writes the same entries with keys in sorted order
};

constexpr Codec kCodecs[] = {
    {"library", &library::decode, &library::encode, false},
    {"library_boost", &library_boost::decode, &library::encode, false},
    {"simdjson_direct", &simdjson_direct::decode, &library::encode, false},
    {"boost_direct", &direct::decode, &direct::encode, false},
    {"nlohmann", &nlohmann_json::decode, &nlohmann_json::encode, true},
    {"nlohmann_ordered", &nlohmann_ordered::decode, &nlohmann_ordered::encode, false},
};

// Same text, or for a codec that sorts keys: same length and the same JSON value
// (Boost.JSON compares objects regardless of key order).
bool sameText(const Codec& codec, const std::string& written, const std::string& expected) {
  if (!codec.sortsKeys) return written == expected;
  return written.size() == expected.size() && boost::json::parse(written) == boost::json::parse(expected);
}

}  // namespace

std::string checkAgreement() {
  const Catalogue& c = catalogue(1000);
  for (const Codec& codec : kCodecs) {
    try {
      if (codec.decode(c.json) != c.nodes) return std::string(codec.name) + " decodes other nodes";
      if (!sameText(codec, codec.encode(c.nodes), c.json)) return std::string(codec.name) + " encodes another text";
    } catch (const std::exception& e) {
      return std::string(codec.name) + " failed: " + e.what();
    }
  }
  return {};
}

}  // namespace bench
