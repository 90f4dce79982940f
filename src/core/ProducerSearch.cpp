#include "core/ProducerSearch.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <set>
#include <sstream>

namespace VEXOGENICAM {

namespace {

std::vector<std::string> SplitVariable(const char* value) {
    std::vector<std::string> entries;
    if (value == nullptr) {
        return entries;
    }
    std::stringstream stream(value);
    std::string entry;
    while (std::getline(stream, entry, ':')) {
        if (!entry.empty()) {
            entries.push_back(entry);
        }
    }
    return entries;
}

std::string Joined(const std::string& folder, const std::string& name) {
    return !folder.empty() && folder.back() == '/' ? folder + name : folder + "/" + name;
}

// The ".cti" files of a folder of the variable, links followed, in name order
// so that the search does not depend on the file system's order.
std::vector<std::string> ProducersInFolder(const std::string& folder) {
    std::vector<std::string> paths;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        return paths;
    }
    while (const dirent* entry = readdir(dir)) {
        const std::string path = Joined(folder, entry->d_name);
        struct stat info {};
        if (CProducerSearch::HasProducerSuffix(entry->d_name) && stat(path.c_str(), &info) == 0 &&
            S_ISREG(info.st_mode)) {
            paths.push_back(path);
        }
    }
    closedir(dir);
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

bool CProducerSearch::HasProducerSuffix(const std::string& name) {
    if (name.size() <= 4) {
        return false;
    }
    std::string suffix = name.substr(name.size() - 4);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return suffix == ".CTI";
}

std::string CProducerSearch::RealPath(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : std::string();
}

std::vector<std::string> CProducerSearch::LibraryFolderNames(const std::string& folder) {
    return ScanLibraryFolder(folder, nullptr);
}

// One pass over the library's folder: the producers in directory order and,
// when asked for, the links with a producer's name.
std::vector<std::string> CProducerSearch::ScanLibraryFolder(const std::string& folder,
                                                            std::vector<std::string>* links) {
    std::vector<std::string> names;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        return names;
    }
    while (const dirent* entry = readdir(dir)) {
        if (!HasProducerSuffix(entry->d_name)) {
            continue;
        }
        if (entry->d_type == DT_REG) {
            names.emplace_back(entry->d_name);
        } else if (entry->d_type == DT_LNK && links != nullptr) {
            links->emplace_back(entry->d_name);
        }
    }
    closedir(dir);
    return names;
}

std::vector<ProducerCandidate> CProducerSearch::Find(const std::string& libraryFolder) {
    std::vector<ProducerCandidate> found;
    std::set<std::string> seen;  // real paths already taken
    std::vector<std::string> links;
    for (const std::string& name : ScanLibraryFolder(libraryFolder, &links)) {
        const std::string path = Joined(libraryFolder, name);
        seen.insert(RealPath(path));
        found.push_back({name, path, false, {}});
    }
    // Links beside the library are not loaded (the folder holds the files
    // that ship with it); they are reported so that nobody wonders.
    for (const std::string& name : links) {
        found.push_back({name, Joined(libraryFolder, name), false,
                         std::string("a symbolic link beside the library is not loaded; "
                                     "name its target in ") +
                             kVariable + " instead"});
    }
    for (const std::string& entry : SplitVariable(std::getenv(kVariable))) {
        struct stat info {};
        if (stat(entry.c_str(), &info) != 0) {
            found.push_back({entry, entry, true, "no such file or folder"});
            continue;
        }
        const std::vector<std::string> paths =
            S_ISDIR(info.st_mode) ? ProducersInFolder(entry) : std::vector<std::string>{entry};
        for (const std::string& path : paths) {
            const std::string real = RealPath(path);
            if (!seen.insert(real).second) {
                found.push_back({real, path, true, "the same file as a producer found before"});
                continue;
            }
            found.push_back({real, path, true, {}});
        }
    }
    return found;
}

}  // namespace VEXOGENICAM
