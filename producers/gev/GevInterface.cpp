#include "GevInterface.h"

#include <arpa/inet.h>
#include <arv.h>

#include <cstdio>
#include <cstring>

#include "HostNetwork.h"

namespace LumoGev {
namespace {

using namespace GenTL;

constexpr int kBootstrapTimeoutMs = 300;

std::array<uint8_t, 6> ParseMac(const char* text) {
    std::array<uint8_t, 6> mac{};
    unsigned v[6] = {};
    if (text != nullptr &&
        std::sscanf(text, "%x:%x:%x:%x:%x:%x", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]) == 6) {
        for (size_t i = 0; i < 6; ++i)
            mac[i] = static_cast<uint8_t>(v[i]);
    }
    return mac;
}

std::string Str(const char* s) {
    return s != nullptr ? s : "";
}

std::vector<uint8_t> Ipv4(uint32_t networkOrder) {
    const auto* p = reinterpret_cast<const uint8_t*>(&networkOrder);
    return {p, p + 4};
}

}  // namespace

CInterface::CInterface(void* parent) : parentSystem(parent) {
    BuildFeatures();
}

bool CInterface::UpdateDevices() {
    ArvInterface* gv = arv_gv_interface_get_instance();
    arv_interface_update_device_list(gv);
    std::vector<DeviceRecord> found;
    for (unsigned i = 0; i < arv_interface_get_n_devices(gv); ++i) {
        DeviceRecord r;
        r.id = Str(arv_interface_get_device_id(gv, i));
        r.vendor = Str(arv_interface_get_device_vendor(gv, i));
        r.model = Str(arv_interface_get_device_model(gv, i));
        r.serial = Str(arv_interface_get_device_serial_nbr(gv, i));
        r.manufacturerInfo = Str(arv_interface_get_device_manufacturer_info(gv, i));
        r.mac = ParseMac(arv_interface_get_device_physical_id(gv, i));
        r.ip = ParseIpv4(Str(arv_interface_get_device_address(gv, i)));
        if (const auto host = HostInterfaceFor(r.ip)) {
            r.hostInterface = host->name;
            r.hostAddress = host->address;
            r.hostMask = host->mask;
        }
        if (const auto boot = ReadBootstrap(r.ip, kBootstrapTimeoutMs)) {
            r.bootstrapRead = true;
            r.subnetMask = boot->subnetMask;
            r.gateway = boot->gateway;
            r.tickFrequency = boot->tickFrequency;
            r.controlled = boot->controlPrivilege != 0;
        }
        found.push_back(std::move(r));
    }
    bool changed = found.size() != devices_.size();
    for (size_t i = 0; !changed && i < found.size(); ++i)
        changed = found[i].id != devices_[i].id || found[i].ip != devices_[i].ip;
    devices_ = std::move(found);
    return changed;
}

const DeviceRecord* CInterface::Lookup(const std::string& idOrAddress) const {
    for (const auto& r : devices_) {
        if (r.id == idOrAddress)
            return &r;
    }
    // A camera may also be named by its IPv4 address.
    const uint32_t ip = ParseIpv4(idOrAddress);
    for (const auto& r : devices_) {
        if (ip != 0 && r.ip == ip)
            return &r;
    }
    return nullptr;
}

CDevice* CInterface::OpenDevice(const std::string& id) const {
    for (const auto& d : open) {
        if (d->record.id == id)
            return d.get();
    }
    return nullptr;
}

InfoReply CInterface::DeviceInfo(const DeviceRecord& r, DEVICE_INFO_CMD cmd) const {
    const CDevice* dev = OpenDevice(r.id);
    switch (cmd) {
        case DEVICE_INFO_ID:
            return InfoReply::Text(r.id);
        case DEVICE_INFO_VENDOR:
            return InfoReply::Text(r.vendor);
        case DEVICE_INFO_MODEL:
            return InfoReply::Text(r.model);
        case DEVICE_INFO_TLTYPE:
            return InfoReply::Text("GEV");
        case DEVICE_INFO_DISPLAYNAME:
            return InfoReply::Text(r.DisplayName());
        case DEVICE_INFO_ACCESS_STATUS:
            if (dev != nullptr) {
                return InfoReply::I32(dev->access == DEVICE_ACCESS_READONLY
                                          ? DEVICE_ACCESS_STATUS_OPEN_READONLY
                                          : DEVICE_ACCESS_STATUS_OPEN_READWRITE);
            }
            if (!r.bootstrapRead)
                return InfoReply::I32(DEVICE_ACCESS_STATUS_UNKNOWN);
            return InfoReply::I32(r.controlled ? DEVICE_ACCESS_STATUS_BUSY
                                               : DEVICE_ACCESS_STATUS_READWRITE);
        case DEVICE_INFO_USER_DEFINED_NAME:
            Fail(GC_ERR_NOT_AVAILABLE, "the camera's user-defined name is not read at discovery");
        case DEVICE_INFO_SERIAL_NUMBER:
            return InfoReply::Text(r.serial);
        case DEVICE_INFO_VERSION:
            if (dev == nullptr)
                Fail(GC_ERR_NOT_AVAILABLE, "the version is known once the camera is open");
            return InfoReply::Text(dev->CameraString("DeviceVersion"));
        case DEVICE_INFO_TIMESTAMP_FREQUENCY:
            if (dev != nullptr)
                return InfoReply::U64(dev->TimestampFrequency());
            if (!r.bootstrapRead)
                Fail(GC_ERR_NOT_AVAILABLE, "the camera did not answer the bootstrap read");
            return InfoReply::U64(r.tickFrequency);
        // The GigE Vision extras; see the README for their meaning.
        case 1100:
            return InfoReply::Bytes({r.mac.rbegin(), r.mac.rend()});
        case 1101:
            return InfoReply::Bytes(Ipv4(r.ip));
        case 1102:
            return InfoReply::Bytes(Ipv4(r.subnetMask));
        case 1103:
            return InfoReply::Bytes(Ipv4(r.gateway));
        case 1104:
            return InfoReply::Text(r.hostInterface);
        case 1105:
            return InfoReply::Bytes(Ipv4(r.hostAddress));
        case 1106:
            return InfoReply::Bytes(Ipv4(r.hostMask));
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown DEVICE_INFO command " + std::to_string(cmd));
    }
}

InfoReply CInterface::Info(INTERFACE_INFO_CMD cmd) {
    switch (cmd) {
        case INTERFACE_INFO_ID:
            return InfoReply::Text(kId);
        case INTERFACE_INFO_DISPLAYNAME:
            return InfoReply::Text("GigE Vision (all host networks)");
        case INTERFACE_INFO_TLTYPE:
            return InfoReply::Text("GEV");
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown INTERFACE_INFO command " + std::to_string(cmd));
    }
}

void CInterface::BuildFeatures() {
    auto& f = features;
    f.String("InterfaceID", [] { return std::string(kId); });
    f.String("InterfaceDisplayName", [] { return std::string("GigE Vision (all host networks)"); });
    f.Enumeration("InterfaceType", {{"GigEVision", 0}}, [] { return int64_t{0}; });
    f.Command("DeviceUpdateList", [this] { UpdateDevices(); });
    f.Integer(
        "DeviceSelector", [this] { return int64_t{selector_}; },
        [this](int64_t v) {
            if (v < 0 || static_cast<size_t>(v) >= std::max<size_t>(devices_.size(), 1))
                Fail(GC_ERR_INVALID_VALUE, "DeviceSelector is beyond the device list");
            selector_ = static_cast<uint32_t>(v);
        });
    auto selected = [this]() -> const DeviceRecord* {
        return selector_ < devices_.size() ? &devices_[selector_] : nullptr;
    };
    auto text = [selected](std::string DeviceRecord::*field) {
        return [selected, field] {
            const DeviceRecord* r = selected();
            return r != nullptr ? r->*field : std::string();
        };
    };
    f.Integer("DeviceCount", [this] { return int64_t(devices_.size()); });
    f.String("DeviceID", text(&DeviceRecord::id));
    f.String("DeviceVendorName", text(&DeviceRecord::vendor));
    f.String("DeviceModelName", text(&DeviceRecord::model));
    f.String("DeviceSerialNumber", text(&DeviceRecord::serial));
    f.Enumeration("DeviceAccessStatus",
                  {{"Unknown", 0},
                   {"ReadWrite", 1},
                   {"ReadOnly", 2},
                   {"NoAccess", 3},
                   {"Busy", 4},
                   {"OpenReadWrite", 5},
                   {"OpenReadOnly", 6}},
                  [this, selected] {
                      const DeviceRecord* r = selected();
                      if (r == nullptr)
                          return int64_t{0};
                      int32_t v = 0;
                      std::memcpy(&v, DeviceInfo(*r, DEVICE_INFO_ACCESS_STATUS).bytes.data(), 4);
                      return int64_t{v};
                  });
    auto number = [selected](auto get) {
        return [selected, get] {
            const DeviceRecord* r = selected();
            return r != nullptr ? get(*r) : int64_t{0};
        };
    };
    f.Integer("GevDeviceIPAddress",
              number([](const DeviceRecord& r) { return int64_t{ntohl(r.ip)}; }));
    f.Integer("GevDeviceSubnetMask",
              number([](const DeviceRecord& r) { return int64_t{ntohl(r.subnetMask)}; }));
    f.Integer("GevDeviceGateway",
              number([](const DeviceRecord& r) { return int64_t{ntohl(r.gateway)}; }));
    f.Integer("GevDeviceMACAddress", number([](const DeviceRecord& r) { return MacValue(r.mac); }));
    f.Finish("LumoGevInterface.xml", "LumoGevInterface");
}

}  // namespace LumoGev
