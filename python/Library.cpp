#include "Library.h"

#include <algorithm>

#include "Error.h"
#include "LumoGenICam.h"

namespace lumopy {

Library& Library::Get() {
    // Never destroyed: objects may still be untracked while static
    // destructors run after the interpreter is gone.
    static Library* library = new Library();
    return *library;
}

void Library::Require() {
    std::unique_lock<std::mutex> guard(m_lock, std::defer_lock);
    LockLettingGilGo(guard);
    if (m_shutDown) {
        throw Error("the library was shut down (lumogenicam.shutdown or interpreter exit)");
    }
    if (!m_initialised) {
        VEXOGENICAM::Init();
        m_initialised = true;
    }
}

bool Library::IsShutDown() {
    std::unique_lock<std::mutex> guard(m_lock, std::defer_lock);
    LockLettingGilGo(guard);
    return m_shutDown;
}

void Library::Track(Held* held) {
    std::unique_lock<std::mutex> guard(m_lock, std::defer_lock);
    LockLettingGilGo(guard);
    if (m_shutDown) {
        throw Error("the library was shut down (lumogenicam.shutdown or interpreter exit)");
    }
    m_held.push_back(held);
}

void Library::Untrack(Held* held) {
    std::unique_lock<std::mutex> guard(m_lock, std::defer_lock);
    LockLettingGilGo(guard);
    std::erase(m_held, held);
}

void Library::Shutdown() {
    std::unique_lock<std::mutex> guard(m_lock, std::defer_lock);
    LockLettingGilGo(guard);
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    std::stable_sort(m_held.begin(), m_held.end(),
                     [](const Held* a, const Held* b) { return a->GetRank() < b->GetRank(); });
    // Under the lock: an owner destroyed meanwhile waits in Untrack, so every
    // pointer here stays valid until its Drop returned.
    for (Held* held : m_held) {
        held->Drop();
    }
    m_held.clear();
    if (m_initialised) {
        VEXOGENICAM::UnInit();
    }
}

}  // namespace lumopy
