#pragma once
// The command-line front end of the scanner: options, the live progress line,
// Ctrl+C, and the text and JSON reports. Core only, no Qt.

namespace ringfold::cli {

/// Exit codes: 0 done, 1 internal failure, 2 bad input, 128 + the signal when
/// SIGINT (130) or SIGTERM (143) stopped the scan.
int runScanCommand(int argc, char** argv);

} // namespace ringfold::cli
