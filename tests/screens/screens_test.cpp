// Known things drawn on the virtual frame buffers, composed as the front panel does, against reference pictures.

#include <cstdio>

#include "display/draw.h"
#include "display/pictures.h"
#include "display/text.h"
#include "keys/frequency_entry.h"
#include "keys/handlers.h"
#include "keys/language.h"
#include "keys/level_entry.h"
#include "keys/messages.h"
#include "keys/notice.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "keys/trigger_entry.h"
#include "keys/words.h"
#include "measure/autoset.h"
#include "palette.h"
#include "scpi/commands/table.h"
#include "scpi/parser.h"
#include "sweep/dependants.h"
#include "system/status_icons.h"
#include "system/system.h"
#include "tests/screens/reference.h"
#include "tests/unit/records_fixture.h"
#include "trace/display_line.h"
#include "trace/limit_lines.h"
#include "trace/peak_search.h"
#include "trace/plot.h"
#include "trace/trace_settings.h"
#include "virtual_board/devices.h"
#include "virtual_board/seed.h"

namespace {

using namespace screen_tests;

/// The screen after some keys.
void Keys_Show(const char* keys, const std::string& name) {
    Keys(keys);
    Expect_Screen(name);
}

/// What is drawn in one language after the other.
template <class Draw>
void Expect_In_Each_Language(const std::string& name, const Draw& draw) {
    constexpr std::array languages{"english", "chinese_simplified", "russian", "chinese_traditional", "japanese"};
    for (int language = 4; language >= 0; --language) {
        ASSERT_EQ(Set_Language(language), 0);
        draw();
        Expect_Screen(name + "_" + languages[static_cast<std::size_t>(language)]);
    }
}

/// A root as a new instrument has it, its layers shown, its faces loaded, the background drawn.
class Screens : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        virtual_board::Seed_Root(KVA720_SHARE, "KVA7230");
        virtual_board::Make_Frame_Devices();
        fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
        fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
        ASSERT_EQ(FT_Init_FreeType(&library), 0);
        ASSERT_EQ(load_font_face(face_bold, library, pFTFaceARIABOLD), 0);
        ASSERT_EQ(load_font_face(face_regular, library, pFTFaceARIA), 0);
        ASSERT_EQ(load_font_face(face_seven_segment, library, pFTFaceNI7SEG), 0);
        bottom_init(fbVid0);
        Show_Picture(picture_background, screen_width, screen_height, 0, 0, target_video0);
        window_display(fbVid0);
        window_display(fbOsd0);
        parse_txt_file(Word_List_Path(0));
        numKey_init(0, face_regular);
        mode_str_init();
    }
    void TearDown() override {
        fb_free(fbOsd0);
        fb_free(fbVid0);
        virtual_board::Remove_Frame_Devices();
        FT_Done_FreeType(library);
        pFTFaceARIABOLD = pFTFaceARIA = pFTFaceNI7SEG = nullptr;
        Records::TearDown();
    }
    FT_Library library = nullptr;
};

/// A page with all that a key can look like: plain, highlighted, greyed, with a value, with choices, without function.
Menu_Page Example_Page() {
    Menu_Page page;
    page.title = En(keys::enFrequencyBig);
    page.label = {En(keys::enCenterFreq), En(keys::enStartFreq),  En(keys::enStopFreq),
                  En(keys::enCFStep),     En(keys::enFreqOffset), nullptr,
                  En(keys::enRefLevel)};
    page.disabled[2] = 1;
    page.highlight = 1;
    page.face = [](int key, Key_Face& face) {
        if (key == 1) std::snprintf(face.value.data(), face.value.size(), "1.234 567 89 GHz");
        if (key == 3) face = {.value = {"2.000 MHz"}, .choice = {keys::selectAuto, keys::selectMan}, .chosen = 1};
    };
    return page;
}

TEST_F(Screens, SoftKeys) {
    const Menu_Page page = Example_Page();
    hardware_key(page, true, fbVid0);
    Expect_Screen("soft_keys");
}

/// A page with every kind of choice: two, three and five side by side, and too wide ones alone between arrows.
Menu_Page Page_Of_Choices() {
    Menu_Page page;
    page.title = En(keys::enAmplitudeBig);
    page.label = {En(keys::enRefLevel),   En(keys::enAttenuation),  En(keys::enScaleDiv), En(keys::enAverageType),
                  En(keys::enPosition),   En(keys::enSensorSpeed), En(keys::enAmplitudeUnit)};
    page.highlight = 0;
    page.disabled[4] = page.disabled[6] = 1;
    page.face = [](int key, Key_Face& face) {
        using namespace keys;
        switch (key) {
            case 0: face = {.value = {"-12.34 dBmV"}}; break;
            case 1: face = {.value = {"10 dB"}, .choice = {selectAuto, selectMan}, .chosen = 0}; break;
            case 2: face = {.choice = {selectTen, selectFive, selectOneToFive2, selectOneToFive1}, .chosen = 2}; break;
            case 3: face = {.choice = {selectLog, selectVolt, selectPower}, .chosen = 1}; break;
            case 4: face = {.choice = {selectLeft, selectMiddle, selectRight}, .chosen = 2}; break;
            case 5: face = {.choice = {selectLowNoise, selectFast, selectFastest}, .chosen = 0}; break;
            default: break;
        }
    };
    return page;
}

/// Soft keys, blocks, top line, entry and a message, switched from one language to the next as they stand.
TEST_F(Screens, EveryLanguage) {
    System_Information_Data.model = "KVA7230";
    Freqs.center[0] = 433.92e6;
    Freqs.span[0] = 2e6;
    Sweep_Data.time[0] = 0.0359;
    Amp.displayed_reference[0] = -100;
    Menu_Page page = Page_Of_Choices();
    keylink.store(&page);
    Draw_Model();
    Show_Entry("Center frequency", "433.92 MHz");
    ThirdAttentionwords(8);
    Expect_In_Each_Language("language", [] {});
    const Screen english = Composed();
    EXPECT_EQ(Set_Language(5), -1);
    EXPECT_EQ(Differing_Pixels(Composed(), english), 0);
    Reset_Pages();
}

/// A number being typed on a top page, or, with a unit key, entered.
void Enter(char unit_type, std::string_view name, std::string_view keys, int unit_key) {
    static Menu_Page page;
    page.highlight = 0;
    keylink = &page;
    menus::Begin_Entry(unit_type, true);
    Show_Entry(name, "0");
    for (const char key : keys) Keypad_Exe(key);
    if (unit_key >= 0) Keypad_Exe(key_soft_first + unit_key);
}

/// The pixels of the entry field, its name above it.
std::vector<std::uint8_t> Entry_Field() {
    constexpr int width = 250, top = 554, bottom = 600, bytes = 3;
    const screen_tests::Screen screen = screen_tests::Composed();
    std::vector<std::uint8_t> field;
    for (int y = top; y < bottom; ++y) {
        const auto row = screen.begin() + std::ptrdiff_t{bytes} * y * screen_width;
        field.insert(field.end(), row, row + bytes * width);
    }
    return field;
}

TEST_F(Screens, ANumberBeingTyped) {
    Enter('1', "Frequency offset", "-400888000.999", -1);
    const Drawn_Glyph& last = drawNumberVal.glyph[static_cast<std::size_t>(drawNumberVal.count - 1)];
    EXPECT_LT(last.x + allNumData[static_cast<std::size_t>(last.glyph)], 240) << "there is room for the cursor";
    Enter('1', "Frequency offset", "12..34B", -1);
    Keypad_Exe('5');
    Keypad_Exe('-');
    Expect_Screen("typed_number");
}

TEST_F(Screens, AnEnteredTime) {
    Enter('6', "Sweep time", "0.5", -1);
    const Screen typing = Composed();
    Keys_Show("f1", "entered_time");
    EXPECT_GT(Differing_Pixels(Composed(), typing), pixel_tolerance);
}

TEST_F(Screens, ALevelAboutToBeEntered) {
    Enter('7', "Reference level", "-107.25", -1);
    Expect_Screen("typed_level");
}

/// A carrier with skirts over a slope, and a stored trace below it.
void Draw_Example_Traces() {
    Trace_Record& record = Trace_Data[0];
    record.mode = {trace_clear_write, trace_view, trace_blank, trace_blank};
    for (std::size_t point = 0; point < trace_points; ++point) {
        const double offset = (static_cast<double>(point) - 200) / 6;
        record.rows[0][point] = static_cast<std::uint16_t>(440 - 300 / (1 + offset * offset) - point / 20);
        record.rows[1][point] = static_cast<std::uint16_t>(470 + 10 * std::sin(static_cast<double>(point) / 15));
    }
    Ext_Frame();
}

TEST_F(Screens, GraticuleWithTraces) {
    Draw_Example_Traces();
    Expect_Screen("graticule");
    // Sweeps that go over it point by point leave nothing of what was there.
    const Screen before = Composed();
    Trace_Record& record = Trace_Data[0];
    const Trace_Rows rows = record.rows;
    for (std::size_t point = 0; point < trace_points; ++point) {
        record.rows[0][point] = static_cast<std::uint16_t>(58 + point * 450 / 600);
        record.rows[1][point] = 100;
        Trace_plot_line(record, static_cast<int>(point));
    }
    EXPECT_GT(Differing_Pixels(Composed(), before), trace_points);
    record.rows = rows;
    for (int point = 0; point < trace_points; ++point) Trace_plot_line(record, point);
    Expect_Screen("graticule");
}

void Init_Sweep() {
    Freqs_ArrayInit();
    BW_Init();
    Sweep_Init();
}

/// A comb of peaks on trace A and a stored trace B, from 990 to 1010 MHz.
void Draw_Comb() {
    Init_Sweep();
    Init_Trace_Data();
    PeakSearch_Init();
    Marker_Init();
    Trace_Record& record = Trace_Data[0];
    record.mode[1] = trace_view;
    Set_Span(2, 20e6);
    Set_Cent(2, 1e9);
    for (int i = 0; i < trace_points; ++i) {
        float level = -88 + 3 * std::sin(static_cast<float>(i * i));
        for (int peak = 40; peak < 600; peak += 80) {
            const auto away = static_cast<float>(i - peak) / 4;
            level = std::max(level, -4 - 0.1f * static_cast<float>(peak) - away * away);
        }
        record.value[0][static_cast<std::size_t>(i)] = level;
        record.value[1][static_cast<std::size_t>(i)] = -70 + 5 * std::sin(static_cast<float>(i) / 40);
    }
    Level_Scale_Changed();
    blocktwo_str_init();
}

TEST_F(Screens, MarkersStandOverTheTracesAndLeaveNothingBehind) {
    Draw_Comb();
    const Screen bare = Composed();
    for (int marker = 0; marker < markers; ++marker) Set_Marker_Place(marker, 991e6 + marker * 2e6);
    Set_Marker_Trace(7, 1);
    Search_Peak(1, Peak_Step::highest);
    Search_Peak(2, Peak_Step::highest);
    Search_Peak(2, Peak_Step::next);
    Set_Marker_Place(9, 1010e6);
    Set_Marker_Noise(4, true);
    Set_Marker_Type(2, true);
    Search_Peak(2, Peak_Step::right);
    Expect_Screen("markers");
    // Over and under each other, then away.
    for (int marker = 0; marker < markers; ++marker) Set_Marker_Place(marker, 995e6 + marker * 0.2e6);
    for (int marker = 0; marker < markers; ++marker) Set_Marker_State(marker, false);
    EXPECT_EQ(Differing_Pixels(Composed(), bare), 0);
}

TEST_F(Screens, DisplayLine) {
    Draw_Comb();
    keylink = &FreqLink[0];
    Set_Display_Line(2, -24.5);
    Set_Marker_Place(0, 990.8e6);
    for (const std::int32_t code : {key_display + 0, 34}) Keypad_Exe(code);
    Expect_Screen("display_line");
}

TEST_F(Screens, MarkerTable) {
    Draw_Comb();
    const Screen bare = Composed();
    for (int marker = 0; marker < markers; ++marker) Set_Marker_Place(marker, 991e6 + marker * 2e6);
    Set_Marker_Delta(2, -10e6);
    Set_Marker_Noise(4, true);
    Set_Marker_Counter(5, true);
    Set_Marker_Trace(7, 1);
    Set_Marker_Table(true);
    Expect_Screen("marker_table");
    Marker_All_Off();
    EXPECT_EQ(Differing_Pixels(Composed(), bare), 0);
}

TEST_F(Screens, PeakTable) {
    Draw_Comb();
    Set_Peak_Excursion(2, 10);
    Set_Peak_Table(true);
    Search_Peak(0, Peak_Step::highest);
    Expect_Screen("peak_table");
}

/// High and low line with both verdicts, on both scales, under markers; then the editor, and nothing left behind.
TEST_F(Screens, LimitLines) {
    Draw_Comb();
    Keypad_Exe(key_limit_line);
    const screen_tests::Screen bare = screen_tests::Composed();
    Set_Limit_Points(0, std::vector<Limit_Point>{{992e6, -5}, {1000e6, -20}, {1000e6, -40}, {1030e6, -70}});
    Set_Limit_Points(3, std::vector<Limit_Point>{{970e6, -95}, {1005e6, -95}});
    Set_Limit_Points(7, std::vector<Limit_Point>{{991e6, -50}, {997e6, -50}});
    Choose_Limit_Lines(0, 3);
    Set_Limit_Test(true);
    Limits_End_Of_Sweep();
    Redraw_Keys();
    Expect_Screen("limit_fail");
    Choose_Limit_Lines(no_limit_line, 3);
    Set_Marker_Place(0, 999e6);
    Set_Marker_Place(0, 1003.5e6);
    Expect_Screen("limit_pass");
    Set_Linear_Scale(true);
    Choose_Limit_Lines(0, no_limit_line);
    Limits_End_Of_Sweep();
    Expect_Screen("limit_linear");
    Set_Linear_Scale(false);
    for (const std::int32_t code : {37, 33, key_up + 0, 35}) Keypad_Exe(code);
    Expect_Screen("limit_editor");
    Keypad_Exe(37);
    Expect_Screen("limit_editor_second");
    for (const std::int32_t code : {38, 38, 32, 35, 35}) Keypad_Exe(code);
    Expect_Screen("limit_make");
    for (const std::int32_t code : {38, 35, 33}) Keypad_Exe(code);
    Expect_Screen("limit_files");
    limitline_init();
    Marker_All_Off();
    Keypad_Exe(key_limit_line);
    EXPECT_EQ(screen_tests::Differing_Pixels(screen_tests::Composed(), bare), 0);
}

/// A carrier over noise as stored levels, drawn by the rows of the scale in force.
void Store_Carrier() {
    Trace_Record& record = Trace_Data[0];
    for (std::size_t point = 0; point < trace_points; ++point) {
        const double offset = (static_cast<double>(point) - 300) / 20;
        const double noise = -75 + 3 * std::sin(static_cast<double>(point) * 1.7);
        record.value[0][point] = static_cast<float>(std::max(-5 - 3 * offset * offset, noise));
    }
}

TEST_F(Screens, AmplitudePages) {
    Amp_ArrayInit();
    Store_Carrier();
    Set_ReflevelOffset(2, -3);
    Draw_Status_Blocks();
    Keys_Show("AMPL f0", "amplitude");
    Keys("f4 f2 f6 f6");
    Set_Label_Position(labels_middle);
    Expect_Screen("amplitude_second");
    Set_Linear_Scale(true);
    Keys("AMPL f0");
    Set_Label_Position(labels_left);
    Expect_Screen("amplitude_linear");
    Set_Linear_Scale(false);
    Set_Amplitude_Unit(unit_watt);
    Set_Label_Position(labels_right);
    Keys_Show("f4 f6", "amplitude_watt");
}

/// Four traces of one record, a carrier each, at their own levels.
void Store_Traces(Trace_Record& record, double level) {
    for (std::size_t trace = 0; trace < traces; ++trace) {
        for (std::size_t point = 0; point < trace_points; ++point) {
            const double x = static_cast<double>(point), offset = (x - 120 * (static_cast<double>(trace) + 1)) / 15;
            const double floor = level - 55 - 8 * static_cast<double>(trace) + 3 * std::sin(x * 1.7);
            record.value[trace][point] = static_cast<float>(std::max(level - 3 * offset * offset, floor));
        }
    }
}

TEST_F(Screens, FourTracesAndTheSplitDisplay) {
    Factory_Settings();
    Trace_Second_Flag = 1;
    for (Trace_Record& record : Trace_Data) record.mode = {trace_clear_write, trace_max_hold, trace_min_hold, trace_view};
    Trace_Data[0].detector_choice = {detector_sample, detector_positive, detector_negative, detector_average};
    keylink = &FreqLink[0];
    Store_Traces(Trace_Data[0], -12);
    Store_Traces(Trace_Data[1], -30);
    Set_Active_Trace(1);
    Level_Scale_Changed();
    Draw_Status_Blocks();
    Display_all_icon();
    Draw_Average_Count(7);
    Keys_Show("TRACE f6 f3 - 2 5 f0", "four_traces");
    Keys("DISPLAY f1 f0");
    Set_Cent(2, 433.92e6);
    Expect_Screen("split_both");
    Keys("f1 f5");
    Set_Reflevel(2, -20);
    Set_Linear_Scale(true);
    Expect_Screen("split_active");
    Keys_Show("f5 f4 TRACE", "split_ended");
}

TEST_F(Screens, BandwidthAndSweepPages) {
    Init_Sweep();
    Set_Span(2, 1e6);
    Set_BW_RBW(2, 3e3);
    Keys_Show("BW f0", "bandwidth");
    Set_EMI_Filter(true);
    Keys_Show("BW f6", "bandwidth_emi");
    Set_EMI_Filter(false);
    Set_BW_Ratio(2, 0.1);
    Keys_Show("SWEEP f1 1 f2", "sweep_time_warning");
}

/// The widest texts of bandwidths and sweep time, with the longest message.
TEST_F(Screens, UncalibratedInEveryLanguage) {
    Init_Sweep();
    Expect_In_Each_Language("uncal", [] {
        Sweep_Data.uncal[0] = 0;
        Set_VBW_Mode(false);
        Set_EMI_Filter(true);
        BW_Data.vbw_mode[0] = 1;
        BW_Data.vbw[0] = 12;
        BW_Data.rbw_mode[0] = 1;
        BW_Data.rbw[0] = 14;
        Keypad_Exe(key_bw);
        Set_Sweep_Time(2, 2000);
        Keys("f0");
        Ext_Sweep_Time_Auto();
        display_warning(Language % 2 ? warning_span_or_bandwidth : warning_uncal);
    });
}

/// The widest texts of the vertical settings.
TEST_F(Screens, WideLevelsInEveryLanguage) {
    Amp_ArrayInit();
    keylink = &AmpLink[0];
    Expect_In_Each_Language("levels", [] {
        Keypad_Exe(key_amplitude);
        Set_Linear_Scale(true);
        Set_Reflevel(2, -50);
        Draw_Status_Blocks();
        Keys("f0");
    });
}

TEST_F(Screens, StatusBlocksAndClock) {
    System_Information_Data.model = "KVA7230";
    Freqs.center[0] = 433.92e6;
    Freqs.span[0] = 2e6;
    Sweep_Data.single = 1;
    Sweep_Data.time[0] = 0.0359;
    Show_Picture(picture_logo, 135, 21, 2, 2, target_video0);
    Draw_Model();
    Draw_Sweep_State();
    Draw_Status_Blocks();
    Draw_Average_Count(12);
    Draw_Clock();
    const Screen before = Composed();
    platform::Step_Clock(std::chrono::hours(10) + std::chrono::seconds(55));
    Draw_Clock();
    Expect_Screen("status");
    EXPECT_GT(Differing_Pixels(Composed(), before), pixel_tolerance / 4);
}

TEST_F(Screens, AllIcons) {
    for (const char* stick : {"a", "b"}) std::filesystem::create_directories(platform::Rooted("/mnt/usb/") + stick);
    Scan_USB();
    Remote_Flag = 1;
    Trace_Data[0].mode = {trace_clear_write, trace_max_hold, trace_view, trace_blank};
    Trace_Data[0].detector = {detector_normal, detector_positive, detector_sample, detector_negative};
    Draw_Clock();
    Display_all_icon();
    Expect_Screen("icons");
}

TEST_F(Screens, ErrorList) {
    Ext_Frame();
    blocktwo_str_init();
    for (int i = 0; i < 12; ++i) SCPI_ErrorPush(scpi_context, i % 2 ? -222 : 300);
    constexpr std::string_view input = "FREQ:CENTRE 433.92 MHZ;:CALC:MARK2:X 433.92 MHZ;:CALC:MARK2:Y?;:NO:SUCH:COMMAND\n";
    std::copy(input.begin(), input.end(), scpi_input_buffer.begin());
    scpi_context.input.position = input.size();
    {
        const std::lock_guard remote(scpi_lock_mutex);
        for (int i = 0; i < 12; ++i) {
            platform::Step_Clock(std::chrono::minutes(7));
            SCPI_ErrorPush(scpi_context, i % 2 ? -113 : -104);
        }
    }
    scpi_context.input.position = 0;
    Sys_HwKey();
    Keys_Show("f1", "error_list");
    Keys_Show("f1", "error_list_next");
    Keys_Show("f1", "error_list_next");
    Keys_Show("f6 f1", "error_list");
}

TEST_F(Screens, TheFirstPageOfEachFamily) {
    constexpr std::array names{"frequency", "span",       "amplitude", "autoset", "bw",   "measure", "trace",
                               "display",   "sweep",      "emc",       "limit_line", "trigger", "",  "file",
                               "save",      "recall",     "marker",    "marker_to",  "peak_search", "sequence",
                               "mode",      "system"};
    Freqs_ArrayInit();
    for (std::size_t code = 0; code < names.size(); ++code) {
        if (!*names[code]) continue;  // the sweep-mode key shows the sweep page
        fHwKeyPtr[code]();
        Expect_Screen(std::string("page_") + names[code]);
    }
}

/// The pages of trigger and gate, and what the screen says of them.
TEST_F(Screens, TriggerPages) {
    Freqs_ArrayInit();
    Trigger_Data = {.source = trigger_by_video, .input_falling = 1, .delay = 12.34e-3, .video_level = -37.5,
                    .video_frequency = {1.2e9, 0}, .gate_length = 40e-9 * 30};
    Trigger_Wait_Shown = 1;
    Ext_Frame();
    blocktwo_str_init();
    Trigger_HwKey();
    Keys_Show("f5", "trigger_video");
    Keys_Show("f3 f0", "trigger_video_setup");
    Trigger_Data.source = trigger_by_input;
    Trigger_Data.gate = Sweep_Data.single = 1;
    Trigger_Line_Changed();
    Draw_Sweep_State();
    Sweep_HwKey();
    Keys_Show("f6", "trigger_gate_setup");
    // What came goes again.
    Trigger_Wait_Shown = 0;
    Trigger_Data = {};
    Sweep_Data.hold = 1;
    Trigger_Line_Changed();
    Draw_Sweep_State();
    Sweep_HwKey();
    Expect_Screen("sweep_hold");
}

/// Settings by remote command stand in the entry field as those of the panel do.
TEST_F(Screens, WhatIsSetRemotelyIsShown) {
    Freqs_ArrayInit();
    Commands_Init();
    constexpr struct {
        std::string_view command;
        void (*show)();
    } cases[] = {
        {"FREQ:SPAN 1 MHZ\n", [] { Show_Frequency_Entry(Frequency_Entry::span); }},
        {"TRIG:VID:LEV -12\n", [] { Show_Trigger_Entry(Trigger_Entry::level); }},
        {"TRIG:DEL 3 MS\n", [] { Show_Trigger_Entry(Trigger_Entry::delay); }},
        {"SWE:EGAT:LENG 4 US\n", [] { Show_Trigger_Entry(Trigger_Entry::gate_length); }},
        {"ASET:AMPL -40\n", Show_Autoset_Floor},
        {"ASET:SPAN 7 MHZ\n", Show_Autoset_Span},
        {"OCBW:SPAC 8 MHZ\n", [] { Show_Channel_Spacing(8e6); }},
    };
    for (const auto& [command, show] : cases) {
        Blank_Entry();
        SCPI_Input(scpi_context, command.data(), static_cast<int>(command.size()));
        const auto shown = Entry_Field();
        Blank_Entry();
        EXPECT_NE(Entry_Field(), shown) << command;
        show();
        EXPECT_EQ(Entry_Field(), shown) << command;
    }
}

/// The autoset page while the search runs, and the frequency page in zero span.
TEST_F(Screens, KeysThatWait) {
    Freqs_ArrayInit();
    Init_Trace_Data();
    Autoset_HwKey();
    Run_AuotSet_flag = 1;
    ThirdAttentionwords(63);
    Autoset_State_Changed();
    Expect_Screen("autoset_running");
    Run_AuotSet_flag = 0;
    ThirdAttentionwords(64);
    Autoset_State_Changed();
    Set_Span(2, 0);
    Freq_HwKey();
    Expect_Screen("frequency_zero_span");
}

TEST_F(Screens, ErrorListInRussian) {
    Language = static_cast<std::uint8_t>(Language_Choice::russian);
    parse_txt_file(Word_List_Path(Language));
    Ext_Frame();
    SCPI_ErrorPush(scpi_context, -222);
    Sys_HwKey();
    Sys_SwKey(1, 0);
    Expect_Screen("error_list_russian");
}

TEST_F(Screens, AMessageOutlastsTheNoticeBeforeIt) {
    Show_Notice("User preset saved");
    ThirdAttentionwords(24);
    const Screen standing = Composed();
    platform::Step_Clock(std::chrono::seconds(3));
    End_Notice_In_Time();
    EXPECT_EQ(Differing_Pixels(Composed(), standing), 0);
}

/// Pages of the System menu with what stands in force, and the information screen.
TEST_F(Screens, SystemPages) {
    System_Information_Data = {};
    System_Information_Data.maker = "KVA";
    System_Information_Data.model = "KVA7230";
    System_Information_Data.serial_number = "VP000123";
    System_Information_Data.firmware = "0.1";
    System_Information_Data.system_name = "Linux 6.1";
    System_Information_Data.versions_core = {1.25, 0, 2.5};
    Ext_Frame();
    keylink = &FreqLink[0];
    Keys_Show("SYSTEM f0", "system_information");
    Keys_Show("SYSTEM f3 f0", "system_time");
    Keys_Show("SYSTEM f4 f0", "system_preset");
    Keys_Show("SYSTEM f2 f3", "system_interfaces");
    Keys_Show("f5", "system_serial");
    Keys_Show("f6 f2 f1 7 3 left", "system_password");
    Sweep_Data.hold = 1;
    Keys_Show("FREQ", "hold_refuses");
}

}  // namespace
