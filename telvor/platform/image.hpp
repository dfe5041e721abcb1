// Image: the library's stand-in for a toolkit image made from a system symbol name, as
// handed out by the node status.
//
//   telvor::Image image = telvor::DicomNodeStatus::accessable().image();
//   image.name;   // "checkmark.circle.fill"
//
// The symbol names follow the desktop platform's symbol catalogue; an application that
// has no such catalogue maps the few names the library uses to icons of its own.
#pragma once

#include <string>

namespace telvor {

struct Image {
  std::string name;  // the system symbol name

  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace telvor
