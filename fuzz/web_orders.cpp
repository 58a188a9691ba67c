#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "web/frame_reader.h"
#include "web/key_codes.h"
#include "web/order.h"
#include "web/origin.h"
#include "web/state.h"

// Everything of the front panel's server that reads bytes of strangers. The first byte chooses the reader.

namespace {

void Require(bool truth) {
    if (!truth) std::abort();
}

void Check(const web::Order& order) {
    using Act = web::Order::Act;
    Require((order.act == Act::none) == (order.status >= 400) && (order.act == Act::none) == (order.fault[0] != 0));
    if (order.act == Act::key) Require(web::Is_Key_Code(order.key));
    if (order.act == Act::set) Require(order.setting && std::isfinite(order.value) && std::abs(order.value) <= 1e12);
}

/// However the stream is cut into pieces, the same frames come out of it.
void Read_Frames(std::span<const std::uint8_t> stream) {
    using Event = web::Frame_Reader::Event;
    web::Frame_Reader whole, cut;
    auto rest = stream;
    std::size_t used = 0;
    for (;;) {
        const auto event = whole.Take(rest);
        Require(whole.Payload().size() <= web::Frame_Reader::longest_message);
        auto same = Event::none;
        while (same == Event::none && used < stream.size()) {
            auto byte = stream.subspan(used++, 1);
            same = cut.Take(byte);
        }
        Require(same == event);
        if (event == Event::none) return;
        if (event == Event::violation) return Require(whole.Close_Status() == cut.Close_Status());
        Require(whole.Payload() == cut.Payload());
        if (event == Event::text) Check(web::Parse_Message(whole.Payload()));
    }
}

/// Two parts, cut at the first NUL.
void Check_Address(std::string_view text) {
    const auto cut = std::min(text.find('\0'), text.size());
    const auto host = text.substr(0, cut), origin = text.substr(std::min(cut + 1, text.size()));
    const web::Own_Address local{"127.0.0.1", 8080}, everywhere{"0.0.0.0", 8080};
    if (web::Host_Allowed(local, host)) Require(host.size() == 14);  // of both names with the port
    if (web::Origin_Allowed(local, origin, host)) Require(origin.size() == 21);
    if (web::Origin_Allowed(everywhere, origin, host)) Require(origin.size() == host.size() + 7);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 6) {
        case 0: Read_Frames({data + 1, size - 1}); break;
        case 1: Check(web::Parse_Message(text)); break;
        case 2: {
            const auto cut = std::min(text.find(' '), text.size());
            Check(web::Parse_Post(text.substr(0, cut), text.substr(std::min(cut + 1, text.size()))));
            break;
        }
        case 3: Check(web::Parse_Post("/set/center", text)); break;
        case 4: Check_Address(text); break;
        default: web::State_Message(std::string(text)); break;
    }
    return 0;
}
