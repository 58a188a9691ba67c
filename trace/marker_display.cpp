#include "trace/marker_display.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "display/draw.h"
#include "display/pictures.h"
#include "display/text.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/words.h"
#include "palette.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/sys.h"
#include "trace/level_lines.h"
#include "trace/limit_display.h"
#include "trace/limit_edit.h"
#include "trace/limit_lines.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/plot.h"
#include "trace/split.h"

namespace {

using display::Colour;
using display::Rect;
namespace palette = display::palette;

constexpr std::array<Colour, traces> trace_colours{palette::trace_a, palette::trace_b, palette::trace_c,
                                                   palette::trace_d};
constexpr double finest_part_of_column = 10;  ///< places are shown to a tenth of a column

template <class Value>
Value At(const Per_Marker<Value>& field, int marker) {
    return field[static_cast<std::size_t>(marker)][static_cast<std::size_t>(ScreenActive)];
}

bool Visible() { return Graticule_Shown() && fbOsd0.memory && fbOsd0.bits == 16; }

bool Open_Table(std::int32_t table) { return (Global_Table & table) != 0; }

// Symbols: a plate with the number and a tip at the point. Above the graticule's top there is no room: then the plate
// hangs below the point.

constexpr int symbol_width = 21, symbol_height = 22, plate_height = 15, tip_column = 10;
constexpr int rightmost_symbol = trace_points - 1 - tip_column + 8;  ///< so that the plate ends short of the icons

enum class Kind : std::uint8_t { none, marker, delta, peak };
constexpr std::size_t kinds = 4;

struct Symbol {
    Kind kind = Kind::none;
    std::uint8_t number = 0;  ///< from 0
    std::uint8_t trace = 0;
    bool hanging = false;
    std::int16_t x = 0, y = 0;  ///< left upper corner
    bool operator==(const Symbol&) const = default;
};

constexpr std::size_t symbols = 3 * markers;
std::array<Symbol, symbols> drawn_symbols;

/// First and last column of a row of the standing symbol.
struct Run {
    int first, last;
};
constexpr Run Symbol_Row(int row) {
    if (row == 0 || row == plate_height - 1) return {3, 17};
    if (row < plate_height) return {2, 18};
    const int half = (symbol_height - 1 - row) / 2;
    return {tip_column - half, tip_column + half};
}

Run Run_Of(const Symbol& symbol, int row) { return Symbol_Row(symbol.hanging ? symbol_height - 1 - row : row); }

/// Masks of the numbers, made once for a face.
struct Number_Masks {
    FT_Face made_with = nullptr;
    std::array<std::array<std::array<std::uint8_t, symbol_width * plate_height>, markers>, kinds> mask{};
};
Number_Masks number_masks;

void Make_Number_Mask(Kind kind, int number, FT_Face face) {
    auto& mask = number_masks.mask[static_cast<std::size_t>(kind)][static_cast<std::size_t>(number)];
    mask.fill(0);
    std::array<std::uint32_t, 3> text{};
    std::size_t count = 0;
    if (kind == Kind::delta) text[count++] = 0x394;
    if (number == 9) text[count++] = '1';
    text[count++] = static_cast<std::uint32_t>('0' + (number + 1) % 10);
    const int size = count == 3 ? 8 : count == 2 && kind == Kind::delta ? 10 : 11;
    int width = 0;
    wchar_box({text.data(), count}, 0, 0, size, {}, 0, &width, face, 1);
    wchar_box({text.data(), count}, (symbol_width - width + 1) / 2, plate_height - 3, size, mask, symbol_width, nullptr,
              face, 1);
}

void Make_Number_Masks() {
    const FT_Face face = display::Face_Handle(face_bold);
    if (number_masks.made_with == face) return;
    number_masks.made_with = face;
    for (const Kind kind : {Kind::marker, Kind::delta, Kind::peak}) {
        for (int number = 0; number < markers; ++number) Make_Number_Mask(kind, number, face);
    }
}

void Put_16(int x, int y, std::uint16_t pixel) {
    if (x < 0 || y < 0 || x >= static_cast<int>(fbOsd0.width) || y >= static_cast<int>(fbOsd0.height)) return;
    std::byte* place = fbOsd0.memory + static_cast<std::size_t>(y) * fbOsd0.line + static_cast<std::size_t>(x) * 2;
    std::memcpy(place, &pixel, sizeof pixel);
}

struct Symbol_Colours {
    Colour fill, edge, ink;
};

Symbol_Colours Colours_Of(const Symbol& symbol) {
    const Colour trace = trace_colours[symbol.trace % traces];
    switch (symbol.kind) {
        case Kind::marker: return {trace, trace, palette::ground};
        case Kind::delta: return {palette::bar, trace, trace};
        default: return {palette::bar, palette::frame, palette::label};
    }
}

Colour Mixed(std::uint8_t mask, Colour ink, Colour fill) {
    return {process_bitmap_color(mask, ink.red, fill.red), process_bitmap_color(mask, ink.green, fill.green),
            process_bitmap_color(mask, ink.blue, fill.blue)};
}

void Draw_Symbol(const Symbol& symbol) {
    const Symbol_Colours colours = Colours_Of(symbol);
    const auto& mask = number_masks.mask[static_cast<std::size_t>(symbol.kind)][symbol.number];
    const int plate_top = symbol.hanging ? symbol_height - plate_height : 0;
    for (int row = 0; row < symbol_height; ++row) {
        const Run run = Run_Of(symbol, row);
        const Run above = row > 0 ? Run_Of(symbol, row - 1) : Run{symbol_width, 0};
        const Run below = row + 1 < symbol_height ? Run_Of(symbol, row + 1) : Run{symbol_width, 0};
        for (int column = run.first; column <= run.last; ++column) {
            const bool edge = column == run.first || column == run.last || column < above.first ||
                              column > above.last || column < below.first || column > below.last;
            Colour colour = edge ? colours.edge : colours.fill;
            const int text_row = row - plate_top;
            if (!edge && text_row >= 0 && text_row < plate_height) {
                colour = Mixed(mask[static_cast<std::size_t>(text_row * symbol_width + column)], colours.ink, colour);
            }
            Put_16(symbol.x + column, symbol.y + row, RGB888toRGB565(colour.red, colour.green, colour.blue));
        }
    }
}

/// Clears the pixels that the symbol covers and no others; lines that it stood on come back.
void Erase_Symbol(const Symbol& symbol) {
    if (symbol.kind == Kind::none) return;
    for (int row = 0; row < symbol_height; ++row) {
        const Run run = Run_Of(symbol, row);
        for (int column = run.first; column <= run.last; ++column) Put_16(symbol.x + column, symbol.y + row, 0);
    }
    const Rect area{symbol.x, symbol.y, symbol_width, symbol_height};
    Restore_Limit_Lines(area);
    Mend_Level_Lines(area);
}

bool Overlap(const Symbol& a, const Symbol& b) {
    return a.kind != Kind::none && b.kind != Kind::none && std::abs(a.x - b.x) < symbol_width &&
           std::abs(a.y - b.y) < symbol_height;
}

Symbol Symbol_At(Kind kind, int number, int trace, int column) {
    const auto& rows = Trace_Data[static_cast<std::size_t>(ScreenActive)].rows[static_cast<std::size_t>(trace)];
    const int row = std::clamp<int>(rows[static_cast<std::size_t>(column)], ScreenInf.clamp_top, ScreenInf.clamp_bottom);
    Symbol symbol{kind, static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(trace), false, 0, 0};
    symbol.hanging = row - symbol_height < ScreenInf.clamp_top;
    symbol.y = static_cast<std::int16_t>(symbol.hanging ? row + 1 : row - symbol_height);
    symbol.x = static_cast<std::int16_t>(ScreenInf.left - tip_column + std::min(column, rightmost_symbol));
    return symbol;
}

using Symbols = std::array<Symbol, symbols>;

/// Peaks below, then the markers, the active one on top.
void Collect_Symbols(Symbols& wanted) {
    if (!Visible()) return;
    std::size_t next = 0;
    std::array<Peak_Row, table_peaks> rows;
    const int peaks = Open_Table(table_peak) && Peak_Data.trace >= 0 ? Peak_Table_Rows(rows) : 0;
    for (int i = 0; i < peaks; ++i) {
        wanted[next++] = Symbol_At(Kind::peak, i, Peak_Data.trace, rows[static_cast<std::size_t>(i)].column);
    }
    for (int i = 1; i <= markers; ++i) {
        const int marker = (Active_Marker() + i) % markers;
        if (!At(Marker_Data.on, marker)) continue;
        const int trace = Marker_Own_Trace(marker);
        if (trace >= 0 && Marker_On_Axis(marker)) {
            wanted[next++] = Symbol_At(Kind::marker, marker, trace, At(Marker_Data.column, marker));
        }
        const int delta_trace = Marker_Trace(marker);
        if (At(Marker_Data.delta, marker) && delta_trace >= 0 && Delta_On_Axis(marker)) {
            wanted[next++] = Symbol_At(Kind::delta, marker, delta_trace, At(Marker_Data.delta_column, marker));
        }
    }
}

/// Symbols that stay are drawn again where one that goes, or is drawn below them, covered them.
void Show_Symbols(bool afresh) {
    Symbols wanted{};
    Collect_Symbols(wanted);
    if (!afresh && wanted == drawn_symbols) return;
    Make_Number_Masks();
    std::array<bool, symbols> draw{};
    for (std::size_t i = 0; i < symbols; ++i) {
        draw[i] = afresh || wanted[i] != drawn_symbols[i];
        if (draw[i]) Erase_Symbol(drawn_symbols[i]);
    }
    for (std::size_t i = 0; i < symbols; ++i) {
        if (wanted[i].kind == Kind::none) continue;
        for (std::size_t j = 0; j < symbols && !draw[i]; ++j) {
            draw[i] = draw[j] && (Overlap(wanted[i], drawn_symbols[j]) || (j < i && Overlap(wanted[i], wanted[j])));
        }
        if (draw[i]) Draw_Symbol(wanted[i]);
    }
    drawn_symbols = wanted;
}

// Texts

/// Finest shown frequency, Hz.
double Place_Resolution() {
    return Freqs.span[static_cast<std::size_t>(ScreenActive)] / (trace_points - 1) / finest_part_of_column;
}

void Place_Text(double place, std::span<char> text) {
    if (Zero_Span_Axis()) {
        Show_Timevalue_Chunit(place, text);
    } else {
        Show_MFvalue_Chunit(place, std::max(Place_Resolution(), 1.0), text);
    }
}

void Marker_Place_Text(int marker, std::span<char> text) {
    if (At(Marker_Data.counter, marker) && !Zero_Span_Axis()) {
        Show_MCFvalue_Chunit(Marker_Count(marker), Marker_Resolution(), text);
    } else {
        Place_Text(Marker_Place(marker), text);
    }
}

void Marker_Level_Text(int marker, int noise_decimals, std::span<char> text) {
    if (At(Marker_Data.noise, marker)) return Show_Noise_Density(Marker_Noise_Level(marker), noise_decimals, text);
    if (!At(Marker_Data.vswr, marker)) return Show_MAvalue_Chunit(Marker_Level(marker), text);
    const double ratio = Marker_VSWR(marker);
    if (std::isfinite(ratio)) {
        std::snprintf(text.data(), text.size(), "VSWR %.2f", ratio);
    } else {
        std::snprintf(text.data(), text.size(), "VSWR ---");
    }
}

const char* Function_Name(int marker) {
    if (At(Marker_Data.noise, marker)) return "Noise";
    if (At(Marker_Data.counter, marker)) return "Counter";
    return At(Marker_Data.vswr, marker) ? "VSWR" : "";
}

template <std::size_t size>
void Copy(std::array<char, size>& to, std::string_view text) {
    to.fill(0);
    text.copy(to.data(), size - 1);
}

// Readout of the active marker, above the graticule at the right.

struct Readout_Line {
    std::array<char, 24> name{};
    std::array<char, 40> place{}, level{};
    int trace = -1;
    bool operator==(const Readout_Line&) const = default;
};
std::array<Readout_Line, 2> drawn_lines;

struct Line_Place {
    Rect area;
    int baseline, size;
};
constexpr std::array<Line_Place, 2> line_places{{{{400, 28, 210, 16}, 14, 13}, {{400, 44, 210, 14}, 11, 12}}};
constexpr int smallest_size = 8, name_gap = 6, level_gap = 10;

Colour Line_Colour(int trace) {
    return trace >= 0 ? trace_colours[static_cast<std::size_t>(trace)] : palette::value;
}

void Draw_Line(const Readout_Line& line, const Line_Place& at) {
    display::Clear(fbOsd0, at.area);
    std::array<char, 96> place_buffer, level_buffer;
    const std::string_view name = line.name.data();
    const std::string_view place = Translated_Value(line.place.data(), place_buffer);
    const std::string_view level = Translated_Value(line.level.data(), level_buffer);
    const int name_width = display::Text_Width(name, face_regular, 12) + (name.empty() ? 0 : name_gap);
    const int room = at.area.width - name_width - (level.empty() ? 0 : level_gap);
    int size = at.size;
    while (size > smallest_size &&
           display::Text_Width(place, face_bold, size) + display::Text_Width(level, face_bold, size) > room) {
        --size;
    }
    const Colour colour = Line_Colour(line.trace);
    const Rect rest{at.area.x + name_width, at.area.y, at.area.width - name_width, at.area.height};
    const int place_width = display::Text_Width(place, face_bold, size);
    display::Draw_Field(fbOsd0, {at.area.x, at.area.y, name_width, at.area.height}, at.baseline, name,
                        {face_regular, 12, palette::label, palette::ground});
    display::Draw_Field(fbOsd0, {rest.x, rest.y, std::min(place_width + 2, rest.width), rest.height}, at.baseline, place,
                        {face_bold, size, colour, palette::ground});
    const int level_x = rest.x + place_width + 2;
    display::Draw_Field(fbOsd0, {level_x, rest.y, std::max(at.area.x + at.area.width - level_x, 0), rest.height},
                        at.baseline, level, {face_bold, size, colour, palette::ground}, display::Align::right);
}

void Fill_First_Line(int marker, Readout_Line& line) {
    const std::string_view name = Translated("Mkr");
    std::snprintf(line.name.data(), line.name.size(), "%.*s%d", static_cast<int>(name.size()), name.data(), marker + 1);
    line.trace = Marker_Own_Trace(marker);
    Marker_Place_Text(marker, line.place);
    Marker_Level_Text(marker, 2, line.level);
}

/// The delta partner, else the function.
void Fill_Second_Line(int marker, Readout_Line& line) {
    if (At(Marker_Data.delta, marker)) {
        std::snprintf(line.name.data(), line.name.size(), "\u0394%d", marker + 1);
        line.trace = Marker_Trace(marker);
        Place_Text(Delta_Distance(marker), line.place);
        Show_DMAvalue_Chunit(Level_Difference(marker), line.level);
        return;
    }
    const std::string_view function = Translated(Function_Name(marker));
    function.copy(line.name.data(), line.name.size() - 1);
    if (At(Marker_Data.counter, marker)) Format_Bandwidth(Marker_Resolution(), line.place);
}

void Show_Readout(bool afresh) {
    std::array<Readout_Line, 2> wanted{};
    const int marker = Active_Marker();
    if (Visible() && At(Marker_Data.on, marker)) {
        Fill_First_Line(marker, wanted[0]);
        Fill_Second_Line(marker, wanted[1]);
    }
    if (!Visible()) return;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (afresh || wanted[i] != drawn_lines[i]) Draw_Line(wanted[i], line_places[i]);
    }
    drawn_lines = wanted;
}

// Tables: two columns of five rows, each of cells.

constexpr Rect table_area{10, 366, 601, 143};
constexpr int head_height = 22, row_pitch = 24, table_rows = 5, most_cells = 4;

struct Cell {
    std::array<char, 32> text{};
    std::int8_t trace = -1;
    bool operator==(const Cell&) const = default;
};
/// The first row of each half is its heading.
using Cells = std::array<std::array<std::array<Cell, most_cells>, table_rows + 1>, 2>;
Cells drawn_cells;
std::int32_t drawn_table = 0;

/// Right edges of the cells of a half, by their distance from its left edge; 0 for none.
using Cell_Edges = std::array<int, most_cells>;
constexpr Cell_Edges marker_cells{30, 150, 225, 300}, peak_cells{40, 190, 300, 0};

void Draw_Cell(const Cell& cell, Rect area, bool heading) {
    std::array<char, 96> buffer;
    const std::string_view text = heading ? std::string_view(cell.text.data()) : Translated_Value(cell.text.data(), buffer);
    const Font_Face face = heading ? face_regular : face_bold;
    const int size = display::Fitting_Size(text, face, 12, 8, area.width);
    const Colour colour = heading ? palette::label : Line_Colour(cell.trace);
    display::Draw_Field(fbOsd0, area, area.height - 6, text,
                        {face, size, colour, heading ? palette::bar : palette::ground}, display::Align::centre);
}

void Show_Cells(const Cells& wanted, const Cell_Edges& edges, bool afresh) {
    for (std::size_t half = 0; half < wanted.size(); ++half) {
        for (std::size_t row = 0; row <= table_rows; ++row) {
            int left = table_area.x + static_cast<int>(half) * 300;
            const int x0 = left;
            for (std::size_t column = 0; column < most_cells && edges[column]; ++column) {
                const int right = x0 + edges[column];
                const Cell& cell = wanted[half][row][column];
                if (afresh || cell != drawn_cells[half][row][column]) {
                    const int top = row == 0 ? table_area.y + 2
                                             : table_area.y + head_height + 2 + (static_cast<int>(row) - 1) * row_pitch;
                    Draw_Cell(cell, {left + 3, top, right - left - 5, row == 0 ? head_height - 3 : row_pitch - 3}, row == 0);
                }
                left = right;
            }
        }
    }
    drawn_cells = wanted;
}

void Fill_Headings(Cells& cells, std::initializer_list<const char*> names) {
    for (auto& half : cells) {
        std::size_t column = 0;
        for (const char* name : names) Copy(half[0][column++].text, Translated(name));
    }
}

const char* Place_Heading() { return Zero_Span_Axis() ? "Time" : "Frequency"; }

/// A delta marker shows its partner's distance.
void Fill_Marker_Row(int marker, std::array<Cell, most_cells>& row) {
    const bool delta = At(Marker_Data.delta, marker);
    const int trace = delta ? Marker_Trace(marker) : Marker_Own_Trace(marker);
    for (Cell& cell : row) cell.trace = static_cast<std::int8_t>(trace);
    std::snprintf(row[0].text.data(), row[0].text.size(), "%s%d", delta ? "\u0394" : "", marker + 1);
    if (delta) {
        Place_Text(Delta_Distance(marker), row[1].text);
        Show_DMAvalue_Chunit(Level_Difference(marker), row[2].text);
    } else {
        Marker_Place_Text(marker, row[1].text);
        Marker_Level_Text(marker, 1, row[2].text);
    }
    const std::string_view function = Translated(Function_Name(marker));
    std::snprintf(row[3].text.data(), row[3].text.size(), "%c %.*s", trace < 0 ? '-' : 'A' + trace,
                  static_cast<int>(function.size()), function.data());
}

/// The table of the limit line covers the others while it is edited.
std::int32_t Table_To_Show() {
    return Open_Table(table_limit) ? std::int32_t{table_limit} : Global_Table & (table_marker | table_peak);
}

void Show_Tables(bool afresh) {
    const std::int32_t table = Table_To_Show();
    if (!Visible() && !afresh) return;
    if (table != drawn_table || afresh) {
        if (drawn_table || table) display::Clear(fbOsd0, table_area);
        drawn_table = table;
        drawn_cells = {};
        if (!table || !Visible()) return;
        display::Fill(fbVid0, {table_area.x, ScreenInf.clamp_bottom + 1, table_area.width,
                               table_area.y - ScreenInf.clamp_bottom - 1}, palette::ground);
        Show_Picture_File(table == table_peak ? "Peak_Table.jpg" : "Marker_Table.jpg", table_area.width,
                          table_area.height, table_area.x, table_area.y, fbVid0);
    }
    if (table == table_marker) Cal_Marker_Table_Display();
    if (table == table_peak) Cal_Peak_Table_Display();
    if (table == table_limit) Cal_Limit_Table_Display();
}

/// The selected point stands in the colour of the active entry.
void Fill_Limit_Row(std::size_t number, const Limit_Node& node, std::array<Cell, most_cells>& row) {
    const auto screen = static_cast<std::size_t>(ScreenActive);
    if (Selected_Point() == number) {
        for (Cell& cell : row) cell.trace = 0;
    }
    std::snprintf(row[0].text.data(), row[0].text.size(), "%zu", number + 1);
    Format_Frequency(node.frequency + Freqs.offset[screen], true, row[1].text);
    Show_MAvalue_Chunit(node.amplitude, row[2].text);
    Copy(row[3].text, Translated(node.on & 1 ? "On" : "Off"));
}

}  // namespace

void Show_Markers() {
    if (ScreenActive != Half_Of_Keys() || !Display_Data.active) return;
    Follow_Axis();
    Show_Symbols(false);
    Show_Readout(false);
    Show_Tables(false);
}

void Redraw_Markers() {
    if (ScreenActive != Half_Of_Keys()) return;
    Follow_Axis();
    Show_Tables(true);
    Show_Symbols(true);
    Show_Readout(true);
}

void Redraw_Symbols() {
    const Half_In_Hand in_hand(Half_Of_Keys());
    Follow_Axis();
    Show_Symbols(true);
}

void display_blocktwo_mk() { Show_Readout(false); }

void Int_Marker_Show_Value() { Show_Readout(false); }

void Cal_Marker_Table_Display() {
    Cells cells{};
    Fill_Headings(cells, {"Mkr", Place_Heading(), "Level", "Trace"});
    for (int marker = 0; marker < markers; ++marker) {
        if (!At(Marker_Data.on, marker)) continue;
        Fill_Marker_Row(marker, cells[static_cast<std::size_t>(marker / table_rows)]
                                     [static_cast<std::size_t>(marker % table_rows + 1)]);
    }
    Show_Cells(cells, marker_cells, false);
}

void Cal_Peak_Table_Display() {
    Cells cells{};
    Fill_Headings(cells, {"", Place_Heading(), "Level"});
    std::array<Peak_Row, table_peaks> rows;
    const int count = Peak_Table_Rows(rows);
    for (int i = 0; i < count; ++i) {
        auto& row = cells[static_cast<std::size_t>(i / table_rows)][static_cast<std::size_t>(i % table_rows + 1)];
        for (Cell& cell : row) cell.trace = static_cast<std::int8_t>(Peak_Data.trace);
        std::snprintf(row[0].text.data(), row[0].text.size(), "%d", i + 1);
        Place_Text(rows[static_cast<std::size_t>(i)].frequency, row[1].text);
        Show_MAvalue_Chunit(rows[static_cast<std::size_t>(i)].level, row[2].text);
    }
    Show_Cells(cells, peak_cells, false);
}

void Cal_Limit_Table_Display() {
    Cells cells{};
    Fill_Headings(cells, {"", "Frequency", "Level", "Used"});
    std::size_t number = 0;
    for (const Limit_Node* node = Limit_Lines[Edited_Line()].first; node; node = node->next, ++number) {
        Fill_Limit_Row(number, *node, cells[number / table_rows][number % table_rows + 1]);
    }
    Show_Cells(cells, marker_cells, false);
}

void Marker_Entry_Text(Marker_Entry entry, std::span<char> text) {
    const int marker = Active_Marker();
    switch (entry) {
        case Marker_Entry::number: std::snprintf(text.data(), text.size(), "%d", marker + 1); break;
        case Marker_Entry::normal: Place_Text(Marker_Place(marker), text); break;
        case Marker_Entry::delta:
            if (At(Marker_Data.delta, marker)) Place_Text(Delta_Distance(marker), text);
            break;
        case Marker_Entry::pair_span:
            if (At(Marker_Data.delta, marker)) Place_Text(Pair_Span(marker), text);
            break;
        case Marker_Entry::pair_center:
            if (At(Marker_Data.delta, marker)) Place_Text(Pair_Center(marker), text);
            break;
        case Marker_Entry::resolution: Format_Bandwidth(Marker_Resolution(), text); break;
        case Marker_Entry::excursion: Show_DMAvalue_Chunit(static_cast<double>(Peak_Data.excursion), text); break;
        case Marker_Entry::threshold: Show_MAvalue_Chunit(static_cast<double>(Peak_Data.threshold), text); break;
    }
}

void Show_Marker_Entry(Marker_Entry entry) {
    constexpr std::array frequency_names{"Marker",      "Marker freq", "Delta freq", "Pair span",
                                         "Pair center", "Resolution",  "Excursion",  "Threshold"};
    const char* name = frequency_names[static_cast<std::size_t>(entry)];
    if (Zero_Span_Axis() && entry == Marker_Entry::normal) name = "Marker time";
    if (Zero_Span_Axis() && entry == Marker_Entry::delta) name = "Delta time";
    // While a full-screen table is shown, the pair has no value.
    const bool blank = (Global_Table & table_single_frequency) != 0 &&
                       (entry == Marker_Entry::pair_span || entry == Marker_Entry::pair_center);
    std::array<char, 40> text{};
    if (!blank) Marker_Entry_Text(entry, text);
    Show_Entry(name, text.data());
}
