#include "CameraText.h"

#include <array>
#include <cctype>
#include <sstream>
#include <stdexcept>

#include "LumoResultCodes.h"

namespace lumoclient {

using namespace VEXOGENICAM;

namespace {

struct TlName {
    TL_TYPE type;
    const char* key;      // as a list of transport layers names it
    const char* display;  // as device lists show it
};
constexpr std::array<TlName, 9> kTlNames{{{TL_GEV, "gev", "GEV"},
                                          {TL_U3V, "u3v", "U3V"},
                                          {TL_CL, "cl", "CL"},
                                          {TL_CXP, "cxp", "CXP"},
                                          {TL_IIDC, "iidc", "IIDC"},
                                          {TL_UVC, "uvc", "UVC"},
                                          {TL_CLHS, "clhs", "CLHS"},
                                          {TL_ETHERNET, "ethernet", "Ethernet"},
                                          {TL_PCI, "pci", "PCI"}}};

std::string Key(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(" \t");
    std::string key = text.substr(first, last - first + 1);
    for (char& c : key) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return key;
}

}  // namespace

const char* TlTypeName(TL_TYPE type) {
    for (const auto& entry : kTlNames) {
        if (entry.type == type) {
            return entry.display;
        }
    }
    return "unknown";
}

const char* AccessStatusName(DEVICE_STATUS status) {
    switch (status) {
        case DEVICE_STATUS_READWRITE:
            return "available";
        case DEVICE_STATUS_READONLY:
            return "read-only";
        case DEVICE_STATUS_NOACCESS:
            return "no access";
        case DEVICE_STATUS_BUSY:
            return "busy";
        case DEVICE_STATUS_OPEN_READWRITE:
            return "open (read/write)";
        case DEVICE_STATUS_OPEN_READONLY:
            return "open (read-only)";
        case DEVICE_STATUS_UNKNOWN:
            break;
    }
    return "unknown";
}

unsigned long long ParseTlMask(const std::string& list) {
    unsigned long long mask = 0;
    std::stringstream items(list);
    std::string item;
    while (std::getline(items, item, ',')) {
        const std::string key = Key(item);
        bool known = false;
        for (const auto& entry : kTlNames) {
            if (key == entry.key) {
                mask |= static_cast<unsigned long long>(entry.type);
                known = true;
            }
        }
        if (!known) {
            throw std::invalid_argument("unknown transport layer '" + item +
                                        "' (gev, u3v, cl, cxp, iidc, uvc, clhs, ethernet, pci)");
        }
    }
    return mask;
}

const char* OpenFailure(int code) {
    switch (code) {
        case result::open::kNoProducer:
            return "no producer serves it";
        case result::open::kDeviceNotOpened:
            return "the device cannot be reached or opened (busy, no access, or still closing)";
        case result::open::kNoRemotePort:
            return "it has no remote device port";
        case result::open::kStreamCountFailed:
            return "its data streams cannot be counted";
        case result::open::kNoDataStream:
            return "it has no data stream";
        case result::open::kStreamIdFailed:
            return "its data stream ID cannot be read";
        case result::open::kStreamOpenFailed:
            return "its data stream cannot be opened";
        default:
            return "the producer refused";
    }
}

}  // namespace lumoclient
