#pragma once

// Runs lumocam as its own process against the simulated producer, in a
// scenario folder of its own, and collects exit code, stdout and stderr.
#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "ScenarioDir.h"

namespace lumotest {

namespace fs = std::filesystem;

struct Result {
    int code = -1;
    std::string out;
    std::string err;
};

// Two GigE Vision-like colour cameras on one interface and a USB3 mono one on
// another; `faults` adds a top-level "faults" object.
inline std::string Config(const std::string& faults = "") {
    return R"({"interfaces": [
      {"id": "IF0", "tlType": "GEV", "devices": [
        {"id": "DEV_G1", "tlType": "GEV", "vendor": "Acme", "model": "G-640", "serial": "G1",
         "userName": "left", "sensorWidth": 640, "sensorHeight": 480, "pixelFormats": "all",
         "pixelFormat": "BayerRG8", "frameRate": 100,
         "gev": {"mac": [0,17,34,51,68,85], "ip": "10.0.0.7", "subnet": "255.0.0.0",
                 "gateway": "10.0.0.1", "text": "t", "addr5": "0.0.0.0", "addr6": "0.0.0.0"}},
        {"id": "DEV_G2", "tlType": "GEV", "vendor": "Acme", "model": "G-640", "serial": "G2",
         "sensorWidth": 640, "sensorHeight": 480, "pixelFormats": "all", "frameRate": 100,
         "gev": {"mac": [1,2,3,4,5,6], "ip": "10.0.0.8", "subnet": "255.0.0.0",
                 "gateway": "10.0.0.1", "text": "t", "addr5": "0.0.0.0", "addr6": "0.0.0.0"}}]},
      {"id": "IF1", "tlType": "U3V", "devices": [
        {"id": "DEV_U1", "tlType": "U3V", "vendor": "Birch", "model": "U-64", "serial": "U1",
         "sensorWidth": 64, "sensorHeight": 48, "pixelFormats": ["Mono8"], "frameRate": 0}]}])" +
           (faults.empty() ? "" : ", \"faults\": " + faults) + "}";
}

// A scenario folder: the producer configuration and the tool's working directory.
class Lumocam {
public:
    explicit Lumocam(const std::string& config = Config()) {
        m_config = m_dir.Write("sim.json", config);
    }
    const fs::path& Dir() const { return m_dir.Path(); }
    ScenarioDir& Scenario() { return m_dir; }
    // An environment variable for every later run.
    void Env(const std::string& name, const std::string& value) { m_env.emplace_back(name, value); }

    // Starts lumocam; stdout and stderr go to files in the scenario folder.
    pid_t Start(const std::vector<std::string>& args) {
        std::vector<std::string> argv{LUMOCAM_PATH};
        argv.insert(argv.end(), args.begin(), args.end());
        const fs::path out = Dir() / "stdout.txt";
        const fs::path err = Dir() / "stderr.txt";
        const pid_t pid = fork();
        if (pid == 0) {
            const int outFd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int errFd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (outFd < 0 || errFd < 0 || dup2(outFd, 1) < 0 || dup2(errFd, 2) < 0 ||
                chdir(Dir().c_str()) != 0) {
                _exit(126);
            }
            ExecWithConfig(argv, m_config, m_env);
        }
        return pid;
    }

    Result Wait(pid_t pid) {
        int status = 0;
        waitpid(pid, &status, 0);
        Result result;
        result.code = ExitCode(status);
        result.out = ReadText(Dir() / "stdout.txt");
        result.err = ReadText(Dir() / "stderr.txt");
        return result;
    }

    Result Run(const std::vector<std::string>& args) { return Wait(Start(args)); }

    // Runs lumocam on a pseudo-terminal, as from an interactive shell;
    // stdout and stderr both arrive in Result::out.
    Result RunOnTerminal(const std::vector<std::string>& args) {
        std::vector<std::string> argv{LUMOCAM_PATH};
        argv.insert(argv.end(), args.begin(), args.end());
        int master = -1;
        const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
        if (pid == 0) {
            if (chdir(Dir().c_str()) != 0) {
                _exit(126);
            }
            ExecWithConfig(argv, m_config, m_env);
        }
        Result result;
        if (pid < 0) {
            return result;
        }
        char buffer[4096];
        for (;;) {
            const ssize_t got = read(master, buffer, sizeof buffer);
            if (got > 0) {
                result.out.append(buffer, static_cast<std::size_t>(got));
            } else if (got < 0 && errno == EINTR) {
                continue;
            } else {
                break;  // EIO once the child has gone
            }
        }
        close(master);
        int status = 0;
        waitpid(pid, &status, 0);
        result.code = ExitCode(status);
        return result;
    }

private:
    ScenarioDir m_dir;
    fs::path m_config;
    ChildEnv m_env;
};

}  // namespace lumotest
