#include "system/information.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "display/text.h"
#include "keys/information_screen.h"
#include "keys/words.h"
#include "palette.h"
#include "platform/environment.h"
#include "platform/link_state.h"
#include "records/sys.h"
#include "system/settings.h"

namespace {

using display::Rect;

constexpr Rect screen_area{10, 58, 601, 451};
constexpr int title_row = 72, first_row = 118, row_height = 30, name_x = 40, value_x = 220, field_height = 22;

void Enter_Screen() {
    Enter_Information_Screen();
    display::Fill(fbVid0, screen_area, display::palette::ground);
    display::Frame(fbVid0, screen_area, display::palette::frame);
}

void Draw_Row(int row, std::string_view name, std::string_view value) {
    const int top = first_row + row * row_height;
    display::Draw_Field(fbVid0, {name_x, top, value_x - name_x - 8, field_height}, 16, Translated(name),
                        {face_regular, 14, display::palette::label, display::palette::ground});
    display::Draw_Field(fbVid0, {value_x, top, screen_area.x + screen_area.width - value_x - 8, field_height}, 16, value,
                        {face_bold, 14, display::palette::value, display::palette::ground});
}

std::string Version(double version) {
    if (version == 0) return "-";
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%.2f", version);
    return text.data();
}

std::string Network() {
    if (!platform::Lan_Link_Up()) return std::string(Translated("no link"));
    const auto& network = platform::Network();
    if (network.scpi_port <= 0) return std::string(Translated("link up"));
    return network.address + ", " + std::string(Translated("port")) + ' ' + std::to_string(network.scpi_port);
}

}  // namespace

void Show_System_Information() {
    Enter_Screen();
    const auto& information = System_Information_Data;
    display::Draw_Field(fbVid0, {name_x, title_row, 400, 26}, 18, Translated("System information"),
                        {face_bold, 17, display::palette::trace_a, display::palette::ground});
    const auto rows = std::to_array<std::pair<std::string_view, std::string>>({
        {"Maker", information.maker},
        {"Model", information.model},
        {"Serial number", information.serial_number},
        {"Firmware", information.firmware},
        {"Signal processing", Version(information.versions_core[0])},
        {"Tracking generator", Version(information.versions_core[1])},
        {"Receiver", Version(information.versions_core[2])},
        {"Operating system", information.system_name},
        {"LAN", Network()},
        {"GPIB address", std::to_string(Sys_Data.gpib_address)},
        {"Serial port", std::to_string(Baud_Rate_Of(Sys_Data.baud_rate)) + ' ' + std::string(Translated("bit/s"))},
    });
    int row = 0;
    for (const auto& [name, value] : rows) Draw_Row(row++, name, value);
}
