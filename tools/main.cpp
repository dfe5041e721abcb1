// telvor-nodes: manage, check and probe DICOM node catalogues.
#include "cli.hpp"

int main(int argc, char** argv) { return telvor::tool::runCommandLine(argc, argv); }
