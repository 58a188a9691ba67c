#include "remote/port_mapper.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <rpc/rpcb_clnt.h>
#include <unistd.h>

#include "remote/vxi11_types.h"

namespace remote {
namespace {

struct Release_Netconfig {
    void operator()(netconfig* entry) const { freenetconfigent(entry); }
};
using Netconfig = std::unique_ptr<netconfig, Release_Netconfig>;

Netconfig Network(const char* name) { return Netconfig(getnetconfigent(name)); }

/// What is registered; nothing where no port mapper answers.
class Port_List {
public:
    Port_List() {
        const Netconfig tcp = Network("tcp");
        list_ = tcp ? rpcb_getmaps(tcp.get(), "127.0.0.1") : nullptr;
    }
    ~Port_List() { xdr_free(Xdr_Routine(xdr_rpcblist_ptr), &list_); }
    Port_List(const Port_List&) = delete;
    Port_List& operator=(const Port_List&) = delete;

    bool Answered() const { return list_ != nullptr; }
    /// The universal address of a program.
    std::optional<std::string> Find(const Mapped_Program& program, std::string_view network) const {
        for (const rpcblist* entry = list_; entry; entry = entry->rpcb_next) {
            const rpcb& map = entry->rpcb_map;
            if (map.r_prog == program.number && map.r_vers == program.version && map.r_netid == network) {
                return map.r_addr;
            }
        }
        return std::nullopt;
    }

private:
    rpcblist* list_ = nullptr;  ///< a port mapper names itself at least
};

std::string Universal(const sockaddr_in& address) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&address.sin_addr);
    const unsigned port = ntohs(address.sin_port);
    std::string text;
    for (std::size_t i = 0; i < sizeof address.sin_addr; ++i) text += std::to_string(bytes[i]) + '.';
    return text + std::to_string(port >> 8) + '.' + std::to_string(port & 0xff);
}

std::optional<sockaddr_in> Address(const std::string& universal) {
    unsigned part[6];
    if (std::sscanf(universal.c_str(), "%u.%u.%u.%u.%u.%u", &part[0], &part[1], &part[2], &part[3], &part[4],
                    &part[5]) != 6) {
        return std::nullopt;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(part[0] << 24 | part[1] << 16 | part[2] << 8 | part[3]);
    if (address.sin_addr.s_addr == htonl(INADDR_ANY)) address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(part[4] << 8 | part[5]));
    return address;
}

/// A server answers at a program's address.
bool Answers(const Mapped_Program& program, const std::string& universal) {
    constexpr timeval patience{1, 0};  // whole seconds read alike where the library's times are shorter than ours
    std::optional<sockaddr_in> address = Address(universal);
    int socket = RPC_ANYSOCK;
    CLIENT* const client =
        address ? clnttcp_create(&*address, program.number, program.version, &socket, 0, 0) : nullptr;
    if (!client) return false;
    const clnt_stat status = clnt_call(client, NULLPROC, Xdr_Void(), nullptr, Xdr_Void(), nullptr, patience);
    clnt_destroy(client);
    return status == RPC_SUCCESS;
}

bool Set(const Mapped_Program& program, const char* network, sockaddr_in address, bool taken) {
    const Netconfig entry = Network(network);
    if (entry && taken) rpcb_unset(program.number, program.version, entry.get());
    const netbuf where{sizeof address, sizeof address, &address};
    return entry && rpcb_set(program.number, program.version, entry.get(), &where);
}

bool Refuse(const Mapped_Program& program, const char* network, bool quiet) {
    if (!quiet) std::fprintf(stderr, "unable to register (%s, %s_VERSION, %s).\n", program.name, program.name, network);
    return false;
}

}  // namespace

Mapping Register_Ports(std::span<const Mapped_Program> programs, const sockaddr_in& udp, const sockaddr_in& tcp,
                       bool quiet) {
    const Port_List list;
    if (!list.Answered()) {
        Refuse(programs.front(), "udp", quiet);
        if (!quiet) {
            std::fprintf(stderr,
                         "VXI-11 is off: no port mapper runs here. Start rpcbind, or the instrument with --rpcbind.\n");
        }
        return Mapping::failed;
    }
    for (const Mapped_Program& program : programs) {
        const auto there = list.Find(program, "tcp");
        if (there && *there != Universal(tcp) && Answers(program, *there)) return Mapping::of_another;
    }
    for (const auto& [network, address] : {std::pair("udp", &udp), std::pair("tcp", &tcp)}) {
        for (const Mapped_Program& program : programs) {
            const auto there = list.Find(program, network);
            if (there == Universal(*address) || Set(program, network, *address, there.has_value())) continue;
            Refuse(program, network, quiet);
            Withdraw_Ports(programs, udp, tcp);
            return Mapping::failed;
        }
    }
    return Mapping::registered;
}

void Withdraw_Ports(std::span<const Mapped_Program> programs, const sockaddr_in& udp, const sockaddr_in& tcp) {
    const Port_List list;
    for (const auto& [network, address] : {std::pair("udp", &udp), std::pair("tcp", &tcp)}) {
        const Netconfig entry = Network(network);
        for (const Mapped_Program& program : programs) {
            if (entry && list.Find(program, network) == Universal(*address)) {
                rpcb_unset(program.number, program.version, entry.get());
            }
        }
    }
}

}  // namespace remote
