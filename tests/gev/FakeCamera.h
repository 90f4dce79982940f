#pragma once

// The fake GigE Vision camera of the aravis-tools package, run on loopback inside the private
// network namespace that run-in-netns.sh makes for every test.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace lumo_gev {

// Empty when this process may talk GigE Vision: inside the wrapper's namespace with nothing but
// loopback. Otherwise the reason not to.
inline std::string NetworkNamespaceProblem() {
    const char* flag = std::getenv("LUMO_GEV_NETNS");
    if (flag == nullptr || std::string(flag) != "1")
        return "not started through run-in-netns.sh (no private network namespace)";
    struct if_nameindex* list = if_nameindex();
    if (list == nullptr)
        return "cannot list the network interfaces";
    std::string others;
    for (struct if_nameindex* i = list; i->if_index != 0; ++i) {
        if (std::string(i->if_name) != "lo")
            others += std::string(" ") + i->if_name;
    }
    if_freenameindex(list);
    return others.empty() ? "" : "interfaces besides loopback:" + others;
}

#define LUMO_REQUIRE_LOOPBACK_ONLY()                                   \
    do {                                                               \
        const std::string why = ::lumo_gev::NetworkNamespaceProblem(); \
        if (!why.empty())                                              \
            GTEST_SKIP() << "GigE Vision test not run: " << why;       \
    } while (0)

// True once the camera answers a GVCP register read on 127.0.0.1.
inline bool CameraAnswers() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const unsigned char cmd[12] = {0x42, 0x01, 0x00, 0x80, 0x00, 0x04, 0x00, 0x01, 0, 0, 0, 0};
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(3956);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bool ok = sendto(fd, cmd, sizeof cmd, 0, reinterpret_cast<sockaddr*>(&to), sizeof to) > 0;
    pollfd p{fd, POLLIN, 0};
    ok = ok && poll(&p, 1, 100) == 1;
    close(fd);
    return ok;
}

class FakeCamera {
public:
    explicit FakeCamera(const std::string& serial, int lostPerThousand = 0) {
        std::vector<std::string> args = {"arv-fake-gv-camera-0.8", "-i", "127.0.0.1", "-s", serial};
        if (lostPerThousand > 0) {
            args.push_back("-r");
            args.push_back(std::to_string(lostPerThousand));
        }
        std::vector<char*> argv;
        for (auto& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t quiet;
        posix_spawn_file_actions_init(&quiet);
        posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
        if (posix_spawnp(&pid_, argv[0], &quiet, nullptr, argv.data(), environ) != 0)
            pid_ = -1;
        posix_spawn_file_actions_destroy(&quiet);
        for (int i = 0; pid_ > 0 && i < 100 && !CameraAnswers(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ~FakeCamera() { Kill(); }
    FakeCamera(const FakeCamera&) = delete;
    FakeCamera& operator=(const FakeCamera&) = delete;

    bool Running() const { return pid_ > 0 && CameraAnswers(); }
    // The camera vanishes at once, as a camera whose cable is pulled.
    void Kill() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

private:
    pid_t pid_ = -1;
};

// Registers of the fake camera (its description file names them).
constexpr uint64_t kWidthRegister = 0x100;
constexpr uint64_t kHeightRegister = 0x104;
constexpr uint64_t kAcquisitionCommand = 0x124;
constexpr uint64_t kFramePeriodUs = 0x138;
constexpr uint64_t kPacketSizeRegister = 0x0D04;  // GigE Vision bootstrap: stream channel 0

}  // namespace lumo_gev
