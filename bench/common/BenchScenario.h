#pragma once

// Benchmarks of the library run in a scenario directory, because the library
// finds producers only beside its own file: the first run prepares the
// directory and starts the benchmark again from there.

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ScenarioDir.h"

inline bool InBenchScenario() {
    return std::getenv("LUMO_SCENARIO_DIR") != nullptr;
}

// Runs this program again inside `dir` (with its library first on the loader
// path) and the same arguments; 0 when that run succeeded, else 1.
inline int RunBenchInScenario(const ScenarioDir& dir, int argc, char** argv) {
    const std::string path = dir.Path().string();
    setenv("LD_LIBRARY_PATH", path.c_str(), 1);
    setenv("LUMO_SCENARIO_DIR", path.c_str(), 1);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string cmd = "cd '" + path + "' && '" + self + "'";
    for (int i = 1; i < argc; ++i) {
        cmd += std::string(" '") + argv[i] + "'";
    }
    return std::system(cmd.c_str()) == 0 ? 0 : 1;
}

// Runs this program again in a scenario directory that holds a copy of the
// library of `libDir` and the simulated producer configured by `json`.
inline int RunBenchWithSimulator(const std::filesystem::path& libDir, const std::string& json,
                                 int argc, char** argv) {
    ScenarioDir dir;
    dir.Copy(libDir / "libLumoGenICam.so.0");
    dir.AddProducer(libDir / "LumoSim.cti", json);
    return RunBenchInScenario(dir, argc, argv);
}
