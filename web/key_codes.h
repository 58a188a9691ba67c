#pragma once

namespace web {

/// True for a code that the key pad can send: hard keys, soft keys, number pad, arrows, knob.
constexpr bool Is_Key_Code(long long code) {
    if (code >= 0 && code <= 23) return true;
    if (code >= 32 && code <= 38) return true;
    if (code == '-' || code == '.' || (code >= '0' && code <= '9')) return true;
    if (code == 'B' || code == 'G' || code == 'd' || code == 'l' || code == 'r' || code == 'u') return true;
    return code >= 119 && code <= 124;
}

}  // namespace web
