#include "keys/handlers.h"
#include "keys/name_entry.h"
#include "keys/reader.h"
#include "keys/soft_keys.h"
#include "records/recording.h"
#include "records_fixture.h"

namespace {

class Dispatch : public Factory_Records {
protected:
    void SetUp() override {
        Factory_Records::SetUp();
        // Labels stand for themselves: without a word list they are blank, not absent.
        keylink = &FreqLink[0];
        Keypad_Exe(key_frequency);
    }
    std::string Log() { return root.Read("/var/log/error.log"); }
};

TEST_F(Dispatch, ACentreAndASpanTypedOnThePanel) {
    Walk({{"FREQ f0 433.92", NumLink[0], "a digit opens the unit page"}, {"f1", FreqLink[0]},
          {"", Freqs.center[0], 433.92e6}, {"SPAN f0 2 f1", Freqs.span[0], 2e6}, {"", Freqs.start[0], 432.92e6},
          {"f1", Freqs.span[0], MAXSPAN}, {"f3", Freqs.span[0], 2e6}, {"f2", Freqs.span[0], 0}});
}

TEST_F(Dispatch, KeysWithoutLabelOrGreyedDoNotEvenMoveTheHighlight) {
    Walk({{"f0 f6", FreqLink[0].highlight, 0}, {[] { FreqLink[0].disabled[1] = 1; }}, {"f1", FreqLink[0].highlight, 0},
          {[] { FreqLink[0].disabled[1] = 0; }}});
}

TEST_F(Dispatch, FrequencyKeysOfNoMeaningAreGreyed) {
    Walk({{"SPAN f2 FREQ f3", FreqLink[0].highlight, no_highlight, "no step in zero span"},
          {"SPAN f3 FREQ f3", FreqLink[0].highlight, 3}});
    for (const auto mode : {mode_emission_mask, mode_am_fm, mode_fsk, mode_iq}) {
        FunctionMode_Flag = mode;
        Press({key_frequency, soft(1), soft(2)});
        EXPECT_EQ(FreqLink[0].highlight, no_highlight) << "no start and stop in mode " << mode;
    }
}

TEST_F(Dispatch, StepModeTogglesOnTheSecondPress) {
    Walk({{"f3", stepautoman[0], 0}, {"f3", stepautoman[0], 1}, {"f3", stepautoman[0], 0},
          {"", Freqs.step[0], Freqs.span[0] / 10}, {"7 f2", stepautoman[0], 1, "a typed step stays"},
          {"", Freqs.step[0], 7e3}});
}

TEST_F(Dispatch, ArrowsAndKnobWorkOnTheHighlightedKeyUnlessANumberIsTyped) {
    Walk({{"SPAN f0 down", Freqs.span[0], 2e9}, {"<<", Freqs.span[0], 1e9}, {"5 up", Freqs.span[0], 1e9},
          {"", AllKeyVar.count, 1, "the number stays"}});
}

TEST_F(Dispatch, WithoutAParameterDigitsAreIgnored) {
    Walk({{"SPAN 5", SpanLink[0]}, {"", AllKeyVar.count, 0}});
}

TEST_F(Dispatch, UnderRemoteControlOnlyPresetWorks) {
    Walk({{"f0"}, {[] { Remote_Flag = 1; }}, {"SPAN f1", Keylink_HwInit, key_span, "what was pressed is remembered"},
          {"", Keylink_SwInit, 1}, {"5 up >", Freqs.span[0], MAXSPAN},
          {"", Freqs.center[0], MAXFREQUENCY / 2 - 25'000}, {"", AllKeyVar.count, 0}, {"", FreqLink[0]},
          {[] { Freqs.span[0] = 5e6; }}, {[] { Local_Lockouts = 1; }},
          {"PRESET", Freqs.span[0], 5e6, "a client bars the way back"}, {"", Remote_Flag, 1},
          {[] { Local_Lockouts = 0; }}, {"PRESET", Freqs.span[0], MAXSPAN}, {"", Remote_Flag, 0},
          {[] { Freqs.span[0] = 5e6; }}, {[] { Local_Lockouts = 1; }},
          {"PRESET", Freqs.span[0], MAXSPAN, "only remote control is locked in"}});
}

/// A hard key in a state in which it may be refused.
struct Hard_Key_Case {
    std::int32_t code;
    const Menu_Page* page;  ///< shown after it, null: refused, the marker page stays
};

class Hard_Keys : public Dispatch {
protected:
    /// True when exactly these keys work, of the 24.
    static void Expect_Only(const std::vector<Hard_Key_Case>& cases, const std::function<void()>& state) {
        for (std::int32_t code = 0; code < hard_keys; ++code) {
            if (code == key_preset || code == key_quick_save) continue;
            keylink = &MarkerLink[7];
            HWkeyIdx = -1;
            state();
            Keypad_Exe(code);
            const auto found = std::ranges::find(cases, code, &Hard_Key_Case::code);
            const bool works = found != cases.end();
            EXPECT_EQ(HWkeyIdx, works ? code : -1) << code;
            EXPECT_EQ(keylink.load(), works ? found->page : &MarkerLink[7]) << code;
            EXPECT_EQ(Keylink_HwInit == code, code != key_save) << code;
        }
    }
};

const std::vector<Hard_Key_Case> all_keys{
    {key_frequency, &FreqLink[0]}, {key_span, &SpanLink[0]}, {key_amplitude, &AmpLink[0]}, {key_autoset,
     &AutosetLink[0]},
    {key_bw, &BWLink[0]}, {key_measure, &MeasLink[0]}, {key_trace, &TraLink[0]}, {key_display, &DisplayLink[0]},
    {key_sweep, &SweepLink[0]}, {key_emc, &EMCLink[0]}, {key_limit_line, &LimitlineLink[0]},
    {key_trigger, &TriggerLink[0]}, {key_sweep_mode, &SweepLink[0]}, {key_file, &FileLink[0]}, {key_save, &SaveLink[0]},
    {key_recall, &RecallLink[0]}, {key_marker, &MarkerLink[0]}, {key_marker_to, &MarkertoLink[0]},
    {key_peak_search, &PeakSearchLink[0]}, {key_sequence, &SeqLink[0]}, {key_mode, &ModeLink[0]},
    {key_system, &SysLink[0]}};
const std::vector<Hard_Key_Case> mask_keys{
    {key_frequency, &FreqLink[0]}, {key_amplitude, &AmpLink[0]}, {key_measure, &MeasLink[39]}, {key_file, &FileLink[0]},
    {key_save, &SaveLink[0]}, {key_recall, &RecallLink[0]}, {key_mode, &ModeLink[0]}, {key_system, &SysLink[0]}};
const std::vector<Hard_Key_Case> meter_keys{
    {key_measure, &ModeLink[4]}, {key_trigger, &ModeLink[9]}, {key_file, &FileLink[0]}, {key_save, &SaveLink[0]},
    {key_recall, &RecallLink[0]}, {key_mode, &ModeLink[0]}, {key_system, &SysLink[0]}};
const std::vector<Hard_Key_Case> recording_keys{
    {key_frequency, &FreqLink[0]}, {key_amplitude, &MeasLink[38]}, {key_measure, &MeasLink[35]},
    {key_trigger, &MeasLink[36]}, {key_file, &FileLink[0]}, {key_save, &SaveLink[0]}, {key_marker, &MarkerLink[0]},
    {key_mode, &ModeLink[0]}, {key_system, &SysLink[0]}};

std::vector<Hard_Key_Case> Demodulation_Keys(const Menu_Page* measure, const Menu_Page* bandwidth) {
    return {{key_frequency, &FreqLink[0]}, {key_amplitude, &MeasLink[20]}, {key_bw, bandwidth}, {key_measure, measure},
            {key_display, &MeasLink[31]}, {key_sweep, &SweepLink[0]}, {key_trigger, &MeasLink[22]},
            {key_sweep_mode, &SweepLink[0]}, {key_file, &FileLink[0]}, {key_save, &SaveLink[0]},
            {key_recall, &RecallLink[0]}, {key_marker, &MarkerLink[0]}, {key_marker_to, &MarkertoLink[0]},
            {key_peak_search, &PeakSearchLink[0]}, {key_sequence, &SeqLink[0]}, {key_mode, &ModeLink[0]},
            {key_system, &SysLink[0]}};
}
const auto am_fm_keys = Demodulation_Keys(&MeasLink[16], &MeasLink[17]);
const auto ask_fsk_keys = Demodulation_Keys(&MeasLink[26], &MeasLink[27]);

TEST_F(Hard_Keys, EachModeHasItsKeysAndPages) {
    const std::vector<std::pair<std::int32_t, const std::vector<Hard_Key_Case>*>> modes{
        {0, &all_keys}, {1, &meter_keys}, {2, &mask_keys}, {4, &all_keys}, {6, &all_keys}, {7, &am_fm_keys},
        {8, &am_fm_keys}, {10, &recording_keys}, {11, &recording_keys}, {16, &ask_fsk_keys}, {17, &ask_fsk_keys},
        {99, &all_keys}};
    for (const auto& [mode, keys] : modes) {
        SCOPED_TRACE(mode);
        Expect_Only(*keys, [mode = mode] { FunctionMode_Flag = mode; });
    }
}

TEST_F(Hard_Keys, AViewOfFilesHasTheKeysOfTheModeBeforeItAndIsLeftByMostOfThem) {
    const std::vector<std::pair<std::int32_t, const std::vector<Hard_Key_Case>*>> saved_modes{
        {0, &all_keys}, {1, &meter_keys}, {2, &mask_keys}, {6, &all_keys}, {7, &am_fm_keys}, {8, &am_fm_keys},
        {10, &all_keys}, {16, &ask_fsk_keys}, {17, &ask_fsk_keys}};
    for (const std::int32_t view : {mode_file_view, mode_recall_view}) {
        for (const auto& [saved, keys] : saved_modes) {
            SCOPED_TRACE(testing::Message() << "view " << view << " of " << saved);
            Expect_Only(*keys, [view, saved = saved] {
                FunctionMode_Flag = view;
                FunctionMode_Flag_For_File = saved;
            });
        }
        for (const std::int32_t code : {key_file, key_save, key_recall, key_quick_save}) {
            FunctionMode_Flag = view;
            FunctionMode_Flag_For_File = mode_spectrum_list;
            Press({code});
            EXPECT_EQ(FunctionMode_Flag, view) << code;
        }
        Global_Table_Flag_For_File = table_peak;
        Walk({{"SPAN", FunctionMode_Flag, mode_spectrum_list}, {"", Global_Table, table_peak}});
    }
}

TEST_F(Hard_Keys, ATestOrAnAutomaticSettingInProgressAndABarredPanelRefuseThem) {
    Expect_Only({}, [] { EMC_Data.running = 1; });
    EMC_Data = {};
    Expect_Only({}, [] { Run_AuotSet_flag = 1; });
    Run_AuotSet_flag = 0;
    Expect_Only({}, [] { Remote_Flag = 1; });
    Remote_Flag = 0;
    Expect_Only({}, [] { Sequence_runnow_flag = 1; });
    Sequence_runnow_flag = 0;
    Expect_Only({}, [] { Near_DC_Search_Flag = 1; });
    Near_DC_Search_Flag = 0;
    Expect_Only(all_keys, [] {});
    Walk({{[] { EMC_Data.mode = 1; }}, {"BW", EMCLink[17]}});
}

TEST_F(Hard_Keys, OnHoldFiveKeysWork) {
    Expect_Only({{key_peak_search, &PeakSearchLink[0]}, {key_marker, &MarkerLink[0]}, {key_sweep, &SweepLink[0]}},
                [] { Sweep_Data.hold = 1; });
    for (int highlight = 0; highlight < soft_keys; ++highlight) {
        keylink = &SweepLink[0];
        SweepLink[0].highlight = static_cast<std::uint8_t>(highlight);
        Press({key_sweep_mode});
        const bool opened = highlight == 0 || (highlight >= 3 && highlight <= 5);
        EXPECT_EQ(SweepLink[0].highlight, opened ? no_highlight : highlight) << "its page afresh";
    }
    HWkeyIdx = -1;
    Walk({{"QUICK", HWkeyIdx, key_quick_save}, {"5 PRESET", FreqLink[0], "Preset works"}, {"", AllKeyVar.count, 0}});
}

TEST_F(Hard_Keys, WhileLockedEachShowsTheDisplayPageWithTheKeyThatFreesThem) {
    Press({key_display, soft(5)});
    ASSERT_EQ(Display_Data.key_lock, 1);
    for (const std::int32_t code : {key_span, key_file, key_system}) {
        Press({code});
        Walk({{"", DisplayLink[0]}, {"", HWkeyIdx, key_display}});
    }
    Walk({{"f3 f4", DisplayLink[0].highlight, no_highlight}, {"", Display_Data.active, 1},
          {"QUICK", HWkeyIdx, key_quick_save}, {[] { Sweep_Data.hold = 1; }},
          {"SPAN", HWkeyIdx, key_quick_save, "the hold goes before the lock"}, {[] { Sweep_Data.hold = 0; }},
          {"DISPLAY f5 SPAN", SpanLink[0]}, {"DISPLAY f3", DisplayLink[0].highlight, 3}});
}

/// Preset of the web page, while the instrument is under remote control: what passes depends on the panel's buffer.
TEST_F(Hard_Keys, PresetPassesByModeOrByTheBuffersEntry) {
    const auto passes = [](std::int32_t mode, std::int32_t saved, std::int32_t entry) {
        Remote_Flag = 1;
        FunctionMode_Flag = mode;
        FunctionMode_Flag_For_File = saved;
        Keypad_Flag = 4;
        Keypad_Value[4] = entry;
        Keypad_Exe(key_preset);
        return Remote_Flag == 0;
    };
    for (const std::int32_t mode : {0, 6}) EXPECT_TRUE(passes(mode, 0, key_span));
    for (const std::int32_t saved : {0, 2, 7}) EXPECT_TRUE(passes(3, saved, key_span));
    EXPECT_FALSE(passes(3, 1, key_span));
    EXPECT_FALSE(passes(9, 0, key_span));
    for (const std::int32_t mode : {1, 2, 3, 7, 8, 9, 10, 11, 16, 17}) {
        for (std::int32_t entry = 0; entry < hard_keys; ++entry) {
            bool expected = entry == 13 || entry == 14 || entry == 15 || entry == 22 || entry == 23;
            expected = expected || (mode == 1 && entry == 20) || (mode == 2 && (entry == 0 || entry == 2 || entry == 5));
            EXPECT_EQ(passes(mode, 1, entry), expected) << mode << ' ' << entry;
        }
    }
    EXPECT_TRUE(passes(3, 7, key_preset));
    EXPECT_NE(FunctionMode_Flag, mode_file_view) << "the view is left";
}

TEST_F(Dispatch, AHardKeyClearsWarningsAndTheTypingLock) {
    for (const std::int32_t code : {std::int32_t{key_span}, std::int32_t{key_preset}, std::int32_t{key_save}, soft(6)}) {
        Check_warning = Check_block3 = Keypad_Keyin_Type_Lock = 1;
        Press({code});
        EXPECT_EQ(Check_warning + Check_block3 + Keypad_Keyin_Type_Lock, 0) << code;
    }
    Press({key_span, key_preset, key_save, key_quick_save});
    EXPECT_EQ(Keylink_HwInit, key_span) << "Preset, Save and Quick save are not remembered";
}

TEST_F(Dispatch, TheEMCKeyNeedsItsModelAndUnknownCodesAreLogged) {
    KVA720_ATTR_INST_MODEL = 0;
    Check_warning = 1;
    testing::internal::CaptureStdout();
    Press({key_emc});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\r\n 7200b do not have EMC function\n");
    Walk({{"", FreqLink[0]}, {"", Check_warning, 1, "nothing else is done"}, {[] { KVA720_ATTR_INST_MODEL = 1; }},
          {"EMC", EMCLink[0]}});
    std::size_t logged = 0;
    for (std::int32_t code = -1; code < 260; ++code) {
        const bool known = (code >= 0 && code <= 23) || (code >= 32 && code <= 38) || code == '-' || code == '.' ||
                           (code >= '0' && code <= '9') || code == 'B' || code == 'G' || code == 'd' || code == 'l' ||
                           code == 'r' || code == 'u' || (code >= 119 && code <= 124);
        Press({code});
        if (!known) ++logged;
    }
    std::string expected;
    for (std::size_t i = 0; i < logged; ++i) expected += "\nkeyin_value ERROR";
    EXPECT_EQ(Log(), expected);
}

TEST_F(Dispatch, EachFamilyLogsAnIndexThatIsNone) {
    constexpr std::array names{"Freq", "Span", "Amp", "Autoset", "BW", "Meas", "Trace", "Display", "Sweep", "EMC",
                               "Limitline", "Trigger", "Sweep", "File", "Save", "Recall", "Marker", "Markerto",
                               "PeakSearch", "Sequence", "Mode", "Sys", "Limitline", "Freq"};
    for (std::size_t family = 0; family < names.size(); ++family) {
        fSwKeyPtr[family](7, '1');
        EXPECT_TRUE(Log().ends_with(std::string("\n") + names[family] + "_SwKey error")) << family;
    }
}

TEST_F(Dispatch, DigitsGoToTheNumberOnlyWhereAValueIsEntered) {
    for (const char unit : {'2', '3', '4', '5'}) {
        AllKeyVar.unit_type = unit;
        Type("7");
        EXPECT_EQ(AllKeyVar.count, 0) << unit;
        Walk({{"", Keypad_Keyin_Type_Lock, 0}, {"", FreqLink[0]}});
    }
    Walk({{"f0"}, {[] { Sequence_runnow_flag = 1; }}, {"7", AllKeyVar.count, 0}, {[] { Sequence_runnow_flag = 0; }},
          {[] { FreqLink[0].parent = &SpanLink[0]; }}, {"7", AllKeyVar.count, 1}, {"", Keypad_Keyin_Type_Lock, 1},
          {"", FreqLink[0], "a sub-page opens no unit page"}, {"8", AllKeyVar.count, 2}, {[] { AllKeyVar.clear = 1; }},
          {"9", AllKeyVar.count, 1, "a new number"}, {"", AllKeyVar.clear, key_idle}});
}

TEST_F(Dispatch, ANumericKeyBringsBackWhatAWarningCovered) {
    for (int warning = 1; warning <= 7; ++warning) {
        Check_warning = warning;
        Marker_Limit_Two_Point = Check_block3 = Remote_Flag = 1;
        Type("5");
        EXPECT_EQ(Check_warning + Check_block3 + Marker_Limit_Two_Point, 0) << "also under remote control";
    }
    Check_block3 = 1;
    for (const char unit : {'2', '5'}) {
        Walk({{[&] { AllKeyVar.unit_type = unit; }},
              {"5", Check_block3, 1, "while a name is typed or a list is open it waits"}});
    }
}

TEST_F(Dispatch, ArrowsAndKnobHaveTheirGate) {
    Press({key_span, soft(0)});
    const auto steps = [](std::int32_t code) {
        Freqs.span[0] = 1e9;
        Keypad_Exe(code);
        return Freqs.span[0] != 1e9;
    };
    for (const std::int32_t code : {key_down, key_up, key_left, key_right, key_knob_left_last, key_knob_right_last}) {
        EXPECT_TRUE(steps(code)) << code;
        EXPECT_EQ(AllKeyVar.up + AllKeyVar.down + AllKeyVar.left + AllKeyVar.right, 0);
        for (std::int32_t* bar : {&Sequence_runnow_flag}) {
            *bar = 1;
            EXPECT_FALSE(steps(code));
            *bar = 0;
        }
        AllKeyVar.unit_type = '5';
        EXPECT_FALSE(steps(code));
        AllKeyVar.unit_type = '1';
        AllKeyVar.count = 1;
        EXPECT_FALSE(steps(code));
        AllKeyVar.count = 0;
        Keypad_Keyin_Type_Lock = 1;
        EXPECT_EQ(steps(code), code >= key_knob_left_first) << "the lock stops arrows alone";
        Keypad_Keyin_Type_Lock = 0;
        AllKeyVar.clear = key_idle;
        steps(code);
        EXPECT_EQ(AllKeyVar.clear, 1);
    }
}

int worked[6];

TEST_F(Dispatch, EnterEndsWhatWaitsForIt) {
    Enter_Work = {[] { ++worked[0]; }, [] { ++worked[1]; }, [] { ++worked[2]; },
                  [] { ++worked[3]; }, [] { ++worked[4]; }, [] { ++worked[5]; }};
    const auto work = [](std::array<int, 6> expected) {
        std::ranges::fill(worked, 0);
        Keypad_Exe(key_enter);
        EXPECT_TRUE(std::ranges::equal(worked, expected));
    };
    for (std::atomic<int>* bar : {&Remote_Flag}) {
        *bar = 1;
        work({});
        *bar = 0;
    }
    Sequence_runnow_flag = 1;
    work({});
    Sequence_runnow_flag = 0;
    work({0, 0, 1, 1, 1, 0});
    Name_Entry_Open = Name_Entry::file;
    AllKeyVar.unit_type = '5';
    work({1, 0, 1, 1, 1, 0});
    Walk({{"", FileLink[0]}, {"", Name_Entry_Open, Name_Entry::none}, {[] { Name_Entry_Open = Name_Entry::state; }}});
    work({0, 1, 1, 1, 1, 0});
    Walk({{"", SaveLink[0]}, {"", AllKeyVar.unit_type, '5'}});
    for (const std::int32_t view : {mode_file_view, mode_recall_view}) {
        FunctionMode_Flag = view;
        work({0, 0, 1, 1, 1, 1});
    }
    Enter_Work = {};
    Walk({{[] { FunctionMode_Flag = mode_spectrum; }}, {"enter"}, {[] { AllKeyVar.unit_type = '1'; }},
          {[] { AllKeyVar.digit[0] = '7'; }},
          {"enter", AllKeyVar.digit[0], key_idle, "a number that was begun is dropped"}});
}

TEST_F(Dispatch, DigitsAreTypedIntoTheNameThatIsOpen) {
    for (const auto name : {Name_Entry::file, Name_Entry::state, Name_Entry::pattern}) {
        Walk({{{Start_Name, "AB"}}, {[&] { Name_Entry_Open = name; }}, {[] { AllKeyVar.unit_type = '5'; }},
              {"1.2-B3", [&] { return Name_Typed(); }, "AB1.23"}});
    }
    Walk({{[] { Name_Entry_Open = Name_Entry::sync_word; }}, {{Start_Name, ""}},
          {"01-1.0", [&] { return Name_Typed(); }, "0110"}, {[] { Name_Entry_Open = Name_Entry::none; }},
          {"9", [&] { return Name_Typed(); }, "0110"}, {{Start_Name, std::string(100, 'x')}},
          {[] { Name_Entry_Open = Name_Entry::file; }},
          {"9", [&] { return Name_Typed(); }, std::string(longest_name, 'x')}});
    for (int i = 0; i < 40; ++i) Press({key_backspace});
    EXPECT_EQ(Name_Typed(), "");
}

TEST_F(Dispatch, AFullBufferLosesTheNewestKeys) {
    for (std::int32_t code = 1; code <= 11; ++code) Store_Key(code);
    EXPECT_EQ(Keypad_Flag, 9);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(Keypad_Value[static_cast<std::size_t>(i)], i + 1);
    EXPECT_EQ(Keypad_Value[9], 11) << "the tenth place holds the last one pressed";
}

TEST_F(Dispatch, TheReaderEndsRecordings) {
    const auto take = [](std::int32_t code) {
        for (auto* recording : {&RecordData_IQ, &RecordData_RPhi}) recording->armed = 1;
        GetIQCounter = Keypad_Flag = 0;
        testing::internal::CaptureStdout();
        Take_Panel_Key(code);
        Walk({{"", Keypad_Flag, 1, "the key is stored in any case"}, {"", Keypad_Value[0], code}});
        return testing::internal::GetCapturedStdout();
    };
    const std::string stopped = "\r\n scan key pad rd_buf[0]:32,Keypad_Flag:0,\n";
    const std::string saved = "\r\n *******stop get id set 100 rd_buf[0]:14,*******,\n";
    keylink = &MeasLink[35];
    Walk({{"", [&] { return take(soft(0)); }, "", "armed alone is not active"}, {"", RecordData_IQ.armed, 1}});
    for (auto* recording : {&RecordData_IQ, &RecordData_RPhi}) {
        recording->running = 1;
        keylink = &MeasLink[35];
        Walk({{"", [&] { return take(soft(0)); }, stopped},
              {"", [&] { return RecordData_IQ.armed + RecordData_RPhi.armed; }, 0}, {"", GetIQCounter, 0},
              {"", [&] { return take(soft(1)); }, ""}});
        EXPECT_EQ(take(key_save), saved);
        Walk({{"", GetIQCounter, 100}, {"", RecordData_IQ.armed, 1}});
        keylink = &MeasLink[36];
        EXPECT_EQ(take(soft(0)), "");
        EXPECT_EQ(take(key_save), saved);
        recording->running = 0;
    }
    EXPECT_EQ(take(key_save), "");
    EXPECT_EQ(GetIQCounter, 0);
}

TEST_F(Dispatch, WebKeysWaitInOrderAndAreRefusedWhileStarting) {
    systeminit = 3;
    EXPECT_FALSE(num_queue_insert(1));
    systeminit = 0;
    for (int i = 0; i < web_key_slots; ++i) EXPECT_TRUE(num_queue_insert(i));
    EXPECT_FALSE(num_queue_insert(99));
    Walk({{"", [&] { return num_queue_remove(); }, 0}, {"", [&] { return num_queue_remove(); }, 1}});
    EXPECT_TRUE(num_queue_insert(100));
}

TEST_F(Dispatch, AnyFloodOfCodesIsHarmless) {
    std::uint32_t random = 12345;
    const auto next = [&random] { return (random = random * 1664525 + 1013904223) >> 16; };
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (int i = 0; i < 20'000; ++i) {
        if (i % 500 == 0) {
            Sweep_Data.hold = static_cast<std::int32_t>(next() % 4 == 0);
            FunctionMode_Flag = static_cast<std::int32_t>(next() % 20);
            FunctionMode_Flag_For_File = static_cast<std::int32_t>(next() % 20);
            Sequence_runnow_flag = static_cast<std::int32_t>(next() % 8 == 0);
            Name_Entry_Open = static_cast<Name_Entry>(next() % 6);
        }
        // Soft keys as often as all others, to reach the deep pages; Quick save writes a file each time.
        const auto code = static_cast<std::int32_t>(next() % 2 ? 32 + next() % 7 : next() % 126);
        if (code != key_quick_save) Keypad_Exe(code);
        ASSERT_GE(Freqs.start[0], 0);
        ASSERT_LE(Freqs.stop[0], MAXFREQUENCY);
        ASSERT_LE(Freqs.start[0], Freqs.stop[0]);
    }
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
}

/// Every key of every page, one after another, on a page made current by force.
TEST_F(Dispatch, EveryKeyOfEveryPageCanBePressed) {
    testing::internal::CaptureStderr();
    const auto press_all = [](auto& pages) {
        for (auto& page : pages) {
            for (int key = 0; key < soft_keys; ++key) {
                keylink = &page;
                page.disabled.fill(0);
                for (const std::int32_t code : {soft(key), std::int32_t{'7'}, std::int32_t{key_up},
                                                std::int32_t{key_knob_left_first}, std::int32_t{key_enter}}) {
                    Keypad_Exe(code);
                    ASSERT_NE(keylink.load(), nullptr);
                }
                Keypad_Exe(key_frequency);
            }
        }
    };
    press_all(FreqLink), press_all(SpanLink), press_all(AmpLink), press_all(AutosetLink), press_all(BWLink);
    press_all(MeasLink), press_all(TraLink), press_all(DisplayLink), press_all(SweepLink), press_all(EMCLink);
    press_all(LimitlineLink), press_all(TriggerLink), press_all(FileLink), press_all(SaveLink), press_all(RecallLink);
    press_all(MarkerLink), press_all(MarkertoLink), press_all(PeakSearchLink), press_all(SeqLink), press_all(ModeLink);
    press_all(SysLink), press_all(PresetLink), press_all(NumLink);
    testing::internal::GetCapturedStderr();
}

}  // namespace
