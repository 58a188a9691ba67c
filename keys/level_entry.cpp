#include "keys/level_entry.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "records/amp.h"
#include "records/autoset.h"
#include "records/freqs.h"

namespace {

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

void Format_Decibels(int decibels, std::span<char> text) {
    std::snprintf(text.data(), text.size(), "%d dB", decibels);
}

void Format_Scale(std::span<char> text) {
    constexpr double tenth_of_the_voltage = -20;
    if (Amp.scale_type[Screen()] == 0) {
        Format_Decibels(Db_Per_Division(Amp.scale_code[Screen()] & 3), text);
    } else {
        Format_Three_Digits(Amp.displayed_reference[Screen()] + tenth_of_the_voltage, unit_volt, text);
    }
    const std::size_t length = std::strlen(text.data());
    if (length + 1 < text.size()) std::memcpy(text.data() + length, "/", 2);
}

}  // namespace

void Format_Level_Entry(Level_Entry entry, std::span<char> text) {
    switch (entry) {
        case Level_Entry::reference: return Format_Level(Amp.displayed_reference[Screen()], text);
        case Level_Entry::attenuation: return Format_Decibels(Amp.attenuation[Screen()], text);
        case Level_Entry::scale: return Format_Scale(text);
        case Level_Entry::offset: return Format_Decibels(Amp.offset[Screen()], text);
        case Level_Entry::correction: return Format_Decibels(Amp.correction_75[Screen()], text);
    }
}

void Show_Level_Entry(Level_Entry entry) {
    constexpr std::array names{"Reference level", "Attenuation", "Scale per division", "Reference level offset",
                               "75 ohm correction"};
    std::array<char, 40> text{};
    Format_Level_Entry(entry, text);
    Show_Entry(names[static_cast<std::size_t>(entry)], text.data());
}

void Show_Autoset_Floor() {
    std::array<char, 40> text{};
    Format_Level(Autoset_Data.floor, text);
    Show_Entry("Autoset floor", text.data());
}
