#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "web/setting.h"

/// What a page or a script asks of the instrument, taken from the bytes that it sent.
namespace web {

struct Order {
    enum class Act { none, key, power, set };
    Act act = Act::none;
    std::uint8_t key = 0;
    const Setting* setting = nullptr;  ///< also with a value that is none, so that the answer can name it
    double value = 0;                  ///< Hz or dBm
    int status = 200;                  ///< HTTP status; an order that is none says why
    const char* fault = "";
};

/// A message of the page: {"key": code}, {"power": true} or {"set": name, "value": text}. Any bytes.
Order Parse_Message(std::string_view message);

/// A POST request. Any bytes.
Order Parse_Post(std::string_view path, std::string_view body);

}  // namespace web
