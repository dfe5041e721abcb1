#include "detail/xml_reader.hpp"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "detail/refuse.hpp"
#include "detail/value_builder.hpp"
#include "detail/xml_scalars.hpp"
#include "telvor/coding/text.hpp"

namespace telvor::plist::detail {
namespace {

using Kind = PlistError::Kind;
using Shape = ValueBuilder::Shape;

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
std::string tag(Element element) { return "<" + std::string(nameOf(element)) + ">"; }

bool isContainer(Element e) { return e == Element::array || e == Element::dict; }
bool isScalar(Element e) { return e != Element::plist && !isContainer(e); }
bool isText(Element e) { return e == Element::string || e == Element::key; }
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

Shape shapeOf(Element e) {
  switch (e) {
    case Element::array: return Shape::array;
    case Element::dict: return Shape::dictionary;
    case Element::integer: return Shape::integer;
    case Element::real: return Shape::real;
    case Element::date: return Shape::date;
    case Element::data: return Shape::data;
    case Element::true_:
    case Element::false_: return Shape::boolean;
    default: return Shape::string;
  }
}

struct ParserFree {
  void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};

// A refusal found inside a handler: expat is C, so it is raised once expat has returned.
struct Refusal {
  Kind kind;
  std::string message;
};

class XmlReader {
 public:
  XmlReader(std::string_view text, ValueBuilder::Take take) : text_(text), builder_(std::move(take)) {}

  bool run() {
    // XML has no NUL character; expat would call it an invalid token.
    if (const void* nul = std::memchr(text_.data(), 0, text_.size())) {
      fail(static_cast<std::size_t>(static_cast<const char*>(nul) - text_.data()), "a NUL character");
    }
    const std::size_t first = firstNonSpace(0);
    if (first < text_.size() && text_[first] != '<' && !text_.substr(first).starts_with("\xEF\xBB\xBF")) {
      fail(first, "text before <plist> (neither an XML nor a binary property list)");
    }
    // The encoding is UTF-8 whatever the declaration says, as for the binary form.
    const std::unique_ptr<XML_ParserStruct, ParserFree> parser(XML_ParserCreate("UTF-8"));
    if (!parser) throw std::bad_alloc();
    parser_ = parser.get();
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, &XmlReader::onStart, &XmlReader::onEnd);
    XML_SetCharacterDataHandler(parser_, &XmlReader::onText);
    XML_SetProcessingInstructionHandler(parser_, &XmlReader::onInstruction);
    XML_SetCdataSectionHandler(parser_, &XmlReader::onCdata, nullptr);
    XML_SetStartDoctypeDeclHandler(parser_, &XmlReader::onDoctype);
    XML_SetEntityDeclHandler(parser_, &XmlReader::onEntity);
    XML_SetSkippedEntityHandler(parser_, &XmlReader::onSkippedEntity);
    XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);

    constexpr std::size_t kChunk = std::size_t{1} << 30;  // expat takes an int length
    std::size_t at = 0;
    do {
      const std::size_t length = std::min(kChunk, text_.size() - at);
      const bool last = at + length == text_.size();
      const XML_Status status = XML_Parse(parser_, text_.data() + at, static_cast<int>(length), last);
      if (refusal_) refuseInput(refusal_->kind, refusal_->message);
      if (status != XML_STATUS_OK) expatFailed();
      at += length;
    } while (at < text_.size());
    return builder_.finish();
  }

 private:
  enum class Phase { prologue, inPlist, epilogue };

  // An open element: <plist>, a container, or one scalar on top.
  struct Open {
    Element element;
    std::size_t at;              // where its start tag begins
    bool awaitingValue = false;  // a dictionary after a key; <plist> after its value
  };

  static XmlReader& self(void* data) { return *static_cast<XmlReader*>(data); }

  std::size_t firstNonSpace(std::size_t from) const {
    while (from < text_.size() && isSpace(text_[from])) ++from;
    return from;
  }

  std::size_t here() const {
    return static_cast<std::size_t>(std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser_)));
  }

  std::string position(std::size_t at) const {
    at = std::min(at, text_.size());
    const std::string_view before = text_.substr(0, at);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const auto lastBreak = before.rfind('\n');
    const std::size_t column = 1 + (lastBreak == std::string_view::npos ? at : at - lastBreak - 1);
    return " at line " + std::to_string(line) + ", column " + std::to_string(column);
  }

  [[noreturn]] void fail(std::size_t at, const std::string& what) const {
    refuseInput(Kind::malformed, what + position(at));
  }

  // Records the first refusal and stops expat; the handlers return at once after one.
  void stop(Kind kind, std::string message) {
    if (refusal_) return;
    refusal_ = Refusal{kind, std::move(message)};
    XML_StopParser(parser_, XML_FALSE);
  }
  void stopAt(std::size_t at, const std::string& what) { stop(Kind::malformed, what + position(at)); }

  // Runs a step that may throw PlistError (the builder's checks) inside a handler.
  template <class F>
  void guarded(F&& step) {
    try {
      step();
    } catch (const PlistError& e) {
      stop(e.kind(), std::string(e.what()).substr(std::strlen("cannot read property list: ")));
    }
  }

  const Open* openScalar() const {
    return !open_.empty() && isScalar(open_.back().element) ? &open_.back() : nullptr;
  }

  // What expat refused, said in the reader's words where the reader knows better.
  [[noreturn]] void expatFailed() const {
    const XML_Error code = XML_GetErrorCode(parser_);
    const std::size_t at = static_cast<std::size_t>(std::max<XML_Index>(0, XML_GetErrorByteIndex(parser_)));
    const std::string_view rest = text_.substr(std::min(at, text_.size()));
    switch (code) {
      case XML_ERROR_NO_ELEMENTS:
        if (phase_ == Phase::prologue) fail(at, "no <plist> element");
        fail(at, "unexpected end inside " + tag(open_.back().element));
      case XML_ERROR_TAG_MISMATCH: {
        // expat points at the end tag's name.
        const std::size_t tagAt = text_.rfind('<', at);
        const std::size_t nameAt = tagAt == std::string_view::npos ? at : tagAt + 2;
        const std::string_view name = text_.substr(nameAt, text_.find_first_of(" \t\r\n>", nameAt) - nameAt);
        fail(tagAt == std::string_view::npos ? at : tagAt,
             "</" + std::string(name) + "> closes " + tag(open_.back().element));
      }
      case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
        fail(at, rest.starts_with("<plist") ? "a second <plist>" : "content after </plist>");
      case XML_ERROR_INVALID_TOKEN:
      case XML_ERROR_PARTIAL_CHAR:
        if (const Open* scalar = openScalar(); scalar != nullptr && isText(scalar->element) &&
                                               !isValidUtf8(rest.substr(0, rest.find('<')))) {
          refuseInput(Kind::unsupportedValue, scalar->element == Element::key
                                                  ? "a key in " + builder_.path(true) + " is not valid UTF-8"
                                                  : "the text at " + builder_.path() + " is not valid UTF-8");
        }
        break;
      default: break;
    }
    fail(at, std::string("malformed XML (") + XML_ErrorString(code) + ")");
  }

  static void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char** attributes) {
    self(data).start(name, attributes);
  }
  static void XMLCALL onEnd(void* data, const XML_Char*) { self(data).end(); }
  static void XMLCALL onText(void* data, const XML_Char* text, int length) {
    self(data).characters(std::string_view(text, static_cast<std::size_t>(length)));
  }
  static void XMLCALL onInstruction(void* data, const XML_Char*, const XML_Char*) {
    XmlReader& r = self(data);
    if (const Open* scalar = r.openScalar()) r.stopAt(r.here(), "processing instruction inside " + tag(scalar->element));
  }
  static void XMLCALL onCdata(void* data) {
    XmlReader& r = self(data);
    const Open* scalar = r.openScalar();
    if (scalar == nullptr || !isText(scalar->element)) r.stopAt(r.here(), "CDATA section outside <string> and <key>");
  }
  static void XMLCALL onDoctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int internalSubset) {
    XmlReader& r = self(data);
    if (internalSubset != 0) r.stopAt(r.here(), "document type with an internal subset");
  }
  static void XMLCALL onEntity(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                               const XML_Char*, const XML_Char*, const XML_Char*) {
    XmlReader& r = self(data);
    r.stopAt(r.here(), "an entity declaration");
  }
  static void XMLCALL onSkippedEntity(void* data, const XML_Char* name, int) {
    XmlReader& r = self(data);
    r.stopAt(r.here(), "an undeclared entity &" + std::string(name) + ";");
  }

  void start(std::string_view name, const XML_Char** attributes) {
    if (refusal_) return;
    const std::size_t at = here();
    const auto element = elementNamed(name);
    if (!element) return stopAt(at, "unknown element <" + std::string(name) + ">");
    if (*element != Element::plist && attributes[0] != nullptr) {
      return stopAt(at, "attributes on <" + std::string(name) + ">");
    }
    if (*element == Element::plist) {
      if (phase_ != Phase::prologue) return stopAt(at, "a second <plist>");
      phase_ = Phase::inPlist;
      open_.push_back(Open{Element::plist, at});
      return;
    }
    if (phase_ != Phase::inPlist) return stopAt(at, tag(*element) + " outside <plist>");
    if (const Open* scalar = openScalar()) return stopAt(at, tag(*element) + " inside " + tag(scalar->element));
    if (!place(*element, at)) return;
    if (*element != Element::key) builder_.expect(shapeOf(*element));
    if (isContainer(*element)) {
      if (builder_.depth() + 1 > kMaxDepth) {
        return stop(Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels" + position(at));
      }
      guarded([&] {
        builder_.open(*element == Element::dict ? ValueBuilder::Container::dictionary
                                                : ValueBuilder::Container::array);
      });
    } else {
      scalarText_.clear();
    }
    open_.push_back(Open{*element, at});
  }

  // A value or key may stand only where its parent expects one: one value in <plist>,
  // any number in <array>, keys and values by turns in <dict>.
  bool place(Element element, std::size_t at) {
    Open& parent = open_.back();
    if (element == Element::key) {
      if (parent.element != Element::dict) return stopAt(at, tag(element) + " outside a dictionary"), false;
      if (parent.awaitingValue) return stopAt(at, "a key without a value before " + tag(element)), false;
      parent.awaitingValue = true;
      return true;
    }
    if (parent.element == Element::plist) {
      if (parent.awaitingValue) return stopAt(at, "a second value in <plist>"), false;
      parent.awaitingValue = true;  // here: "has its value"
    } else if (parent.element == Element::dict) {
      if (!parent.awaitingValue) return stopAt(at, tag(element) + " without a key in a dictionary"), false;
      parent.awaitingValue = false;
    }
    return true;
  }

  void characters(std::string_view chunk) {
    if (refusal_) return;
    if (openScalar() != nullptr) {
      scalarText_ += chunk;
      return;
    }
    if (std::all_of(chunk.begin(), chunk.end(), isSpace)) return;
    // expat hands text over with line ends normalised: find it in the input itself.
    const std::size_t at = firstNonSpace(here());
    stopAt(at, phase_ == Phase::prologue ? "text before <plist> (neither an XML nor a binary property list)"
                                         : "text outside a value");
  }

  void end() {
    if (refusal_) return;
    const Open top = open_.back();
    open_.pop_back();
    if (isScalar(top.element)) {
      scalar(top);
    } else if (isContainer(top.element)) {
      if (top.element == Element::dict && top.awaitingValue) {
        return stopAt(here(), "a key without a value before </dict>");
      }
      guarded([&] { builder_.close(); });
    } else {
      if (!top.awaitingValue) return stopAt(top.at, "empty <plist>");
      phase_ = Phase::epilogue;
    }
  }

  void scalar(const Open& open) {
    std::optional<PropertyValue> value;
    switch (open.element) {
      case Element::key: builder_.key(std::move(scalarText_)); return;
      case Element::string: value = PropertyValue::text(std::move(scalarText_)); break;
      case Element::integer: value = integerFromText(scalarText_); break;
      case Element::real:
        if (const auto real = realFromText(scalarText_)) value = PropertyValue::other(PropertyOther(*real));
        break;
      case Element::date:
        if (const auto date = dateFromText(scalarText_)) value = PropertyValue::other(PropertyOther(PropertyDate{*date}));
        break;
      case Element::data:
        if (auto bytes = dataFromBase64(scalarText_)) value = PropertyValue::other(PropertyOther(std::move(*bytes)));
        break;
      case Element::true_:
      case Element::false_:
        if (std::all_of(scalarText_.begin(), scalarText_.end(), isSpace)) {
          value = PropertyValue::boolean(open.element == Element::true_);
        }
        break;
      default: break;
    }
    scalarText_.clear();
    if (!value) {
      return stopAt(open.at, "malformed " + tag(open.element) + " \"" + shownText(open) + "\"");
    }
    builder_.value(std::move(*value));
  }

  // Up to 40 bytes of a refused scalar's text, as the input has it.
  std::string shownText(const Open& open) const {
    const std::size_t from = text_.find('>', open.at) + 1;
    std::size_t to = std::min(text_.find('<', from), text_.size());
    std::size_t start = firstNonSpace(from);
    while (to > start && isSpace(text_[to - 1])) --to;
    return std::string(text_.substr(start, std::min<std::size_t>(to - start, 40)));
  }

  std::string_view text_;
  XML_Parser parser_ = nullptr;
  Phase phase_ = Phase::prologue;
  std::vector<Open> open_;  // at most kMaxDepth containers, <plist> and one scalar
  std::string scalarText_;
  ValueBuilder builder_;
  std::optional<Refusal> refusal_;
};

}  // namespace

bool readXml(std::string_view text, ValueBuilder::Take take) { return XmlReader(text, std::move(take)).run(); }

}  // namespace telvor::plist::detail
