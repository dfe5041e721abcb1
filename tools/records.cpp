#include "records.hpp"

#include <optional>

#include "plist_io.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

template <class T>
constexpr bool kHasDictionaryForm = std::is_constructible_v<T, const PropertyDictionary&>;

// The fields whose absence keeps a node out of the dictionary form.
std::string absentIdentityFields(const DicomNode& node) {
  std::string fields;
  const auto note = [&](const auto& field, const char* name) {
    if (field) return;
    if (!fields.empty()) fields += ", ";
    fields += name;
  };
  note(node.aetitle, "AE title");
  note(node.name, "name");
  note(node.address, "address");
  note(node.port, "port");
  return fields;
}

template <class T>
std::string pathOf(const Records<T>& records, std::size_t index) {
  return records.wasArray ? "$[" + std::to_string(index) + "]" : "$";
}

// An array of records through the interface's unkeyed container (errors at `$[i]...`),
// or one record. The text is read by json::decode, whose document is gone once the
// records are built.
template <class T>
Records<T> readJson(const std::string& bytes) {
  Records<T> records;
  const auto start = bytes.find_first_not_of(" \t\r\n");
  records.wasArray = start != std::string::npos && bytes[start] == '[';
  const bool padded = bytes.capacity() - bytes.size() >= json::SimdjsonDocument::kPadding;
  try {
    if (records.wasArray) records.values = json::decode<std::vector<T>>(bytes, padded);
    else records.values.push_back(json::decode<T>(bytes, padded));
  } catch (const CodingError& e) {
    throw InputError(e.what());
  }
  // The parser's buffers (three times the input) are not needed while writing.
  json::SimdjsonDocument::releaseKeptBuffers();
  return records;
}

template <class T>
Records<T> readPlistRecords(std::string_view bytes) {
  if constexpr (kHasDictionaryForm<T>) {
    // Each dictionary becomes a record as soon as it is read: they never all exist at once.
    Records<T> records;
    records.wasArray = readPlist(bytes, [&](PropertyDictionary&& d) { records.values.emplace_back(d); });
    return records;
  } else {
    throw UsageError("this type exists only as JSON");
  }
}

template <class T>
std::string writeJson(const Records<T>& records) {
  try {
    // An array is written one record's document at a time.
    std::string text = !records.wasArray && records.values.size() == 1
                           ? json::encode(records.values.front(), {.indent = 2})
                           : json::encode(records.values, {.indent = 2});
    text += '\n';
    return text;
  } catch (const CodingError& e) {
    throw InputError(e.what());
  }
}

template <class T>
std::string writePlistRecords(const Records<T>& records, bool binary) {
  if constexpr (kHasDictionaryForm<T>) {
    // Each record's dictionary is made as it is written and dropped after.
    const auto make = [&](std::size_t i) {
      auto dictionary = records.values[i].toDictionary();
      if (!dictionary) {
        std::string missing;
        if constexpr (std::is_same_v<T, DicomNode>) missing = absentIdentityFields(records.values[i]);
        throw InputError("invalidValue at " + pathOf(records, i) + ": the node has no " + missing +
                         "; a saved node needs an AE title, a name, an address and a port.");
      }
      return std::move(*dictionary);
    };
    return writePlist(records.values.size(), records.wasArray, make, binary);
  } else {
    throw UsageError("this type exists only as JSON");
  }
}

}  // namespace

template <class T>
std::string convertPlistToJson(const std::string& bytes) {
  if constexpr (kHasDictionaryForm<T>) {
    const json::WriteOptions options{.indent = 2};
    std::string text;
    // Untouched capacity costs no memory; JSON is about three times a binary list's size.
    text.reserve(4 * bytes.size() + 64);
    std::optional<json::ArrayWriter> array;
    std::optional<T> first;  // held until a second record shows that the input is a list
    try {
      const bool wasArray = readPlist(bytes, [&](PropertyDictionary&& dictionary) {
        T value(dictionary);
        if (!array && !first) {
          first.emplace(std::move(value));
          return;
        }
        if (!array) {
          array.emplace(text, options);
          array->append(*first);
          first.reset();
        }
        array->append(value);
      });
      if (!wasArray) {
        text = json::encode(*first, options);
      } else {
        if (!array) {
          array.emplace(text, options);
          if (first) array->append(*first);
        }
        array->finish();
      }
    } catch (const CodingError& e) {
      throw InputError(e.what());
    }
    text += '\n';
    return text;
  } else {
    throw UsageError("this type exists only as JSON");
  }
}

static_assert(catalogue::kReadAheadRoom >= json::SimdjsonDocument::kPadding);

void padForReading(std::string& bytes) { bytes.reserve(bytes.size() + json::SimdjsonDocument::kPadding); }

template <class T>
Records<T> readRecords(const std::string& bytes, Format format) {
  return format == Format::json ? readJson<T>(bytes) : readPlistRecords<T>(bytes);
}

template <class T>
std::string writeRecords(const Records<T>& records, Format format, bool binary) {
  return format == Format::json ? writeJson(records) : writePlistRecords(records, binary);
}

template Records<DicomNode> readRecords(const std::string&, Format);
template Records<TlsSettings> readRecords(const std::string&, Format);
template Records<WadoSettings> readRecords(const std::string&, Format);
template std::string writeRecords(const Records<DicomNode>&, Format, bool);
template std::string writeRecords(const Records<TlsSettings>&, Format, bool);
template std::string writeRecords(const Records<WadoSettings>&, Format, bool);
template Records<DicomNodeStatus> readRecords(const std::string&, Format);
template std::string convertPlistToJson<DicomNode>(const std::string&);
template std::string convertPlistToJson<TlsSettings>(const std::string&);
template std::string convertPlistToJson<WadoSettings>(const std::string&);
template std::string convertPlistToJson<DicomNodeStatus>(const std::string&);
template std::string writeRecords(const Records<DicomNodeStatus>&, Format, bool);

}  // namespace telvor::tool
