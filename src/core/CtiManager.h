#pragma once

#include <list>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "ICamera.h"
#include "ICameraInfo.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

class CCti;
class CCameraManager;

// The one producer manager of the process: finds the producer files beside
// the library, loads each at most once, runs discovery over them and owns the
// camera registry.
class LUMO_API CCtiManager {
public:
    CCtiManager();
    CCtiManager(const CCtiManager&) = delete;
    CCtiManager& operator=(const CCtiManager&) = delete;
    ~CCtiManager();

    std::list<ICameraInfo*> DiscoveryCameras(const char* producerFile);
    std::list<ICameraInfo*> DiscoveryCamerasByTLType(unsigned long long mask);
    std::list<ICameraInfo*> DiscoveryCamerasAction(std::vector<CCti*>& producers);
    // Producer file names in the library's directory, in directory order.
    std::list<std::string> GetCtiNames();
    // The loaded producer of this file name, loading it on first use; null for
    // a file that failed to load once.
    CCti* GetCtiModule(const std::string& fileName);
    ICameraInfo* QueryCameraInfo(const std::string& serialNumber);
    ICamera* CreateCamera(ICameraInfo* info);
    ICamera* CreateCamera(const std::string& serialNumber);

private:
    std::set<std::string> m_failedCtis;
    std::unordered_map<std::string, CCti*> m_loadedCtis;
    std::mutex m_lock;
    CCameraManager* m_pCameraManager;
};

}  // namespace VEXOGENICAM
