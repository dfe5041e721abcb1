#include "detail/xml_screen.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "detail/refuse.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {
namespace {

using Kind = PlistError::Kind;

enum class Element : std::uint8_t { plist, array, dict, key, string, integer, real, date, data, true_, false_ };

struct ElementRow {
  std::string_view name;
  Element element;
};

constexpr std::array<ElementRow, 11> kElements{{
    {"plist", Element::plist},
    {"array", Element::array},
    {"dict", Element::dict},
    {"key", Element::key},
    {"string", Element::string},
    {"integer", Element::integer},
    {"real", Element::real},
    {"date", Element::date},
    {"data", Element::data},
    {"true", Element::true_},
    {"false", Element::false_},
}};

std::optional<Element> elementNamed(std::string_view name) {
  for (const auto& row : kElements) {
    if (row.name == name) return row.element;
  }
  return std::nullopt;
}

std::string_view nameOf(Element element) { return kElements[static_cast<std::size_t>(element)].name; }

bool isContainer(Element e) { return e == Element::array || e == Element::dict; }
bool isScalar(Element e) { return e != Element::plist && !isContainer(e); }
// Scalars whose text libplist decodes itself (entities, CDATA) and this screen leaves alone.
bool isText(Element e) { return e == Element::string || e == Element::key; }

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(std::string_view s) { return std::all_of(s.begin(), s.end(), isSpace); }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

// Decimal without leading zeros, or 0x hexadecimal (not negative), from -2^63 to 2^64-1.
// That is what every writer produces and what libplist reads to the same value.
bool isInteger(std::string_view s) {
  s = trimmed(s);
  bool negative = false;
  if (!s.empty() && (s.front() == '-' || s.front() == '+')) {
    negative = s.front() == '-';
    s.remove_prefix(1);
  }
  int base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    if (negative) return false;
    base = 16;
    s.remove_prefix(2);
  } else if (s.empty() || !std::all_of(s.begin(), s.end(), isDigit) || (s.size() > 1 && s[0] == '0')) {
    return false;
  }
  std::uint64_t magnitude = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), magnitude, base);
  if (error != std::errc() || end != s.data() + s.size()) return false;
  return !negative || magnitude <= std::uint64_t{1} << 63;
}

// A decimal number, inf or nan; magnitudes beyond double's range are infinity or zero, as
// every reader takes them.
bool isReal(std::string_view s) {
  s = trimmed(s);
  if (s.size() > 1 && s.front() == '+' && s[1] != '-') s.remove_prefix(1);
  double value = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
  return !s.empty() && end == s.data() + s.size() &&
         (error == std::errc() || error == std::errc::result_out_of_range);
}

// 2024-01-31T12:00:00Z, the one form property-list writers use, naming a day that
// exists (libplist would quietly turn 2023-02-30 into 2023-03-02).
bool isDate(std::string_view s) {
  s = trimmed(s);
  constexpr std::string_view shape = "dddd-dd-ddTdd:dd:ddZ";
  if (s.size() != shape.size()) return false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (shape[i] == 'd' ? !isDigit(s[i]) : s[i] != shape[i]) return false;
  }
  auto field = [&](std::size_t at) { return (s[at] - '0') * 10 + (s[at + 1] - '0'); };
  const int year = field(0) * 100 + field(2);
  const int month = field(5);
  if (month < 1 || month > 12) return false;
  constexpr std::array<int, 12> kDays{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  const int days = month == 2 && !leap ? 28 : kDays[static_cast<std::size_t>(month - 1)];
  return field(8) >= 1 && field(8) <= days && field(11) <= 23 && field(14) <= 59 && field(17) <= 59;
}

// Base64 with padding; whitespace anywhere.
bool isBase64(std::string_view s) {
  std::size_t symbols = 0;
  std::size_t padding = 0;
  for (char c : s) {
    if (isSpace(c)) continue;
    const bool alphabet = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c) || c == '+' || c == '/';
    if (c == '=') {
      ++padding;
    } else if (!alphabet || padding > 0) {
      return false;
    }
    ++symbols;
  }
  return padding <= 2 && symbols % 4 == 0;
}

class XmlScreen {
 public:
  explicit XmlScreen(std::string_view text) : text_(text) {}

  void run() {
    // XML has no NUL character; libplist would cut a key short at one.
    if (const std::size_t nul = text_.find('\0'); nul != std::string_view::npos) fail(nul, "a NUL character");
    while (pos_ < text_.size()) {
      if (text_[pos_] == '<') {
        markup();
      } else {
        characterData();
      }
    }
    if (phase_ == Phase::prologue) fail(pos_, "no <plist> element");
    if (phase_ == Phase::inPlist) fail(pos_, "unexpected end inside <" + std::string(nameOf(open_.back().element)) + ">");
  }

 private:
  enum class Phase { prologue, inPlist, epilogue };

  // An open element: <plist>, a container, or one scalar on top.
  struct Open {
    Element element;
    std::size_t at;              // where its start tag begins
    bool awaitingValue = false;  // a dictionary after a key; <plist> after its value
  };

  [[noreturn]] void fail(std::size_t at, const std::string& what, Kind kind = Kind::malformed) const {
    at = std::min(at, text_.size());
    const std::string_view before = text_.substr(0, at);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const auto lastBreak = before.rfind('\n');
    const std::size_t column = 1 + (lastBreak == std::string_view::npos ? at : at - lastBreak - 1);
    refuseInput(kind, what + " at line " + std::to_string(line) + ", column " + std::to_string(column));
  }

  const Open* openScalar() const {
    return !open_.empty() && isScalar(open_.back().element) ? &open_.back() : nullptr;
  }

  void characterData() {
    const std::size_t end = std::min(text_.find('<', pos_), text_.size());
    const std::string_view chunk = text_.substr(pos_, end - pos_);
    if (const Open* scalar = openScalar()) {
      if (!isText(scalar->element)) scalarText_ += chunk;
    } else if (!isBlank(chunk)) {
      const std::size_t at =
          pos_ + static_cast<std::size_t>(std::find_if_not(chunk.begin(), chunk.end(), isSpace) - chunk.begin());
      fail(at, phase_ == Phase::prologue ? "text before <plist> (neither an XML nor a binary property list)"
                                         : "text outside a value");
    }
    pos_ = end;
  }

  // Skips from pos_ past `terminator`, which must follow.
  void skipPast(std::string_view terminator, const char* what) {
    const std::size_t end = text_.find(terminator, pos_);
    if (end == std::string_view::npos) fail(pos_, std::string("unterminated ") + what);
    pos_ = end + terminator.size();
  }

  void markup() {
    const std::string_view rest = text_.substr(pos_);
    if (rest.starts_with("<!--")) {
      // Comments may sit anywhere, also inside a scalar, whose text then continues after it.
      skipPast("-->", "comment");
    } else if (rest.starts_with("<?")) {
      if (const Open* scalar = openScalar()) fail(pos_, "processing instruction inside <" + name(*scalar) + ">");
      skipPast("?>", "processing instruction");
    } else if (rest.starts_with("<![CDATA[")) {
      const Open* scalar = openScalar();
      if (scalar == nullptr || !isText(scalar->element)) fail(pos_, "CDATA section outside <string> and <key>");
      skipPast("]]>", "CDATA section");
    } else if (rest.starts_with("<!DOCTYPE")) {
      if (phase_ != Phase::prologue) fail(pos_, "document type after the start of <plist>");
      const std::size_t end = text_.find('>', pos_);
      if (end == std::string_view::npos) fail(pos_, "unterminated document type");
      if (text_.substr(pos_, end - pos_).find('[') != std::string_view::npos) {
        fail(pos_, "document type with an internal subset");
      }
      pos_ = end + 1;
    } else if (rest.starts_with("<!")) {
      fail(pos_, "unexpected markup");
    } else if (rest.starts_with("</")) {
      endTag();
    } else {
      startTag();
    }
  }

  static std::string name(const Open& open) { return std::string(nameOf(open.element)); }

  std::string_view tagName(std::size_t from) const {
    std::size_t end = from;
    while (end < text_.size() && !isSpace(text_[end]) && text_[end] != '/' && text_[end] != '>') ++end;
    return text_.substr(from, end - from);
  }

  void startTag() {
    const std::size_t start = pos_;
    const std::string_view tag = tagName(start + 1);
    const std::size_t close = text_.find('>', start);
    if (close == std::string_view::npos) fail(start, "unterminated tag");
    std::string_view inside = trimmed(text_.substr(start + 1 + tag.size(), close - start - 1 - tag.size()));
    const bool empty = inside.ends_with('/');
    if (empty) inside = trimmed(inside.substr(0, inside.size() - 1));
    const auto element = elementNamed(tag);
    if (!element) fail(start, "unknown element <" + std::string(tag) + ">");
    if (inside.find('<') != std::string_view::npos) fail(start, "'<' inside a tag");
    if (*element != Element::plist && !inside.empty()) fail(start, "attributes on <" + std::string(tag) + ">");
    // libplist honours double quotes in attributes; with them balanced, both end the tag here.
    if (std::count(inside.begin(), inside.end(), '"') % 2 != 0) fail(start, "unbalanced quotes in <plist>");
    pos_ = close + 1;

    if (*element == Element::plist) {
      if (phase_ != Phase::prologue) fail(start, "a second <plist>");
      if (empty) fail(start, "empty <plist>");
      phase_ = Phase::inPlist;
      open_.push_back(Open{Element::plist, start});
      return;
    }
    if (phase_ != Phase::inPlist) fail(start, "<" + std::string(tag) + "> outside <plist>");
    if (const Open* scalar = openScalar()) fail(start, "<" + std::string(tag) + "> inside <" + name(*scalar) + ">");
    place(*element, start);
    if (isContainer(*element)) {
      if (containers_ + 1 > kMaxDepth) {
        fail(start, "nested deeper than " + std::to_string(kMaxDepth) + " levels", Kind::tooDeep);
      }
      if (!empty) {
        ++containers_;
        open_.push_back(Open{*element, start});
      }
    } else if (empty) {
      checkScalar(*element, "", start);
    } else {
      scalarText_.clear();
      open_.push_back(Open{*element, start});
    }
  }

  // A value or key may stand only where its parent expects one: one value in <plist>,
  // any number in <array>, keys and values by turns in <dict>.
  void place(Element element, std::size_t at) {
    Open& parent = open_.back();
    const std::string tag = "<" + std::string(nameOf(element)) + ">";
    if (element == Element::key) {
      if (parent.element != Element::dict) fail(at, tag + " outside a dictionary");
      if (parent.awaitingValue) fail(at, "a key without a value before " + tag);
      parent.awaitingValue = true;
      return;
    }
    if (parent.element == Element::plist) {
      if (parent.awaitingValue) fail(at, "a second value in <plist>");
      parent.awaitingValue = true;  // here: "has its value"
    } else if (parent.element == Element::dict) {
      if (!parent.awaitingValue) fail(at, tag + " without a key in a dictionary");
      parent.awaitingValue = false;
    }
  }

  void checkScalar(Element element, std::string_view text, std::size_t at) const {
    bool valid = true;
    switch (element) {
      case Element::integer: valid = isInteger(text); break;
      case Element::real: valid = isReal(text); break;
      case Element::date: valid = isDate(text); break;
      case Element::data: valid = isBase64(text); break;
      case Element::true_:
      case Element::false_: valid = isBlank(text); break;
      default: break;
    }
    if (!valid) {
      std::string shown(trimmed(text).substr(0, 40));
      fail(at, "malformed <" + std::string(nameOf(element)) + "> \"" + shown + "\"");
    }
  }

  void endTag() {
    const std::size_t start = pos_;
    const std::string_view tag = tagName(start + 2);
    std::size_t p = start + 2 + tag.size();
    while (p < text_.size() && isSpace(text_[p])) ++p;
    if (p >= text_.size() || text_[p] != '>') fail(start, "malformed end tag </" + std::string(tag) + ">");
    if (open_.empty()) fail(start, "</" + std::string(tag) + "> without a start tag");
    const Open top = open_.back();
    if (tag != nameOf(top.element)) fail(start, "</" + std::string(tag) + "> closes <" + name(top) + ">");
    pos_ = p + 1;
    open_.pop_back();
    if (isScalar(top.element)) {
      checkScalar(top.element, scalarText_, top.at);
    } else if (isContainer(top.element)) {
      if (top.element == Element::dict && top.awaitingValue) fail(start, "a key without a value before </dict>");
      --containers_;
    } else {
      if (!top.awaitingValue) fail(start, "empty <plist>");
      phase_ = Phase::epilogue;
    }
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  Phase phase_ = Phase::prologue;
  std::vector<Open> open_;  // at most kMaxDepth containers, <plist> and one scalar
  std::size_t containers_ = 0;
  std::string scalarText_;
};

}  // namespace

void screenXml(std::string_view text) { XmlScreen(text).run(); }

}  // namespace telvor::plist::detail
