#include <boost/json/parser.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/serializer.hpp>

#include <algorithm>
#include <string>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"

namespace telvor::json {
namespace {

// "line L, column C (byte offset O)" for a byte offset into `text`; columns count bytes.
std::string locate(std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const auto lastBreak = before.rfind('\n');
  const std::size_t column = 1 + (lastBreak == std::string_view::npos ? offset : offset - lastBreak - 1);
  return "line " + std::to_string(line) + ", column " + std::to_string(column) + " (byte offset " +
         std::to_string(offset) + ")";
}

[[noreturn]] void refuse(std::string_view text, std::size_t offset, const boost::system::error_code& ec) {
  std::string what = ec == boost::json::error::too_deep
                         ? "nested deeper than " + std::to_string(kMaxDepth) + " levels"
                         : ec.message();
  throw DecodingError::dataCorrupted(
      {{}, "The given data was not valid JSON: " + what + " at " + locate(text, offset) + ".", nullptr});
}

void writeIndent(std::string& out, int indent, int depth) {
  out += '\n';
  out.append(static_cast<std::size_t>(indent) * static_cast<std::size_t>(depth), ' ');
}

void writePretty(std::string& out, const boost::json::value& v, int indent, int depth) {
  if (v.is_object() && !v.get_object().empty()) {
    out += '{';
    bool first = true;
    for (const auto& entry : v.get_object()) {
      if (!first) out += ',';
      first = false;
      writeIndent(out, indent, depth + 1);
      out += boost::json::serialize(entry.key());
      out += ": ";
      writePretty(out, entry.value(), indent, depth + 1);
    }
    writeIndent(out, indent, depth);
    out += '}';
  } else if (v.is_array() && !v.get_array().empty()) {
    out += '[';
    bool first = true;
    for (const auto& element : v.get_array()) {
      if (!first) out += ',';
      first = false;
      writeIndent(out, indent, depth + 1);
      writePretty(out, element, indent, depth + 1);
    }
    writeIndent(out, indent, depth);
    out += ']';
  } else {
    out += boost::json::serialize(v);
  }
}

// Compact text through a chunk on the stack, appended to the result: the result grows
// geometrically without first being filled with zeros, as boost::json::serialize's is.
void writeCompact(std::string& out, const boost::json::value& document) {
  boost::json::serializer serializer;
  serializer.reset(&document);
  char chunk[16 * 1024];
  while (!serializer.done()) {
    const auto written = serializer.read(chunk, sizeof chunk);
    out.append(written.data(), written.size());
  }
}

}  // namespace

boost::json::value parse(std::string_view text, boost::json::storage_ptr storage) {
  boost::json::parse_options options;
  options.max_depth = kMaxDepth;
  // The parser's own working stack starts in this buffer; the document itself goes to
  // `storage`, which the parser only uses once reset() names it.
  unsigned char temporary[BOOST_JSON_STACK_BUFFER_SIZE];
  boost::json::parser parser({}, options, temporary);
  parser.reset(std::move(storage));
  boost::system::error_code ec;
  const std::size_t consumed = parser.write(text.data(), text.size(), ec);
  if (ec) refuse(text, consumed, ec);
  return parser.release();
}

std::string serialize(const boost::json::value& document, WriteOptions options) {
  std::string out;
  detail::appendText(out, document, options, 0);
  return out;
}

namespace detail {

void appendText(std::string& out, const boost::json::value& document, WriteOptions options, int depth) {
  if (options.indent <= 0) writeCompact(out, document);
  else writePretty(out, document, options.indent, depth);
}

void appendBreak(std::string& out, WriteOptions options, int depth) {
  if (options.indent > 0) writeIndent(out, options.indent, depth);
}

}  // namespace detail

}  // namespace telvor::json
