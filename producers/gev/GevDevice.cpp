#include "GevDevice.h"

#include <arpa/inet.h>

#include <cstring>

#include "AlignedAccess.h"
#include "GentlError.h"

namespace LumoGev {
namespace {

using namespace GenTL;

constexpr uint64_t kFirstUrlAddress = 0x0200;  // bootstrap: first description URL, 512 bytes
constexpr uint32_t kControlPrivilege = 0x0A00;
constexpr uint32_t kPrivilegeExclusive = 0x1;
constexpr uint32_t kPrivilegeControl = 0x2;

GInetAddress* InetAddress(uint32_t networkOrder) {
    return g_inet_address_new_from_bytes(reinterpret_cast<const guint8*>(&networkOrder),
                                         G_SOCKET_FAMILY_IPV4);
}

GC_ERROR CodeOf(const GError* err, bool lost) {
    if (lost || err == nullptr || err->domain != ARV_DEVICE_ERROR)
        return GC_ERR_IO;
    switch (err->code) {
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
            return GC_ERR_INVALID_ADDRESS;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        case ARV_DEVICE_ERROR_NOT_CONTROLLER:
            return GC_ERR_ACCESS_DENIED;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
            return GC_ERR_INVALID_VALUE;
        default:
            return GC_ERR_IO;
    }
}

// Runs one Aravis transfer and turns its error into the GenTL failure.
template <typename F>
void Transfer(const char* what, uint64_t address, bool lost, F&& call) {
    GError* err = nullptr;
    if (call(&err))
        return;
    const GC_ERROR code = CodeOf(err, lost);
    std::string text = std::string(what) + " at 0x" + [&] {
        char b[20];
        std::snprintf(b, sizeof b, "%llX", static_cast<unsigned long long>(address));
        return std::string(b);
    }() + " failed: " + (err != nullptr ? err->message : "unknown error");
    if (lost)
        text += " (the camera stopped answering)";
    g_clear_error(&err);
    Fail(code, text);
}

}  // namespace

CDevice::CDevice(const DeviceRecord& rec, DEVICE_ACCESS_FLAGS flags) : record(rec), access(flags) {
    GInetAddress* host = InetAddress(rec.hostAddress != 0 ? rec.hostAddress : htonl(INADDR_ANY));
    GInetAddress* cam = InetAddress(rec.ip);
    GError* err = nullptr;
    arv_ = arv_gv_device_new(host, cam, &err);
    g_object_unref(host);
    g_object_unref(cam);
    if (arv_ == nullptr) {
        const std::string why = err != nullptr ? err->message : "no answer";
        g_clear_error(&err);
        Fail(GC_ERR_IO, "cannot open " + rec.id + ": " + why);
    }
    ArvGvDevice* gv = ARV_GV_DEVICE(arv_);
    const bool controller = arv_gv_device_is_controller(gv);
    if (flags != DEVICE_ACCESS_READONLY && !controller) {
        g_object_unref(arv_);
        Fail(GC_ERR_ACCESS_DENIED, rec.id + " is controlled by another application");
    }
    if (flags == DEVICE_ACCESS_READONLY && controller)
        arv_gv_device_leave_control(gv, nullptr);
    if (flags == DEVICE_ACCESS_EXCLUSIVE &&
        !arv_device_write_register(arv_, kControlPrivilege, kPrivilegeExclusive, nullptr)) {
        arv_device_write_register(arv_, kControlPrivilege, kPrivilegeControl, nullptr);
        g_object_unref(arv_);
        Fail(GC_ERR_ACCESS_DENIED, rec.id + " refuses exclusive access");
    }
    tickFrequency_ = arv_gv_device_get_timestamp_tick_frequency(gv, nullptr);
    char url[513] = {};
    if (arv_device_read_memory(arv_, kFirstUrlAddress, 512, url, nullptr))
        remoteUrl_ = url;
    lostSignal_ = g_signal_connect(arv_, "control-lost", G_CALLBACK(OnControlLost), this);
    BuildFeatures();
}

CDevice::~CDevice() {
    stream.reset();
    g_signal_handler_disconnect(arv_, lostSignal_);
    g_object_unref(arv_);  // gives control back
}

void CDevice::OnControlLost(ArvGvDevice*, gpointer self) {
    static_cast<CDevice*>(self)->lost_ = true;
}

void CDevice::ReadRemote(uint64_t address, uint8_t* dst, size_t size) {
    Transfer("reading the camera", address, lost_, [&](GError** err) {
        return ReadAligned(address, dst, size, [&](uint64_t a, uint8_t* d, size_t n) {
            if (n == 4) {
                // One register: READREG, which every camera implements.
                guint32 v = 0;
                if (!arv_device_read_register(arv_, a, &v, err))
                    return false;
                const uint32_t be = htonl(v);
                std::memcpy(d, &be, 4);
                return true;
            }
            return static_cast<bool>(
                arv_device_read_memory(arv_, a, static_cast<guint32>(n), d, err));
        });
    });
}

void CDevice::WriteRemote(uint64_t address, const uint8_t* src, size_t size) {
    if (access == DEVICE_ACCESS_READONLY)
        Fail(GC_ERR_ACCESS_DENIED, "the camera was opened read-only");
    auto read = [&](GError** err) {
        return [this, err](uint64_t a, uint8_t* d, size_t n) {
            return static_cast<bool>(
                arv_device_read_memory(arv_, a, static_cast<guint32>(n), d, err));
        };
    };
    Transfer("writing the camera", address, lost_, [&](GError** err) {
        return WriteAligned(address, src, size, read(err), [&](uint64_t a, uint8_t* d, size_t n) {
            if (n == 4) {
                uint32_t be = 0;
                std::memcpy(&be, d, 4);
                return static_cast<bool>(arv_device_write_register(arv_, a, ntohl(be), err));
            }
            return static_cast<bool>(
                arv_device_write_memory(arv_, a, static_cast<guint32>(n), d, err));
        });
    });
}

int64_t CDevice::CameraInteger(const char* feature, int64_t fallback) const {
    GError* err = nullptr;
    const gint64 v = arv_device_get_integer_feature_value(arv_, feature, &err);
    if (err != nullptr) {
        g_clear_error(&err);
        return fallback;
    }
    return v;
}

std::string CDevice::CameraString(const char* feature) const {
    GError* err = nullptr;
    const char* v = arv_device_get_string_feature_value(arv_, feature, &err);
    g_clear_error(&err);
    return v != nullptr ? v : "";
}

}  // namespace LumoGev
