// The catalogue through the library's JSON format.
#include <boost/json/monotonic_resource.hpp>

#include <cstdint>
#include <stdexcept>

#include "codecs.hpp"
#include "telvor/json/json.hpp"

namespace bench::library {

std::vector<telvor::DicomNode> decode(std::string_view text) {
  return telvor::json::decode<std::vector<telvor::DicomNode>>(text);
}

}  // namespace bench::library

namespace bench::library_boost {

std::vector<telvor::DicomNode> decode(std::string_view text) {
  boost::json::monotonic_resource scratch;
  const boost::json::value document = telvor::json::parse(text, &scratch);
  const auto* array = document.if_array();
  if (array == nullptr) throw std::runtime_error("the catalogue is not a JSON array");
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(array->size());
  for (std::size_t i = 0; i < array->size(); ++i) {
    nodes.push_back(telvor::json::fromDocument<telvor::DicomNode>(
        (*array)[i], telvor::CodingPathLink(nullptr, static_cast<std::int64_t>(i))));
  }
  return nodes;
}

}  // namespace bench::library_boost

namespace bench::library {

std::string encode(std::span<const telvor::DicomNode> nodes) {
  boost::json::monotonic_resource scratch;
  boost::json::value document(&scratch);
  auto& array = document.emplace_array();
  array.resize(nodes.size());
  telvor::json::JsonEncoderBackend backend;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    telvor::Encoder encoder(backend, &array[i], telvor::CodingPathLink(nullptr, static_cast<std::int64_t>(i)));
    telvor::encode(nodes[i], encoder);
  }
  return telvor::json::serialize(document);
}

}  // namespace bench::library
