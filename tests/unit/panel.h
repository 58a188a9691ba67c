#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <source_location>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "expect.h"
#include "keys/dispatch.h"
#include "keys/key_codes.h"
#include "keys/page.h"
#include "records/keystate.h"

/// Hands on the panel, what a soft key of the page shown now says, and walks over the pages.

constexpr std::int32_t soft(int key) { return key_soft_first + key; }

inline void Press(std::initializer_list<std::int32_t> codes) {
    for (const auto code : codes) Keypad_Exe(code);
}

inline void Type(std::string_view text) {
    for (const char c : text) Keypad_Exe(c);
}

/// Keys by their names, with blanks between them: hard keys as below, soft keys "f0" to "f6", arrows "up", "down", "left"
/// and "right", "<" and ">" for a step of the knob, "<<" and ">>" for a fast one, "enter"; anything else is typed.
inline void Keys(std::string_view text) {
    constexpr std::array<std::string_view, hard_keys> hard{
        "FREQ",   "SPAN", "AMPL",  "AUTOSET",  "BW",     "MEAS",   "TRACE",  "DISPLAY",
        "SWEEP",  "EMC",  "LIMIT", "TRIGGER",  "SINGLE", "FILE",   "SAVE",   "RECALL",
        "MARKER", "TO",   "PEAK",  "SEQUENCE", "MODE",   "SYSTEM", "PRESET", "QUICK"};
    constexpr std::pair<std::string_view, std::int32_t> others[] = {
        {"up", key_up}, {"down", key_down}, {"left", key_left}, {"right", key_right}, {"enter", key_enter},
        {"<", key_knob_left_first}, {"<<", key_knob_left_last}, {">", key_knob_right_first},
        {">>", key_knob_right_last}};
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const auto named = std::find(hard.begin(), hard.end(), word);
        const auto other = std::ranges::find(others, word, [](const auto& key) { return key.first; });
        if (named != hard.end()) {
            Keypad_Exe(static_cast<std::int32_t>(named - hard.begin()));
        } else if (other != std::end(others)) {
            Keypad_Exe(other->second);
        } else if (word.size() == 2 && word[0] == 'f') {
            Keypad_Exe(soft(word[1] - '0'));
        } else {
            Type(word);
        }
    }
}

inline Key_Face Face(int key) {
    Key_Face face;
    Current_Page().face(key, face);
    return face;
}

inline std::string Value(int key) { return Face(key).value.data(); }

constexpr int knob = 0, arrow = 1, typed = 2;  ///< where a setter's value comes from

/// Steps of the knob or of the arrows, up or down.
inline void Turn(int (*setter)(int, double), int source, int steps) {
    (steps > 0 ? AllKeyVar.up : AllKeyVar.down) = static_cast<std::uint16_t>(std::abs(steps));
    setter(source, 0);
    AllKeyVar.up = AllKeyVar.down = 0;
}

/// What is done in a row of a walk: keys by their names, or a setter with its value or the steps that it shall make.
struct Walk_Action {
    std::string text;
    std::function<void()> call;

    Walk_Action(const char* keys) : text(keys) {}
    template <std::invocable Call>
    Walk_Action(Call call) : call([call] { call(); }) {}
    template <class Result, class Parameter, class Value>
    Walk_Action(Result (*setter)(Parameter), Value value) : call([=] { setter(static_cast<Parameter>(value)); }) {}
    Walk_Action(int (*setter)(int, double), double value) : call([=] { setter(typed, value); }) {}
    Walk_Action(int (*setter)(int, double), int source, int steps)
        : call([=] { Turn(setter, source, steps); }) {}
};

/// What a row expects of a number that is not exact.
struct Near {
    double value, tolerance;
};

/// A row of a walk: what is done, and what is to be seen after it. That is a number of the records, what a function gives,
/// or the page.
struct Walk_Step {
    using Where = std::source_location;
    Walk_Action action;
    std::function<void()> check;
    Where where;

    Walk_Step(Walk_Action done, Where at = Where::current()) : action(std::move(done)), where(at) {}
    template <class Seen, class Expected>
        requires(!std::invocable<const Seen&> && !std::convertible_to<Seen, std::string_view>)
    Walk_Step(Walk_Action done, const Seen& seen, Expected expected, const char* why = "", Where at = Where::current())
        : action(std::move(done)), check([&seen, expected, why] { Compare(seen, expected, why); }), where(at) {}
    template <class Seen, class Expected>
        requires(!std::invocable<const Seen&> && !std::convertible_to<Seen, std::string_view>)
    Walk_Step(Walk_Action, const Seen&&, Expected, const char* = "") = delete;  // would be read before the action
    template <std::invocable Read, class Expected>
    Walk_Step(Walk_Action done, Read read, Expected expected, const char* why = "", Where at = Where::current())
        : action(std::move(done)), check([=] { Compare(read(), expected, why); }), where(at) {}
    Walk_Step(Walk_Action done, const Menu_Page& page, const char* why = "", Where at = Where::current())
        : action(std::move(done)), check([&page, why] { EXPECT_EQ(keylink.load(), &page) << why; }), where(at) {}

    void Check() const {
        const testing::ScopedTrace trace(where.file_name(), static_cast<int>(where.line()), action.text);
        if (check) check();
    }

private:
    template <class Seen, class Expected>
    static void Compare(const Seen& seen, const Expected& expected, const char* why) {
        if constexpr (std::is_same_v<Expected, Near>) {
            EXPECT_NEAR(static_cast<double>(seen), expected.value, expected.tolerance) << why;
        } else if constexpr (std::convertible_to<Seen, double>) {
            const auto number = +seen;
            const auto wanted = static_cast<decltype(+seen)>(expected);
            if constexpr (std::is_same_v<decltype(+seen), double>) {
                EXPECT_DOUBLE_EQ(number, wanted) << why;
            } else {
                EXPECT_EQ(number, wanted) << why;
            }
        } else {
            EXPECT_EQ(seen, expected) << why;
        }
    }
};

/// What a key shows, to be compared with in a walk.
inline auto Says(int key) {
    return [key] { return Value(key); };
}

inline void Walk(std::initializer_list<Walk_Step> steps) {
    for (const Walk_Step& step : steps) {
        step.action.call ? step.action.call() : Keys(step.action.text);
        step.Check();
    }
}
