#include "import_hint.hpp"

#include <array>

namespace telvor::tool {
namespace {

struct Signature {
  std::string_view mark;    // text only that system's file holds
  std::string_view format;  // the name `import --from` takes
  std::string_view system;
};

constexpr std::array<Signature, 6> kSignatures{{
    {"HostTable BEGIN", "dcmtk-qr", "dcmqrscp's configuration"},
    {"[[COMMUNICATION]]", "dcmtk-pstat", "DCMTK's dcmpstat configuration"},
    {"\"DicomModalities\"", "orthanc", "Orthanc's configuration"},
    {"ServerNodeCount", "ctk", "CTK's (3D Slicer's) settings"},
    {"<nodes", "weasis", "a Weasis node file"},
    {"\"AET\"", "orthanc", "Orthanc's list of modalities"},
}};

}  // namespace

std::string importHint(std::string_view bytes, const std::string& path) {
  for (const auto& s : kSignatures)
    if (bytes.find(s.mark) != std::string_view::npos)
      return " (it looks like " + std::string(s.system) + ": telvor-nodes import --from " + std::string(s.format) + ' ' +
             (path == "-" ? std::string("-") : '"' + path + '"') + " reads its peers into a catalogue)";
  return {};
}

}  // namespace telvor::tool
