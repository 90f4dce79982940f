#include <cstdio>
#include <iostream>
#include <sstream>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::string Text(const char* value) {
    return value != nullptr ? value : "";
}

void PrintJson(const CameraRecords& records, const std::vector<std::size_t>& shown) {
    std::ostringstream out;
    out << "[";
    for (std::size_t index : shown) {
        ICameraInfo* info = records.All()[index];
        out << (index == shown.front() ? "\n" : ",\n") << "  {\"index\": " << index
            << ", \"tlType\": " << JsonString(TlTypeName(info->GetTLType()))
            << ", \"vendor\": " << JsonString(Text(info->GetManufacture()))
            << ", \"model\": " << JsonString(Text(info->GetModel()))
            << ", \"serial\": " << JsonString(Text(info->GetSN()))
            << ", \"userName\": " << JsonString(Text(info->GetUserDefineName()))
            << ", \"id\": " << JsonString(Text(info->GetID()))
            << ", \"accessStatus\": " << JsonString(AccessStatusName(info->GetAccessStatus()));
        if (const char* ip = info->GetExInfo(EX_INFO_IP)) {
            out << ", \"ip\": " << JsonString(ip);
        }
        if (const char* mac = info->GetExInfo(EX_INFO_MAC)) {
            out << ", \"mac\": " << JsonString(mac);
        }
        out << "}";
    }
    out << (shown.empty() ? "]\n" : "\n]\n");
    std::cout << out.str();
}

void PrintTable(const CameraRecords& records, const std::vector<std::size_t>& shown) {
    if (records.All().empty()) {
        // Say which producers were tried, so that a missing camera is not a mystery.
        std::cout << "No cameras found. Producers considered (beside libLumoGenICam, then "
                     "GENICAM_GENTL64_PATH):\n";
        PrintProducerReports(GetProducerReports(), std::cout);
        return;
    }
    std::printf("%-3s %-5s %-14s %-18s %-14s %-12s %-18s %s\n", "#", "TL", "vendor", "model",
                "serial", "user name", "access", "IP / MAC");
    for (std::size_t index : shown) {
        ICameraInfo* info = records.All()[index];
        std::string network;
        if (const char* ip = info->GetExInfo(EX_INFO_IP)) {
            network = ip;
        }
        if (const char* mac = info->GetExInfo(EX_INFO_MAC)) {
            network += (network.empty() ? "" : " / ") + std::string(mac);
        }
        std::printf("%-3zu %-5s %-14s %-18s %-14s %-12s %-18s %s\n", index,
                    TlTypeName(info->GetTLType()), Text(info->GetManufacture()).c_str(),
                    Text(info->GetModel()).c_str(), Text(info->GetSN()).c_str(),
                    Text(info->GetUserDefineName()).c_str(),
                    AccessStatusName(info->GetAccessStatus()), network.c_str());
    }
}

}  // namespace

int RunList(const ListOptions& options) {
    // Parsed before Init so that a typo costs no producer loading.
    const unsigned long long mask = options.tlTypes.empty() ? 0 : ParseTlMask(options.tlTypes);
    Library library;
    CameraRecords records(Discovery(nullptr));
    // Filtered per camera: DiscoveryByTLType chooses whole producers by their
    // first interface and would hide, say, the USB cameras of a producer whose
    // first interface is GigE Vision.
    const std::vector<std::size_t> shown = records.IndicesOfTlTypes(mask != 0 ? mask : ~0ULL);
    if (options.json) {
        PrintJson(records, shown);
    } else {
        PrintTable(records, shown);
    }
    return 0;
}

}  // namespace lumocam
