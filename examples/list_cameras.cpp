// Lists every camera of every producer (*.cti) that lies beside libLumoGenICam.
//
//   list_cameras
#include <cstdio>

#include "LumoGenICam.h"

using namespace VEXOGENICAM;

int main() {
    Init();  // once per process, before anything else

    // Discovery asks every producer; DiscoveryByTLType(TL_GEV) would ask only
    // the GigE Vision ones.
    std::list<ICameraInfo*> cameras = Discovery(nullptr);
    std::printf("%zu camera(s)\n", cameras.size());
    int index = 0;
    for (ICameraInfo* info : cameras) {
        std::printf("[%d] %s %s, serial %s, access status %d\n", index++, info->GetManufacture(),
                    info->GetModel(), info->GetSN(), static_cast<int>(info->GetAccessStatus()));
        if (const char* ip = info->GetExInfo(EX_INFO_IP)) {  // GigE Vision cameras only
            std::printf("    IP %s, MAC %s\n", ip, info->GetExInfo(EX_INFO_MAC));
        }
        info->Release();  // every record carries one reference for us
    }

    UnInit();  // after all records, cameras and images are released
    return 0;
}
