// Uses the core (a property dictionary, a transfer syntax's code and title), the JSON
// format and the property-list format, as an application linking Telvor would.
#include <telvor/coding/property_dictionary.hpp>
#include <telvor/json/json.hpp>
#include <telvor/plist/plist.hpp>
#include <telvor/vocabulary/transfer_syntax.hpp>

#include <iostream>
#include <optional>
#include <string>

int main() {
  using namespace telvor;
  const auto syntax = TransferSyntax::EXS_LittleEndianExplicit;

  PropertyDictionary node{{"AETitle", PropertyValue::text("ARCHIVE")}, {"Port", PropertyValue::integer(104)}};
  node.setValue("transferSyntax", PropertyValue::numberObject(rawValue(syntax)));

  const std::string xml = plist::serialize(node);
  const PropertyDictionary back = plist::parseDictionary(xml);
  const std::optional<std::int64_t> code = back.readInt("transferSyntax");
  const auto read = code ? fromRawValue<TransferSyntax>(*code) : std::nullopt;
  if (!read || *read != syntax || back.readString("AETitle") != "ARCHIVE" || back.readInt("Port") != 104) {
    std::cerr << "telvor-consumer: the property list did not read back\n";
    return 1;
  }
  std::cout << "transfer syntax " << rawValue(*read) << ": " << title(*read) << "\n";
  std::cout << "as JSON: " << json::encode(*read) << "\n";

  try {
    plist::parse("not a property list");
    std::cerr << "telvor-consumer: accepted a text that is no property list\n";
    return 1;
  } catch (const plist::PlistError& e) {
    std::cout << "refused: " << e.what() << "\n";
  }
  return 0;
}
