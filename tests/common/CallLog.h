#pragma once

// The simulated producer's record of the calls made to it (LUMOSIM_CALL_LOG): one line per call,
// the function name and, for IFOpenDevice, the access flag. The file survives the producer's
// unloading, so a test sees also what happened during teardown.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace lumo_test {

class CallLog {
public:
    explicit CallLog(std::filesystem::path file) : path_(std::move(file)) {
        Clear();
        setenv("LUMOSIM_CALL_LOG", path_.c_str(), 1);
    }
    ~CallLog() { unsetenv("LUMOSIM_CALL_LOG"); }
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    void Clear() {
        std::error_code ec;
        std::filesystem::remove(path_, ec);
    }

    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::ifstream in(path_);
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    // The lines of calls to `function` (the name alone or the name with its detail).
    std::vector<std::string> Calls(const std::string& function) const {
        std::vector<std::string> found;
        for (const auto& line : Lines()) {
            if (line == function || line.rfind(function + " ", 0) == 0) {
                found.push_back(line);
            }
        }
        return found;
    }

private:
    std::filesystem::path path_;
};

}  // namespace lumo_test
