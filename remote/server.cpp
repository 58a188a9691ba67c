#include "remote/server.h"

#include <memory>

#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/stop.h"
#include "remote/device_port.h"
#include "remote/gpib.h"
#include "remote/hislip.h"
#include "remote/local_socket.h"
#include "remote/poll_set.h"
#include "remote/raw_socket.h"
#include "remote/rs232.h"
#include "remote/setup.h"
#include "remote/sinks.h"
#include "remote/usb.h"
#include "remote/vxi11.h"
#include "remote/waiting.h"

namespace remote {
namespace {

constexpr int clock_look_ms = 100;

class Server : public Waiting_Service {
public:
    explicit Server(const Local_Commands& commands) : local_(commands) {
        Set_Server_Thread(true);
        Set_Waiting_Service(this);
    }
    ~Server() override {
        Set_Waiting_Service(nullptr);
        Set_Server_Thread(false);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// One wait over everything. False on the stop.
    bool Serve_Once();
    /// A short wait over the front panel while a command waits; service requests go out. False on the stop.
    bool Serve_While_Waiting() override;

private:
    int Wait_Time() const;

    Rs232_Port rs232_;
    Device_Port gpib_{interface_gpib}, usb_{interface_usb};
    Raw_Clients raw_;
    Local_Socket local_;
    Hislip_Server hislip_;
};

bool Server::Serve_Once() {
    Poll_Set waits;
    const std::size_t stop = waits.Add(platform::Stop_Fd(), POLLIN), requests = waits.Add(Request_Event(), POLLIN);
    rs232_.Add_Waits(waits);
    gpib_.Add_Waits(waits);
    usb_.Add_Waits(waits);
    raw_.Add_Waits(waits);
    local_.Add_Waits(waits);
    if (!waits.Wait(Wait_Time()) || waits.Events(stop)) return false;
    rs232_.Serve(waits);
    gpib_.Serve(waits);
    usb_.Serve(waits);
    raw_.Serve(waits);
    local_.Serve(waits);
    if (waits.Events(requests)) Send_Requests();
    return true;
}

int Server::Wait_Time() const {
    if (local_.Has_Work()) return 0;
    const bool clock = rs232_.Watches_Time() || gpib_.Watches_Time() || usb_.Watches_Time() || raw_.Watches_Time() ||
                       local_.Watches_Time();
    return clock ? clock_look_ms : -1;
}

bool Server::Serve_While_Waiting() {
    Send_Requests();
    Poll_Set waits;
    const std::size_t stop = waits.Add(platform::Stop_Fd(), POLLIN);
    local_.Add_Page_Waits(waits);
    if (!waits.Wait(waiting_ms) || waits.Events(stop)) return false;
    local_.Serve_Pages(waits);
    return true;
}

}  // namespace

bool Open_Ports(const Remote_Setup& setup, int baud_index, int stored_hislip_port) {
    Install_Interface(setup);
    Open_Rs232(baud_index);
    Open_Gpib();
    Open_Usb();
    const platform::Network_Settings& network = platform::Network();
    const int hislip_port = network.hislip_port == platform::stored_port ? stored_hislip_port : network.hislip_port;
    const bool raw = network.scpi_port < 0 || Open_Raw_Listener(network.address, network.scpi_port);
    const bool hislip = hislip_port < 0 || Open_Hislip_Listener(network.address, hislip_port);
    return raw && hislip;
}

void Close_Ports() {
    Stop_Vxi11();
    Close_Hislip_Listener();
    Close_Raw_Listener();
    Close_Usb();
    Close_Gpib();
    Close_Rs232();
    Remove_Interface();
}

void Serve(const Local_Commands& commands) {
    const auto server = std::make_unique<Server>(commands);
    while (server->Serve_Once()) {}
}

}  // namespace remote
