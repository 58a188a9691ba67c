// VXI-11 calls out of a byte stream: records however they are cut, then arguments of any procedure, executed on links that
// are there or not. No buffer is passed, and every result can be coded.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "remote/vxi11_device.h"
#include "remote/vxi11_record.h"

namespace {

using namespace remote;

void Require(bool truth) {
    if (!truth) std::abort();
}

/// The kept beginnings of the whole records of a stream, found by hand.
std::vector<std::string> Expected(std::string_view stream) {
    std::vector<std::string> records;
    std::string record;
    while (stream.size() >= 4) {
        std::uint32_t mark = 0;
        for (int i = 0; i < 4; ++i) mark = mark << 8 | static_cast<unsigned char>(stream[static_cast<std::size_t>(i)]);
        stream.remove_prefix(4);
        const std::size_t length = mark & 0x7fffffff;
        if (length > stream.size()) break;
        record += stream.substr(0, length);
        stream.remove_prefix(length);
        if (!(mark & 0x80000000)) continue;
        records.push_back(record.substr(0, Vxi11_Record::capacity));
        record.clear();
    }
    return records;
}

void Check_Records(std::string_view stream, std::size_t piece, const std::vector<std::string>& expected) {
    Vxi11_Record record;
    std::size_t count = 0;
    while (!stream.empty()) {
        const std::size_t taken = record.Take(stream.substr(0, piece));
        Require(taken > 0 && taken <= piece);
        stream.remove_prefix(taken);
        if (!record.Complete()) continue;
        Require(count < expected.size() && record.Kept() == expected[count++]);
        record.Next();
    }
    Require(count == expected.size());
}

/// The instrument's side, with the ids of its links: in arguments they are numbered from 1 on.
struct Bench {
    Vxi11_Device device{Run, this};
    std::vector<int> links;

    static void Run(void* bench, int, std::string_view message) {
        Require(message.ends_with('\n') && message.size() <= vxi11_receive_size + 1 &&
                message.find('\0') == std::string_view::npos);
        if (message.find('?') == std::string_view::npos) return;
        static_cast<Bench*>(bench)->device.Put_Answer(std::string(10 * message.size(), 'a') + '\n');
    }

    template <auto procedure, typename Arguments, typename Result>
    void Call(XDR& xdr, bool_t (*decoding)(XDR*, Arguments*), bool_t (*coding)(XDR*, Result*)) {
        Arguments arguments;
        if (!decoding(&xdr, &arguments)) return;
        if constexpr (requires { arguments.lid; }) {
            const auto number = static_cast<std::size_t>(arguments.lid);
            if (arguments.lid > 0 && number <= links.size()) arguments.lid = links[number - 1];
        }
        Vxi11_Wait wait;
        auto result = (device.*procedure)(arguments, wait);
        if (!result) return;
        if constexpr (requires { result->lid; }) {
            if (result->error == vxi11_no_error) links.push_back(result->lid);
        }
        if constexpr (requires { arguments.request_size; }) Require(result->data.length <= arguments.request_size);
        alignas(8) std::array<char, vxi11_response_size + 64> bytes;
        XDR reply;
        xdrmem_create(&reply, bytes.data(), bytes.size(), XDR_ENCODE);
        Require(coding(&reply, &*result));
    }

    void Call(std::string record);
};

/// A record begins with its procedure's number.
void Bench::Call(std::string record) {
    using Device = Vxi11_Device;
    if (record.empty()) return;
    const int procedure = record[0];
    record.erase(0, 1);
    XDR xdr;
    xdrmem_create(&xdr, record.data(), static_cast<u_int>(record.size()), XDR_DECODE);
    switch (procedure) {
        case create_link: return Call<&Device::create_link_1_svc>(xdr, xdr_Create_LinkParms, xdr_Create_LinkResp);
        case device_write: return Call<&Device::device_write_1_svc>(xdr, xdr_Device_WriteParms, xdr_Device_WriteResp);
        case device_read: return Call<&Device::device_read_1_svc>(xdr, xdr_Device_ReadParms, xdr_Device_ReadResp);
        case device_readstb:
            return Call<&Device::device_readstb_1_svc>(xdr, xdr_Device_GenericParms, xdr_Device_ReadStbResp);
        case device_clear: return Call<&Device::device_clear_1_svc>(xdr, xdr_Device_GenericParms, xdr_Device_Error);
        case device_lock: return Call<&Device::device_lock_1_svc>(xdr, xdr_Device_LockParms, xdr_Device_Error);
        case device_unlock: return Call<&Device::device_unlock_1_svc>(xdr, xdr_Device_Link, xdr_Device_Error);
        case device_enable_srq:
            return Call<&Device::device_enable_srq_1_svc>(xdr, xdr_Device_EnableSrqParms, xdr_Device_Error);
        case device_docmd: return Call<&Device::device_docmd_1_svc>(xdr, xdr_Device_DocmdParms, xdr_Device_DocmdResp);
        case destroy_link: return Call<&Device::destroy_link_1_svc>(xdr, xdr_Device_Link, xdr_Device_Error);
        case create_intr_chan:
            return Call<&Device::create_intr_chan_1_svc>(xdr, xdr_Device_RemoteFunc, xdr_Device_Error);
        case device_intr_srq: return Call<&Device::device_intr_srq_1_svc>(xdr, xdr_Device_SrqParms, xdr_Device_Nothing);
        default: return;
    }
}

}  // namespace

/// The first byte chooses the size of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto expected = Expected(stream);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{data[0]} + 1, stream.size() + 1}) {
        Check_Records(stream, piece, expected);
    }
    SCPI_Init(scpi_context);
    platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
    Bench bench;
    for (const std::string& record : expected) bench.Call(record);
    return 0;
}
