#include "camera/CLCamera.h"

#include <cstdint>
#include <iostream>

#include "Cti.h"
#include "CtiPort.h"
#include "SimpleLog.h"
#include "camera/CLRemote.h"
#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

namespace {

constexpr int kOnlineAttempts = 3;
constexpr std::uint64_t kPfncMono8 = 0x01080001;
// Slack on every buffer: a grabber may deliver more than the geometry says
// (line padding, trailers).
constexpr unsigned long long kBufferPadding = 0x100000;

void SetTLParamsLocked(GenApi::INodeMap* device, std::int64_t value) {
    GenApi::CIntegerPtr locked = device->GetNode("TLParamsLocked");
    if (locked.IsValid()) {
        locked->SetValue(value, true);
    }
}

}  // namespace

CCLCamera::CCLCamera(CCameraInfo* info, CCameraManager* manager) : CCamera(info, manager) {}

CCLCamera::~CCLCamera() {
    // Closed here while this class's stop and close still apply: the base
    // destructor would stop the stream through the base versions only.
    Retire();
    m_pCLRemote.reset();
}

int CCLCamera::SetCLParam(const char* name, const char* value) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (m_pCLRemote) {
        if (name == nullptr) {
            m_pCLRemote.reset();
            return 0;
        }
        return -1;  // a remote is configured once
    }
    auto remote = std::make_unique<CCLRemote>();
    const int result = remote->SetParam(name, value);
    if (result == 0) {
        m_pCLRemote = std::move(remote);
    }
    return result;
}

IXml* CCLCamera::GetRMXml() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_pCLRemote.get();
}

bool CCLCamera::IsOnline() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    GenApi::INodeMap* nodeMap = m_pCLRemote ? m_pCLRemote->GetNodeMap() : nullptr;
    GenApi::CIntegerPtr width = nodeMap != nullptr ? nodeMap->GetNode("Width") : nullptr;
    if (!width.IsValid()) {
        return false;
    }
    for (int attempt = 0; attempt < kOnlineAttempts; ++attempt) {
        try {
            width->GetValue(true, true);
            return true;
        } catch (...) {
            std::cout << "IsOnline(): GetValue Exception" << std::endl;
        }
    }
    return false;
}

int CCLCamera::OpenAction(DEVICE_OPEN_MODE mode) {
    SimpleLog("CCLCamera::OpenAction start");
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    if (cti == nullptr) {
        return -1;
    }
    if (m_pDevPort) {
        CloseAction();
    }
    const int access = AccessFlags(mode);
    // The grabber is the producer's first interface; its device list is the
    // one discovery already read.
    CCtiPort* ifPort = cti->GetPortIF();
    void* device = nullptr;
    if (ifPort == nullptr ||
        cti->IFOpenDevice(ifPort->GetPort(), m_pCameraInfo->GetID(), access, &device) != 0) {
        return -2;
    }
    m_pDevPort = std::make_unique<CCtiPort>(cti, device);

    if (const int rc = OpenFirstStream(cti, device); rc != 0) {
        return rc;
    }
    SimpleLog("CCLCamera::OpenAction Finish");
    return 0;
}

void CCLCamera::CloseAction() {
    CCamera::CloseAction();
    m_pCLRemote.reset();
}

unsigned long long CCLCamera::BufferSize(GenApi::INodeMap* device) {
    GenApi::CIntegerPtr width = device->GetNode("Width");
    GenApi::CIntegerPtr height = device->GetNode("Height");
    if (!width.IsValid() || !height.IsValid()) {
        return 0;
    }
    GenApi::CEnumerationPtr format = device->GetNode("PixelFormat");
    // A grabber without a format feature delivers what the camera sends: 8-bit mono.
    const std::uint64_t pixelFormat =
        format.IsValid() ? static_cast<std::uint64_t>(format->GetIntValue(false, false))
                         : kPfncMono8;
    std::uint64_t bits = 0;
    std::uint64_t channels = 0;
    std::uint64_t payload = 0;
    m_imgTool.PayloadCalc(static_cast<std::uint64_t>(width->GetValue(false, false)),
                          static_cast<std::uint64_t>(height->GetValue(false, false)), pixelFormat,
                          bits, channels, payload);
    return payload == 0 ? 0 : payload + kBufferPadding;
}

int CCLCamera::AnnounceBuffers(CCti* cti, void* stream, unsigned long long size) {
    const unsigned long long wanted = GetAnnounceMinAction();
    for (unsigned long long i = 0; i < wanted; ++i) {
        auto data = std::make_unique_for_overwrite<unsigned char[]>(size);
        void* handle = nullptr;
        if (cti->DSAnnounceBuffer(stream, data.get(), size,
                                  reinterpret_cast<void*>(static_cast<std::uintptr_t>(i)),
                                  &handle) != 0) {
            // Those announced so far stay in the map for the stop path to revoke.
            return -6;
        }
        Succeeded("StartGrab", "DSQueueBuffer", cti->DSQueueBuffer(stream, handle));
        BUFFER& record = m_buffers[handle];
        record.hBuffer = handle;
        record.reserved = data.release();  // freed once the producer gave it back
    }
    return 0;
}

int CCLCamera::StartGrabAction(unsigned long long count) {
    if (!m_pDevPort || !m_pDSPort) {
        return -2;
    }
    CCti* cti = StreamCti();
    if (cti == nullptr) {
        return -3;
    }
    void* stream = StreamHandle();
    if (stream == nullptr) {
        return -4;
    }
    GenApi::INodeMap* device = m_pDevPort->GetNodeMap();
    if (device == nullptr) {
        return -5;
    }
    unsigned long long size = 0;
    try {
        size = BufferSize(device);
    } catch (...) {
        // An unreadable geometry sizes nothing.
    }
    if (size == 0) {
        return -6;
    }
    if (const int rc = AnnounceBuffers(cti, stream, size); rc != 0) {
        return rc;
    }
    if (const int rc = StartStream(cti, stream, count); rc != 0) {
        return rc;
    }
    try {
        SetTLParamsLocked(device, 1);
        if (m_pCLRemote) {
            m_pCLRemote->StartGrab(count);
        }
    } catch (...) {
        // The grabber streams whether or not the camera head answered.
        LogCaught("StartGrab: locking the grabber or starting the camera head failed");
    }
    return 0;
}

void CCLCamera::StopGrabAction() {
    CCti* cti = StreamCti();
    void* stream = StreamHandle();
    GenApi::INodeMap* device = m_pDevPort ? m_pDevPort->GetNodeMap() : nullptr;
    if (cti == nullptr || stream == nullptr || device == nullptr) {
        return;
    }
    // Waiting grabs return at once with GC_ERR_ABORT; every kill ends one wait.
    KillWaits(m_grabCount > 1 ? m_grabCount - 1 : 1);
    // Killed rather than drained: the buffers are the camera's own memory and
    // are revoked and freed right after.
    NoteStreamStop(cti->DSStopAcquisition(stream, GenTL::ACQ_STOP_FLAGS_KILL));
    try {
        SetTLParamsLocked(device, 0);
        if (m_pCLRemote) {
            m_pCLRemote->StopGrab();
        }
    } catch (...) {
        // Stopping goes on to release the buffers either way.
        LogCaught("StopGrab: unlocking the grabber or stopping the camera head failed");
    }
}

}  // namespace VEXOGENICAM
