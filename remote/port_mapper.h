#pragma once
#include <span>

#include <netinet/in.h>

#include <rpc/rpc.h>

/// The machine's port mapper, as far as VXI-11 needs it. Calls wait for its answers.
namespace remote {

/// A program at its two ports.
struct Mapped_Program {
    rpcprog_t number;
    rpcvers_t version;
    const char* name;  ///< in messages, with its version
};

enum class Mapping { registered, of_another, failed };

/// Registers the programs, first all over UDP, then over TCP. What servers that have gone have left there is taken away
/// before; where one still answers, nothing is changed. What is registered already stays. A failure is told on standard
/// error, unless quiet.
Mapping Register_Ports(std::span<const Mapped_Program> programs, const sockaddr_in& udp, const sockaddr_in& tcp,
                       bool quiet);

/// Takes away what is registered at these addresses.
void Withdraw_Ports(std::span<const Mapped_Program> programs, const sockaddr_in& udp, const sockaddr_in& tcp);

}  // namespace remote
