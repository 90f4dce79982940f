#pragma once

// Runs a test body against a copy of the library in a scenario directory.
//
// The library looks for producers only beside its own file, so an end-to-end
// test puts a real copy of libLumoGenICam and its producers into a directory
// and runs the test again in a child process whose loader finds that copy
// first (LD_LIBRARY_PATH). The child also works in that directory, so the log
// file lands there. A failure or a sanitizer report in the child fails the
// parent test.
//
//   TEST(Suite, Name) {
//       if (!lumo_test::InScenarioChild()) {   // parent: prepare, run the child
//           lumo_test::LibraryScenario dir;
//           dir.AddLibrary();
//           dir.AddProducer(lumo_test::SimCti(), json);
//           return lumo_test::RunInChild(dir);
//       }
//       ... checks that run in the child ...
//   }

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "ScenarioDir.h"

namespace lumo_test {

inline std::filesystem::path LibDir() {
    return LUMO_LIB_DIR;
}
// The simulated producer beside the library, or one of its test variants.
inline std::filesystem::path SimCti(const std::string& name = "LumoSim.cti") {
    return name == "LumoSim.cti" ? LibDir() / name : LibDir() / "variants" / name;
}

class LibraryScenario : public ScenarioDir {
public:
    // A real copy under the name the loader asks for (the SONAME).
    void AddLibrary() { Copy(LibDir() / "libLumoGenICam.so.0"); }
};

inline bool InScenarioChild() {
    return std::getenv("LUMO_SCENARIO_DIR") != nullptr;
}

inline std::filesystem::path ScenarioPath() {
    const char* dir = std::getenv("LUMO_SCENARIO_DIR");
    return dir != nullptr ? std::filesystem::path(dir) : std::filesystem::path();
}

// Runs the current test in a child process inside `dir`; returns its exit status.
inline int RunCurrentTestIn(const std::filesystem::path& dir) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter =
        std::string("--gtest_filter=") + info->test_suite_name() + "." + info->name();
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();

    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) {
        const std::string entry(*e);
        if (entry.rfind("LD_LIBRARY_PATH=", 0) != 0 && entry.rfind("LUMO_SCENARIO_DIR=", 0) != 0 &&
            entry.rfind("GTEST_", 0) != 0) {
            env.push_back(entry);
        }
    }
    env.push_back("LD_LIBRARY_PATH=" + dir.string());
    env.push_back("LUMO_SCENARIO_DIR=" + dir.string());
    std::vector<char*> envp;
    for (auto& e : env) {
        envp.push_back(e.data());
    }
    envp.push_back(nullptr);
    std::string arg0 = self;
    std::string arg1 = filter;
    char* argv[] = {arg0.data(), arg1.data(), nullptr};

    const pid_t pid = fork();
    if (pid == 0) {
        if (chdir(dir.c_str()) != 0) {
            _exit(126);
        }
        execve(self.c_str(), argv, envp.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return ExitCode(status);
}

// Runs the current test in `dir` and fails the parent test if the child fails.
inline void RunInChild(const ScenarioDir& dir) {
    EXPECT_EQ(RunCurrentTestIn(dir.Path()), 0)
        << "the test failed in its scenario directory " << dir.Path();
}

// The directory of the library file this process really uses.
inline std::filesystem::path LoadedLibraryDir(const void* symbol) {
    Dl_info info{};
    if (dladdr(symbol, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    return std::filesystem::path(info.dli_fname).parent_path();
}

}  // namespace lumo_test
