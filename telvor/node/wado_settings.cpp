#include "telvor/node/wado_settings.hpp"

#include <array>
#include <string_view>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/node/detail/dictionary_reads.hpp"
#include "telvor/node/detail/optional_text.hpp"

namespace telvor {
namespace {

enum class CodingKeys { port, url, password, username, retrieveSyntax, https };
constexpr std::array<std::string_view, 6> codingKeyNames(CodingKeys) {
  return {"port", "url", "password", "username", "retrieveSyntax", "https"};
}

constexpr std::string_view kUrl = "url";
constexpr std::string_view kPort = "port";
constexpr std::string_view kPassword = "password";
constexpr std::string_view kUsername = "username";

}  // namespace

WadoSettings::WadoSettings(const PropertyDictionary& dictionary)
    : port(dictionary.readInt(kPort)),
      url(detail::readText(dictionary, kUrl)),
      password(detail::readText(dictionary, kPassword)),
      username(detail::readText(dictionary, kUsername)) {}

DictionaryForm WadoSettings::toDictionary() const {
  return PropertyDictionary{
      {std::string(kUrl), PropertyValue::text(url.value_or(""))},
      {std::string(kPort), PropertyValue::integer(port.value_or(0))},
      {std::string(kPassword), PropertyValue::text(password.value_or(""))},
      {std::string(kUsername), PropertyValue::text(username.value_or(""))},
  };
}

void WadoSettings::encode(Encoder& encoder) const {
  auto c = encoder.container<CodingKeys>();
  c.encodeIfPresent(port, CodingKeys::port);
  c.encodeIfPresent(url, CodingKeys::url);
  c.encodeIfPresent(password, CodingKeys::password);
  c.encodeIfPresent(username, CodingKeys::username);
  c.encode(retrieveSyntax, CodingKeys::retrieveSyntax);
  c.encode(https, CodingKeys::https);
}

WadoSettings WadoSettings::decode(const Decoder& decoder) {
  const auto c = decoder.container<CodingKeys>();
  WadoSettings settings;
  settings.port = c.decodeIfPresent<std::int64_t>(CodingKeys::port);
  settings.url = c.decodeIfPresent<std::string>(CodingKeys::url);
  settings.password = c.decodeIfPresent<std::string>(CodingKeys::password);
  settings.username = c.decodeIfPresent<std::string>(CodingKeys::username);
  settings.retrieveSyntax = c.decode<SupportedWadoTransferSyntaxType>(CodingKeys::retrieveSyntax);
  settings.https = c.decode<bool>(CodingKeys::https);
  return settings;
}

bool operator==(const WadoSettings& a, const WadoSettings& b) noexcept {
  return a.port == b.port && detail::optionalTextEquals(a.url, b.url) &&
         detail::optionalTextEquals(a.password, b.password) && detail::optionalTextEquals(a.username, b.username) &&
         a.retrieveSyntax == b.retrieveSyntax && a.https == b.https;
}

}  // namespace telvor
