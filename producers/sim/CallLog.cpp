#include "CallLog.h"

#include <cstdio>
#include <cstdlib>

namespace LumoSim {

void RecordCall(const char* name, const std::string& detail) {
    const char* path = std::getenv("LUMOSIM_CALL_LOG");
    if (path == nullptr || *path == '\0') {
        return;
    }
    // One write per line keeps lines whole when several threads call at once.
    const std::string line =
        detail.empty() ? std::string(name) + "\n" : std::string(name) + " " + detail + "\n";
    if (std::FILE* file = std::fopen(path, "a")) {
        std::fwrite(line.data(), 1, line.size(), file);
        std::fclose(file);
    }
}

}  // namespace LumoSim
