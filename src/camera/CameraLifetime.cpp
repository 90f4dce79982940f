// The closing half of CCamera: close, destruction, the buffers and modules
// that images still held by the client keep alive, and the registrations
// ended outside the camera lock.
#include "Cti.h"
#include "CtiPort.h"
#include "camera/Camera.h"
#include "camera/GenImage.h"
#include "core/CameraManager.h"
#include "gentl/CameraInfo.h"
#include "log/RollingLog.h"

#include <spdlog/spdlog.h>

namespace VEXOGENICAM {

namespace {

// The producer answers so for a handle it does not know (any more): nothing
// is left to close.
bool Gone(int result) {
    return result == GenTL::GC_ERR_SUCCESS || result == GenTL::GC_ERR_INVALID_HANDLE;
}

void FreeRetired(std::unordered_map<void*, CCamera::BUFFER>& retired) {
    for (const auto& [handle, buffer] : retired) {
        delete[] static_cast<unsigned char*>(buffer.reserved);
    }
    retired.clear();
}

}  // namespace

bool CCamera::Succeeded(const char* step, const char* call, int result) {
    if (result == GenTL::GC_ERR_SUCCESS) {
        return true;
    }
    if (auto log = CRollingLog::Logger()) {
        log->warn("{}: {} failed with {}; going on", step, call, result);
    }
    return false;
}

void CCamera::LogCaught(const std::string& what) {
    std::string reason = "unknown exception";
    try {
        throw;
    } catch (const std::exception& e) {
        reason = e.what();
    } catch (...) {
    }
    if (auto log = CRollingLog::Logger()) {
        log->warn("{}: {}", what, reason);
    }
}

void CCamera::CloseModules(CCti* cti, std::unique_ptr<CCtiPort>& dev, std::unique_ptr<CCtiPort>& rm,
                           std::unique_ptr<CCtiPort>& ds) {
    // The producer drops the announced buffers with the stream (or with its
    // device), so the camera's own memory behind them is freed only after.
    bool streamClosed = true;
    if (ds) {
        // What the stream's stop left to repair goes with the stream.
        m_bStreamStopFailed = m_bFlushPending = m_bEventLeft = false;
        if (!Succeeded("Close", "DSClose", cti->DSClose(ds->GetPort()))) {
            streamClosed = false;
            m_hStaleStream = ds->GetPort();
        }
        ds.reset();
    }
    // The remote port belongs to the device: closing the device ends it.
    rm.reset();
    if (dev) {
        if (Succeeded("Close", "DevClose", cti->DevClose(dev->GetPort()))) {
            streamClosed = true;
            m_hStaleStream = nullptr;  // closed with its device
        } else {
            m_hStaleDevice = dev->GetPort();
        }
        dev.reset();
    }
    if (streamClosed) {
        FreeRetired(m_retired);
    }
}

void CCamera::CloseStale(CCti* cti) {
    if (m_hStaleStream != nullptr) {
        const int rc = cti->DSClose(m_hStaleStream);
        if (Gone(rc)) {
            m_hStaleStream = nullptr;
        } else {
            Succeeded("Open", "DSClose of a stream left open", rc);
        }
    }
    if (m_hStaleDevice != nullptr) {
        const int rc = cti->DevClose(m_hStaleDevice);
        if (Gone(rc)) {
            m_hStaleDevice = nullptr;
            m_hStaleStream = nullptr;  // closed with its device
        } else {
            Succeeded("Open", "DevClose of a device left open", rc);
        }
    }
    if (m_hStaleStream == nullptr && !m_pDSPort && !m_lingering.ds) {
        FreeRetired(m_retired);
    }
}

void CCamera::Retire() {
    if (m_pCameraManager != nullptr) {
        m_pCameraManager->Remove(this);
    }
    Close();
    DetachImages();
}

void CCamera::BeginTeardown(std::unique_lock<std::recursive_mutex>& guard) {
    m_grabDone.wait(guard, [this] { return !m_bClosing; });
    // Marked first so that no start or registration slips in between the stop
    // and the close: they answer as on a closed camera from here on.
    m_bClosing = true;
    guard.unlock();
    StopGrab();
    // Registrations end before the close action and without the lock, which
    // their callbacks may be waiting for.
    EndNotifies(TakeNotifies());
    guard.lock();
    m_grabDone.wait(guard, [this] { return m_notifiesEnding == 0; });
}

void CCamera::EndTeardown() {
    m_bClosing = false;
    m_grabDone.notify_all();
}

void CCamera::Close() {
    std::unique_lock<std::recursive_mutex> guard(m_lock);
    BeginTeardown(guard);
    CloseAction();
    m_bOnline = false;
    EndTeardown();
}

std::unordered_map<std::uint64_t, void*> CCamera::TakeNotifies() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    std::unordered_map<std::uint64_t, void*> taken;
    taken.swap(m_notifies);
    m_notifiesEnding += static_cast<int>(taken.size());
    return taken;
}

void CCamera::EndNotifies(const std::unordered_map<std::uint64_t, void*>& notifies) {
    for (const auto& [key, handle] : notifies) {
        UnRegisterNotifyAction(static_cast<NOTIFY_SRC>(key >> 32),
                               static_cast<NOTIFY_TYPE>(key & 0xFFFFFFFFu), handle);
    }
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_notifiesEnding -= static_cast<int>(notifies.size());
    m_grabDone.notify_all();
}

void CCamera::CloseAction() {
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    if (cti == nullptr) {
        return;
    }
    for (const auto& [key, handle] : m_notifies) {
        UnRegisterNotifyAction(static_cast<NOTIFY_SRC>(key >> 32),
                               static_cast<NOTIFY_TYPE>(key & 0xFFFFFFFFu), handle);
    }
    m_notifies.clear();
    if (!m_images.empty() && (m_pDSPort || m_pDevPort)) {
        // Images still point into the stream's buffers: the modules stay open
        // underneath until the last one is released, while the camera already
        // counts as closed.
        m_lingering.dev = std::move(m_pDevPort);
        m_lingering.rm = std::move(m_pRMPort);
        m_lingering.ds = std::move(m_pDSPort);
        return;
    }
    RevokeRetired();
    CloseModules(cti, m_pDevPort, m_pRMPort, m_pDSPort);
    // What an earlier close left open goes too, so that the device can be
    // opened again.
    CloseStale(cti);
}

void CCamera::FinishLingering() {
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    if (cti == nullptr || (!m_lingering.dev && !m_lingering.ds)) {
        return;
    }
    RevokeRetired();
    CloseModules(cti, m_lingering.dev, m_lingering.rm, m_lingering.ds);
}

bool CCamera::IsHeld(void* buffer) const {
    for (CGenImage* image : m_images) {
        if (image->GetBufferHandle() == buffer) {
            return true;
        }
    }
    return false;
}

bool CCamera::RepairStream(CCti* cti, void* stream) {
    if (m_bStreamStopFailed) {
        const int rc = cti->DSStopAcquisition(stream, GenTL::ACQ_STOP_FLAGS_KILL);
        // GC_ERR_RESOURCE_IN_USE: the stream does not run (any more).
        if (rc == GenTL::GC_ERR_SUCCESS || rc == GenTL::GC_ERR_RESOURCE_IN_USE) {
            // A stream that would not stop may have been filling its buffers;
            // only now can they be taken back.
            m_bStreamStopFailed = false;
            m_bFlushPending = true;
        } else {
            Succeeded("repair", "DSStopAcquisition", rc);
            return false;
        }
    }
    if (m_bEventLeft) {
        UnregisterNewBuffer(cti, stream, "repair");
    }
    if (m_bFlushPending) {
        FlushQueues(cti, stream, "repair");
    }
    // A queued buffer cannot be revoked.
    return !m_bFlushPending;
}

void CCamera::RevokeRetired() {
    CCtiPort* port = m_pDSPort ? m_pDSPort.get() : m_lingering.ds.get();
    CCti* cti = port != nullptr ? port->GetCti() : nullptr;
    void* stream = port != nullptr ? port->GetPort() : nullptr;
    if (cti == nullptr || stream == nullptr) {
        return;
    }
    // Never revoked while the producer may still write to them.
    if (!RepairStream(cti, stream) || m_retired.empty()) {
        return;
    }
    for (auto it = m_retired.begin(); it != m_retired.end();) {
        if (IsHeld(it->first) ||
            !Succeeded("revoke", "DSRevokeBuffer",
                       cti->DSRevokeBuffer(stream, it->first, nullptr, nullptr))) {
            ++it;  // tried again at the next start, stop, close or release
            continue;
        }
        // Freed only once revoked: until then the producer may fill it.
        delete[] static_cast<unsigned char*>(it->second.reserved);
        it = m_retired.erase(it);
    }
}

void CCamera::ImageReleased(CGenImage* image, void* buffer, std::uint64_t acquisition) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_images.erase(image);
    QueueBuf(buffer, acquisition);
    // A buffer retired while its image was out is revoked once the stream no
    // longer runs; a running one gives it up at its stop.
    if (m_retired.count(buffer) != 0 && m_grabCount == 0 && !m_bStopping) {
        RevokeRetired();
    }
    if (m_images.empty()) {
        FinishLingering();
    }
}

void CCamera::DetachImages() {
    std::lock_guard<std::mutex> link(m_imageLink->lock);
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_imageLink->camera = nullptr;
    // The memory behind held images goes with the camera: they keep their
    // metadata and lose their pointers.
    for (CGenImage* image : m_images) {
        image->Detach();
    }
    m_images.clear();
    FinishLingering();
}

}  // namespace VEXOGENICAM
