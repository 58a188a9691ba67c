#include "web/order.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "web/key_codes.h"

namespace web {
namespace {

Order Fault(int status, const char* text) { return {.status = status, .fault = text}; }

Order Key_Order(long long code) {
    if (!Is_Key_Code(code)) return Fault(400, "no such key");
    return {.act = Order::Act::key, .key = static_cast<std::uint8_t>(code)};
}

Order Set_Order(std::string_view name, std::string_view text) {
    const auto* setting = Find_Setting(name);
    if (!setting) return Fault(400, "no such setting");
    const auto value = Parse_Value(setting->unit, text);
    if (value) return {.act = Order::Act::set, .setting = setting, .value = *value};
    auto order = Fault(400, setting->unit == Unit::hertz ? "not a frequency" : "not a level");
    order.setting = setting;
    return order;
}

}  // namespace

Order Parse_Message(std::string_view message) {
    const auto request = nlohmann::json::parse(message, nullptr, false);
    constexpr auto none = "no such message";
    if (!request.is_object()) return Fault(400, none);
    if (const auto key = request.find("key"); key != request.end())
        return Key_Order(key->is_number_integer() ? key->get<long long>() : -1);
    if (const auto name = request.find("set"); name != request.end()) {
        const auto value = request.find("value");
        if (!name->is_string() || value == request.end() || !value->is_string()) return Fault(400, none);
        return Set_Order(name->get_ref<const std::string&>(), value->get_ref<const std::string&>());
    }
    if (const auto power = request.find("power"); power != request.end() && *power == true)
        return {.act = Order::Act::power};
    return Fault(400, none);
}

Order Parse_Post(std::string_view path, std::string_view body) {
    constexpr std::string_view key = "/key/", set = "/set/";
    if (path.starts_with(key)) {
        const auto digits = path.substr(key.size());
        long long code = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code);
        return Key_Order(error == std::errc{} && end == digits.data() + digits.size() ? code : -1);
    }
    if (path.starts_with(set)) return Set_Order(path.substr(set.size()), body);
    if (path == "/power") return {.act = Order::Act::power};
    return Fault(404, "no such page");
}

}  // namespace web
