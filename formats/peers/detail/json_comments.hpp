// Comments in JSON as Orthanc's reader takes them: `// ...` to the end of the line and
// `/* ... */`, which ends at the first `*/` (so `**/` closes it too), anywhere outside a
// string.
//
//   std::string plain = telvor::peers::detail::blankComments(text);  // same length, same lines
#pragma once

#include <string>
#include <string_view>

namespace telvor::peers::detail {

// `text` with every comment's characters turned into spaces (line breaks kept), so that
// any later error's line and column still point into `text`. Throws PeerFormatError at
// the place a block comment opens when it is never closed.
std::string blankComments(std::string_view text);

}  // namespace telvor::peers::detail
