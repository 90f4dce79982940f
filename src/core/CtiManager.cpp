#include "core/CtiManager.h"

#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <thread>

#include "core/CameraManager.h"
#include "core/ModulePath.h"
#include "gentl/CameraInfo.h"
#include "Cti.h"

namespace VEXOGENICAM {

namespace {

bool HasProducerSuffix(const char* name) {
    const size_t length = std::strlen(name);
    if (length <= 4) {
        return false;
    }
    std::string suffix(name + length - 4);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return suffix == ".CTI";
}

}  // namespace

CCtiManager::CCtiManager() : m_pCameraManager(new CCameraManager()) {}

CCtiManager::~CCtiManager() {
    // Cameras go first: they still talk to their producers while closing.
    delete m_pCameraManager;
    m_pCameraManager = nullptr;
    for (auto& entry : m_loadedCtis) {
        delete entry.second;
    }
    m_loadedCtis.clear();
}

std::list<std::string> CCtiManager::GetCtiNames() {
    std::list<std::string> names;
    DIR* dir = opendir(GetModulePath().c_str());
    if (dir == nullptr) {
        return names;
    }
    while (const dirent* entry = readdir(dir)) {
        if (entry->d_type == DT_REG && HasProducerSuffix(entry->d_name)) {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(dir);
    return names;
}

CCti* CCtiManager::GetCtiModule(const std::string& fileName) {
    std::lock_guard<std::mutex> guard(m_lock);
    if (const auto it = m_loadedCtis.find(fileName); it != m_loadedCtis.end()) {
        return it->second;
    }
    if (m_failedCtis.count(fileName) != 0) {
        return nullptr;
    }
    auto* cti = new CCti(fileName);
    if (!cti->Load()) {
        delete cti;
        m_failedCtis.insert(fileName);
        return nullptr;
    }
    m_loadedCtis.emplace(fileName, cti);
    return cti;
}

std::list<ICameraInfo*> CCtiManager::DiscoveryCameras(const char* producerFile) {
    std::list<std::string> names;
    if (producerFile != nullptr && producerFile[0] != '\0') {
        names.emplace_back(producerFile);
    } else {
        names = GetCtiNames();
    }
    std::vector<CCti*> producers;
    for (const std::string& name : names) {
        if (CCti* cti = GetCtiModule(name)) {
            producers.push_back(cti);
        }
    }
    return DiscoveryCamerasAction(producers);
}

std::list<ICameraInfo*> CCtiManager::DiscoveryCamerasByTLType(unsigned long long mask) {
    std::vector<CCti*> producers;
    for (const std::string& name : GetCtiNames()) {
        CCti* cti = GetCtiModule(name);
        if (cti == nullptr) {
            continue;
        }
        if ((mask & TL_TYPE_ALL) == TL_TYPE_ALL ||
            (mask & static_cast<unsigned long long>(cti->GetIFTLType())) != 0) {
            producers.push_back(cti);
        }
    }
    return DiscoveryCamerasAction(producers);
}

std::list<ICameraInfo*> CCtiManager::DiscoveryCamerasAction(std::vector<CCti*>& producers) {
    std::list<ICameraInfo*> result;
    if (producers.empty()) {
        return result;
    }
    if (producers.size() == 1) {
        producers.front()->DiscoveryDevices(&result);
        return result;
    }
    // Producers answer slowly (network time-outs); asking them side by side
    // costs the slowest one, not the sum.
    std::vector<std::list<ICameraInfo*>> lists(producers.size());
    std::vector<std::thread> threads;
    threads.reserve(producers.size());
    for (size_t i = 0; i < producers.size(); ++i) {
        threads.emplace_back(
            [&producers, &lists, i] { producers[i]->DiscoveryDevices(&lists[i]); });
    }
    for (size_t i = 0; i < producers.size(); ++i) {
        if (threads[i].joinable()) {
            threads[i].join();
        }
        result.splice(result.end(), lists[i]);
    }
    return result;
}

ICameraInfo* CCtiManager::QueryCameraInfo(const std::string& serialNumber) {
    std::lock_guard<std::mutex> guard(m_lock);
    for (auto& entry : m_loadedCtis) {
        if (ICameraInfo* info = entry.second->QueryCameraInfo(serialNumber)) {
            return info;
        }
    }
    return nullptr;
}

ICamera* CCtiManager::CreateCamera(ICameraInfo* info) {
    return m_pCameraManager->CreateCamera(static_cast<CCameraInfo*>(info));
}

ICamera* CCtiManager::CreateCamera(const std::string& serialNumber) {
    if (serialNumber.empty()) {
        return nullptr;
    }
    ICameraInfo* info = QueryCameraInfo(serialNumber);
    if (info == nullptr) {
        // Only the producers' own records are searched; the references taken
        // for this list are given back at once so that nothing leaks.
        for (ICameraInfo* record : DiscoveryCameras(nullptr)) {
            record->Release();
        }
        info = QueryCameraInfo(serialNumber);
    }
    if (info == nullptr) {
        return nullptr;
    }
    ICamera* camera = CreateCamera(info);
    static_cast<CCameraInfo*>(info)->UnRef();
    return camera;
}

}  // namespace VEXOGENICAM
