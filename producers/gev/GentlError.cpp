#include "GentlError.h"

#include <mutex>
#include <thread>
#include <unordered_map>

namespace LumoGev {
namespace {

struct Entry {
    GenTL::GC_ERROR code;
    std::string text;
};
std::mutex g_lock;
std::unordered_map<std::thread::id, Entry> g_errors;

}  // namespace

void StoreLastError(GenTL::GC_ERROR code, const std::string& text) {
    std::lock_guard<std::mutex> lk(g_lock);
    g_errors[std::this_thread::get_id()] = Entry{code, text};
}

GenTL::GC_ERROR LastErrorCode(std::string& text) {
    std::lock_guard<std::mutex> lk(g_lock);
    const auto it = g_errors.find(std::this_thread::get_id());
    if (it == g_errors.end()) {
        text = "No Error";
        return GenTL::GC_ERR_SUCCESS;
    }
    text = it->second.text;
    return it->second.code;
}

void ForgetLastErrors() {
    std::lock_guard<std::mutex> lk(g_lock);
    g_errors.clear();
}

}  // namespace LumoGev
