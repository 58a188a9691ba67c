#pragma once
#include <cmath>
#include <initializer_list>

#include "records/analysis.h"
#include "records/function.h"
#include "scpi/commands/shapes.h"
#include "scpi/readers.h"
#include "scpi/writers.h"
#include "trace/markers.h"

/// What commands of numbered markers share.
namespace shapes {

constexpr int header_suffix_out_of_range = -114;
constexpr double no_value = 9.91e37;

/// The marker of the header, from 0; false with -114 pushed.
inline bool Take_Marker(ScpiContext& context, int& marker) {
    std::int32_t number = 1;
    SCPI_CommandNumbers(context, {&number, 1});
    marker = number - 1;
    if (number >= 1 && number <= markers) return true;
    Refuse(context, header_suffix_out_of_range);
    return false;
}

/// act takes the marker and returns what a handler returns.
template <class Act>
int With_Marker(ScpiContext& context, Act&& act) {
    int marker = 0;
    return Take_Marker(context, marker) ? act(marker) : failed;
}

/// A reading; where there is none, the value that stands for it.
inline int Answer_Reading(ScpiContext& context, double value) {
    return Answer_Real(context, std::isfinite(value) ? value : no_value);
}

/// A place on the axis: hertz, in zero span seconds.
template <class Setter>
int Set_Place(ScpiContext& context, Setter&& set) {
    const auto take = [&](const ScpiNumber& number) { return set(number.value); };
    if (Zero_Span_Axis()) return Set_Number(context, {suffix_none, suffix_second}, take);
    return Set_Number(context, {suffix_none, suffix_hertz}, take);
}

template <class Value>
Value Of_Marker(const Per_Marker<Value>& field, int marker) {
    return field[static_cast<std::size_t>(marker)][static_cast<std::size_t>(ScreenActive)];
}

inline bool Delta_Marker(int marker) { return Of_Marker(Marker_Data.on, marker) && Of_Marker(Marker_Data.delta, marker); }

}  // namespace shapes
