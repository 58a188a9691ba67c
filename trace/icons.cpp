#include "trace/icons.h"

#include <array>
#include <string>

#include "display/pictures.h"
#include "records/freqs.h"
#include "records/trace.h"

namespace {

constexpr int icon_x = 618, mode_y = 105, detector_y = 123, pitch = 60;
constexpr int icon_width = 34, mode_height = 18, detector_height = 33;

std::array<bool, traces> mode_icon_drawn{};

const char* Mode_Name(int mode) {
    constexpr std::array names{"BLANK", "CLR", "MAX", "MIN", "VIEW"};
    return names[mode >= 0 && mode < 5 ? static_cast<std::size_t>(mode) : 0];
}

const char* Detector_Name(int detector) {
    constexpr std::array names{"NML", "NML", "PK+", "PK-", "SMP", "AVG", "QP", "AVG"};
    return names[detector >= 0 && detector < 8 ? static_cast<std::size_t>(detector) : 0];
}

}  // namespace

void Reset_Trace_Icons() { mode_icon_drawn.fill(false); }

void Detection_check(int trace) {
    if (trace < 0 || trace >= traces) return;
    const auto& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const auto index = static_cast<std::size_t>(trace);
    const char letter = static_cast<char>('A' + trace);
    if (!mode_icon_drawn[index]) {
        Show_Picture_File(std::string("tr_") + letter + Mode_Name(record.mode[index]) + ".jpg", icon_width, mode_height,
                          icon_x, mode_y + pitch * trace, fbVid0);
        mode_icon_drawn[index] = true;
    }
    if (record.mode[index] == trace_blank) return;
    Show_Picture_File(std::string("ICON") + letter + "_" + Detector_Name(record.detector[index]) + ".jpg", icon_width,
                      detector_height, icon_x, detector_y + pitch * trace, fbVid0);
}
