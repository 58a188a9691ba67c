#include "system/lan_settings.h"

#include <cstdio>
#include <string>

#include "platform/whole_file.h"
#include "scpi/error_queue.h"
#include "system/settings.h"

namespace {

constexpr const char* port_file = "/opt/KVA720/hislip_port";
constexpr int highest_port = 65535;
constexpr int hislip_change_error = 434, password_default_error = 435, hislip_default_error = 436;

bool Store_Port(int port) {
    return port > 0 && port <= highest_port &&
           platform::Write_Whole_File(port_file, "HISLIP Port:" + std::to_string(port) + '\n');
}

bool Told(bool done, int error) {
    if (!done) SCPI_ErrorPush(scpi_context, error);
    return done;
}

}  // namespace

int Hislip_Port() {
    constexpr std::size_t longest_file = 256;
    std::string content;
    int port = 0, end = 0;
    char after = '\n';
    if (!platform::Read_Whole_File(port_file, longest_file, content)) return standard_hislip_port;
    if (std::sscanf(content.c_str(), "HISLIP Port:%5d%n%c", &port, &end, &after) < 1) return standard_hislip_port;
    const bool whole = after == '\n' || after == '\r' || after == ' ';
    return whole && port > 0 && port <= highest_port ? port : standard_hislip_port;
}

bool Set_Hislip_Port(int port) { return Told(Store_Port(port), hislip_change_error); }

bool Reset_Network() {
    const bool port = Told(Store_Port(standard_hislip_port), hislip_default_error);
    const bool password = Told(Store_Web_Password(""), password_default_error);
    return port && password;
}
