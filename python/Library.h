#pragma once

#include <Python.h>

#include <mutex>
#include <vector>

// The library's Init/UnInit for the Python module, and the register of every
// object the module holds from the library. Python frees objects in no fixed
// order at interpreter exit, but the library needs images given back before
// their camera, cameras before records, and all of them before UnInit: the
// shutdown walks the register in that order first.
namespace lumopy {

// Takes a lock that another thread may hold while it waits for the GIL: when
// the lock is busy and this thread holds the GIL, the GIL is let go meanwhile.
template <class Lock>
void LockLettingGilGo(Lock& lock) {
    if (lock.try_lock()) {
        return;
    }
    if (Py_IsInitialized() != 0 && PyGILState_Check() != 0) {
        PyThreadState* state = PyEval_SaveThread();
        lock.lock();
        PyEval_RestoreThread(state);
        return;
    }
    lock.lock();
}

class Held {
public:
    // Order of release at shutdown: lower ranks first.
    enum class Rank { Image = 0, Camera = 1, Record = 2 };

    explicit Held(Rank rank) : m_rank(rank) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    virtual ~Held() = default;

    Rank GetRank() const { return m_rank; }
    // Gives the object back to the library; a second call does nothing.
    virtual void Drop() = 0;

private:
    Rank m_rank;
};

class Library {
public:
    static Library& Get();

    // Calls Init on first use; throws Error once the library was shut down.
    void Require();
    bool IsShutDown();
    // Registers an object for shutdown; throws Error once shut down (the
    // caller then gives the object back itself).
    void Track(Held* held);
    // Unregisters an object before it is destroyed; waits for a shutdown in
    // progress so that it never drops an object being destroyed.
    void Untrack(Held* held);
    // Drops every registered object in rank order, then calls UnInit. Further
    // use of the module raises Error.
    void Shutdown();

private:
    Library() = default;

    std::mutex m_lock;
    std::vector<Held*> m_held;
    bool m_initialised = false;
    bool m_shutDown = false;
};

}  // namespace lumopy
