#include "camera/Camera.h"

#include <iostream>

#include "Cti.h"
#include "CtiPort.h"
#include "camera/Grab.h"
#include "camera/Notify.h"
#include "core/CameraManager.h"
#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

namespace {

constexpr uint64_t kDeviceListTimeoutMs = 500;
constexpr size_t kStreamIdSize = 256;
constexpr int kOnlineAttempts = 3;

std::uint64_t NotifyKey(NOTIFY_SRC src, NOTIFY_TYPE type) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(src)) << 32) |
           static_cast<std::uint32_t>(type);
}

}  // namespace

int CCamera::AccessFlags(DEVICE_OPEN_MODE mode) {
    switch (mode) {
        case DEVICE_OPEN_MODE_CONTROL:
            return GenTL::DEVICE_ACCESS_CONTROL;
        case DEVICE_OPEN_MODE_READONLY:
            return GenTL::DEVICE_ACCESS_READONLY;
        default:
            return GenTL::DEVICE_ACCESS_EXCLUSIVE;
    }
}

CCamera::CCamera(CCameraInfo* info, CCameraManager* manager)
    : m_pCameraInfo(info), m_pCameraManager(manager) {
    m_imageLink->camera = this;
    if (m_pCameraInfo != nullptr) {
        m_pCameraInfo->Ref();
    }
    if (m_pCameraManager != nullptr) {
        m_pCameraManager->Insert(this);
    }
}

CCamera::~CCamera() {
    Retire();
    // The record goes last: the registry compares records of listed cameras
    // only, and this one left the list in Retire.
    if (m_pCameraInfo != nullptr) {
        m_pCameraInfo->UnRef();
    }
}

void CCamera::Release() {
    // Out of the registry before the (possibly slow) close begins, so that a
    // CreateCamera for the same device meanwhile makes a new camera instead of
    // handing out this one.
    if (m_pCameraManager != nullptr) {
        m_pCameraManager->Remove(this);
    }
    delete this;
}

ICameraInfo* CCamera::GetCameraInfo() {
    return m_pCameraInfo;
}

int CCamera::Open(DEVICE_OPEN_MODE mode) {
    // Reopening closes the modules: the acquisition and the registrations end
    // first, without the lock that their threads may be waiting for.
    std::unique_lock<std::recursive_mutex> guard(m_lock);
    BeginTeardown(guard);
    if (m_pDevPort) {
        CloseAction();
    }
    // Modules still open for images the client holds cannot be opened again
    // until the last of them is released.
    int result = -2;
    if (!m_lingering.dev && !m_lingering.ds) {
        // A device whose last close failed would refuse to open again.
        if (CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr) {
            CloseStale(cti);
        }
        result = OpenAction(mode);
        if (result != 0) {
            CloseAction();
        }
    }
    m_bOnline = (result == 0);
    EndTeardown();
    return result;
}

int CCamera::OpenAction(DEVICE_OPEN_MODE mode) {
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    if (cti == nullptr) {
        return -1;
    }
    if (m_pDevPort) {
        CloseAction();
    }
    const int access = AccessFlags(mode);
    CCtiPort* ifPort = m_pCameraInfo->GetIFPort();
    if (ifPort == nullptr) {
        return -2;
    }
    bool changed = false;
    if (cti->IFUpdateDeviceList(ifPort->GetPort(), &changed, kDeviceListTimeoutMs) != 0) {
        return -2;
    }
    void* device = nullptr;
    if (cti->IFOpenDevice(ifPort->GetPort(), m_pCameraInfo->GetID(), access, &device) != 0) {
        return -2;
    }
    m_pDevPort = std::make_unique<CCtiPort>(cti, device);

    void* remote = nullptr;
    if (cti->DevGetPort(device, &remote) != 0) {
        return -3;
    }
    m_pRMPort = std::make_unique<CCtiPort>(cti, remote);

    return OpenFirstStream(cti, device);
}

int CCamera::OpenFirstStream(CCti* cti, void* device) {
    uint32_t streams = 0;
    if (cti->DevGetNumDataStreams(device, &streams) != 0) {
        return -4;
    }
    if (streams == 0) {
        return -5;
    }
    char streamId[kStreamIdSize] = {};
    size_t size = kStreamIdSize;
    if (cti->DevGetDataStreamID(device, 0, streamId, &size) != 0) {
        return -6;
    }
    streamId[kStreamIdSize - 1] = '\0';
    void* stream = nullptr;
    if (cti->DevOpenDataStream(device, streamId, &stream) != 0) {
        return -7;
    }
    m_pDSPort = std::make_unique<CCtiPort>(cti, stream);
    return 0;
}

bool CCamera::IsOpen() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_pDevPort != nullptr;
}

bool CCamera::IsOnline() {
    if (!m_bOnline) {
        return false;
    }
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    bool online = false;
    GenApi::INodeMap* nodeMap = (m_pDevPort && m_pRMPort) ? m_pRMPort->GetNodeMap() : nullptr;
    GenApi::CIntegerPtr width = nodeMap != nullptr ? nodeMap->GetNode("Width") : nullptr;
    if (width.IsValid()) {
        for (int attempt = 0; attempt < kOnlineAttempts && !online; ++attempt) {
            try {
                width->GetValue(true, true);
                online = true;
            } catch (...) {
                std::cerr << "IsOnline(): GetValue Exception" << std::endl;
            }
        }
    }
    m_bOnline = online;
    return online;
}

IXml* CCamera::GetTLXml() {
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    return cti != nullptr ? cti->GetPortTL() : nullptr;
}

IXml* CCamera::GetIFXml() {
    return m_pCameraInfo != nullptr ? m_pCameraInfo->GetIFPort() : nullptr;
}

IXml* CCamera::GetDEVXml() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_pDevPort.get();
}

IXml* CCamera::GetRMXml() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_pRMPort.get();
}

IXml* CCamera::GetDSXml() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_pDSPort.get();
}

int CCamera::SetCLParam(const char* /*name*/, const char* /*value*/) {
    return -1;
}

void CCamera::RegisterEventListener(IEvent* /*listener*/) {}

int CCamera::RegisterNotify(NOTIFY_SRC src, NOTIFY_TYPE type, INotify* notify) {
    if (src == NOTIFY_SRC_DATA_STREAM && type == NOTIFY_TYPE_NEW_BUFFER) {
        return -10;  // acquisition owns the stream's new-buffer event
    }
    std::unique_lock<std::recursive_mutex> guard(m_lock);
    int result = -1;
    const std::uint64_t key = NotifyKey(src, type);
    auto found = m_notifies.find(key);
    if (found != m_notifies.end()) {
        if (notify == nullptr) {
            // Ended without the lock: its callback may be inside a camera call
            // that waits for the lock. Reports -1 although the registration
            // ended: callers rely on it.
            void* handle = found->second;
            m_notifies.erase(found);
            ++m_notifiesEnding;
            guard.unlock();
            UnRegisterNotifyAction(src, type, handle);
            guard.lock();
            --m_notifiesEnding;
            m_grabDone.notify_all();
        }
    } else if (notify != nullptr) {
        if (m_bClosing) {
            return -2;  // the modules are being closed
        }
        void* handle = nullptr;
        result = RegisterNotifyAction(src, type, notify, &handle);
        if (result == 0) {
            m_notifies[key] = handle;
        }
    }
    return result;
}

int CCamera::RegisterNotifyAction(NOTIFY_SRC src, NOTIFY_TYPE type, INotify* notify,
                                  void** handle) {
    if (notify == nullptr) {
        return -1;
    }
    CCtiPort* port = nullptr;
    switch (src) {
        case NOTIFY_SRC_DEVICE:
            port = m_pDevPort.get();
            break;
        case NOTIFY_SRC_REMOTE_DEVICE:
            port = m_pRMPort.get();
            break;
        case NOTIFY_SRC_DATA_STREAM:
            port = m_pDSPort.get();
            break;
        default:
            return -1;
    }
    if (port == nullptr) {
        return -2;
    }
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    // Device events update the remote map's event features (CEventAdapter).
    GenApi::INodeMap* remoteMap = type == NOTIFY_TYPE_REMOTE_DEVICE && m_pRMPort != nullptr
                                      ? m_pRMPort->GetNodeMap()
                                      : nullptr;
    auto* registration = new CNotify(cti, port->GetPort(), type, notify, src, remoteMap);
    const int result = registration->Start();
    if (result != 0) {
        registration->Stop();  // frees a registration that never started
        return result;
    }
    if (handle != nullptr) {
        *handle = registration;
    }
    return 0;
}

void CCamera::UnRegisterNotifyAction(NOTIFY_SRC /*src*/, NOTIFY_TYPE /*type*/, void* handle) {
    auto* registration = static_cast<CNotify*>(handle);
    if (registration == nullptr) {
        return;
    }
    // Stop frees only a registration that never started; a started one is
    // freed here once its delivery thread has ended.
    const bool started = registration->IsStarted();
    registration->Stop();
    if (started) {
        delete registration;
    }
}

}  // namespace VEXOGENICAM
