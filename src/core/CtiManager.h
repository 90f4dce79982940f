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
#include "ProducerReport.h"

namespace VEXOGENICAM {

class CCti;
class CCameraManager;
struct ProducerCandidate;

// The one producer manager of the process: finds the producer files beside
// the library and in GENICAM_GENTL64_PATH, loads each at most once, runs
// discovery over them, keeps a report per producer and owns the camera
// registry.
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
    // The loaded producer of this file name (beside the library) or path,
    // loading it on first use; null for a file that failed to load once.
    CCti* GetCtiModule(const std::string& fileName);
    // Every producer considered, in search order, loading those not tried yet.
    std::list<ProducerReport> GetProducerReports();
    ICameraInfo* QueryCameraInfo(const std::string& serialNumber);
    ICamera* CreateCamera(ICameraInfo* info);
    ICamera* CreateCamera(const std::string& serialNumber);

private:
    // Every producer to discover: the library's folder, then the variable's;
    // with `reports`, the report of each file considered, in that order.
    std::vector<CCti*> LoadAllProducers(std::list<ProducerReport>* reports = nullptr);
    CCti* GetCtiModule(const std::string& key, const std::string& path, bool fromVariable);
    void NoteSkipped(const ProducerCandidate& candidate);

    std::set<std::string> m_failedCtis;
    std::unordered_map<std::string, CCti*> m_loadedCtis;
    // The report of every producer tried, by key; skips are reported per search.
    std::unordered_map<std::string, ProducerReport> m_reports;
    std::set<std::string> m_loggedSkips;
    std::mutex m_lock;
    CCameraManager* m_pCameraManager;
};

}  // namespace VEXOGENICAM
