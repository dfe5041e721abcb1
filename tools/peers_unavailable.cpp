// import and export in a tool built without the peer-list formats (TELVOR_BUILD_PEERS off).
#include "peers_commands.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

int runImport(const ImportRequest&) { throw UsageError("this telvor-nodes was built without the peer-list formats"); }
int runExport(const ExportRequest&) { throw UsageError("this telvor-nodes was built without the peer-list formats"); }

}  // namespace telvor::tool
