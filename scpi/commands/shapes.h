#pragma once
#include <concepts>
#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <utility>

#include "scpi/context.h"

/// Shapes of commands. A shape reads and checks the parameters, refuses what the busy instrument can't do, pushes the
/// error and returns what a handler returns, so that a handler only names the setter or the value. Setters own the
/// limits; they take the value and return nothing, or the code of the error that is to be pushed (0: done).
namespace shapes {

constexpr int done = 1, failed = -1;
constexpr int suffix_error = -130, settings_conflict = -221, data_out_of_range = -222, illegal_value = -224;

/// Whether a setting is refused with -221 while the instrument is busy.
enum class While_Busy { refused, allowed };

/// Auto-set, the power meter or another sweep-stopping work has the instrument.
bool Instrument_Busy();

/// Busy, or the two halves of the split screen are swept in turn.
bool Settings_Refused();

/// Pushes the error.
int Refuse(ScpiContext& context, int code);

/// Readers of one mandatory parameter of several; false with the error pushed. Numbers take no special names. Levels
/// without suffix are in the amplitude unit of the instrument.
bool Read_Number(ScpiContext& context, std::initializer_list<Scpi_Unit> units, ScpiNumber& number);
bool Read_Frequency(ScpiContext& context, double& hertz);
bool Read_Level(ScpiContext& context, double& dbm);
bool Read_Decibels(ScpiContext& context, double& decibels);

/// Readers of one mandatory parameter, which has to be the last; false with the error pushed. Numbers take no special
/// names.
bool Take_Number(ScpiContext& context, std::initializer_list<Scpi_Unit> units, While_Busy busy, ScpiNumber& number);
bool Take_Integer(ScpiContext& context, While_Busy busy, std::int32_t& value);
bool Take_On_Off(ScpiContext& context, While_Busy busy, bool& on);
bool Take_Choice(ScpiContext& context, const ScpiChoiceDef* choices, While_Busy busy, std::int32_t& tag);
/// A string of fewer characters than the buffer's size; a longer one gives -223. Ends with NUL.
bool Take_Text(ScpiContext& context, While_Busy busy, char* buffer, std::size_t size);
bool Take_Nothing(ScpiContext& context, While_Busy busy);

template <class Setter, class... Value>
int Apply(ScpiContext& context, Setter&& set, Value&&... value) {
    if constexpr (std::is_void_v<std::invoke_result_t<Setter, Value...>>) {
        set(std::forward<Value>(value)...);
        return done;
    } else {
        const int code = set(std::forward<Value>(value)...);
        return code == 0 ? done : Refuse(context, code);
    }
}

/// A number in one of the units; a number without suffix is suffix_none. The setter takes the ScpiNumber.
template <class Setter>
int Set_Number(ScpiContext& context, std::initializer_list<Scpi_Unit> units, Setter&& set,
               While_Busy busy = While_Busy::refused) {
    ScpiNumber number;
    return Take_Number(context, units, busy, number) ? Apply(context, set, number) : failed;
}

/// The setter takes Hz.
template <class Setter>
int Set_Frequency(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    ScpiNumber number;
    return Take_Number(context, {suffix_none, suffix_hertz}, busy, number) ? Apply(context, set, number.value) : failed;
}

/// A level in dBm, dBmV, dBuV, V or W, without suffix in the amplitude unit of the instrument. The setter takes dBm.
bool Take_Level(ScpiContext& context, While_Busy busy, double& dbm);
template <class Setter>
int Set_Level(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    double dbm = 0;
    return Take_Level(context, busy, dbm) ? Apply(context, set, dbm) : failed;
}

/// A ratio in dB. The setter takes dB.
bool Take_Decibels(ScpiContext& context, While_Busy busy, double& decibels);
template <class Setter>
int Set_Decibels(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    double decibels = 0;
    return Take_Decibels(context, busy, decibels) ? Apply(context, set, decibels) : failed;
}

template <class Setter>
int Set_Integer(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    std::int32_t value = 0;
    return Take_Integer(context, busy, value) ? Apply(context, set, value) : failed;
}

template <class Setter>
int Set_On_Off(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    bool on = false;
    return Take_On_Off(context, busy, on) ? Apply(context, set, on) : failed;
}

/// The setter takes the choice's tag.
template <class Setter>
int Set_Choice(ScpiContext& context, const ScpiChoiceDef* choices, Setter&& set,
               While_Busy busy = While_Busy::refused) {
    std::int32_t tag = 0;
    return Take_Choice(context, choices, busy, tag) ? Apply(context, set, tag) : failed;
}

/// Strings of at most size - 1 characters.
template <std::size_t size, class Setter>
int Set_Text(ScpiContext& context, Setter&& set, While_Busy busy = While_Busy::refused) {
    char text[size] = {};
    return Take_Text(context, busy, text, size) ? Apply(context, set, std::string_view(text)) : failed;
}

/// A command without parameters.
template <class Action>
int Event(ScpiContext& context, Action&& act, While_Busy busy = While_Busy::refused) {
    return Take_Nothing(context, busy) ? Apply(context, act) : failed;
}

/// Queries: -108 for any parameter, else the value.
int Answer_Real(ScpiContext& context, double value);
/// A level in dBm, answered in the amplitude unit of the instrument.
int Answer_Level(ScpiContext& context, double dbm);
int Answer_Integer(ScpiContext& context, std::int32_t value);
int Answer_On_Off(ScpiContext& context, bool on);
int Answer_Choice(ScpiContext& context, const ScpiChoiceDef* choices, std::int32_t tag);
int Answer_Text(ScpiContext& context, std::string_view text);

}  // namespace shapes
