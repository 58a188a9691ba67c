#include "remote/vxi11.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/root.h"
#include "platform/stop.h"
#include "records/handover.h"
#include "remote/port_mapper.h"
#include "remote/tcp_listener.h"
#include "remote/vxi11_server.h"

namespace remote {
namespace {

constexpr std::array<Mapped_Program, 3> programs{{{DEVICE_ASYNC, DEVICE_ASYNC_VERSION, "DEVICE_ASYNC"},
                                                  {DEVICE_CORE, DEVICE_CORE_VERSION, "DEVICE_CORE"},
                                                  {DEVICE_INTR, DEVICE_INTR_VERSION, "DEVICE_INTR"}}};
constexpr std::chrono::seconds look_gap{10};

std::atomic<const char*> state{"starting"};

struct Served_Ports {
    sockaddr_in udp, tcp;
};
std::mutex served_mutex;
std::optional<Served_Ports> served;  ///< those that the port mapper should know; under served_mutex

// Of the thread that watches, and of the one that joins after it.
std::thread vxi_thread;
std::optional<platform::Duration> last_look;

sockaddr_in Name_Of(int socket) {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size);
    return name;
}

int Open_Datagrams(const std::string& address) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    if (inet_pton(AF_INET, address.c_str(), &name.sin_addr) != 1) return -1;
    const int opened = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (opened < 0 || bind(opened, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0) return opened;
    close(opened);
    return -1;
}

/// Names the ports as long as it lives.
class Port_File {
public:
    Port_File(int tcp, int udp) : path_(platform::Rooted(vxi11_port_file)) {
        std::ofstream file(path_);
        file << "tcp " << Bound_Address(tcp) << "\nudp " << Bound_Address(udp) << '\n';
    }
    ~Port_File() { unlink(path_.c_str()); }
    Port_File(const Port_File&) = delete;
    Port_File& operator=(const Port_File&) = delete;

private:
    std::string path_;
};

void Show(Mapping mapping) { state.store(mapping == Mapping::registered ? "on" : "off"); }

/// False when the server is to end.
bool Register(const Served_Ports& ports, bool quiet) {
    const Mapping mapping = Register_Ports(programs, ports.udp, ports.tcp, quiet);
    if (mapping == Mapping::of_another) {
        std::fprintf(stderr, "another instrument is registered for VXI-11; this one listens at port %d unregistered\n",
                     ntohs(ports.tcp.sin_port));
    }
    if (mapping == Mapping::failed) return false;
    const std::lock_guard guard(served_mutex);
    served = ports;
    Show(mapping);
    return true;
}

/// A port mapper that was started anew has forgotten everything, and another instrument may have ended.
void Look_At_Registration() {
    const std::lock_guard guard(served_mutex);
    if (served) Show(Register_Ports(programs, served->udp, served->tcp, true));
}

void Withdraw() {
    const std::lock_guard guard(served_mutex);
    if (served) Withdraw_Ports(programs, served->udp, served->tcp);
    served.reset();
}

void Serve_Once(bool quiet) {
    vxi_server(platform::Network().address, true, quiet);
    Withdraw();
    state.store("off");
    VXI11_Start.store(0, std::memory_order_release);
}

}  // namespace

bool vxi_server(const std::string& address, bool mapped, bool quiet) {
    const int udp = Open_Datagrams(address);
    if (udp < 0) {
        std::fprintf(stderr, "cannot create udp service.\n");
        return false;
    }
    const int tcp = Listen_On(address, 0);
    if (tcp < 0) {
        std::fprintf(stderr, "cannot create tcp service.\n");
        close(udp);
        return false;
    }
    const auto server = std::make_unique<Vxi11_Server>(tcp, udp);
    if (mapped && !Register({Name_Of(udp), Name_Of(tcp)}, quiet)) return false;
    const Port_File file(tcp, udp);
    const bool stopped = server->Run();
    if (!stopped) std::fprintf(stderr, "svc_run returned\n");
    return stopped;
}

void Watch_Vxi11(bool link_up) {
    const bool runs = VXI11_Start.load(std::memory_order_acquire) != 0;
    if (!runs && (!link_up || !platform::Network().vxi11)) return state.store("off");
    const platform::Duration now = platform::Now();
    if (last_look && now - *last_look < look_gap) return;
    const bool again = std::exchange(last_look, now).has_value();
    if (runs) return Look_At_Registration();
    if (vxi_thread.joinable()) vxi_thread.join();
    VXI11_Start.store(1, std::memory_order_release);
    try {
        vxi_thread = std::thread(Serve_Once, again);
    } catch (const std::system_error& failure) {
        std::fprintf(stderr, "VXI-11 is off: %s\n", failure.what());
        state.store("off");
        VXI11_Start.store(0, std::memory_order_release);
    }
}

void Stop_Vxi11() {
    if (vxi_thread.joinable()) vxi_thread.join();
    last_look.reset();
    state.store("starting");
}

const char* Vxi11_State() { return state.load(); }

}  // namespace remote
