// The catalogue with Boost.JSON alone: the floor under the library's JSON backend.
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include <cstdint>
#include <stdexcept>

#include "catalogue.hpp"
#include "codecs.hpp"
#include "direct_reader.hpp"

namespace bench::direct {
namespace {

using boost::json::object;
using boost::json::value;

// Boost.JSON's values, for the hand-written reader.
struct BoostAccess {
  using Object = object;
  static const value* present(const object& o, std::string_view key) {
    const value* v = o.if_contains(key);
    return v != nullptr && !v->is_null() ? v : nullptr;
  }
  static const value& at(const object& o, std::string_view key) { return o.at(key); }
  static std::string_view text(const value& v) { return v.as_string(); }
  static std::int64_t integer(const value& v) { return v.as_int64(); }
  static bool boolean(const value& v) { return v.as_bool(); }
  static const object& asObject(const value& v) { return v.as_object(); }
};

void writeNode(object& o, const telvor::DicomNode& n) {
  o.reserve(12);
  if (n.uniqueId) o.emplace("uniqueId", n.uniqueId->uuidString());
  if (n.aetitle) o.emplace("aetitle", *n.aetitle);
  if (n.name) o.emplace("name", *n.name);
  if (n.address) o.emplace("address", *n.address);
  if (n.port) o.emplace("port", *n.port);
  o.emplace("transferSyntax", telvor::rawValue(n.transferSyntax));
  o.emplace("retrieveMode", telvor::rawValue(n.retrieveMode));
  o.emplace("isDicomNode", n.isDicomNode);
  if (n.isQueryable) o.emplace("isQueryable", *n.isQueryable);
  auto& w = o.emplace("wadoSettings", boost::json::object_kind).first->value().get_object();
  const auto& wado = n.wadoSettings;
  w.reserve(6);
  if (wado.port) w.emplace("port", *wado.port);
  if (wado.url) w.emplace("url", *wado.url);
  if (wado.password) w.emplace("password", *wado.password);
  if (wado.username) w.emplace("username", *wado.username);
  w.emplace("retrieveSyntax", telvor::rawValue(wado.retrieveSyntax));
  w.emplace("https", wado.https);
  if (n.icon) o.emplace("icon", *n.icon);
  if (n.tlsSettings) {
    auto& t = o.emplace("tlsSettings", boost::json::object_kind).first->value().get_object();
    t.reserve(4);
    t.emplace("isEnabled", n.tlsSettings->isEnabled);
    t.emplace("securityProfile", telvor::rawValue(n.tlsSettings->securityProfile));
    t.emplace("verifyPeerCertificate", n.tlsSettings->verifyPeerCertificate);
    t.emplace("authenticateWithCertificate", n.tlsSettings->authenticateWithCertificate);
  }
}

}  // namespace

std::vector<telvor::DicomNode> decode(std::string_view text) {
  boost::json::monotonic_resource scratch;
  boost::json::parse_options options;
  options.max_depth = 64;
  const value document = boost::json::parse(text, &scratch, options);
  const auto& array = document.as_array();
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(array.size());
  for (const auto& element : array) nodes.push_back(DirectReader<BoostAccess>::readNode(element.as_object()));
  return nodes;
}

std::string encode(std::span<const telvor::DicomNode> nodes) {
  boost::json::monotonic_resource scratch;
  boost::json::array array(&scratch);
  array.reserve(nodes.size());
  for (const auto& node : nodes) writeNode(array.emplace_back(boost::json::object_kind).get_object(), node);
  return boost::json::serialize(array);
}

}  // namespace bench::direct
