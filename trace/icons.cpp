#include "trace/icons.h"

#include <array>
#include <string>

#include "display/draw.h"
#include "display/pictures.h"
#include "palette.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/point_path.h"
#include "trace/split.h"

namespace {

namespace palette = display::palette;

constexpr int icon_x = 618, mode_y = 105, detector_y = 123, pitch = 60;
constexpr int icon_width = 34, mode_height = 18, detector_height = 33;
constexpr int mark_x = 613, mark_width = 3;
constexpr std::array<display::Colour, traces> colours{palette::trace_a, palette::trace_b, palette::trace_c,
                                                      palette::trace_d};

constexpr int unknown = -2, no_detector = -1;

/// What stands on the screen.
struct Drawn_Icon {
    bool mode = false;  ///< the mode icon has been drawn
    int detector = unknown, active = unknown;
};
std::array<Drawn_Icon, traces> drawn;

const char* Mode_Name(int mode) {
    constexpr std::array names{"BLANK", "CLR", "MAX", "MIN", "VIEW"};
    return names[mode >= 0 && mode < 5 ? static_cast<std::size_t>(mode) : 0];
}

/// The positive peak stands for the samples of the modes that don't show spectra.
const char* Detector_Name(int detector) {
    constexpr std::array names{"NML", "NML", "PK+", "PK-", "SMP", "AVG", "QP", "AVG"};
    if (detector == detector_positive && !Spectrum_Mode() && !Emi_Mode()) detector = detector_sample;
    return names[detector >= 0 && detector < 8 ? static_cast<std::size_t>(detector) : 0];
}

void Draw_Detector(char letter, int detector, int y) {
    if (detector == no_detector) {
        display::Fill(fbVid0, {icon_x, y, icon_width, detector_height}, palette::ground);
        return;
    }
    Show_Picture_File(std::string("ICON") + letter + "_" + Detector_Name(detector) + ".jpg", icon_width,
                      detector_height, icon_x, y, fbVid0);
}

}  // namespace

void Reset_Trace_Icons() { drawn.fill({}); }

void Reset_Trace_Icon(int trace) {
    if (trace >= 0 && trace < traces) drawn[static_cast<std::size_t>(trace)].mode = false;
}

void Detection_check(int trace) {
    if (trace < 0 || trace >= traces || ScreenActive != Half_Of_Keys() || !fbVid0.memory) return;
    const auto& record = Trace_Data[static_cast<std::size_t>(ScreenActive)];
    const auto index = static_cast<std::size_t>(trace);
    const char letter = static_cast<char>('A' + trace);
    const int row = pitch * trace;
    Drawn_Icon& icon = drawn[index];
    if (!icon.mode) {
        Show_Picture_File(std::string("tr_") + letter + Mode_Name(record.mode[index]) + ".jpg", icon_width, mode_height,
                          icon_x, mode_y + row, fbVid0);
        icon = {.mode = true};
    }
    const int detector = record.mode[index] == trace_blank ? no_detector : record.detector[index];
    if (detector != icon.detector) Draw_Detector(letter, detector, detector_y + row);
    icon.detector = detector;
    const int active = record.active == trace;
    if (active != icon.active) {
        display::Fill(fbVid0, {mark_x, mode_y + row, mark_width, mode_height},
                      active ? colours[index] : palette::ground);
    }
    icon.active = active;
}

void Check_Trace_Icons() {
    for (int trace = 0; trace < traces; ++trace) Detection_check(trace);
}
