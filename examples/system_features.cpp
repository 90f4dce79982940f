// Loads a producer through the producer binding, prints every feature of its
// system module with its value, and writes one feature.
//
//   system_features [producer.cti]     (a file beside libLumoGenICam)
#include <cstdio>
#include <exception>

#include "Cti.h"
#include "CtiPort.h"
#include "GenApi/GenApi.h"

using namespace GenApi;

int main(int argc, char** argv) {
    VEXOGENICAM::CCti producer(argc > 1 ? argv[1] : "LumoSim.cti");
    if (!producer.Load()) {
        std::fprintf(stderr, "cannot load the producer\n");
        return 1;
    }
    INodeMap* nodeMap = producer.GetPortTL()->GetNodeMap();
    if (nodeMap == nullptr) {
        std::fprintf(stderr, "the producer has no system description\n");
        return 1;
    }

    NodeList_t nodes;
    nodeMap->GetNodes(nodes);
    for (INode* node : nodes) {
        CValuePtr value(node);
        if (!node->IsFeature() || !value || !IsReadable(value) ||
            node->GetPrincipalInterfaceType() == intfICategory) {
            continue;  // categories, commands, ports and unreadable features
        }
        try {
            std::printf("%-28s %s\n", node->GetName().c_str(), value->ToString().c_str());
        } catch (const GenICam::GenericException& e) {
            std::printf("%-28s <%s>\n", node->GetName().c_str(), e.GetDescription());
        }
    }

    // Select the first interface and read its ID back.
    CIntegerPtr selector = nodeMap->GetNode("InterfaceSelector");
    CStringPtr interfaceId = nodeMap->GetNode("InterfaceID");
    if (selector && IsWritable(selector)) {
        try {
            selector->SetValue(selector->GetMin());
            std::printf("InterfaceSelector := %lld -> InterfaceID %s\n",
                        static_cast<long long>(selector->GetValue()),
                        interfaceId ? interfaceId->GetValue().c_str() : "?");
        } catch (const GenICam::GenericException& e) {
            std::fprintf(stderr, "write failed: %s\n", e.what());
            return 1;
        }
    }
    return 0;
}
