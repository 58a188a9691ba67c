#include "trace/marker_to.h"

#include <algorithm>
#include <cmath>

#include "records/freqs.h"
#include "records/sweep.h"
#include "sweep/amplitude.h"
#include "sweep/frequency.h"
#include "trace/marker_display.h"
#include "trace/markers.h"

namespace {

constexpr int typed = 2, settings_conflict = -221;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool On(int marker) { return Marker_Data.on[static_cast<std::size_t>(marker)][Screen()] != 0; }
bool Is_Delta(int marker) { return Marker_Data.delta[static_cast<std::size_t>(marker)][Screen()] != 0; }

/// The markers stand anew at their places on the axis that has changed.
int Place_Again() {
    Follow_Axis();
    Follow_Counter();
    Show_Markers();
    return 0;
}

template <class Set>
int By_Place(int marker, Set&& set) {
    if (!On(marker) || Zero_Span_Axis()) return settings_conflict;
    set(Moved_Place(marker));
    return Place_Again();
}

}  // namespace

int Marker_To_Center(int marker) {
    if (!On(marker)) return settings_conflict;
    if (Zero_Span_Axis()) {
        Cal_Marker_Move(marker, Sweep_Data.time[Screen()] / 2);
        return 0;
    }
    return By_Place(marker, [](double shown) { Set_Cent(typed, shown); });
}

int Marker_To_Start(int marker) {
    return By_Place(marker, [](double shown) { Set_Start_Freq(typed, shown); });
}

int Marker_To_Stop(int marker) {
    return By_Place(marker, [](double shown) { Set_Stop_Freq(typed, shown); });
}

int Marker_To_Step(int marker) {
    return By_Place(marker, [](double shown) {
        Set_Step_Mode(true);
        Set_Step_Freq(typed, shown - Marker_Base());
    });
}

int Marker_To_Reference(int marker) {
    const double level = On(marker) && Is_Delta(marker) ? Delta_Level(marker) : Marker_Level(marker);
    if (!std::isfinite(level)) return settings_conflict;
    Set_Reflevel(typed, level);
    return Place_Again();
}

int Marker_To_Span(int marker) {
    if (!On(marker) || !Is_Delta(marker) || Zero_Span_Axis()) return settings_conflict;
    Set_Span(typed, std::max(Pair_Span(marker), 100.0));
    return Place_Again();
}

int Delta_To_Center(int marker) {
    if (!On(marker) || !Is_Delta(marker) || Zero_Span_Axis()) return settings_conflict;
    Set_Cent(typed, Pair_Center(marker));
    return Place_Again();
}

int Span_To_Pair(int marker) {
    if (!On(marker) || !Is_Delta(marker) || Zero_Span_Axis()) return settings_conflict;
    const double span = std::max(Pair_Span(marker), 100.0), center = Pair_Center(marker);
    // Around its old centre a wider span might not fit.
    if (span > Freqs.span[Screen()]) Set_Cent(typed, center);
    Set_Span(typed, span);
    Set_Cent(typed, center);
    return Place_Again();
}
