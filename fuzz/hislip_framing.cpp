// HiSLIP's messages out of a stream, however it is cut.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "remote/hislip_framing.h"

namespace {

using remote::Hislip_Reader;

void Require(bool truth) {
    if (!truth) std::abort();
}

struct Message {
    remote::Hislip_Header header;
    std::string_view kept;
    bool foreign = false;
};

/// The whole messages of a stream, found by hand.
std::vector<Message> Expected(std::string_view stream) {
    std::vector<Message> messages;
    while (stream.size() >= remote::hislip_header_size) {
        Message message;
        message.foreign = !remote::Read_Hislip_Header(stream, message.header);
        stream.remove_prefix(remote::hislip_header_size);
        if (message.header.length > stream.size()) break;
        const auto length = static_cast<std::size_t>(message.header.length);
        message.kept = stream.substr(0, std::min(length, remote::hislip_record_payload));
        stream.remove_prefix(length);
        messages.push_back(message);
    }
    return messages;
}

void Check(std::string_view stream, std::size_t piece, const std::vector<Message>& expected) {
    Hislip_Reader reader;
    std::size_t count = 0;
    while (!stream.empty()) {
        const auto taken = reader.Take(stream.substr(0, piece));
        Require(taken > 0 && taken <= piece);
        stream.remove_prefix(taken);
        Require(reader.Payload().size() <= remote::hislip_record_payload);
        if (!reader.Complete()) continue;
        Require(count < expected.size());
        const Message& message = expected[count++];
        Require(reader.Payload() == message.kept && reader.Foreign() == message.foreign);
        Require(reader.Header().type == message.header.type && reader.Header().parameter == message.header.parameter);
        Require(reader.Beyond_Record() == (message.header.length > remote::hislip_record_payload));
        const auto again = remote::Hislip_Bytes(reader.Header());
        Require(message.foreign || std::string_view(again.data(), again.size()) ==
                                       std::string_view(reader.Work().header.data(), reader.Work().header.size()));
        reader.Next();
    }
    Require(count == expected.size());
}

}  // namespace

/// The first byte chooses the size of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto expected = Expected(stream);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{data[0]} + 1, stream.size() + 1}) {
        Check(stream, piece, expected);
    }
    return 0;
}
