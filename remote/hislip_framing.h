#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Messages of HiSLIP (IVI-6.1) as bytes: a header of 16 bytes and a payload.
namespace remote {

enum Hislip_Type : std::uint8_t {
    hislip_initialize = 0, hislip_initialize_response = 1, hislip_fatal_error = 2, hislip_error = 3, hislip_async_lock = 4,
    hislip_async_lock_response = 5, hislip_data = 6, hislip_data_end = 7, hislip_device_clear_complete = 8,
    hislip_device_clear_acknowledge = 9, hislip_async_remote_local_control = 10, hislip_async_remote_local_response = 11,
    hislip_async_maximum_message_size = 15, hislip_async_maximum_message_size_response = 16, hislip_async_initialize = 17,
    hislip_async_initialize_response = 18, hislip_async_device_clear = 19, hislip_async_service_request = 20,
    hislip_async_status_query = 21, hislip_async_status_response = 22, hislip_async_device_clear_acknowledge = 23,
    hislip_async_lock_info = 24, hislip_async_lock_info_response = 25
};

enum Hislip_Fatal : std::uint8_t {
    fatal_unidentified = 0, fatal_header = 1, fatal_channels = 2, fatal_initialization = 3, fatal_clients = 4
};
enum Hislip_Fault : std::uint8_t { fault_unidentified = 0, fault_type = 1, fault_control_code = 2, fault_too_large = 4 };

constexpr std::size_t hislip_header_size = 16;
constexpr std::size_t hislip_record_payload = 512;            ///< what a message may carry to its handler
constexpr std::uint64_t hislip_maximum_message = 1048576;     ///< largest payload that is read whole

struct Hislip_Header {
    std::uint8_t type = 0;
    std::uint8_t control = 0;
    std::uint32_t parameter = 0;
    std::uint64_t length = 0;  ///< of the payload, bytes
};

std::array<char, hislip_header_size> Hislip_Bytes(const Hislip_Header& header);
/// False where the bytes don't begin with "HS"; the other fields are read all the same.
bool Read_Hislip_Header(std::string_view bytes, Hislip_Header& header);

/// Bytes of the message that a text begins with; it holds the whole header.
std::size_t Hislip_Message_Size(std::string_view bytes);

/// A received message: what its handler works on.
struct Hislip_Work {
    std::array<char, hislip_record_payload> payload;  ///< the beginning, where there is more
    std::array<char, hislip_header_size> header;
    std::int32_t slot = 0;
};
static_assert(sizeof(Hislip_Work) == 532);

/// Puts messages together from a stream cut anywhere. Keeps no more of a payload than the record holds, whatever its length
/// field says.
class Hislip_Reader {
public:
    /// Takes bytes up to the end of the message in hand and returns how many.
    std::size_t Take(std::string_view bytes);
    /// The message is there whole; Next begins the following one.
    bool Complete() const { return header_taken_ == hislip_header_size && left_ == 0; }
    bool Between_Messages() const { return header_taken_ == 0; }
    void Next();

    /// Of a message whose header is there.
    bool Has_Header() const { return header_taken_ == hislip_header_size; }
    const Hislip_Header& Header() const { return header_; }
    bool Foreign() const { return foreign_; }  ///< doesn't begin with "HS"
    std::string_view Payload() const { return {work_.payload.data(), kept_}; }
    bool Beyond_Record() const { return header_.length > hislip_record_payload; }
    bool Too_Large() const { return header_.length > hislip_maximum_message; }
    const Hislip_Work& Work() const { return work_; }

private:
    Hislip_Work work_{};
    Hislip_Header header_;
    std::size_t header_taken_ = 0, kept_ = 0;
    std::uint64_t left_ = 0;  ///< of the payload
    bool foreign_ = false;
};

}  // namespace remote
