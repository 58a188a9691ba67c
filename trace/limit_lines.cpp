#include "trace/limit_lines.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "keys/soft_keys.h"
#include "platform/beeper.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/keystate.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "scpi/status.h"
#include "trace/limit_display.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "trace/point_path.h"
#include "trace/scale.h"
#include "trace/single_sweep.h"
#include "trace/split.h"

namespace {

constexpr std::uint32_t limit_test_failed = 512;
constexpr double farthest_column = 1e9;
constexpr int trace_columns = trace_points - 1;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
bool Zero_Span() { return Freqs.span[Screen()] == 0; }
bool Names_Line(int line) { return line >= 0 && line < no_limit_line; }
Limit_Line* Line(int line) { return Names_Line(line) ? &Limit_Lines[static_cast<std::size_t>(line)] : nullptr; }
bool Used(const Limit_Line* line) { return line && line->pixel[0].column != no_place; }

/// False for a value that is no number; else the point is held to the limits.
bool Hold(Limit_Point& point) {
    if (!std::isfinite(point.frequency) || !std::isfinite(point.amplitude)) return false;
    point.frequency = std::clamp(point.frequency, 0.0, MAXFREQUENCY);
    point.amplitude = std::clamp(point.amplitude, lowest_limit_dbm, highest_limit_dbm);
    return true;
}

void Count(Limit_Line& line) {
    line.count = 0;
    for (const Limit_Node* node = line.first; node; node = node->next) {
        if (node != line.last && (node->on & 1)) ++line.count;
    }
}

void Empty(Limit_Line& line) {
    line.pool.fill({});
    line.pixel.fill({});
    line.first = line.last = nullptr;
    line.count = 0;
}

std::size_t Position_Of(const Limit_Line& line, double frequency) {
    std::size_t position = 0;
    for (const Limit_Node* node = line.first; node && node->frequency <= frequency; node = node->next) ++position;
    return position;
}

/// The node stands at its place in the list; the pixel table follows later.
int Enter(Limit_Line& line, const Limit_Point& point) {
    const std::size_t position = Position_Of(line, point.frequency);
    Limit_Node* const node = create_node(line, std::min(Points_Of(line), limit_points - 1));
    if (!node) return -1;
    node->on = point.on;
    node->frequency = point.frequency;
    node->amplitude = point.amplitude;
    if (line.first) {
        insert_node(line.first, *node, position, line.last);
    } else {
        line.first = node;
    }
    return static_cast<int>(position);
}

std::int32_t Column_Of(double frequency) {
    const double column =
        ScreenInf.left + (frequency - Freqs.start[Screen()]) * trace_columns / Freqs.span[Screen()];
    const auto place = static_cast<std::int32_t>(std::lround(std::clamp(column, -farthest_column, farthest_column)));
    return place == no_place ? place + 1 : place;
}

/// Entries of the points that are on, by frequency; the others have no place.
void Place_Points(Limit_Line& line) {
    line.pixel.fill({});
    if (Zero_Span()) return;
    const Row_Scale scale = Active_Scale();
    const double shown = Shown_Level_Offset();
    std::size_t entries = 0;
    for (const Limit_Node* node = line.first; node; node = node->next) {
        if (!(node->on & 1)) continue;
        const double level = node->amplitude - shown;
        line.pixel[entries] = {node->identity, Column_Of(node->frequency), dBmTOpixel(level, scale, false),
                               node->frequency, level};
        sorting_pixel(line.pixel, entries++);
    }
}

/// Rows of a line at every column, the stricter one where two points share a column.
void Fill_Rows(const Limit_Line* line, Limit_Rows& rows, bool high) {
    rows.fill(high ? above_screen : below_screen);
    if (!Used(line)) return;
    const auto put = [&](std::int32_t column, std::int32_t row) {
        const std::int32_t point = column - ScreenInf.left;
        if (point < 0 || point >= trace_points) return;
        std::int16_t& place = rows[static_cast<std::size_t>(point)];
        const auto value = static_cast<std::int16_t>(row);
        place = high ? std::max(place, value) : std::min(place, value);
    };
    const std::size_t last = Last_Entry(*line);
    put(line->pixel[last].column, line->pixel[last].row);
    for (std::size_t i = 0; i < last; ++i) {
        const Limit_Pixel &left = line->pixel[i], &right = line->pixel[i + 1];
        put(left.column, left.row);
        const std::int32_t first = std::max<std::int32_t>(left.column, ScreenInf.line_left);
        const std::int32_t end = std::min<std::int32_t>(right.column, ScreenInf.line_right);
        for (std::int32_t x = first; x <= end; ++x) put(x, Segment_Row(left, right, x));
    }
}

/// The trace that is tested; -1 when all are blank.
int Tested_Trace(const Trace_Record& record) {
    for (const int trace : {static_cast<int>(record.active & 3), 3, 2, 1, 0}) {
        if (record.mode[static_cast<std::size_t>(trace)] != trace_blank) return trace;
    }
    return -1;
}

void Show_Failure(bool failed) {
    const std::size_t condition = reg_questionable + set_condition;
    const bool shown = SCPI_RegGet(scpi_context, condition) & limit_test_failed;
    if (failed == shown) return;
    failed ? SCPI_RegSetBits(scpi_context, condition, limit_test_failed)
           : SCPI_RegClearBits(scpi_context, condition, limit_test_failed);
}

void Forget_Verdict() {
    Limit_Test.verdict = verdict_none;
    Show_Failure(false);
    Show_Verdict();
}

/// What stood is no verdict on the new line; a trace that is whole gets one at once.
void Judge_Anew() {
    if (Limit_Test.swept) {
        Judge_Limits();
    } else {
        Forget_Verdict();
    }
}

void Line_Changed() {
    Refresh_Limit_Lines();
    Judge_Anew();
    Show_Limit_Lines();
    Redraw_Keys();
}

bool Keys_Half() { return ScreenActive == Half_Of_Keys(); }

}  // namespace

Limit_Node* create_node(Limit_Line& line, std::size_t index) {
    const auto free = std::ranges::find(line.pool, std::uintptr_t{0}, &Limit_Node::identity);
    if (free == line.pool.end() || index >= line.pixel.size()) return nullptr;
    *free = {};
    free->identity = reinterpret_cast<std::uintptr_t>(&*free);
    line.pixel[index] = {};
    line.pixel[index].identity = free->identity;
    return &*free;
}

int insert_node(Limit_Node*& head, Limit_Node& node, std::size_t position, Limit_Node*& last) {
    if (!head) {
        std::fputs("\r\n******Nothing to delete\r\n", stdout);
        return -1;
    }
    if (position == 0) {
        node.next = head;
        head = &node;
        return 0;
    }
    Limit_Node* before = head;
    for (std::size_t i = 1; i < position && before->next; ++i) before = before->next;
    node.next = before->next;
    before->next = &node;
    if (position == limit_points - 1) last = &node;
    return 0;
}

void delete_pointnode(Limit_Line& line, Limit_Node& node) {
    for (Limit_Node** link = &line.first; *link; link = &(*link)->next) {
        if (*link != &node) continue;
        *link = node.next;
        break;
    }
    line.last = nullptr;  // the tenth has moved up or gone
    node = {};
}

Limit_Node* search_node(Limit_Node* list, std::uintptr_t identity) {
    while (list && list->identity != identity) list = list->next;
    return list;
}

int search_freqaamp_ptnode(const Limit_Node* list, std::size_t k, double& frequency, double& amplitude) {
    if (!list) {
        std::fputs("***limit line:search_freqaamp_ptnode() List is empty!\r\n", stdout);
        return -1;
    }
    for (std::size_t i = 1; list && i < k; ++i) list = list->next;
    if (!list || k == 0) return -1;
    frequency = list->frequency;
    amplitude = list->amplitude;
    return 0;
}

int sorting_pixel(std::span<Limit_Pixel> table, std::size_t n) {
    if (n >= table.size()) return 0;
    if (n > 0 && table[n].column == no_place) --n;
    int swaps = 0;
    for (std::size_t i = n; i > 0; --i) {
        if (!(table[i].frequency < table[i - 1].frequency)) continue;
        std::swap(table[i], table[i - 1]);
        ++swaps;
    }
    return swaps;
}

std::size_t Points_Of(const Limit_Line& line) {
    std::size_t points = 0;
    for (const Limit_Node* node = line.first; node; node = node->next) ++points;
    return points;
}

Limit_Node* Point_Of(Limit_Line& line, std::size_t k) {
    Limit_Node* node = line.first;
    while (node && k-- > 0) node = node->next;
    return node;
}

bool Set_Limit_Points(std::size_t line, std::span<const Limit_Point> points) {
    if (points.size() > limit_points) return false;
    std::array<Limit_Point, limit_points> held;
    std::ranges::copy(points, held.begin());
    const std::span<Limit_Point> taken(held.data(), points.size());
    if (!std::ranges::all_of(taken, Hold)) return false;
    Empty(Limit_Lines[line]);
    for (const Limit_Point& point : taken) Enter(Limit_Lines[line], point);
    Line_Changed();
    return true;
}

int Add_Limit_Point(std::size_t line, const Limit_Point& point) {
    Limit_Point held = point;
    const int position = Hold(held) ? Enter(Limit_Lines[line], held) : -1;
    if (position >= 0) Line_Changed();
    return position;
}

void Delete_Limit_Point(std::size_t line, std::size_t k) {
    Limit_Node* const node = Point_Of(Limit_Lines[line], k);
    if (!node) return;
    delete_pointnode(Limit_Lines[line], *node);
    Line_Changed();
}

int Change_Limit_Point(std::size_t line, std::size_t k, const Limit_Point& point) {
    Limit_Node* const node = Point_Of(Limit_Lines[line], k);
    Limit_Point held = point;
    if (!node || !Hold(held)) return -1;
    delete_pointnode(Limit_Lines[line], *node);
    const int position = Enter(Limit_Lines[line], held);
    Line_Changed();
    return position;
}

void Set_Limit_Shown(std::size_t line, bool shown) {
    Limit_Lines[line].shown = shown;
    Show_Limit_Lines();
    Redraw_Keys();
}

void Clear_Limit_Line(std::size_t line) {
    Empty(Limit_Lines[line]);
    Line_Changed();
}

void Delete_Limit_Line(std::size_t line) {
    const int number = static_cast<int>(line);
    Empty(Limit_Lines[line]);
    Choose_Limit_Lines(Limit_Test.high == number ? no_limit_line : Limit_Test.high,
                       Limit_Test.low == number ? no_limit_line : Limit_Test.low);
}

double Held_Margin(double decibels) { return std::clamp(decibels, -widest_margin, widest_margin); }

bool Limit_From_Trace(std::size_t line, std::size_t trace, double margin) {
    const Trace_Record& record = Trace_Data[Screen()];
    if (Zero_Span() || trace >= traces || record.mode[trace] == trace_blank || !std::isfinite(margin)) return false;
    const bool lowest = Limit_Test.low == static_cast<int>(line) && Limit_Test.high != static_cast<int>(line);
    std::array<Limit_Point, limit_points> points;
    constexpr std::size_t parts = limit_points - 1;
    for (std::size_t i = 0; i < limit_points; ++i) {
        const float* const levels = record.value[trace].data();
        const float* const begin = levels + (i == 0 ? 0 : i - 1) * trace_columns / parts;
        const float* const end = levels + std::min(i + 1, parts) * trace_columns / parts + 1;
        const float level = lowest ? *std::min_element(begin, end) : *std::max_element(begin, end);
        points[i] = {std::round(Freqs.start[Screen()] + static_cast<double>(i) * Freqs.span[Screen()] / parts),
                     static_cast<double>(level) + Shown_Level_Offset() + Held_Margin(margin)};
    }
    return Set_Limit_Points(line, points);
}

bool Limit_From_Marker(std::size_t line, double margin) {
    const int marker = Active_Marker();
    const bool on = Marker_Data.on[static_cast<std::size_t>(marker)][Screen()] != 0;
    if (!on || Zero_Span()) return false;
    const double level = Marker_Level(marker) + Held_Margin(margin);
    return Add_Limit_Point(line, {Marker_Place(marker) - Marker_Base(), level}) >= 0;
}

void Choose_Limit_Lines(int high, int low) {
    Limit_Test.high = Names_Line(high) ? high : no_limit_line;
    Limit_Test.low = Names_Line(low) ? low : no_limit_line;
    if (!Limit_Lines_Chosen()) Limit_Test.on = 0;
    Line_Changed();
}

bool Limit_Lines_Chosen() { return Names_Line(Limit_Test.high) || Names_Line(Limit_Test.low); }

void Set_Limit_Test(bool on) {
    Limit_Test.on = on;
    Judge_Anew();
    Redraw_Keys();
}

void Set_Pass_Criterion(int criterion) {
    PassCriterion = std::clamp<int>(criterion, criterion_trace, criterion_minimum);
    Line_Changed();
}

void Set_Limit_Mode(int mode) {
    Limit_Test.mode = mode != 0;
    Line_Changed();
}

void Set_Stop_On_Fail(bool on) {
    Limit_Test.stop_on_fail = on;
    Redraw_Keys();
}

void Refresh_Limit_Lines() {
    if (!Keys_Half()) return;
    for (Limit_Line& line : Limit_Lines) {
        Count(line);
        Place_Points(line);
    }
    Fill_Rows(Line(Limit_Test.high), PassFail_HighYPixel, true);
    Fill_Rows(Line(Limit_Test.low), PassFail_LowYPixel, false);
    passfail_searchrange(Limit_Test.mode);
}

void Limit_Axis_Changed() {
    if (!Keys_Half()) return;
    Limit_Test.swept = 0;
    Refresh_Limit_Lines();
    Forget_Verdict();
    Show_Limit_Lines();
}

void Limit_Scale_Changed() {
    if (!Keys_Half()) return;
    Refresh_Limit_Lines();
    if (Limit_Test.verdict != verdict_none) Judge_Limits();
}

std::size_t Last_Entry(const Limit_Line& line) {
    std::size_t last = 0;
    while (last + 1 < limit_points && line.pixel[last + 1].column != no_place) ++last;
    return last;
}

int Segment_Row(const Limit_Pixel& left, const Limit_Pixel& right, int column) {
    if (left.column == right.column) return right.row;
    const double part = (static_cast<double>(column) - left.column) / (static_cast<double>(right.column) - left.column);
    const Row_Scale scale = Active_Scale();
    if (scale.type == 0) return static_cast<int>(std::lround(left.row + part * (right.row - left.row)));
    return dBmTOpixel(left.amplitude + part * (right.amplitude - left.amplitude), scale, false);
}

void passfail_searchrange(int mode) {
    const Limit_Line *const high = Line(Limit_Test.high), *const low = Line(Limit_Test.low);
    const auto range = [](const Limit_Line& line) {
        return std::array<std::int32_t, 2>{line.pixel[0].column, line.pixel[Last_Entry(line)].column};
    };
    if (Used(high) && Used(low)) {
        const auto a = range(*high), b = range(*low);
        PassFailTestRange = mode ? std::array{std::max(a[0], b[0]), std::min(a[1], b[1])}
                                 : std::array{std::min(a[0], b[0]), std::max(a[1], b[1])};
    } else if (Used(high) || Used(low)) {
        PassFailTestRange = range(Used(high) ? *high : *low);
    }
}

int passfail_test(std::span<const std::int32_t, 2> range, const Limit_Rows& low, const Limit_Rows& high) {
    const Trace_Record& record = Trace_Data[Screen()];
    const int tested = Tested_Trace(record);
    if (tested < 0) return verdict_pass;
    const auto trace = static_cast<std::size_t>(tested);
    const std::int32_t first = std::max<std::int32_t>(range[0] - ScreenInf.left, 0);
    const std::int32_t last = std::min<std::int32_t>(range[1] - ScreenInf.left, trace_columns);
    const auto inside = [&](std::int32_t column) {
        const auto c = static_cast<std::size_t>(column);
        const int row = record.rows[trace][c];
        return row > high[c] && row < low[c];
    };
    if (PassCriterion == criterion_trace) {
        for (std::int32_t column = first; column <= last; ++column) {
            if (!inside(column)) return verdict_fail;
        }
        return verdict_pass;
    }
    const int column =
        PassCriterion == criterion_peak ? Ext_Peak_Max(record.value[trace]) : Ext_Peak_Min(record.value[trace]);
    return column >= first && column <= last && inside(column) ? verdict_pass : verdict_fail;
}

void Judge_Limits() {
    const bool lines = Used(Line(Limit_Test.high)) || Used(Line(Limit_Test.low));
    if (!Limit_Test.on || !lines || !Spectrum_Mode()) return Forget_Verdict();
    Limit_Test.verdict = passfail_test(PassFailTestRange, PassFail_LowYPixel, PassFail_HighYPixel);
    Show_Failure(Limit_Test.verdict == verdict_fail);
    Show_Verdict();
}

void Limits_End_Of_Sweep() {
    if (!Keys_Half() || Run_AuotSet_flag) return;
    const int before = Limit_Test.swept ? Limit_Test.verdict : verdict_none;
    Limit_Test.swept = 1;
    Judge_Limits();
    const bool another = before != verdict_fail || Sweep_Data.single;  // a lasting failure would be one long tone
    if (Limit_Test.verdict == verdict_fail && another && Sys_Data.alarm) platform::Beep();
    if (Limit_Test.verdict != verdict_fail || !Limit_Test.stop_on_fail || Sweep_Data.single) return;
    Set_Continuous_Sweep(false);
    Sweep_Data.single_left = 0;
}

void limitline_init() {
    for (Limit_Line& line : Limit_Lines) {
        Empty(line);
        line.shown = 1;
    }
    Limit_Test = {};
    LimitlineScreen = 0;
    PassCriterion = criterion_trace;
    Marker_Limit_Two_Point = 0;
    Marker_Limit_Frequency = Marker_Limit_Level = 0;
    PassFailTestRange = {};
    PassFail_HighYPixel.fill(above_screen);
    PassFail_LowYPixel.fill(below_screen);
    Render_Verdict_Words();
    Forget_Verdict();
    Show_Limit_Lines();
}

void LimitLine_Init_For_Opening() {
    Refresh_Limit_Lines();
    Show_Limit_Lines();
}
