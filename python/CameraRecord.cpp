#include "CameraRecord.h"

#include <array>
#include <cctype>
#include <sstream>
#include <stdexcept>

namespace lumopy {

using namespace VEXOGENICAM;

namespace {

struct TlName {
    TL_TYPE type;
    const char* key;      // as discover(tl=...) takes it
    const char* display;  // as records show it
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

std::string Text(const char* text) {
    return text != nullptr ? text : "";
}

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(" \t");
    std::string out = text.substr(first, last - first + 1);
    for (char& c : out) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

}  // namespace

RecordRef::RecordRef(ICameraInfo* info) : Held(Rank::Record), m_info(info) {
    try {
        Library::Get().Track(this);
    } catch (...) {
        info->Release();
        throw;
    }
}

RecordRef::~RecordRef() {
    Library::Get().Untrack(this);
    Drop();
}

void RecordRef::Drop() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_info != nullptr) {
        m_info->Release();
        m_info = nullptr;
    }
}

ICameraInfo* RecordRef::Get() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_info;
}

CameraRecord CameraRecord::FromInfo(ICameraInfo* info, bool owned) {
    CameraRecord record;
    record.serial = Text(info->GetSN());
    record.vendor = Text(info->GetManufacture());
    record.model = Text(info->GetModel());
    record.tlType = TlTypeName(info->GetTLType());
    record.userName = Text(info->GetUserDefineName());
    record.displayName = Text(info->GetDisplayName());
    record.id = Text(info->GetID());
    record.version = Text(info->GetVersion());
    record.accessStatus = AccessStatusName(info->GetAccessStatus());
    record.ip = Text(info->GetExInfo(EX_INFO_IP));
    record.mac = Text(info->GetExInfo(EX_INFO_MAC));
    if (owned) {
        record.ref = std::make_shared<RecordRef>(info);
    }
    return record;
}

std::string CameraRecord::Repr() const {
    std::ostringstream out;
    out << "CameraRecord(serial='" << serial << "', vendor='" << vendor << "', model='" << model
        << "', tl_type='" << tlType << "'";
    if (!ip.empty()) {
        out << ", ip='" << ip << "'";
    }
    out << ")";
    return out.str();
}

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

unsigned long long ParseTlMask(const std::string& names) {
    unsigned long long mask = 0;
    std::stringstream items(names);
    std::string item;
    while (std::getline(items, item, ',')) {
        const std::string key = Trimmed(item);
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
    if (mask == 0) {
        throw std::invalid_argument("tl names no transport layer");
    }
    return mask;
}

}  // namespace lumopy
