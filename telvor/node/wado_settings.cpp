#include "telvor/node/wado_settings.hpp"

#include <string_view>

#include "telvor/coding/record_fields_coding.hpp"
#include "telvor/node/detail/dictionary_reads.hpp"

namespace telvor {
namespace {

// A member added to the record but not to its table stops this compiling.
[[maybe_unused]] void everyMemberHasARow(const WadoSettings& settings) {
  [[maybe_unused]] const auto& [port, url, password, username, retrieveSyntax, https] = settings;
  static_assert(fieldCount<WadoSettings> == 6);
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

void WadoSettings::encode(Encoder& encoder) const { encodeFields(*this, encoder); }

WadoSettings WadoSettings::decode(const Decoder& decoder) {
  WadoSettings settings;
  decodeFields(decoder, settings);
  return settings;
}

bool operator==(const WadoSettings& a, const WadoSettings& b) noexcept { return fieldsEqual(a, b); }

}  // namespace telvor
