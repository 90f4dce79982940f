#pragma once

#include <mutex>
#include <unordered_set>

#include "ICamera.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

class CCamera;
class CCameraInfo;

// The registry of live camera objects: one camera per device.
class LUMO_API CCameraManager {
public:
    CCameraManager() = default;
    CCameraManager(const CCameraManager&) = delete;
    CCameraManager& operator=(const CCameraManager&) = delete;
    ~CCameraManager();

    void Insert(CCamera* camera);
    void Remove(CCamera* camera);
    // The live camera of an equal record, or a new camera of the record's kind;
    // null for a record without producer.
    ICamera* CreateCamera(CCameraInfo* info);
    size_t Count();

private:
    std::unordered_set<CCamera*> m_cameras;
    // Recursive: a camera's constructor registers itself while CreateCamera
    // holds the lock on the same thread.
    std::recursive_mutex m_lock;
};

}  // namespace VEXOGENICAM
