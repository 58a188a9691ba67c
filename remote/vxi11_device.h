#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/clock.h"
#include "remote/vxi11_types.h"
#include "scpi/parser.h"

namespace remote {

/// A link that a client has created. It lives until it is destroyed, whatever becomes of its connection.
struct Vxi11_Link {
    int client_id = 0;
    int lid = 0;
    std::uint16_t abort_port = 0;
    std::uint32_t client_address = 0;  ///< IPv4, network order
    std::unique_ptr<Vxi11_Link> next;
};

/// How long a call waits for what it needs: lock, answer, parser. Set up when the call comes in.
struct Vxi11_Wait {
    platform::Duration begin{0};
    std::optional<platform::Duration> answer_until;  ///< set when the wait for an answer begins
    std::optional<platform::Duration> until;         ///< when the call is to be tried again at the latest
    std::uint32_t client_address = 0;
};

/// Links, lock and buffers, and what the procedures do to them. A procedure that has to wait returns nothing and is
/// tried again when something has changed or its time is over. One thread.
class Vxi11_Device {
public:
    static constexpr std::size_t most_links = 10000;

    /// run: has a program message executed for a link.
    using Run = void (*)(void* context, int lid, std::string_view message);
    Vxi11_Device(Run run, void* context) : run_(run), context_(context) { vxi_init(); }
    ~Vxi11_Device();
    Vxi11_Device(const Vxi11_Device&) = delete;
    Vxi11_Device& operator=(const Vxi11_Device&) = delete;

    void Set_Abort_Port(std::uint16_t port) { abort_port_ = port; }
    /// Empties both buffers.
    void vxi_init();
    /// The answer of the message that is being executed. What goes beyond the buffer is lost but for the newline at its
    /// end.
    void Put_Answer(std::string_view answer);

    std::optional<Create_LinkResp> create_link_1_svc(const Create_LinkParms& parms, Vxi11_Wait& wait);
    std::optional<Device_WriteResp> device_write_1_svc(const Device_WriteParms& parms, Vxi11_Wait& wait);
    std::optional<Device_ReadResp> device_read_1_svc(const Device_ReadParms& parms, Vxi11_Wait& wait);
    std::optional<Device_ReadStbResp> device_readstb_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_clear_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_remote_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_local_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_lock_1_svc(const Device_LockParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_unlock_1_svc(const Device_Link& link, Vxi11_Wait& wait);
    std::optional<Device_Error> destroy_link_1_svc(const Device_Link& link, Vxi11_Wait& wait);
    // Not supported
    std::optional<Device_Error> device_trigger_1_svc(const Device_GenericParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> device_enable_srq_1_svc(const Device_EnableSrqParms& parms, Vxi11_Wait& wait);
    std::optional<Device_DocmdResp> device_docmd_1_svc(const Device_DocmdParms& parms, Vxi11_Wait& wait);
    std::optional<Device_Error> create_intr_chan_1_svc(const Device_RemoteFunc& function, Vxi11_Wait& wait);
    std::optional<Device_Error> destroy_intr_chan_1_svc(const Device_Nothing& nothing, Vxi11_Wait& wait);
    std::optional<Device_Error> device_abort_1_svc(const Device_Link& link, Vxi11_Wait& wait);
    std::optional<Device_Nothing> device_intr_srq_1_svc(const Device_SrqParms& parms, Vxi11_Wait& wait);

private:
    struct Lock {
        bool locked = false;
        int owner = 0;
    };
    enum class Way { free, waiting, barred };

    Vxi11_Link* Find(int lid);
    int New_Link_Id();
    bool Locked_By_Another(int lid) const { return lock_device.locked && lock_device.owner != lid; }
    /// What becomes of a call that the lock bars or not.
    static Way Pass_Lock(bool barred, bool may_wait, u_int lock_timeout, Vxi11_Wait& wait);
    static Way Pass_Lock(bool barred, int flags, u_int lock_timeout, Vxi11_Wait& wait) {
        return Pass_Lock(barred, (flags & vxi11_wait_lock) != 0, lock_timeout, wait);
    }
    /// The beginning that clear, remote, local and lock have in common: nothing when the call waits, an error or none.
    std::optional<Device_Error> Enter(int lid, int flags, u_int lock_timeout, Vxi11_Wait& wait);
    bool Collect(const Device_WriteParms& parms);
    void Execute(int lid);
    Device_ReadResp Take_Response(const Device_ReadParms& parms);

    Run run_;
    void* context_;
    std::uint16_t abort_port_ = 0;
    std::unique_ptr<Vxi11_Link> vxi_port;
    Vxi11_Link* last_link_ = nullptr;
    std::size_t links_ = 0;
    Lock lock_device;
    bool executing_ = false;  ///< a message is with the parser
    bool unwanted_ = false;   ///< a clear has come since: its answers go nowhere

    std::array<char, vxi11_receive_size> VXI11_receive;
    std::size_t VXI11_receive_len = 0;
    std::array<char, vxi11_response_size> VXI11_response;
    std::size_t VXI11_response_len = 0;
};

}  // namespace remote
