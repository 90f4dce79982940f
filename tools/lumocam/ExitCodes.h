#pragma once

#include <stdexcept>
#include <string>

namespace lumocam {

// Exit codes of lumocam; scripts depend on them, so they are listed in the
// README and never renumbered.
enum ExitCode : int {
    kExitOk = 0,
    kExitFailure = 1,         // the library, the device or a file operation failed
    kExitUsage = 2,           // bad command line
    kExitNoCamera = 3,        // no camera matches the serial number or index
    kExitUnknownFeature = 4,  // the node map has no such feature
    kExitAccessDenied = 5,    // the feature cannot be read or written now
    kExitBadValue = 6,        // the value does not parse, is out of range or not an entry
    kExitCameraBusy = 7,      // another application holds the camera
    kExitInterrupted = 130,   // Ctrl-C, the shell's convention for SIGINT
    kExitTerminated = 143,    // SIGTERM, by the same convention
};

// Every failure travels to main as one of these, which prints the message and
// returns the code, so that all paths unwind and release what they hold.
class ToolError : public std::runtime_error {
public:
    ToolError(ExitCode code, const std::string& message)
        : std::runtime_error(message), m_code(code) {}
    ExitCode Code() const noexcept { return m_code; }

private:
    ExitCode m_code;
};

}  // namespace lumocam
