// The closing half of CCamera: close, destruction, the buffers and modules
// that images still held by the client keep alive, and the registrations
// ended outside the camera lock.
#include "Cti.h"
#include "CtiPort.h"
#include "camera/Camera.h"
#include "camera/GenImage.h"
#include "core/CameraManager.h"
#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

namespace {

// Closes a stream and its device. The producer drops the announced buffers
// with the stream, so the camera's own memory behind them is freed after it.
void CloseModules(CCti* cti, std::unique_ptr<CCtiPort>& dev, std::unique_ptr<CCtiPort>& rm,
                  std::unique_ptr<CCtiPort>& ds,
                  std::unordered_map<void*, CCamera::BUFFER>& retired) {
    if (ds) {
        cti->DSClose(ds->GetPort());
        ds.reset();
        for (const auto& [handle, buffer] : retired) {
            delete[] static_cast<unsigned char*>(buffer.reserved);
        }
        retired.clear();
    }
    // The remote port belongs to the device: closing the device ends it.
    rm.reset();
    if (dev) {
        cti->DevClose(dev->GetPort());
        dev.reset();
    }
}

}  // namespace

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
    CloseModules(cti, m_pDevPort, m_pRMPort, m_pDSPort, m_retired);
}

void CCamera::FinishLingering() {
    CCti* cti = m_pCameraInfo != nullptr ? m_pCameraInfo->GetCti() : nullptr;
    if (cti == nullptr || (!m_lingering.dev && !m_lingering.ds)) {
        return;
    }
    RevokeRetired();
    CloseModules(cti, m_lingering.dev, m_lingering.rm, m_lingering.ds, m_retired);
}

bool CCamera::IsHeld(void* buffer) const {
    for (CGenImage* image : m_images) {
        if (image->GetBufferHandle() == buffer) {
            return true;
        }
    }
    return false;
}

void CCamera::RevokeRetired() {
    CCtiPort* port = m_pDSPort ? m_pDSPort.get() : m_lingering.ds.get();
    CCti* cti = port != nullptr ? port->GetCti() : nullptr;
    void* stream = port != nullptr ? port->GetPort() : nullptr;
    if (cti == nullptr || stream == nullptr || m_retired.empty()) {
        return;
    }
    if (m_bStreamStopFailed &&
        cti->DSStopAcquisition(stream, GenTL::ACQ_STOP_FLAGS_KILL) == GenTL::GC_ERR_SUCCESS) {
        // A stream that would not stop may have been filling its buffers; only
        // now can they be taken back.
        m_bStreamStopFailed = false;
        cti->DSFlushQueue(stream, GenTL::ACQ_QUEUE_INPUT_TO_OUTPUT);
        cti->DSFlushQueue(stream, GenTL::ACQ_QUEUE_OUTPUT_DISCARD);
    }
    for (auto it = m_retired.begin(); it != m_retired.end();) {
        if (IsHeld(it->first) ||
            cti->DSRevokeBuffer(stream, it->first, nullptr, nullptr) != GenTL::GC_ERR_SUCCESS) {
            ++it;  // tried again at the next start, stop, close or release
            continue;
        }
        // Freed only once revoked: until then the producer may fill it.
        delete[] static_cast<unsigned char*>(it->second.reserved);
        it = m_retired.erase(it);
    }
    if (m_retired.empty()) {
        m_bStreamStopFailed = false;  // nothing left that a stop would free
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
