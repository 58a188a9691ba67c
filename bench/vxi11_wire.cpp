// Queries a second over VXI-11, a write and a read each, beside two empty calls to a server of the RPC library's own in the
// same run. vxi11_wire PORT: prints a line a query.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "remote/vxi11_types.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace remote;

constexpr timeval patience{15, 0};

struct Figures {
    double a_second = 0;
    double slow_us = 0;  ///< 99.9th percentile
};

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

CLIENT* Connect(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int socket = RPC_ANYSOCK;
    CLIENT* const client = clnttcp_create(&address, DEVICE_CORE, DEVICE_CORE_VERSION, &socket, 0, 0);
    if (!client) Fail("connecting");
    return client;
}

template <typename Arguments, typename Result>
Result Call(CLIENT* client, rpcproc_t procedure, bool_t (*coding)(XDR*, Arguments*), Arguments arguments,
            bool_t (*decoding)(XDR*, Result*)) {
    Result result;
    if (clnt_call(client, procedure, Xdr_Routine(coding), &arguments, Xdr_Routine(decoding), &result, patience) != RPC_SUCCESS ||
        result.error != vxi11_no_error) {
        Fail("a call");
    }
    return result;
}

void Answer_Empty(svc_req*, SVCXPRT* transport) { svc_sendreply(transport, Xdr_Void(), nullptr); }

/// A process that serves empty calls as the library does it.
pid_t Start_Floor(int& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    socklen_t size = sizeof address;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        Fail("the empty server");
    }
    port = ntohs(address.sin_port);
    const pid_t child = fork();
    if (child != 0) {
        close(listener);
        return child;
    }
    SVCXPRT* const transport = svctcp_create(listener, 0, 0);
    if (transport && svc_register(transport, DEVICE_CORE, DEVICE_CORE_VERSION, Answer_Empty, 0)) svc_run();
    _exit(1);
}

template <typename Work>
Figures Measure(double seconds, Work work) {
    std::vector<double> times;
    const auto begin = Clock::now();
    const auto spent = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    while (spent() < seconds) {
        const auto asked = Clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - asked).count());
    }
    const double all = spent();
    std::sort(times.begin(), times.end());
    return {static_cast<double>(times.size()) / all, times[times.size() * 999 / 1000]};
}

/// The number of bytes that are answered.
std::size_t Ask(CLIENT* client, int lid, std::string_view query) {
    Device_WriteParms write{lid, 2000, 0, vxi11_end, {}};
    write.data.length = static_cast<u_int>(query.size());
    std::copy(query.begin(), query.end(), write.data.bytes.begin());
    Call(client, device_write, xdr_Device_WriteParms, write, xdr_Device_WriteResp);
    const Device_ReadParms read{lid, vxi11_response_size, 2000, 0, 0, 0};
    return Call(client, device_read, xdr_Device_ReadParms, read, xdr_Device_ReadResp).data.length;
}

void Compare(const char* query, int port) {
    int floor_port = 0;
    const pid_t floor_server = Start_Floor(floor_port);
    CLIENT* const empty = Connect(floor_port);
    CLIENT* const client = Connect(port);
    Create_LinkParms create;
    create.device.length = 5;
    std::copy_n("inst0", create.device.length, create.device.bytes.begin());
    const int lid = Call(client, create_link, xdr_Create_LinkParms, create, xdr_Create_LinkResp).lid;
    const Figures floor = Measure(1, [&] {
        for (int i = 0; i < 2; ++i) {
            if (clnt_call(empty, NULLPROC, Xdr_Void(), nullptr, Xdr_Void(), nullptr, patience) != RPC_SUCCESS)
                Fail("an empty call");
        }
    });
    std::size_t bytes = 0;
    const Figures got = Measure(2, [&] { bytes = Ask(client, lid, query); });
    Call(client, destroy_link, xdr_Device_Link, Device_Link{lid}, xdr_Device_Error);
    std::printf("VXI-11 %-15s %8.0f a second, 99.9 %% within %6.0f us, %5zu bytes; two empty calls %8.0f a second, %6.0f us; "
                "ratio %.2f\n", query, got.a_second, got.slow_us, bytes, floor.a_second, floor.slow_us, got.a_second / floor.a_second);
    clnt_destroy(client);
    clnt_destroy(empty);
    kill(floor_server, SIGTERM);
    waitpid(floor_server, nullptr, 0);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    for (const char* query : {"*IDN?", ":FREQ:CENT?", ":TRAC? TRAC1"}) Compare(query, std::atoi(arguments[1]));
    return 0;
}
