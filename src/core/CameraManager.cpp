#include "core/CameraManager.h"

#include "camera/CLCamera.h"
#include "camera/Camera.h"
#include "camera/GevCamera.h"
#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

namespace {

// The one place that picks the camera class of a transport layer.
CCamera* MakeCamera(CCameraInfo* info, CCameraManager* manager) {
    switch (info->GetTLType()) {
        case TL_GEV:
            return new CGevCamera(info, manager);
        case TL_CL:
        case TL_CLHS:
            return new CCLCamera(info, manager);
        default:
            return new CCamera(info, manager);
    }
}

}  // namespace

CCameraManager::~CCameraManager() {
    std::unordered_set<CCamera*> cameras;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        cameras.swap(m_cameras);
    }
    // Released outside the lock: each camera's destructor calls Remove.
    for (CCamera* camera : cameras) {
        camera->Release();
    }
}

void CCameraManager::Insert(CCamera* camera) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_cameras.insert(camera);
}

void CCameraManager::Remove(CCamera* camera) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_cameras.erase(camera);
}

size_t CCameraManager::Count() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_cameras.size();
}

ICamera* CCameraManager::CreateCamera(CCameraInfo* info) {
    if (info == nullptr || info->GetCti() == nullptr) {
        return nullptr;
    }
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    for (CCamera* camera : m_cameras) {
        if (info->Equal(camera->GetInfo())) {
            return camera;
        }
    }
    return MakeCamera(info, this);
}

}  // namespace VEXOGENICAM
