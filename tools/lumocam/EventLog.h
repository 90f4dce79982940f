#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "LumoGenICam.h"

namespace lumocam {

// Collects the events of a camera's device, remote device and data stream as
// text lines, from the library's delivery threads, for the grab loop to print
// between frames. Registers in the constructor what the producer accepts and
// ends every registration in the destructor, before its own storage goes.
class EventLog final : public VEXOGENICAM::INotify {
public:
    explicit EventLog(VEXOGENICAM::ICamera* camera);
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    // How many (module, event type) registrations the producer accepted.
    std::size_t Registrations() const { return m_registered.size(); }
    // The lines collected since the last call, oldest first.
    std::vector<std::string> Take();

    void OnNotify(VEXOGENICAM::NOTIFY_SRC source, VEXOGENICAM::NOTIFY_TYPE type, const void* data,
                  std::size_t size) override;

private:
    VEXOGENICAM::ICamera* m_camera;
    std::vector<std::pair<VEXOGENICAM::NOTIFY_SRC, VEXOGENICAM::NOTIFY_TYPE>> m_registered;
    std::mutex m_lock;
    std::deque<std::string> m_lines;
};

// "remote device", "feature change"; the event data as text where it is
// printable and \xNN where it is not, cut after 64 bytes.
std::string EventLine(VEXOGENICAM::NOTIFY_SRC source, VEXOGENICAM::NOTIFY_TYPE type,
                      const void* data, std::size_t size);

}  // namespace lumocam
