// Opens a property-list catalogue, moves the node "Main archive" to port 11112 and saves the
// file under the catalogue's lock, atomically; every other key and node stays as it was.
//
//   telvor-catalogue-example nodes.plist
#include <telvor/catalogue/catalogue.hpp>
#include <telvor/catalogue/catalogue_error.hpp>

#include <iostream>

int main(int argc, char** argv) {
  namespace catalogue = telvor::catalogue;
  if (argc != 2) {
    std::cerr << "usage: telvor-catalogue-example CATALOGUE.plist\n";
    return 2;
  }
  try {
    auto editor = catalogue::CatalogueEditor::open(argv[1], {});
    auto& nodes = editor.catalogue();
    const std::size_t index = nodes.selectOne(catalogue::Selector::byName("Main archive"));
    telvor::DicomNode node = nodes.node(index);
    node.port = "11112";
    for (const auto& key : nodes.replace(index, node)) std::cout << "changed " << key << "\n";
    editor.save();
  } catch (const catalogue::CatalogueError& e) {
    std::cerr << "telvor-catalogue-example: " << e.what() << "\n";
    return e.kind() == catalogue::CatalogueError::Kind::unavailable ? 75 : 1;  // EX_TEMPFAIL: try later
  }
  const auto reread = catalogue::Catalogue::load(argv[1]);
  const auto& port = reread.node(reread.selectOne(catalogue::Selector::byName("Main archive"))).port;
  std::cout << "Main archive now listens on port " << port.value_or("?") << "\n";
  return port == "11112" ? 0 : 1;
}
