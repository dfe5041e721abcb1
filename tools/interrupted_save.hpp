// The tool's own signal handling around catalogue saves: SIGINT, SIGTERM and SIGHUP remove
// the temporary file of a save under way, then the signal takes its previous course (the
// previous handler runs, or the process ends by the signal, so a shell sees 130, 143, 129).
// SIGXFSZ is ignored, so that a file-size limit fails a save instead of ending the process.
#pragma once

namespace telvor::tool {

// Installs the handlers once, at start; signals ignored at start stay ignored.
void installInterruptedSaveCleanup();

}  // namespace telvor::tool
