#include "HostNetwork.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace LumoGev {
namespace {

constexpr uint16_t kGvcpPort = 3956;
constexpr uint16_t kReadRegCmd = 0x0080;
constexpr uint16_t kReadRegAck = 0x0081;
// Subnet mask, gateway, control privilege, timestamp tick frequency (high, low).
constexpr std::array<uint32_t, 5> kRegisters = {0x0034, 0x0044, 0x0A00, 0x093C, 0x0940};

void PutBe16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
void PutBe32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<uint8_t>(v >> (24 - 8 * i));
}
uint16_t GetBe16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}
uint32_t GetBe32(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

class Socket {
public:
    Socket() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~Socket() {
        if (fd_ >= 0)
            close(fd_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

}  // namespace

uint32_t ParseIpv4(const std::string& dotted) {
    in_addr a{};
    return inet_pton(AF_INET, dotted.c_str(), &a) == 1 ? a.s_addr : 0;
}

std::optional<HostInterface> HostInterfaceFor(uint32_t deviceAddress) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return std::nullopt;
    std::optional<HostInterface> found;
    for (ifaddrs* i = list; i != nullptr && !found; i = i->ifa_next) {
        if (i->ifa_addr == nullptr || i->ifa_netmask == nullptr ||
            i->ifa_addr->sa_family != AF_INET)
            continue;
        const uint32_t addr = reinterpret_cast<sockaddr_in*>(i->ifa_addr)->sin_addr.s_addr;
        const uint32_t mask = reinterpret_cast<sockaddr_in*>(i->ifa_netmask)->sin_addr.s_addr;
        if ((addr & mask) == (deviceAddress & mask))
            found = HostInterface{i->ifa_name, addr, mask};
    }
    freeifaddrs(list);
    return found;
}

// One READREG per register: some devices answer only the first address of a longer request.
static std::optional<uint32_t> ReadRegister(const Socket& s, const sockaddr_in& to,
                                            uint32_t address, uint16_t requestId, int timeoutMs) {
    std::array<uint8_t, 12> cmd{};
    cmd[0] = 0x42;
    cmd[1] = 0x01;  // acknowledge required
    PutBe16(&cmd[2], kReadRegCmd);
    PutBe16(&cmd[4], 4);
    PutBe16(&cmd[6], requestId);
    PutBe32(&cmd[8], address);
    if (sendto(s.fd(), cmd.data(), cmd.size(), 0, reinterpret_cast<const sockaddr*>(&to),
               sizeof to) < 0)
        return std::nullopt;
    pollfd p{s.fd(), POLLIN, 0};
    std::array<uint8_t, 576> ack{};
    while (poll(&p, 1, timeoutMs) == 1) {
        const ssize_t n = recv(s.fd(), ack.data(), ack.size(), 0);
        if (n < 12 || GetBe16(&ack[2]) != kReadRegAck || GetBe16(&ack[6]) != requestId)
            continue;
        if (GetBe16(&ack[0]) != 0)
            return std::nullopt;
        return GetBe32(&ack[8]);
    }
    return std::nullopt;
}

std::optional<BootstrapInfo> ReadBootstrap(uint32_t deviceAddress, int timeoutMs) {
    Socket s;
    if (s.fd() < 0)
        return std::nullopt;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kGvcpPort);
    to.sin_addr.s_addr = deviceAddress;
    std::array<uint32_t, kRegisters.size()> values{};
    uint16_t requestId = static_cast<uint16_t>(1 + (getpid() & 0x3FFF));
    for (size_t i = 0; i < kRegisters.size(); ++i) {
        const auto v = ReadRegister(s, to, kRegisters[i], requestId++, timeoutMs);
        if (!v)
            return std::nullopt;
        values[i] = *v;
    }
    BootstrapInfo info;
    info.subnetMask = htonl(values[0]);
    info.gateway = htonl(values[1]);
    info.controlPrivilege = values[2];
    info.tickFrequency = uint64_t{values[3]} << 32 | values[4];
    return info;
}

}  // namespace LumoGev
