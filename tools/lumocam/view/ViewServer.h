#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class Server;
}

namespace lumocam {

class CameraHub;

// The HTTP side of the live view: the page's files and the JSON API, served
// on a pool of threads so that several tabs and their waiting frame requests
// are answered side by side.
class ViewServer {
public:
    explicit ViewServer(CameraHub& hub);
    ~ViewServer();  // stops serving
    ViewServer(const ViewServer&) = delete;
    ViewServer& operator=(const ViewServer&) = delete;

    // Binds `address`; port 0 takes a free one. Answers the port bound.
    // Throws ToolError when the address cannot be bound.
    int Bind(const std::string& address, int port);
    // Serves on a thread of its own until Stop.
    void Start();
    // Ends waiting frame requests, closes the listening socket and waits for
    // requests in progress. Safe to call twice.
    void Stop();
    // False once the server stopped on its own (the socket failed).
    bool Running() const;

private:
    CameraHub& m_hub;
    std::unique_ptr<httplib::Server> m_server;
    std::atomic<bool> m_finished{false};
    std::thread m_thread;
};

// True for addresses only this machine reaches: 127.0.0.0/8, ::1, localhost.
bool IsLoopbackAddress(const std::string& address);

}  // namespace lumocam
