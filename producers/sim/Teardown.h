#pragma once

// Closing modules, children first: streams stop and lose their buffers, registered events are
// aborted and their handles forgotten.
#include <memory>

#include "Producer.h"

namespace LumoSim {

// Forgets the handles of `ev`; waiters are left to the caller.
void ForgetEvent(CProducer& p, const std::shared_ptr<CEvent>& ev);
void CloseStream(CProducer& p, CDevice& dev, size_t index);
void CloseDevice(CProducer& p, CInterface& itf, CDevice* dev);
void CloseInterface(CProducer& p, CInterface* itf);
void CloseSystem(CProducer& p);

}  // namespace LumoSim
