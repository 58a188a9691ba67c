#include "web/state.h"

#include <nlohmann/json.hpp>

#include "platform/beeper.h"
#include "web/setting.h"

namespace web {

std::string State_Message(const std::optional<std::string>& instrument_info) {
    nlohmann::json state{{"instrument", "off"}};
    if (!instrument_info) return state.dump();
    const auto info = nlohmann::json::parse(*instrument_info, nullptr, false);
    state["instrument"] = "on";
    if (!info.is_object()) return state.dump();
    if (const auto it = info.find("starting"); it != info.end() && it->is_boolean() && it->get<bool>())
        state["instrument"] = "starting";
    if (const auto it = info.find("model"); it != info.end() && it->is_string()) state["model"] = *it;
    if (const auto it = info.find("remote"); it != info.end() && it->is_boolean()) state["remote"] = *it;
    for (const auto& setting : settings)
        if (const auto it = info.find(setting.name); it != info.end() && it->is_number()) state[setting.name] = *it;
    if (const int beeps = platform::Beeps(); beeps >= 0) state["beeps"] = beeps;
    return state.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

}  // namespace web
