// ringfold-scan: scans a folder with Ringfold's scanner and prints what takes the space.
#include "cli/ScanCommand.h"

int main(int argc, char** argv) {
    return ringfold::cli::runScanCommand(argc, argv);
}
