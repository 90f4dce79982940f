#include "core/ModulePath.h"

#include <dlfcn.h>
#include <libgen.h>

#include <cstring>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace VEXOGENICAM {

std::string GetModulePath() {
    char path[1024];
    std::memset(path, 0, sizeof path);
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&GetModulePath), &info) != 0 && info.dli_fname != nullptr) {
        std::strncpy(path, info.dli_fname, sizeof path - 1);
    } else {
        std::strcpy(path, "./");
#ifdef __APPLE__
        uint32_t size = sizeof path;
        _NSGetExecutablePath(path, &size);
#endif
    }
    return std::string(dirname(path)) + "/";
}

}  // namespace VEXOGENICAM
