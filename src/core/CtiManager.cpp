#include "core/CtiManager.h"

#include <spdlog/spdlog.h>

#include <memory>
#include <thread>

#include "Cti.h"
#include "core/CameraManager.h"
#include "core/ModulePath.h"
#include "core/ProducerSearch.h"
#include "gentl/CameraInfo.h"
#include "log/RollingLog.h"

namespace VEXOGENICAM {

namespace {

constexpr const char* kLibraryFolder = "library folder";

const char* OriginName(bool fromVariable) {
    return fromVariable ? CProducerSearch::kVariable : kLibraryFolder;
}

void LogReport(const ProducerReport& report) {
    auto log = CRollingLog::Logger();
    if (!log) {
        return;
    }
    switch (report.state) {
        case PRODUCER_STATE::PRODUCER_LOADED:
            log->info(
                "producer {} ({}) loaded: TL type {}, vendor {}, model {}, version {}, {} "
                "interface(s)",
                report.path, report.origin, report.tlType, report.vendor, report.model,
                report.version, report.interfaceCount);
            break;
        case PRODUCER_STATE::PRODUCER_FAILED:
            log->warn(
                "producer {} ({}) not loaded: {} (step {}, code {}{}{})", report.path,
                report.origin, report.reason, report.failedStep, report.errorCode,
                report.producerError.empty() ? "" : ", producer says: ", report.producerError);
            break;
        case PRODUCER_STATE::PRODUCER_SKIPPED:
            log->warn("producer {} ({}) skipped: {}", report.path, report.origin, report.reason);
            break;
    }
}

ProducerReport SkippedReport(const ProducerCandidate& candidate) {
    ProducerReport report;
    report.path = candidate.path;
    report.origin = OriginName(candidate.fromVariable);
    report.state = PRODUCER_STATE::PRODUCER_SKIPPED;
    report.reason = candidate.skipReason;
    return report;
}

std::string FailureReason(const CCti::LoadFailure& failure) {
    if (failure.step == "dlopen") {
        return "not a loadable shared library: " + failure.text;
    }
    if (failure.code == 0) {
        return failure.text;
    }
    return failure.step + " failed with GenTL code " + std::to_string(failure.code);
}

ProducerReport LoadReport(CCti& cti, const std::string& path, bool fromVariable, bool loaded) {
    ProducerReport report;
    report.path = path;
    report.origin = OriginName(fromVariable);
    if (loaded) {
        report.state = PRODUCER_STATE::PRODUCER_LOADED;
        report.tlType = cti.GetTLInfoText(GenTL::TL_INFO_TLTYPE);
        report.vendor = cti.GetTLInfoText(GenTL::TL_INFO_VENDOR);
        report.model = cti.GetTLInfoText(GenTL::TL_INFO_MODEL);
        report.version = cti.GetTLInfoText(GenTL::TL_INFO_VERSION);
        report.interfaceCount = cti.GetInterfaceCount();
        return report;
    }
    const CCti::LoadFailure& failure = cti.GetLoadFailure();
    report.state = PRODUCER_STATE::PRODUCER_FAILED;
    report.reason = FailureReason(failure);
    report.failedStep = failure.step;
    report.errorCode = failure.code;
    if (failure.code != 0) {
        report.producerError = failure.text;
    }
    return report;
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
    const std::vector<std::string> names = CProducerSearch::LibraryFolderNames(GetModulePath());
    return {names.begin(), names.end()};
}

CCti* CCtiManager::GetCtiModule(const std::string& fileName) {
    if (fileName.find('/') == std::string::npos) {
        return GetCtiModule(fileName, GetModulePath() + fileName, false);
    }
    // A path names the file itself, remembered by its real path like the
    // producers of the variable.
    const std::string real = CProducerSearch::RealPath(fileName);
    return GetCtiModule(real.empty() ? fileName : real, fileName, true);
}

CCti* CCtiManager::GetCtiModule(const std::string& key, const std::string& path,
                                bool fromVariable) {
    std::lock_guard<std::mutex> guard(m_lock);
    if (const auto it = m_loadedCtis.find(key); it != m_loadedCtis.end()) {
        return it->second;
    }
    if (m_failedCtis.count(key) != 0) {
        return nullptr;
    }
    // The key is what the binding needs: beside the library the bare name (it
    // adds the folder itself), elsewhere the full path.
    auto cti = std::make_unique<CCti>(key);
    const bool loaded = cti->Load();
    ProducerReport report = LoadReport(*cti, path, fromVariable, loaded);
    LogReport(report);
    m_reports[key] = std::move(report);
    if (!loaded) {
        m_failedCtis.insert(key);
        return nullptr;
    }
    CCti* raw = cti.release();
    m_loadedCtis.emplace(key, raw);
    return raw;
}

void CCtiManager::NoteSkipped(const ProducerCandidate& candidate) {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_loggedSkips.insert(candidate.path).second) {
        LogReport(SkippedReport(candidate));
    }
}

std::vector<CCti*> CCtiManager::LoadAllProducers(std::list<ProducerReport>* reports) {
    std::vector<CCti*> producers;
    for (const ProducerCandidate& candidate : CProducerSearch::Find(GetModulePath())) {
        if (!candidate.skipReason.empty()) {
            NoteSkipped(candidate);
            if (reports != nullptr) {
                reports->push_back(SkippedReport(candidate));
            }
            continue;
        }
        if (CCti* cti = GetCtiModule(candidate.key, candidate.path, candidate.fromVariable)) {
            producers.push_back(cti);
        }
        if (reports != nullptr) {
            std::lock_guard<std::mutex> guard(m_lock);
            if (const auto it = m_reports.find(candidate.key); it != m_reports.end()) {
                reports->push_back(it->second);
            }
        }
    }
    return producers;
}

std::list<ProducerReport> CCtiManager::GetProducerReports() {
    std::list<ProducerReport> reports;
    LoadAllProducers(&reports);
    return reports;
}

std::list<ICameraInfo*> CCtiManager::DiscoveryCameras(const char* producerFile) {
    std::vector<CCti*> producers;
    if (producerFile != nullptr && producerFile[0] != '\0') {
        if (CCti* cti = GetCtiModule(producerFile)) {
            producers.push_back(cti);
        }
    } else {
        producers = LoadAllProducers();
    }
    return DiscoveryCamerasAction(producers);
}

std::list<ICameraInfo*> CCtiManager::DiscoveryCamerasByTLType(unsigned long long mask) {
    std::vector<CCti*> producers;
    for (CCti* cti : LoadAllProducers()) {
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
