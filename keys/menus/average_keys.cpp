#include "keys/menus/average_keys.h"

#include <array>
#include <cstdio>

#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/trace_settings.h"

namespace {

using namespace keys;

constexpr int types = average_power + 1;

const Trace_Record& Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
std::size_t Trace() { return Record().active & 3; }

void Show_Average() {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%d", Record().average_number[Trace()]);
    Show_Entry("Average count", text.data());
}

}  // namespace

int menus::Step_Average(int source, double value) {
    Set_Average_Number(source, value);
    if (!Record().average_on[Trace()]) Set_Average(true);
    Show_Average();
    return 0;
}

int menus::Step_Average_Type(int, double) {
    return Set_Average_Type(((AvgType + Pending_Steps()) % types + types) % types);
}

void menus::Press_Average(bool pressed_again) {
    if (pressed_again && Set_Average(!Record().average_on[Trace()]) != 0) display_warning(warning_not_now);
    Begin_Entry('d', false);
    Show_Average();
}

void menus::Press_Average_Type() {
    No_Entry();
    Blank_Entry();
    Set_Average_Type((AvgType + 1) % types);
}

void menus::Face_Of_Average(Key_Face& face) {
    std::snprintf(face.value.data(), face.value.size(), "%d", Record().average_number[Trace()]);
    face.choice = {selectOn, selectOff};
    face.chosen = Record().average_on[Trace()] ? 0 : 1;
}

void menus::Face_Of_Average_Type(Key_Face& face) {
    face.choice = {selectLog, selectVolt, selectPower};
    face.chosen = AvgType;
}

bool menus::Average_Greyed() { return Record().mode[Trace()] == trace_view; }
