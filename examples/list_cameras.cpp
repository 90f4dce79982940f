// Lists every camera of every producer that lies beside libLumoGenICam.
#include <cstdio>

#include "LumoGenICam.h"

using namespace VEXOGENICAM;

int main() {
    Init();
    std::list<ICameraInfo*> cameras = Discovery(nullptr);  // all producers
    std::printf("%zu camera(s)\n", cameras.size());
    int index = 0;
    for (ICameraInfo* info : cameras) {
        std::printf("[%d] %s %s  serial %s  id %s  access status %d\n", index++,
                    info->GetManufacture(), info->GetModel(), info->GetSN(), info->GetID(),
                    static_cast<int>(info->GetAccessStatus()));
        if (const char* ip = info->GetExInfo(EX_INFO_IP)) {  // GigE Vision cameras only
            std::printf("     IP %s  MAC %s\n", ip, info->GetExInfo(EX_INFO_MAC));
        }
        info->Release();  // each record carries one reference for us
    }
    UnInit();
    return 0;
}
