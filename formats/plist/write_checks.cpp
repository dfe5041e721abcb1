#include <string>

#include "detail/refuse.hpp"
#include "detail/writers.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {

std::string where(const CodingPathLink& at) { return describe(at.materialize()); }

void checkText(std::string_view text, const CodingPathLink& at, bool isKey) {
  const char* fault = nullptr;
  if (!isValidUtf8(text)) {
    fault = "is not valid UTF-8";
  } else if (text.find('\0') != std::string_view::npos) {
    fault = "contains a NUL character";
  } else {
    return;
  }
  // A refused key is not shown: it may not be printable.
  const std::string path = where(at);
  refuseOutput(PlistError::Kind::unwritable, (isKey ? "a key in " : "the text at ") + path + " " + fault, path);
}

std::size_t outputEstimate(std::size_t firstBytes, std::size_t count) {
  constexpr std::size_t kCap = std::size_t{256} << 20;
  if (count == 0 || firstBytes > kCap / count) return kCap;
  return firstBytes * count + firstBytes * count / 4 + 4096;
}

void checkLevel(const CodingPathLink& at, std::size_t level) {
  if (level > kMaxDepth) {
    const std::string path = where(at);
    refuseOutput(PlistError::Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels at " + path,
                 path);
  }
}

}  // namespace telvor::plist::detail
