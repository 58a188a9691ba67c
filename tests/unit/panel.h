#pragma once
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "keys/dispatch.h"
#include "keys/page.h"

/// Hands on the panel, and what a soft key of the page shown now says.

inline void Press(std::initializer_list<std::int32_t> codes) {
    for (const auto code : codes) Keypad_Exe(code);
}

inline void Type(std::string_view text) {
    for (const char c : text) Keypad_Exe(c);
}

inline Key_Face Face(int key) {
    Key_Face face;
    Current_Page().face(key, face);
    return face;
}

inline std::string Value(int key) { return Face(key).value.data(); }
