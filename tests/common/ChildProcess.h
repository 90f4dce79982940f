#pragma once

// What tests that run a built program as a child process share: starting it
// with a simulated producer configuration, reading back what it wrote, and
// its exit status as a shell reports it.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using ChildEnv = std::vector<std::pair<std::string, std::string>>;

// In a forked child: runs argv[0] with LUMOSIM_CONFIG naming `config` and
// the variables of `env` set; exits 127 when it cannot start.
[[noreturn]] inline void ExecWithConfig(std::vector<std::string> argv,
                                        const std::filesystem::path& config,
                                        const ChildEnv& env = {}) {
    setenv("LUMOSIM_CONFIG", config.c_str(), 1);
    for (const auto& [name, value] : env) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> raw;
    for (auto& a : argv) {
        raw.push_back(a.data());
    }
    raw.push_back(nullptr);
    execv(raw[0], raw.data());
    _exit(127);
}

// The exit code, or 128 + signal when the child was killed.
inline int ExitCode(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The file's whole content; empty when it cannot be read.
inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}
