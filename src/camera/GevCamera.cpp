#include "camera/GevCamera.h"

#include <cstdint>

#include "Cti.h"
#include "CtiPort.h"

namespace VEXOGENICAM {

namespace {

// Data stream registers of the producer that take the packet-size limits and
// the stream's transfer settings.
constexpr std::uint64_t kRegPacketMin = 0x228;
constexpr std::uint64_t kRegPacketMax = 0x22C;
constexpr std::uint64_t kRegPacketInc = 0x230;
constexpr std::uint64_t kRegStreamSetup = 0x24;
constexpr std::uint32_t kStreamSetupValue = 0x430;
constexpr std::int64_t kPacketIncFallback = 4;
constexpr std::int64_t kImageTimeoutMs = 2000;
constexpr std::int64_t kPfncMono16 = 0x01100007;

// A refused write is logged and otherwise ignored: the stream simply keeps its
// own defaults.
void WriteStreamRegister(CCti* cti, void* stream, std::uint64_t address, const void* value,
                         size_t size) {
    CCamera::Succeeded("Open", "GCWritePort", cti->GCWritePort(stream, address, value, &size));
}

void WriteStreamRegister16(CCti* cti, void* stream, std::uint64_t address, std::int64_t value) {
    const auto truncated = static_cast<std::uint16_t>(value);
    WriteStreamRegister(cti, stream, address, &truncated, sizeof truncated);
}

}  // namespace

CGevCamera::CGevCamera(CCameraInfo* info, CCameraManager* manager) : CCamera(info, manager) {}

CGevCamera::~CGevCamera() {
    // Closed before the members go: a running grab worker asks this class for
    // the pixel byte order until the acquisition has stopped.
    Retire();
    m_ptrPixelBigEndian.Release();
}

int CGevCamera::OpenAction(DEVICE_OPEN_MODE mode) {
    const int result = CCamera::OpenAction(mode);
    if (result != 0) {
        return result;
    }
    InitRegAction();
    return 0;
}

void CGevCamera::InitRegAction() {
    if (!m_pDevPort || !m_pDSPort || !m_pRMPort) {
        return;
    }
    CCti* cti = m_pDevPort->GetCti();
    void* stream = m_pDSPort->GetPort();
    if (cti == nullptr || stream == nullptr) {
        return;
    }
    GenApi::INodeMap* streamMap = m_pDSPort->GetNodeMap();
    GenApi::INodeMap* remoteMap = m_pRMPort->GetNodeMap();
    if (streamMap == nullptr || remoteMap == nullptr) {
        return;
    }
    try {
        WritePacketLimits(cti, stream, remoteMap);
    } catch (...) {
        // Without readable limits the producer keeps its own.
    }
    try {
        TuneStream(streamMap);
    } catch (...) {
        // The first setting the stream refuses ends the tuning.
    }
}

void CGevCamera::WritePacketLimits(CCti* cti, void* stream, GenApi::INodeMap* remote) {
    GenApi::CIntegerPtr packetSize = remote->GetNode("GevSCPSPacketSize");
    if (!packetSize.IsValid()) {
        return;
    }
    // -1 reports an unbounded limit, which the stream takes as 0. A valid
    // limit is read again rather than reused, as the device may refine it.
    const std::int64_t min = packetSize->GetMin() == -1 ? 0 : packetSize->GetMin();
    const std::int64_t max = packetSize->GetMax() == -1 ? 0 : packetSize->GetMax();
    std::int64_t inc = packetSize->GetInc();
    if (inc == 1) {
        inc = kPacketIncFallback;  // packets are sized in whole 32-bit words
    }
    WriteStreamRegister16(cti, stream, kRegPacketMin, min);
    WriteStreamRegister16(cti, stream, kRegPacketMax, max);
    WriteStreamRegister16(cti, stream, kRegPacketInc, inc);
    const std::uint32_t setup = kStreamSetupValue;
    WriteStreamRegister(cti, stream, kRegStreamSetup, &setup, sizeof setup);
}

void CGevCamera::TuneStream(GenApi::INodeMap* stream) {
    GenApi::CBooleanPtr resend = stream->GetNode("EnablePacketResend");
    if (resend.IsValid()) {
        resend->SetValue(true, true);
    }
    GenApi::CBooleanPtr filter = stream->GetNode("EnableFilterDriver");
    if (filter.IsValid()) {
        filter->SetValue(true, true);
        // A fresh read raises if the driver did not take the setting.
        static_cast<void>(filter->GetValue(true, true));
    }
    GenApi::CIntegerPtr timeout = stream->GetNode("ImageTimeout");
    if (timeout.IsValid()) {
        timeout->SetValue(kImageTimeoutMs, true);
    }
}

int CGevCamera::StartGrabAction(unsigned long long count) {
    const int result = CCamera::StartGrabAction(count);
    if (result != 0) {
        return result;
    }
    m_ptrPixelBigEndian.Release();
    GenApi::INodeMap* remote = m_pRMPort ? m_pRMPort->GetNodeMap() : nullptr;
    if (remote == nullptr) {
        return result;
    }
    try {
        GenApi::CBooleanPtr bigEndian = remote->GetNode("pgrPixelBigEndian");
        if (!bigEndian.IsValid()) {
            return result;
        }
        GenApi::CEnumerationPtr format = remote->GetNode("PixelFormat");
        if (format->GetIntValue(false, false) != kPfncMono16) {
            return result;
        }
        // Mono16 from such a camera is always taken little-endian.
        m_ptrPixelBigEndian = bigEndian;
        m_ptrPixelBigEndian->SetValue(false, true);
    } catch (...) {
        // The acquisition runs either way; the image reports the byte order.
    }
    return result;
}

bool CGevCamera::IsPixelBigEndian() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (!m_ptrPixelBigEndian.IsValid()) {
        return true;
    }
    return m_ptrPixelBigEndian->GetValue(false, false);
}

}  // namespace VEXOGENICAM
