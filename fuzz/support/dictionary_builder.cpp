#include "dictionary_builder.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace telvor::fuzz {
namespace {

using namespace std::string_view_literals;

// The keys of the three dictionary forms, and near misses: other letter case, stray
// spaces, an embedded NUL, a look-alike letter, the coded form's names.
constexpr std::string_view kKeys[] = {
    "AETitle", "Port", "Description", "Address", "isDicomNode", "transferSyntax", "retrieveMode",
    "QR", "Send", "Activated", "WADOPort", "WADOTransferSyntax", "WADOUrl", "WADOPassword",
    "WADOUsername", "WADOhttps", "TLSEnabled", "TLSSecurityProfile", "TLSVerifyPeerCertificate",
    "TLSAuthenticateWithCertificate", "isQueryable", "icon", "url", "port", "password", "username",
    // near misses
    "aetitle", "AETITLE", "AETitle ", " AETitle", "Port\0"sv, "port ", "PORT", "description",
    "address", "IsDicomNode", "isdicomnode", "TransferSyntax", "retrievemode", "WADOHttps", "wadohttps",
    "WADOURL", "WadoUrl", "tlsenabled", "TLSEnabled\n", "TLSSecurityprofile", "isqueryable", "Icon",
    "URL", "Url", "Password", "userName", "A\u0395Title", "Descripti\u00f3n", "\u0410ddress",
    "name", "uniqueId", "tlsSettings", "wadoSettings", "", "\xFF\xFE"sv,
};

constexpr std::string_view kTexts[] = {
    "", "0", "1", "true", "false", "104", "wado", " 0", "0 ", "00", "\uff10", "-0",
    "ARCHIVE", "Caf\u00e9", "Cafe\u0301", "\u65e5\u672c", "\U0001F3E5", "\0"sv, "a\0b"sv,
    "\xC3\x28"sv, "\xFF"sv, "\xED\xA0\x80"sv, "\xF4\x90\x80\x80"sv, "\xC0\xAF"sv,
    "E621E1F8-C36C-495A-93FC-0C247A3E6E5F",
    // canonically equivalent groups, and near misses
    "e\u0323\u0301", "e\u0301\u0323", "\u1E0B\u0323", "\u1E0D\u0307", "\uAC01", "\u1100\u1161\u11A8",
    "\u212B", "\u00C5", "A\u030A", "\u0344", "\u0308\u0301", "a", "a\u0301", "\u00e1", "x\u0301y", "x\u0301",
};

constexpr std::int64_t kIntegers[] = {
    0, 1, 2, -1, 3, 4, 5, 6, 8, 9, 10, 12, 13, 16, 17, 40, 41, 42, 104, 65535, 65536,
    std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::min() + 1,
    std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max() - 1,
    std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
    std::int64_t{1} << 32, -(std::int64_t{1} << 32),
};

template <class T, std::size_t N>
const T& pick(FuzzedDataProvider& input, const T (&pool)[N]) {
  return pool[input.ConsumeIntegralInRange<std::size_t>(0, N - 1)];
}

std::string text(FuzzedDataProvider& input) {
  if (input.ConsumeBool()) return std::string(pick(input, kTexts));
  return input.ConsumeRandomLengthString(64);
}

std::int64_t integer(FuzzedDataProvider& input) {
  if (input.ConsumeBool()) return pick(input, kIntegers);
  return input.ConsumeIntegral<std::int64_t>();
}

std::string key(FuzzedDataProvider& input) {
  if (input.ConsumeIntegralInRange(0, 7) != 0) return std::string(pick(input, kKeys));
  return input.ConsumeRandomLengthString(32);
}

PropertyValue value(FuzzedDataProvider& input, int depth);

PropertyOther other(FuzzedDataProvider& input, int depth) {
  switch (input.ConsumeIntegralInRange(0, depth < 3 ? 5 : 3)) {
    case 0: {
      constexpr double kReals[] = {0.0, -0.0, 1.0, 2.0, 1e300, std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::denorm_min()};
      return PropertyOther(input.ConsumeBool() ? pick(input, kReals) : input.ConsumeFloatingPoint<double>());
    }
    case 1: return PropertyOther(PropertyDate{input.ConsumeFloatingPoint<double>()});
    case 2: return PropertyOther(input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 32)));
    case 3: {
      constexpr std::uint64_t kBig[] = {std::uint64_t{1} << 63, std::numeric_limits<std::uint64_t>::max()};
      return PropertyOther(input.ConsumeBool() ? pick(input, kBig) : input.ConsumeIntegral<std::uint64_t>());
    }
    case 4: {
      PropertyOther::Array list;
      const int n = input.ConsumeIntegralInRange(0, 4);
      for (int i = 0; i < n && input.remaining_bytes() > 0; ++i) list.push_back(value(input, depth + 1));
      return PropertyOther(std::move(list));
    }
    default: return PropertyOther(buildDictionary(input, depth + 1));
  }
}

PropertyValue value(FuzzedDataProvider& input, int depth) {
  switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0: return PropertyValue::text(text(input));
    case 1: return PropertyValue::integer(integer(input));
    case 2: return PropertyValue::boolean(input.ConsumeBool());
    case 3: return PropertyValue::numberObject(integer(input));
    default: return PropertyValue::other(other(input, depth));
  }
}

}  // namespace

PropertyDictionary buildDictionary(FuzzedDataProvider& input, int depth) {
  PropertyDictionary d;
  const int entries = input.ConsumeIntegralInRange(0, depth == 0 ? 40 : 4);
  for (int i = 0; i < entries && input.remaining_bytes() > 0; ++i) {
    std::string k = key(input);
    d.setValue(std::move(k), value(input, depth));
  }
  return d;
}

}  // namespace telvor::fuzz
