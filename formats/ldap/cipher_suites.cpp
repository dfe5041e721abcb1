#include "telvor/ldap/cipher_suites.hpp"

#include <algorithm>
#include <array>
#include <set>

namespace telvor::ldap {
namespace {

constexpr std::string_view kRsa3des = "TLS_RSA_WITH_3DES_EDE_CBC_SHA";
constexpr std::string_view kRsaAes = "TLS_RSA_WITH_AES_128_CBC_SHA";
constexpr std::string_view kEcdheRsa128 = "TLS_ECDHE_RSA_WITH_AES_128_GCM_SHA256";
constexpr std::string_view kEcdheRsa256 = "TLS_ECDHE_RSA_WITH_AES_256_GCM_SHA384";
constexpr std::string_view kDheRsa128 = "TLS_DHE_RSA_WITH_AES_128_GCM_SHA256";
constexpr std::string_view kDheRsa256 = "TLS_DHE_RSA_WITH_AES_256_GCM_SHA384";
constexpr std::string_view kEcdheEcdsa128 = "TLS_ECDHE_ECDSA_WITH_AES_128_GCM_SHA256";
constexpr std::string_view kEcdheEcdsa256 = "TLS_ECDHE_ECDSA_WITH_AES_256_GCM_SHA384";

constexpr std::array<std::string_view, 1> kBasic{kRsa3des};
constexpr std::array<std::string_view, 2> kAes{kRsaAes, kRsa3des};
constexpr std::array<std::string_view, 5> kBcp195{kEcdheRsa128, kEcdheRsa256, kDheRsa128, kDheRsa256, kRsaAes};
constexpr std::array<std::string_view, 4> kNonDowngrading{kEcdheRsa128, kEcdheRsa256, kDheRsa128, kDheRsa256};
constexpr std::array<std::string_view, 4> kExtended{kEcdheEcdsa128, kEcdheEcdsa256, kEcdheRsa128, kEcdheRsa256};

struct Row {
  TLSSecurityProfile profile;
  std::span<const std::string_view> suites;
};

// Profile 0 has no row: it is written as profile 4 and never read back.
constexpr Row kRows[] = {
    {TLSSecurityProfile::profile1, kBasic},          {TLSSecurityProfile::profile2, kAes},
    {TLSSecurityProfile::profile3, kBcp195},         {TLSSecurityProfile::profile4, kNonDowngrading},
    {TLSSecurityProfile::profile5, kExtended},
};

// Java-based archives still spell the older suites with "SSL_".
std::string canonical(std::string_view suite) {
  if (suite.starts_with("SSL_")) return "TLS_" + std::string(suite.substr(4));
  return std::string(suite);
}

}  // namespace

std::span<const std::string_view> cipherSuitesOf(TLSSecurityProfile profile) noexcept {
  for (const Row& row : kRows)
    if (row.profile == profile) return row.suites;
  return kNonDowngrading;
}

ProfileMatch profileOfCipherSuites(const std::vector<std::string>& suites) {
  std::set<std::string> given;
  for (const auto& suite : suites) given.insert(canonical(suite));
  ProfileMatch best;
  std::size_t bestShared = 0, bestSize = 0;
  for (const Row& row : kRows) {
    std::size_t shared = 0;
    for (std::string_view suite : row.suites) shared += given.count(std::string(suite));
    if (shared == row.suites.size() && shared == given.size()) return {row.profile, true};
    const bool better = shared > bestShared || (shared == bestShared && shared > 0 && row.suites.size() < bestSize);
    if (better) {
      best.profile = row.profile;
      bestShared = shared;
      bestSize = row.suites.size();
    }
  }
  return best;
}

}  // namespace telvor::ldap
