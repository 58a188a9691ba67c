#include "trace/scale_figures.h"

#include <array>
#include <cstdio>

#include "display/text.h"
#include "keys/level_units.h"
#include "keys/number_format.h"
#include "keys/words.h"
#include "palette.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "trace/scale.h"

namespace {

constexpr int divisions = 10, size = 10, height = 12, margin = 5, width = 120;
constexpr int above_line = 13, below_line = 2;

bool In_Decibels() { return Amp.unit != unit_volt && Amp.unit != unit_watt; }

/// "-10" and "36.99" in decibels; in volts and watts three digits and the unit.
void Format_Figure(double dbm, std::span<char> text) {
    if (In_Decibels()) {
        const bool linear = Amp.scale_type[static_cast<std::size_t>(ScreenActive)] != 0;
        Print_Number(AmplUnitTrans(dbm, Amp.unit, 1), 2, !linear, text);
    } else {
        Format_Three_Digits(dbm, Amp.unit, text);
    }
}

int Figure_X() {
    const int left = ScreenInf.left, points = ScreenInf.points;
    switch (Amp.label_position) {
        case labels_middle: return left + points / 2 + margin;
        case labels_right: return left + points - margin - width;
        default: return left + margin;
    }
}

}  // namespace

void Draw_Scale_Figures() {
    if (!Amp.labels) return;
    const display::Text_Style style{face_regular, size, display::palette::muted, display::palette::ground};
    const auto align = Amp.label_position == labels_right ? display::Align::right : display::Align::left;
    for (int line = 0; line <= divisions; ++line) {
        const double level = Line_Level(line);
        if (level == no_level && In_Decibels()) continue;  // 0 V has none
        if (line == divisions && ScreenInf.division < 2 * height) continue;  // no room above the line
        std::array<char, 32> english{};
        Format_Figure(level, english);
        std::array<char, 64> buffer;
        const int row = ScreenInf.top + line * ScreenInf.division;
        const int top = line == divisions ? row - above_line : row + below_line;
        display::Draw_Text_Over(fbVid0, {Figure_X(), top, width, height}, size,
                                Translated_Value(english.data(), buffer), style, align);
    }
}
