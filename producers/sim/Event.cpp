#include "Event.h"

#include <GenTL/GenTL.h>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace LumoSim {

void CEvent::PushLocked(Entry e) {
    if (aborted_) {
        return;
    }
    queue_.push_back(std::move(e));
    cv_.notify_one();
}

void CEvent::Push(Entry e) {
    std::lock_guard<std::mutex> g(*lock_);
    PushLocked(std::move(e));
}

int32_t CEvent::Get(void* buffer, size_t* size, uint64_t timeoutMs) {
    std::unique_lock<std::mutex> g(*lock_);
    auto ready = [&] { return aborted_ || kills_ > 0 || !queue_.empty(); };
    if (timeoutMs == GENTL_INFINITE) {
        cv_.wait(g, ready);
    } else if (!cv_.wait_for(g,
                             std::chrono::milliseconds(std::min<uint64_t>(timeoutMs, 1ull << 40)),
                             ready)) {
        return GenTL::GC_ERR_TIMEOUT;
    }
    if (aborted_) {
        return GenTL::GC_ERR_ABORT;
    }
    if (kills_ > 0) {
        --kills_;
        return GenTL::GC_ERR_ABORT;
    }
    Entry& e = queue_.front();
    if (buffer) {
        if (*size < e.size()) {
            return GenTL::GC_ERR_BUFFER_TOO_SMALL;
        }
        std::memcpy(buffer, e.data(), e.size());
        *size = e.size();
    }
    Entry taken = std::move(e);
    queue_.pop_front();
    ++fired_;
    if (onConsume) {
        onConsume(taken);
    }
    return GenTL::GC_ERR_SUCCESS;
}

void CEvent::Kill() {
    std::lock_guard<std::mutex> g(*lock_);
    ++kills_;
    cv_.notify_one();
}

void CEvent::FlushLocked() {
    for (const auto& e : queue_) {
        if (onDrop)
            onDrop(e);
    }
    queue_.clear();
}

void CEvent::Flush() {
    std::lock_guard<std::mutex> g(*lock_);
    FlushLocked();
}

void CEvent::Abort() {
    std::lock_guard<std::mutex> g(*lock_);
    FlushLocked();
    aborted_ = true;
    cv_.notify_all();
}

size_t CEvent::Queued() {
    std::lock_guard<std::mutex> g(*lock_);
    return queue_.size();
}

uint64_t CEvent::Fired() {
    std::lock_guard<std::mutex> g(*lock_);
    return fired_;
}

void CEvent::RemoveLocked(const std::function<bool(const Entry&)>& pred) {
    for (auto it = queue_.begin(); it != queue_.end();) {
        it = pred(*it) ? queue_.erase(it) : it + 1;
    }
}

CEvent::Entry CEvent::Encode(const std::vector<uint8_t>& id, const std::vector<uint8_t>& value) {
    Entry e(8 + id.size() + value.size());
    const auto il = static_cast<uint32_t>(id.size());
    const auto vl = static_cast<uint32_t>(value.size());
    std::memcpy(e.data(), &il, 4);
    // std::copy, not memcpy: an empty value has no data pointer.
    std::copy(id.begin(), id.end(), e.begin() + 4);
    std::memcpy(e.data() + 4 + id.size(), &vl, 4);
    std::copy(value.begin(), value.end(), e.begin() + 8 + static_cast<std::ptrdiff_t>(id.size()));
    return e;
}

bool CEvent::Decode(const uint8_t* data, size_t size, std::vector<uint8_t>& id,
                    std::vector<uint8_t>& value) {
    uint32_t il = 0, vl = 0;
    if (size < 8)
        return false;
    std::memcpy(&il, data, 4);
    if (il > size - 8)
        return false;
    std::memcpy(&vl, data + 4 + il, 4);
    if (vl != size - 8 - il)
        return false;
    id.assign(data + 4, data + 4 + il);
    value.assign(data + 8 + il, data + 8 + il + vl);
    return true;
}

}  // namespace LumoSim
