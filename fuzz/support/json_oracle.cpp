#include "json_oracle.hpp"

#include <boost/json/object.hpp>

#include <limits>

#include "codes.hpp"

namespace telvor::fuzz {
namespace coded {

namespace {
constexpr CodedType kText{"String", Shape::text};
constexpr CodedType kBool{"Bool", Shape::boolean};
constexpr CodedType kInt{"Int64", Shape::integer};
}  // namespace

const CodedType uuid{"UUID", Shape::uuid};
const CodedType transferSyntax{"TransferSyntax", Shape::code, {}, isTransferSyntaxCode};
const CodedType retrieveMode{"RetrieveModeType", Shape::code, {}, isRetrieveModeCode};
const CodedType tlsProfile{"TLSSecurityProfile", Shape::code, {}, isTlsProfileCode};
const CodedType wadoSyntax{"SupportedWadoTransferSyntaxType", Shape::code, {}, isWadoSyntaxCode};

namespace {
const Field kTlsFields[] = {
    {"isEnabled", &kBool, true},
    {"securityProfile", &tlsProfile, true},
    {"verifyPeerCertificate", &kBool, true},
    {"authenticateWithCertificate", &kBool, true},
};
const Field kWadoFields[] = {
    {"port", &kInt, false},      {"url", &kText, false},
    {"password", &kText, false}, {"username", &kText, false},
    {"retrieveSyntax", &wadoSyntax, true}, {"https", &kBool, true},
};
}  // namespace

const CodedType tlsSettings{"TlsSettings", Shape::record, kTlsFields};
const CodedType wadoSettings{"WadoSettings", Shape::record, kWadoFields};

namespace {
const Field kNodeFields[] = {
    {"uniqueId", &uuid, false},
    {"aetitle", &kText, false},
    {"name", &kText, false},
    {"address", &kText, false},
    {"port", &kText, false},
    {"transferSyntax", &transferSyntax, true},
    {"retrieveMode", &retrieveMode, true},
    {"isDicomNode", &kBool, true},
    {"isQueryable", &kBool, false},
    {"wadoSettings", &wadoSettings, true},
    {"icon", &kText, false},
    {"tlsSettings", &tlsSettings, false},
};
}  // namespace

const CodedType dicomNode{"DicomNode", Shape::record, kNodeFields};
const CodedType dicomNodeStatus{"DicomNodeStatus", Shape::status};

}  // namespace coded

namespace {

using Kind = DecodingError::Kind;
namespace bj = boost::json;

bool isHex(char c) noexcept { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// The canonical (upper-case) text of a UUID, or absent when `text` is not 8-4-4-4-12 hex digits.
std::optional<std::string> canonicalUuid(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::string out(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    if (hyphen ? out[i] != '-' : !isHex(out[i])) return std::nullopt;
    if (out[i] >= 'a' && out[i] <= 'f') out[i] = static_cast<char>(out[i] - 'a' + 'A');
  }
  return out;
}

class Walker {
 public:
  std::optional<ExpectedFailure> failure;

  // Sets `out` to the coded form the value re-encodes to, or `failure`.
  bool walk(const CodedType& type, const bj::value& v, bj::value& out) {
    switch (type.shape) {
      case Shape::text:
        if (!v.is_string()) return mismatch(v);
        out = v.get_string();
        return true;
      case Shape::boolean:
        if (!v.is_bool()) return mismatch(v);
        out = v.get_bool();
        return true;
      case Shape::integer:
      case Shape::code: {
        std::int64_t n = 0;
        if (v.is_int64()) {
          n = v.get_int64();
        } else if (v.is_uint64()) {
          if (v.get_uint64() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return fail(Kind::dataCorrupted);
          n = static_cast<std::int64_t>(v.get_uint64());
        } else {
          return mismatch(v);
        }
        if (type.shape == Shape::code && !type.isCode(n)) return fail(Kind::dataCorrupted);
        out = n;
        return true;
      }
      case Shape::uuid: {
        if (!v.is_string()) return mismatch(v);
        auto canonical = canonicalUuid(v.get_string());
        if (!canonical) return fail(Kind::dataCorrupted);
        out = *canonical;
        return true;
      }
      case Shape::record: return record(type, v, out);
      case Shape::status: return status(v, out);
    }
    return false;
  }

 private:
  CodingPath path_;

  bool fail(Kind kind, std::string missingKey = {}) {
    failure = ExpectedFailure{kind, path_, std::move(missingKey)};
    return false;
  }
  bool mismatch(const bj::value& v) { return fail(v.is_null() ? Kind::valueNotFound : Kind::typeMismatch); }

  bool under(std::string_view key, const CodedType& type, const bj::value& v, bj::value& out) {
    path_.push_back(CodingPathComponent::key(key));
    if (!walk(type, v, out)) return false;
    path_.pop_back();
    return true;
  }

  bool record(const CodedType& type, const bj::value& v, bj::value& out) {
    if (!v.is_object()) return mismatch(v);
    bj::object coded;
    for (const Field& f : type.fields) {
      const bj::value* entry = v.get_object().if_contains(f.key);
      if (entry == nullptr) {
        if (f.required) return fail(Kind::keyNotFound, std::string(f.key));
        continue;
      }
      if (entry->is_null() && !f.required) continue;
      bj::value value;
      if (!under(f.key, *f.type, *entry, value)) return false;
      coded[f.key] = std::move(value);
    }
    out = std::move(coded);
    return true;
  }

  // One entry under exactly one of the three case keys; its value a keyed container
  // holding "reason" text for the two cases that carry one.
  bool status(const bj::value& v, bj::value& out) {
    static constexpr std::string_view kCases[] = {"unknown", "accessable", "inaccessible"};
    if (!v.is_object()) return mismatch(v);
    const bj::object& o = v.get_object();
    std::string_view found;
    int count = 0;
    for (auto name : kCases) {
      if (o.if_contains(name) != nullptr) {
        ++count;
        found = name;
      }
    }
    if (count != 1) return fail(Kind::typeMismatch);
    path_.push_back(CodingPathComponent::key(found));
    const bj::value& payload = o.at(found);
    if (!payload.is_object()) return mismatch(payload);
    bj::object inner;
    if (found != "accessable") {
      const bj::value* reason = payload.get_object().if_contains("reason");
      if (reason == nullptr) return fail(Kind::keyNotFound, "reason");
      bj::value text;
      if (!under("reason", coded::kText, *reason, text)) return false;
      inner["reason"] = std::move(text);
    }
    path_.pop_back();
    bj::object coded;
    coded[found] = std::move(inner);
    out = std::move(coded);
    return true;
  }
};

std::string_view kindName(Kind kind) {
  switch (kind) {
    case Kind::typeMismatch: return "typeMismatch";
    case Kind::valueNotFound: return "valueNotFound";
    case Kind::keyNotFound: return "keyNotFound";
    case Kind::dataCorrupted: return "dataCorrupted";
  }
  return "?";
}

}  // namespace

Expected expectDecoding(const CodedType& type, const boost::json::value& document) {
  Walker walker;
  Expected expected;
  if (!walker.walk(type, document, expected.codedForm)) expected.failure = std::move(walker.failure);
  return expected;
}

std::string describe(const ExpectedFailure& failure) {
  std::string text(kindName(failure.kind));
  text += " at " + telvor::describe(failure.path);
  if (!failure.missingKey.empty()) text += " (key \"" + failure.missingKey + "\")";
  return text;
}

}  // namespace telvor::fuzz
