#include "Teardown.h"

#include <algorithm>

namespace LumoSim {
namespace {

void AbortEvents(CProducer& p, CModule& m) {
    std::lock_guard<std::mutex> g(*m.eventLock);
    for (auto& [type, ev] : m.events) {
        ev->Abort();
        ForgetEvent(p, ev);
    }
    m.events.clear();
}

}  // namespace

void ForgetEvent(CProducer& p, const std::shared_ptr<CEvent>& ev) {
    for (auto it = p.events.begin(); it != p.events.end();) {
        if (it->second == ev) {
            p.handles.Remove(it->first);
            it = p.events.erase(it);
        } else {
            ++it;
        }
    }
}

void CloseStream(CProducer& p, CDevice& dev, size_t index) {
    CDataStream* ds = dev.streams[index].get();
    if (!ds)
        return;
    ds->Stop();
    AbortEvents(p, *ds);
    {
        std::lock_guard<std::mutex> g(*ds->lock);
        for (auto& b : ds->buffers)
            p.handles.Remove(b->handle);
        ds->newBufferEvent.reset();
    }
    p.handles.Remove(ds->handle);
    dev.streams[index].reset();
}

void CloseDevice(CProducer& p, CInterface& itf, CDevice* dev) {
    for (size_t i = 0; i < dev->streams.size(); ++i)
        CloseStream(p, *dev, i);
    AbortEvents(p, *dev);
    if (dev->remote) {
        AbortEvents(p, *dev->remote);
        p.handles.Remove(dev->remote->handle);
    }
    p.handles.Remove(dev->handle);
    itf.open.erase(std::find_if(itf.open.begin(), itf.open.end(),
                                [dev](const auto& d) { return d.get() == dev; }));
}

void CloseInterface(CProducer& p, CInterface* itf) {
    while (!itf->open.empty())
        CloseDevice(p, *itf, itf->open.back().get());
    AbortEvents(p, *itf);
    p.handles.Remove(itf->handle);
    auto& list = p.system->open;
    list.erase(
        std::find_if(list.begin(), list.end(), [itf](const auto& i) { return i.get() == itf; }));
}

void CloseSystem(CProducer& p) {
    if (!p.system)
        return;
    while (!p.system->open.empty())
        CloseInterface(p, p.system->open.back().get());
    AbortEvents(p, *p.system);
    p.handles.Remove(p.system->handle);
    p.system.reset();
}

}  // namespace LumoSim
