#pragma once

// `lumocam view` as a child process on a free port of 127.0.0.1, with a
// simulated producer configuration of the test's choosing. The port is read
// from the line the tool prints when it serves.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "ScenarioDir.h"

class ViewServerProcess {
public:
    explicit ViewServerProcess(const std::string& config, std::vector<std::string> args = {}) {
        const auto configFile = m_dir.Write("sim.json", config);
        std::vector<std::string> argv{LUMOCAM_PATH, "view", "--port", "0"};
        argv.insert(argv.end(), args.begin(), args.end());
        m_pid = fork();
        if (m_pid == 0) {
            FILE* out = std::freopen(OutPath().c_str(), "w", stdout);
            FILE* err = std::freopen(ErrPath().c_str(), "w", stderr);
            if (out == nullptr || err == nullptr || chdir(m_dir.Path().c_str()) != 0) {
                _exit(126);
            }
            ExecWithConfig(argv, configFile);
        }
        m_port = AwaitPort();
    }
    ~ViewServerProcess() {
        if (m_pid > 0 && !m_reaped) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }
    ViewServerProcess(const ViewServerProcess&) = delete;
    ViewServerProcess& operator=(const ViewServerProcess&) = delete;

    int Port() const { return m_port; }  // 0 when it never served
    std::string Out() const { return ReadText(OutPath()); }
    std::string Err() const { return ReadText(ErrPath()); }

    void Signal(int signal) { kill(m_pid, signal); }

    // Sends the signal and waits up to `limit` for the exit; the exit code,
    // 128 + signal when killed, or -1 when it did not end in time.
    int Stop(int signal, std::chrono::milliseconds limit) {
        kill(m_pid, signal);
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_reaped = true;
                return ExitCode(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return -1;
    }

private:
    std::filesystem::path OutPath() const { return m_dir.Path() / "stdout.txt"; }
    std::filesystem::path ErrPath() const { return m_dir.Path() / "stderr.txt"; }

    int AwaitPort() {
        // Generous: under AddressSanitizer the library and producer load slowly.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        const std::string marker = "http://127.0.0.1:";
        while (std::chrono::steady_clock::now() < deadline) {
            const std::string out = Out();
            if (const auto at = out.find(marker); at != std::string::npos) {
                return std::stoi(out.substr(at + marker.size()));
            }
            int status = 0;
            if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_reaped = true;
                return 0;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return 0;
    }

    ScenarioDir m_dir;
    pid_t m_pid = -1;
    bool m_reaped = false;
    int m_port = 0;
};
