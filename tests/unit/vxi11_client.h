#pragma once
#include <fstream>
#include <optional>

#include "remote/vxi11.h"
#include "remote/vxi11_types.h"
#include "remote_rig.h"

/// A client of the RPC library, over TCP or UDP. One call at a time.
class Rpc_Client {
public:
    Rpc_Client(sockaddr_in address, bool datagrams = false, rpcprog_t program = remote::DEVICE_CORE) {
        int socket = RPC_ANYSOCK;
        if (datagrams) {
            socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
            const netbuf server{sizeof address, sizeof address, &address};
            client_ = clnt_dg_create(socket, &server, program, 1, 0, 0);
            timeval again = twice_patience;
            clnt_control(client_, CLSET_FD_CLOSE, nullptr);
            clnt_control(client_, CLSET_RETRY_TIMEOUT, reinterpret_cast<char*>(&again));
        } else {
            client_ = clnttcp_create(&address, program, 1, &socket, 0, 0);
        }
        EXPECT_NE(client_, nullptr);
    }
    Rpc_Client(Rpc_Client&& other) noexcept : client_(std::exchange(other.client_, nullptr)) {}
    Rpc_Client& operator=(Rpc_Client&&) = delete;
    ~Rpc_Client() {
        if (client_) clnt_destroy(client_);
    }

    clnt_stat Nothing(rpcproc_t procedure) const {
        return clnt_call(client_, procedure, remote::Xdr_Void(), nullptr, remote::Xdr_Void(), nullptr, patience);
    }
    template <typename Arguments, typename Result>
    clnt_stat Call(rpcproc_t procedure, bool_t (*coding)(XDR*, Arguments*), Arguments arguments,
                   bool_t (*decoding)(XDR*, Result*), Result& result) const {
        return clnt_call(client_, procedure, remote::Xdr_Routine(coding), &arguments, remote::Xdr_Routine(decoding),
                         &result, patience);
    }
    /// The connection's end, without a word to the server.
    int Socket() const {
        int socket = -1;
        clnt_control(client_, CLGET_FD, reinterpret_cast<char*>(&socket));
        return socket;
    }

private:
    // Whole seconds read alike where the library's times are shorter than ours, as long as none comes before them.
    static constexpr timeval patience{15, 0}, twice_patience{30, 0};
    CLIENT* client_ = nullptr;
};

/// A link over a connection of its own. Results are "error" or "error:what else is answered".
class Vxi11_Link_Client : public Rpc_Client {
public:
    explicit Vxi11_Link_Client(sockaddr_in address, bool datagrams = false) : Rpc_Client(address, datagrams) {}

    int Create(std::string_view name = "inst0", bool lock = false, u_int lock_timeout = 0) {
        remote::Create_LinkParms parms{4711, lock, lock_timeout, {}};
        Fill(parms.device, name);
        EXPECT_EQ(Call(remote::create_link, remote::xdr_Create_LinkParms, parms, remote::xdr_Create_LinkResp, created),
                  RPC_SUCCESS);
        if (created.error == 0) lid = created.lid;
        return created.error;
    }
    int Write(std::string_view text, int flags = remote::vxi11_end, u_int lock_timeout = 0) {
        remote::Device_WriteParms parms{lid, 2000, lock_timeout, flags, {}};
        Fill(parms.data, text);
        remote::Device_WriteResp resp;
        EXPECT_EQ(Call(remote::device_write, remote::xdr_Device_WriteParms, parms, remote::xdr_Device_WriteResp, resp),
                  RPC_SUCCESS);
        EXPECT_EQ(resp.size, resp.error == 0 ? text.size() : 0u);
        return resp.error;
    }
    /// "error:reason:data".
    std::string Read(u_int count = 100000, u_int io_timeout = 2000, int flags = 0, char term_char = 0) const {
        remote::Device_ReadResp resp;
        EXPECT_EQ(Call(remote::device_read, remote::xdr_Device_ReadParms,
                       remote::Device_ReadParms{lid, count, io_timeout, 0, flags, term_char},
                       remote::xdr_Device_ReadResp, resp),
                  RPC_SUCCESS);
        return std::to_string(resp.error) + ':' + std::to_string(resp.reason) + ':' + std::string(resp.data.Kept());
    }
    std::string Ask(std::string_view text) { return Write(text) == 0 ? Read() : "not written"; }
    /// clear, remote, local, trigger.
    int Generic(rpcproc_t procedure, int flags = 0, u_int lock_timeout = 0) const {
        return Error(procedure, remote::xdr_Device_GenericParms,
                     remote::Device_GenericParms{lid, flags, lock_timeout, 2000});
    }
    int Lock(int flags = 0, u_int lock_timeout = 0) const {
        return Error(remote::device_lock, remote::xdr_Device_LockParms,
                     remote::Device_LockParms{lid, flags, lock_timeout});
    }
    int Unlock() const { return Error(remote::device_unlock, remote::xdr_Device_Link, remote::Device_Link{lid}); }
    int Destroy() const { return Error(remote::destroy_link, remote::xdr_Device_Link, remote::Device_Link{lid}); }
    /// The status byte, or minus the error.
    int Status(int flags = 0) const {
        remote::Device_ReadStbResp resp;
        EXPECT_EQ(Call(remote::device_readstb, remote::xdr_Device_GenericParms,
                       remote::Device_GenericParms{lid, flags, 0, 0}, remote::xdr_Device_ReadStbResp, resp),
                  RPC_SUCCESS);
        return resp.error == 0 ? resp.stb : -resp.error;
    }
    template <typename Arguments>
    int Error(rpcproc_t procedure, bool_t (*coding)(XDR*, Arguments*), Arguments arguments) const {
        remote::Device_Error resp{-1};
        EXPECT_EQ(Call(procedure, coding, arguments, remote::xdr_Device_Error, resp), RPC_SUCCESS);
        return resp.error;
    }

    int lid = 0;
    remote::Create_LinkResp created;

private:
    template <std::size_t size>
    static void Fill(remote::Vxi11_Bytes<size>& place, std::string_view text) {
        ASSERT_LE(text.size(), size);
        place.length = static_cast<u_int>(text.size());
        std::copy(text.begin(), text.end(), place.bytes.begin());
    }
};

/// VXI-11 beside the other servers, on ports that no port mapper knows.
class Vxi11_Rig : public Remote_Rig {
protected:
    void SetUp() override {
        Remote_Rig::SetUp();
        vxi11_ = std::thread([] { remote::vxi_server("127.0.0.1", false, false); });
        ASSERT_TRUE(Eventually([] { return Ports().size() == 2; }));
    }
    void TearDown() override {
        End_Server();
        Remote_Rig::TearDown();
    }
    void End_Server() {
        if (!vxi11_.joinable()) return;
        platform::Request_Stop();
        vxi11_.join();
    }
    /// Of TCP and UDP.
    static std::vector<sockaddr_in> Ports() {
        std::vector<sockaddr_in> ports;
        std::ifstream file(platform::Rooted(remote::vxi11_port_file));
        for (std::string name, address; file >> name >> address;) {
            sockaddr_in port{};
            port.sin_family = AF_INET;
            port.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            port.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.find(':') + 1))));
            ports.push_back(port);
        }
        return ports;
    }
    static Vxi11_Link_Client Linked(bool datagrams = false) {
        Vxi11_Link_Client client(Ports()[datagrams ? 1 : 0], datagrams);
        constexpr u_int patient = 1'000'000'000;
        EXPECT_EQ(client.Create("inst0", false, patient), 0);
        return client;
    }
    /// A connection for calls that no library would send.
    static Connection Bare() { return Tcp("x:" + std::to_string(ntohs(Ports()[0].sin_port))); }

    /// Runs what has to wait for time to pass.
    template <typename Work>
    static auto Stepped(Work work) {
        std::atomic<bool> done{false};
        decltype(work()) result;
        std::thread worker([&] {
            result = work();
            done = true;
        });
        EXPECT_TRUE(Eventually([&] {
            platform::Step_Clock(std::chrono::milliseconds(20));
            return done.load();
        }));
        worker.join();
        return result;
    }

    static std::string Words(std::initializer_list<std::uint32_t> words) {
        std::string bytes;
        for (const std::uint32_t word : words) {
            for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift & 0xff);
        }
        return bytes;
    }
    static std::string Record(std::string_view bytes) {
        return Words({0x80000000 | static_cast<std::uint32_t>(bytes.size())}) + std::string(bytes);
    }
    static std::string Call(std::uint32_t procedure, std::string_view arguments, std::uint32_t program = 395183,
                            std::uint32_t xid = 7) {
        return Record(Words({xid, 0, 2, program, 1, procedure, 0, 0, 0, 0}) + std::string(arguments));
    }
    /// The words of the next reply behind its number, in hexadecimal without leading zeros.
    static std::string Reply(const Connection& connection) {
        const std::string mark = connection.Receive(4);
        if (mark.size() < 4) return "ended";
        const std::size_t length = static_cast<unsigned char>(mark[2]) * 256u + static_cast<unsigned char>(mark[3]);
        const std::string bytes = connection.Receive(length);
        std::string text;
        for (std::size_t i = 4; i + 4 <= bytes.size(); i += 4) {
            std::uint32_t word = 0;
            for (std::size_t k = i; k < i + 4; ++k) word = word << 8 | static_cast<unsigned char>(bytes[k]);
            char digits[16];
            std::snprintf(digits, sizeof digits, "%s%x", text.empty() ? "" : " ", word);
            text += digits;
        }
        return text;
    }

private:
    std::thread vxi11_;
};
