#include "core/CameraManager.h"

#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

CCameraManager::~CCameraManager() {
    std::unordered_set<CCamera*> cameras;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        cameras.swap(m_cameras);
    }
    // Camera objects arrive with the camera subsystem; until then the set
    // stays empty and nothing is released here.
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
    // No camera kind is built yet: every record is answered with null.
    return nullptr;
}

}  // namespace VEXOGENICAM
