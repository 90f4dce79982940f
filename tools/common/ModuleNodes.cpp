#include "ModuleNodes.h"

namespace lumoclient {

using namespace VEXOGENICAM;

const char* ModuleName(Module module) {
    switch (module) {
        case Module::System:
            return "system";
        case Module::Interface:
            return "interface";
        case Module::Device:
            return "device";
        case Module::Remote:
            return "remote";
        case Module::Stream:
            return "stream";
    }
    return "?";
}

IXml* ModuleXml(ICamera* camera, Module module) {
    switch (module) {
        case Module::System:
            return camera->GetTLXml();
        case Module::Interface:
            return camera->GetIFXml();
        case Module::Device:
            return camera->GetDEVXml();
        case Module::Remote:
            return camera->GetRMXml();
        case Module::Stream:
            return camera->GetDSXml();
    }
    return nullptr;
}

GenApi::INodeMap* NodeMapOf(ICamera* camera, Module module) {
    IXml* xml = ModuleXml(camera, module);
    return xml != nullptr ? xml->GetNodeMap() : nullptr;
}

}  // namespace lumoclient
