#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace spdlog {
class logger;
}

namespace VEXOGENICAM {

// The process-wide rolling log file. It is set up once, by the first Init, and
// stays open until the process ends: UnInit does not close it, so records
// written while a second Init runs go to the same file.
class CRollingLog {
public:
    struct Settings {
        std::string fileName;     // relative names land in the working directory
        std::size_t maxFileSize;  // bytes per file before it rolls over
        std::size_t maxFiles;     // files kept in all, the current one included
        int severity;             // 0 none, 1 fatal, 2 error, 3 warning, 4 info, 5 debug, 6 verbose
    };

    // The settings Init uses.
    static Settings Defaults();
    // `settings` with what the environment chooses: LUMO_LOG_FILE names the
    // file ("off": no log), LUMO_LOG_LEVEL the severity (0-6, or off, fatal,
    // error, warning, info, debug, verbose). A value that makes no sense is
    // said once on standard error and ignored.
    static Settings WithEnvironment(Settings settings);

    // Sets the log up unless it already is; returns whether logging is on. An
    // empty file name keeps logging off. A file that cannot be opened leaves
    // logging off and says why in one line on standard error, once per
    // process; it never throws.
    static bool Setup(const Settings& settings);

    // The logger, or null while logging is off.
    static std::shared_ptr<spdlog::logger> Logger();

    // Closes the log so that the next Setup starts afresh. Only for tests.
    static void ResetForTesting();
};

}  // namespace VEXOGENICAM
