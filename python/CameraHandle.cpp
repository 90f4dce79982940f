#include "CameraHandle.h"

#include <mutex>
#include <unordered_map>

namespace lumopy {

using VEXOGENICAM::ICamera;

namespace {

std::mutex g_handlesLock;
std::unordered_map<ICamera*, std::weak_ptr<CameraHandle>> g_handles;

}  // namespace

std::shared_ptr<CameraHandle> CameraHandle::For(ICamera* camera) {
    std::lock_guard<std::mutex> guard(g_handlesLock);
    if (auto found = g_handles.find(camera); found != g_handles.end()) {
        if (auto live = found->second.lock()) {
            return live;
        }
    }
    auto handle = std::make_shared<CameraHandle>(camera);
    g_handles[camera] = handle;
    return handle;
}

CameraHandle::CameraHandle(ICamera* camera) : Held(Rank::Camera), m_camera(camera) {
    try {
        Library::Get().Track(this);
    } catch (...) {
        camera->Close();
        camera->Release();
        throw;
    }
}

CameraHandle::~CameraHandle() {
    Library::Get().Untrack(this);
    Drop();
}

void CameraHandle::Drop() {
    {
        // A grab waiting on another thread holds the shared lock; stopping
        // ends its wait so that the exclusive lock below can be had.
        std::shared_lock<std::shared_mutex> guard(m_use, std::defer_lock);
        LockLettingGilGo(guard);
        if (m_camera != nullptr) {
            m_camera->StopGrab();
        }
    }
    std::unique_lock<std::shared_mutex> guard(m_use, std::defer_lock);
    LockLettingGilGo(guard);
    if (m_camera == nullptr) {
        return;
    }
    {
        std::lock_guard<std::mutex> handles(g_handlesLock);
        // A new handle for a new camera at the same address must survive.
        if (auto found = g_handles.find(m_camera);
            found != g_handles.end() && found->second.expired()) {
            g_handles.erase(found);
        }
    }
    m_camera->Close();
    m_camera->Release();
    m_camera = nullptr;
}

}  // namespace lumopy
