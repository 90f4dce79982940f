#include "LumoEntry.h"

#include "ProducerReport.h"

#include "core/CtiManager.h"
#include "log/RollingLog.h"

namespace VEXOGENICAM {

CCtiManager* g_pCtiManager = nullptr;

void Init() {
    if (g_pCtiManager != nullptr) {
        return;
    }
    g_pCtiManager = new CCtiManager();
    CRollingLog::Setup(CRollingLog::WithEnvironment(CRollingLog::Defaults()));
}

void UnInit() {
    if (g_pCtiManager == nullptr) {
        return;
    }
    delete g_pCtiManager;
    g_pCtiManager = nullptr;
}

std::list<ICameraInfo*> Discovery(const char* producerFile) {
    if (g_pCtiManager == nullptr) {
        return {};
    }
    return g_pCtiManager->DiscoveryCameras(producerFile);
}

std::list<ICameraInfo*> DiscoveryByTLType(unsigned long long mask) {
    if (g_pCtiManager == nullptr) {
        return {};
    }
    return g_pCtiManager->DiscoveryCamerasByTLType(mask);
}

ICamera* CreateCamera(ICameraInfo* info) {
    if (g_pCtiManager == nullptr) {
        return nullptr;
    }
    return g_pCtiManager->CreateCamera(info);
}

ICamera* CreateCameraBySN(const char* serialNumber) {
    if (g_pCtiManager == nullptr || serialNumber == nullptr) {
        return nullptr;
    }
    return g_pCtiManager->CreateCamera(std::string(serialNumber));
}

std::list<ProducerReport> GetProducerReports() {
    if (g_pCtiManager == nullptr) {
        return {};
    }
    return g_pCtiManager->GetProducerReports();
}

const char* ProducerStateName(PRODUCER_STATE state) {
    switch (state) {
        case PRODUCER_STATE::PRODUCER_LOADED:
            return "loaded";
        case PRODUCER_STATE::PRODUCER_FAILED:
            return "failed";
        case PRODUCER_STATE::PRODUCER_SKIPPED:
            return "skipped";
    }
    return "unknown";
}

std::list<std::string> GetCLProtocols() {
    return {};
}

std::list<std::string> GetCLSerials() {
    return {};
}

ICamera* CreateCameraWithCLCamOnly() {
    return nullptr;
}

}  // namespace VEXOGENICAM
