#include "system/status_icons.h"

#include <string>

#include "display/pictures.h"
#include "keys/status_blocks.h"
#include "platform/link_state.h"
#include "records/handover.h"
#include "records/trace.h"
#include "system/system.h"
#include "trace/icons.h"

namespace {

constexpr int icon_y = 4, icon_width = 38, icon_height = 16;
constexpr int network_x = 330, reference_x = 418, remote_x = 462;

void Draw(const char* name, bool on, int x) {
    Show_Picture_File(std::string(name) + (on ? "_on.jpg" : "_off.jpg"), icon_width, icon_height, x, icon_y, fbVid0);
}

}  // namespace

void Draw_Network_Icon(bool link) { Draw("LAN", link, network_x); }

void Draw_Remote_Icon() { Draw("RMT", Remote_Flag.load(std::memory_order_acquire) != 0, remote_x); }

void Display_all_icon() {
    Draw_Network_Icon(platform::Lan_Link_Up());
    Forget_Storage_Shown();
    USBnumberdisplay();
    Draw("EXT", false, reference_x);
    Draw_Remote_Icon();
    Reset_Trace_Icons();
    for (int trace = 0; trace < traces; ++trace) Detection_check(trace);
    Draw_Sweep_State();
}
