#include "keys/status_blocks.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "display/pictures.h"
#include "display/text.h"
#include "keys/bandwidth_entry.h"
#include "keys/level_entry.h"
#include "keys/number_format.h"
#include "keys/shown_values.h"
#include "keys/words.h"
#include "palette.h"
#include "platform/clock.h"
#include "records/amp.h"
#include "records/bw.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trigger.h"

namespace {

using display::Align;
using display::Rect;

const char* mode_name = "";

constexpr int name_gap = 8, value_size = 13, smallest_value_size = 10, value_ascent = 13, value_height = 17;

constexpr int icon_width = 38, icon_height = 16, icon_x = 615, sweep_icon_y = 60, trigger_icon_y = 80;

enum class Anchor { left, right };

enum Line : std::size_t { level_line, frequency_line, bandwidth_line };

/// Baselines of the lines: of the whole display, of the halves of the split one.
constexpr std::array<std::array<int, 3>, 3> baselines{{{42, 525, 545}, {42, 275, 291}, {311, 546, 327}}};

struct Block {
    keys::Cat_Name name;
    int x;         ///< left edge, or the right edge of a right-bound block
    int width;     ///< of name and value together
    Line line;
    Anchor anchor;
    void (*value)(std::span<char> text);
    bool (*manual)() = nullptr;  ///< of a value that may be automatic
};

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

void Reference(std::span<char> text) { Format_Level_Entry(Level_Entry::reference, text); }
void Attenuation(std::span<char> text) { Format_Level_Entry(Level_Entry::attenuation, text); }
void Scale(std::span<char> text) { Format_Level_Entry(Level_Entry::scale, text); }
void Preamplifier(std::span<char> text) {
    std::snprintf(text.data(), text.size(), "%s", Amp.preamplifier_in[Screen()] ? "On" : "Off");
}
void Center(std::span<char> text) { Format_Frequency(Freqs.center[Screen()] + Freqs.offset[Screen()], false, text); }
void Span(std::span<char> text) { Format_Frequency(Freqs.span[Screen()], true, text); }
void Rbw(std::span<char> text) { Format_Bandwidth_Entry(Bandwidth_Entry::rbw, text); }
void Vbw(std::span<char> text) { Format_Bandwidth_Entry(Bandwidth_Entry::vbw, text); }
void Sweep_Time(std::span<char> text) { Format_Bandwidth_Entry(Bandwidth_Entry::sweep_time, text); }

bool Manual_Attenuation() { return Amp.attenuation_mode[Screen()] != 0; }
bool Manual_Rbw() { return BW_Data.rbw_mode[Screen()] != 0; }
bool Manual_Vbw() { return BW_Data.vbw_mode[Screen()] != 0; }
bool Manual_Time() { return Sweep_Data.time_mode[Screen()] != 0; }

constexpr auto blocks = std::to_array<Block>({
    {keys::catRef, 12, 118, level_line, Anchor::left, Reference},
    {keys::catAtt, 137, 76, level_line, Anchor::left, Attenuation, Manual_Attenuation},
    {keys::catLog, 220, 94, level_line, Anchor::left, Scale},
    {keys::catPreamp, 320, 78, level_line, Anchor::left, Preamplifier},
    {keys::catCenter, 12, 250, frequency_line, Anchor::left, Center},
    {keys::catSpan, 610, 230, frequency_line, Anchor::right, Span},
    {keys::catRBW, 12, 130, bandwidth_line, Anchor::left, Rbw, Manual_Rbw},
    {keys::catVBW, 150, 130, bandwidth_line, Anchor::left, Vbw, Manual_Vbw},
    {keys::catSweep, 610, 230, bandwidth_line, Anchor::right, Sweep_Time, Manual_Time},
});

/// A value with a star behind it where it was set by hand, and what says that it is too short for a calibrated sweep.
std::string_view Marked(std::string_view value, bool manual, bool uncal) {
    static std::array<char, 128> text;
    const std::string_view word = uncal ? Translated("UNCAL") : "";
    const int length = std::snprintf(text.data(), text.size(), "%.*s%s%.*s", static_cast<int>(value.size()), value.data(),
                                     manual ? uncal ? " * " : " *" : uncal ? " " : "", static_cast<int>(word.size()), word.data());
    return {text.data(), static_cast<std::size_t>(length)};
}

void Draw_Block(const Block& block, int baseline) {
    std::array<char, 48> english{};
    block.value(english);
    std::array<char, 96> buffer;
    const bool uncal = block.name == keys::catSweep && Sweep_Data.uncal[Screen()] != 0;
    const std::string_view text = Marked(Translated_Value(english.data(), buffer), block.manual && block.manual(), uncal);
    const bool linear = block.name == keys::catLog && Amp.scale_type[Screen()] != 0;
    const auto name = static_cast<std::size_t>(linear ? keys::catLin : block.name);
    const int name_width = cat_widths[name];
    const int top = baseline - value_ascent;
    const int left = block.anchor == Anchor::left ? block.x : block.x - block.width;
    display::Clear(fbOsd0, {left, top, block.width, value_height});
    const int room = block.width - name_width - name_gap;
    const int size = display::Fitting_Size(text, face_bold, value_size, smallest_value_size, room);
    const int value_width = display::Text_Width(text, face_bold, size);
    const int name_x = block.anchor == Anchor::left ? left : block.x - value_width - name_gap - name_width;
    draw_bitmap(cat_words[name], display::palette::label, display::palette::ground, name_x, baseline - 12,
                label_width, category_height, fbOsd0, name_x + name_width - 1);
    const int value_x = name_x + name_width + name_gap;
    display::Draw_Field(fbOsd0, {value_x, top, left + block.width - value_x, value_height}, value_ascent, text,
                        {face_bold, size, uncal ? display::palette::attention : display::palette::value,
                         display::palette::ground});
}

void Draw_Bar_Text(Rect area, std::string_view text, display::Colour colour, Font_Face face, int size, Align align) {
    display::Draw_Field(fbOsd0, area, 13, text, {face, size, colour, display::palette::bar}, align);
}

void Draw_Icon(const char* picture, int y) {
    Show_Picture_File(picture, icon_width, icon_height, icon_x, y, fbVid0);
}

}  // namespace

void mode_str_init() { mode_name = "Spectrum"; }

void blocktwo_str_init() {
    Draw_Status_Blocks();
    Draw_Sweep_State();
}

void Draw_Status_Blocks() {
    if (Display_Data.split == split_none) {
        for (const auto& block : blocks) Draw_Block(block, baselines[0][block.line]);
        return;
    }
    const int active = ScreenActive;
    for (ScreenActive = 0; ScreenActive < screens; ++ScreenActive) {
        for (const auto& block : blocks) Draw_Block(block, baselines[Screen() + 1][block.line]);
    }
    ScreenActive = active;
}

void Draw_Sweep_State() {
    const std::string_view mode = Translated(mode_name);
    const std::string_view state = Translated(Sweep_Data.hold     ? "hold"
                                              : Sweep_Data.single ? "single"
                                                                  : "continuous");
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%.*s, %.*s", static_cast<int>(mode.size()), mode.data(),
                  static_cast<int>(state.size()), state.data());
    constexpr Rect area{506, 3, 142, 18};
    const int size = display::Fitting_Size(text.data(), face_regular, 12, 9, area.width);
    Draw_Bar_Text(area, text.data(), display::palette::label, face_regular, size, Align::right);
    Draw_Icon(Sweep_Data.single ? "SWP_single.jpg" : "SWP_cont.jpg", sweep_icon_y);
    constexpr std::array triggers{"TRG_free.jpg", "TRG_video.jpg", "TRG_external.jpg"};
    Draw_Icon(triggers[std::min<std::size_t>(Trigger_Data.source, 2)], trigger_icon_y);
    Draw_Trigger_Wait();
}

void Draw_Trigger_Wait() {
    constexpr Rect area{130, 44, 260, 13};
    const std::string_view text = Trigger_Wait_Shown ? Translated("Waiting for trigger") : std::string_view();
    const int size = display::Fitting_Size(text, face_regular, 12, 9, area.width);
    display::Draw_Field(fbOsd0, area, 11, text, {face_regular, size, display::palette::attention, display::palette::ground});
}

void Draw_Model() {
    const std::string& model = System_Information_Data.model;
    const std::string_view number = model.starts_with("KVA") ? std::string_view(model).substr(3) : model;
    Draw_Bar_Text({46, 4, 90, 18}, number, display::palette::trace_a, face_bold, 15, Align::left);
}

void Draw_Clock() {
    constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm now = platform::Wall_Clock();
    std::array<char, 64> text{};
    const int year = now.tm_year + 1900;
    const auto language = static_cast<Language_Choice>(Language);
    if (language == Language_Choice::english || language == Language_Choice::russian) {
        const std::string_view month = Translated(months[static_cast<std::size_t>(now.tm_mon % 12)]);
        std::snprintf(text.data(), text.size(), "%d %.*s %d  %02d:%02d:%02d", now.tm_mday,
                      static_cast<int>(month.size()), month.data(), year, now.tm_hour, now.tm_min, now.tm_sec);
    } else {
        std::snprintf(text.data(), text.size(), "%d\u5e74%d\u6708%d\u65e5  %02d:%02d:%02d", year, now.tm_mon + 1,
                      now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
    }
    Draw_Bar_Text({142, 3, 178, 18}, text.data(), display::palette::label, face_regular, 12, Align::left);
}

void Blank_Clock() { display::Clear(fbOsd0, {142, 3, 178, 18}); }

void Draw_Average_Count(int count) {
    std::array<char, 24> text{};
    if (count > 0) std::snprintf(text.data(), text.size(), "Avg : %d", count);
    constexpr Rect above{12, 45, 114, 12}, beside_lower_levels{405, 300, 114, 12};
    const bool lower = Display_Data.split != split_none && ScreenActive == 1;
    display::Draw_Field(fbOsd0, lower ? beside_lower_levels : above, 10, text.data(),
                        {face_regular, 11, display::palette::label, display::palette::ground});
}
