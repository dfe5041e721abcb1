// telvor-nodes: manage, check and probe DICOM node catalogues.
#include "cli.hpp"
#include "interrupted_save.hpp"

int main(int argc, char** argv) {
  telvor::tool::installInterruptedSaveCleanup();
  return telvor::tool::runCommandLine(argc, argv);
}
