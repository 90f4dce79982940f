#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "IImage.h"
#include "LumoExport.h"
#include "LumoTypes.h"

namespace VEXOGENICAM {

class CCamera;

// How ICamera::GrabImage delivers images. One-by-one waits on the stream in the
// caller's thread; the two latest-image strategies run a worker that drains the
// stream and keeps only the newest image.
class LUMO_API CGrab {
public:
    CGrab(CCamera* camera, GRAB_STRATEGY strategy);
    CGrab(const CGrab&) = delete;
    CGrab& operator=(const CGrab&) = delete;
    virtual ~CGrab();

    int GrabImage(IImage** image, unsigned long long timeout);
    int GrabLastImage(IImage** image, unsigned long long timeout);
    int GrabUpCommingImage(IImage** image, unsigned long long timeout);

    // Ends the worker and gives the held image back. Must be called without the
    // camera's lock: the worker may be waiting for it. Clients still waiting
    // on this object then get -12.
    void Stop();

private:
    void Grabbing();
    IImage* TakeLatest();

    CCamera* m_pCamera;
    GRAB_STRATEGY m_strategy;
    std::thread m_worker;
    std::atomic<bool> m_stop{false};
    IImage* m_pLatest = nullptr;
    std::mutex m_lock;
    // Signalled at stop and whenever a new latest image is in place.
    std::condition_variable m_signal;
    std::mutex m_joinLock;
};

}  // namespace VEXOGENICAM
