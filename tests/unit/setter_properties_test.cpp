// Random calls of the sweep setters, from every source, on both screens and in every mode: whatever came before, each
// leaves settings that agree with one another and tells the core once.

#include <cfloat>
#include <cstring>
#include <optional>
#include <random>

#include "link_counter.h"
#include "records_fixture.h"
#include "sweep/sweep_time.h"
#include "sweep/trigger.h"

namespace {

struct Mode {
    const char* name;
    std::int32_t mode, table;
};
constexpr Mode modes[] = {
    {"spectrum", mode_spectrum, 0}, {"spectrum", mode_spectrum, 0}, {"spectrum and list", mode_spectrum_list, 0},
    {"table 16", mode_spectrum, 16}, {"jitter", mode_spectrum, table_jitter}, {"beats", mode_spectrum, table_ctb},
    {"occupied bandwidth", mode_spectrum, table_occupied_bandwidth}, {"ACPR", mode_spectrum, table_acpr},
    {"one frequency", mode_spectrum, table_single_frequency},
    {"emission mask", mode_emission_mask, table_emission_mask}, {"AM and FM", mode_am_fm, 0},
    {"AM and FM, list", mode_am_fm_list, 0}, {"ASK", mode_ask, 0}, {"FSK", mode_fsk, 0}, {"I and Q", mode_iq, 0},
    {"R and phi", mode_r_phi, 0}
};

struct Setter {
    const char* name;
    int (*set)(int source, double value);
};
constexpr Setter setters[] = {
    {"center", Set_Cent},       {"center", Set_Cent}, {"span", Set_Span},         {"span", Set_Span},
    {"start", Set_Start_Freq},  {"stop", Set_Stop_Freq}, {"step", Set_Step_Freq},    {"offset", Set_Offset_Freq},
    {"reference", Set_Reflevel}, {"attenuation", Set_Attenuation},
    {"reference offset", Set_ReflevelOffset}, {"75 ohm correction", Set_InputZcal},
    {"RBW", Set_BW_RBW}, {"VBW", Set_BW_VBW}, {"VBW/RBW", Set_BW_Ratio}, {"sweep time", Set_Sweep_Time},
    {"trigger delay", Set_Trigger_Delay}, {"trigger level", Set_Video_Level},
    {"trigger frequency", Set_Video_Frequency}, {"gate delay", Set_Gate_Delay}, {"gate length", Set_Gate_Length},
    {"scale", display_scale},
};

/// Changes without a value; what the core has no use for is not sent. Some are of both screens.
struct Action {
    const char* name;
    void (*act)();
    bool sent;
    bool of_both = false;
};
constexpr Action actions[] = {
    {"full span", [] { Set_Full_Span(); }, true},
    {"last span", [] { Set_Last_Span(); }, true},
    {"automatic step", [] { Set_Step_Mode(false); }, false},
    {"manual step", [] { Set_Step_Mode(true); }, false},
    {"automatic attenuation", [] { Set_Attenuation_Mode(false); }, true},
    {"manual attenuation", [] { Set_Attenuation_Mode(true); }, true},
    {"50 ohm", [] { Set_Impedance(0); }, true},
    {"75 ohm", [] { Set_Impedance(1); }, true},
    {"automatic RBW", [] { Set_RBW_Mode(false); }, true},
    {"manual RBW", [] { Set_RBW_Mode(true); }, true},
    {"automatic VBW", [] { Set_VBW_Mode(false); }, true},
    {"manual VBW", [] { Set_VBW_Mode(true); }, true},
    {"automatic sweep time", [] { Set_Sweep_Time_Mode(false); }, true},
    {"manual sweep time", [] { Set_Sweep_Time_Mode(true); }, true},
    {"accurate sweep", [] { Set_Sweep_Rule(true); }, true},
    {"fast sweep", [] { Set_Sweep_Rule(false); }, true},
    {"swept", [] { Set_Sweep_Mode(sweep_mode_swept); }, true},
    {"by FFT", [] { Set_Sweep_Mode(sweep_mode_fft); }, true},
    {"preamplifier", [] { Set_Preamplifier(true); }, true, true},
    {"no preamplifier", [] { Set_Preamplifier(false); }, true, true},
    {"EMI filters", [] { Set_EMI_Filter(true); }, true, true},
    {"ordinary filters", [] { Set_EMI_Filter(false); }, true, true},
    {"watts", [] { Set_Amplitude_Unit(unit_watt); }, false},
    {"linear", [] { Set_Linear_Scale(true); }, false},
    {"logarithmic", [] { Set_Linear_Scale(false); }, false},
    {"gate", [] { Set_Gate(true); }, true},
    {"falling", [] { Set_Input_Slope(true); }, true},
};

struct Settings {
    Freqs_Record freqs;
    std::array<std::uint8_t, screens> step_manual;
    Amp_Record amp;
    BW_Record bw;
    Sweep_Record sweep;

    static Settings Present() { return {Freqs, stepautoman, Amp, BW_Data, Sweep_Data}; }
};

/// The rows of the records, each with its two screens.
template <class Visit>
void For_Each_Row(const Settings& s, Visit&& visit) {
    for (const auto* row : {&s.freqs.center, &s.freqs.start, &s.freqs.stop, &s.freqs.step, &s.freqs.span,
                            &s.freqs.last_span, &s.freqs.offset}) {
        visit(*row);
    }
    visit(s.step_manual);
    for (const auto* row : {&s.amp.attenuation, &s.amp.attenuation_mode, &s.amp.reference, &s.amp.displayed_reference,
                            &s.amp.offset, &s.amp.correction_75}) {
        visit(*row);
    }
    for (const auto* row : {&s.bw.rbw, &s.bw.vbw}) visit(*row);
    visit(s.bw.ratio);
    visit(s.sweep.time);
    visit(s.sweep.shortest);
    visit(s.sweep.steps);
}

std::vector<double> Of_Screen(const Settings& s, std::size_t screen) {
    std::vector<double> values;
    For_Each_Row(s, [&](const auto& row) { values.push_back(static_cast<double>(row[screen])); });
    return values;
}

class Setter_Properties : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        link.emplace();
        ASSERT_TRUE(link->Up());
        Start();
    }
    void TearDown() override {
        link.reset();
        LOOP_Buffers = nullptr;
        Records::TearDown();
    }

    static std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }
    static int Random(int low, int high) { return std::uniform_int_distribution(low, high)(random); }
    static double Uniform(double low, double high) { return std::uniform_real_distribution(low, high)(random); }
    template <class Table>
    static auto& One_Of(Table& table) {
        return table[static_cast<std::size_t>(Random(0, static_cast<int>(std::size(table)) - 1))];
    }

    void Start() {
        Factory_Settings();
        Trigger_Init();
        Init_Trace_Data();
        Channel_Data = {};
    }
    void Enter_A_Mode() {
        const Mode& entered = One_Of(modes);
        mode = &entered;
        FunctionMode_Flag = mode_spectrum;
        Global_Table = 0;
        Start();
        FunctionMode_Flag = entered.mode;
        Global_Table = entered.table;
        for (ScreenActive = 0; ScreenActive < screens; ++ScreenActive) Set_Cent(typed, Freqs.center[Screen()]);
        ScreenActive = Random(0, 1);
        for (auto& trace : Trace_Data) trace.mode[0] = static_cast<std::uint8_t>(Random(trace_blank, trace_view));
        link->Count();
    }

    static double A_Value() {
        const double extremes[] = {0.0, -0.0, DBL_MIN, -DBL_MIN, std::numeric_limits<double>::denorm_min(), DBL_MAX,
                                   -DBL_MAX, 1e300, 99.999, 100, 50, -1, 1, MAXSPAN, MAXFREQUENCY,
                                   std::nextafter(MAXFREQUENCY, 0), std::nextafter(MAXFREQUENCY, 1e12),
                                   MAXFREQUENCY - 50, MAXFREQUENCY - 100, MAXFREQUENCY - 150, MAXSPAN / 2, 10e3,
                                   103'300'050'000.0, -100e9};
        switch (Random(0, 5)) {
            case 0: return One_Of(extremes);
            case 1: return Uniform(-150, 150);
            case 2: return std::pow(10, Uniform(-320, 308)) * (Random(0, 1) ? 1 : -1);
            case 3: return std::pow(10, Uniform(0, 10));
            default: return Uniform(0, MAXFREQUENCY);
        }
    }
    static double No_Number() {
        const double none[] = {std::nan(""), -std::nan(""), HUGE_VAL, -HUGE_VAL};
        return One_Of(none);
    }
    /// What a turn of the knob or a press of an arrow leaves in the key state.
    static void Some_Steps(int source) {
        std::uint16_t* const counters[] = {&AllKeyVar.up, &AllKeyVar.down, &AllKeyVar.left, &AllKeyVar.right};
        *One_Of(counters) = static_cast<std::uint16_t>(source == knob ? Random(0, 3) : Random(0, 20) ? 1 : 65535);
        if (Random(0, 50) == 0) *One_Of(counters) = static_cast<std::uint16_t>(Random(0, 65535));
    }

    /// One random call; told says which.
    void Call() {
        told.str("");
        told << mode->name << ", screen " << ScreenActive << ": ";
        bool sent = true, refused = false, of_both = false;
        const Settings before = Settings::Present();
        span_before = Freqs.span[Screen()];
        if (Random(0, 9) == 0) {
            const Action& action = One_Of(actions);
            told << action.name;
            action.act();
            sent = action.sent;
            of_both = action.of_both;
        } else {
            const Setter& setter = One_Of(setters);
            const int source = Random(knob, typed);
            AllKeyVar.up = AllKeyVar.down = AllKeyVar.left = AllKeyVar.right = 0;
            if (source != typed) Some_Steps(source);
            const bool none = source == typed && Random(0, 9) == 0;
            const double value = none ? No_Number() : A_Value();
            refused = none;
            told << setter.name << " from " << source << ", steps " << AllKeyVar.right << ' ' << AllKeyVar.left << ' '
                 << AllKeyVar.up << ' ' << AllKeyVar.down << ", value " << std::hexfloat << value;
            refused |= setter.set(source, value) < 0;
        }
        const std::size_t other = 1 - Screen();
        if (!of_both) {
            EXPECT_EQ(Of_Screen(before, other), Of_Screen(Settings::Present(), other)) << "other screen: " << told.str();
        }
        Expect_One_Message(before, refused, sent);
    }

    void Expect_One_Message(const Settings& before, bool refused, bool sent) {
        const Settings after = Settings::Present();
        const int messages = link->Count();
        const bool changed = Of_Screen(before, Screen()) != Of_Screen(after, Screen());
        EXPECT_FALSE(refused && changed) << told.str();
        if (refused || !sent) {
            EXPECT_EQ(messages, 0) << told.str();
        } else if (changed) {
            EXPECT_EQ(messages, 1) << told.str();
        } else {
            EXPECT_LE(messages, 1) << told.str();
        }
        if (messages > 0) Expect_Code_Of_Mode(static_cast<int>(link->Last(0)));
    }

    /// A sweep goes out as the mode's own kind of message.
    static void Expect_Code_Of_Mode(int code) {
        if (code == platform::code_trigger || code == platform::code_gate) return;
        const bool recorded = FunctionMode_Flag == mode_iq || FunctionMode_Flag == mode_r_phi;
        const int expected = recorded                                  ? platform::code_record
                             : One_Frequency()                         ? platform::code_demodulator
                             : FunctionMode_Flag == mode_emission_mask ? platform::code_emission_mask
                             : FunctionMode_Flag == mode_spectrum_list ? platform::code_measurement
                                                                       : platform::code_sweep;
        EXPECT_EQ(code, expected);
    }

    static bool One_Frequency() {
        return FunctionMode_Flag == mode_am_fm || FunctionMode_Flag == mode_am_fm_list || FunctionMode_Flag == mode_ask ||
               FunctionMode_Flag == mode_fsk || FunctionMode_Flag == mode_iq || FunctionMode_Flag == mode_r_phi;
    }

    void Expect_Axis() const {
        constexpr double rounding = 4e-6;  // of sums of numbers up to 3.25e9
        const double start = Freqs.start[Screen()], center = Freqs.center[Screen()], stop = Freqs.stop[Screen()];
        const double span = Freqs.span[Screen()];
        EXPECT_TRUE(0 <= start && start <= center && center <= stop && stop <= MAXFREQUENCY) << told.str();
        const bool one_frequency = start == center && center == stop;
        if (One_Frequency()) {
            EXPECT_TRUE(one_frequency && center >= 10e3) << told.str();
        } else if (!(Global_Table & table_single_frequency && one_frequency)) {
            EXPECT_NEAR(span, stop - start, rounding) << told.str();
            EXPECT_NEAR(center, (start + stop) / 2, rounding) << told.str();
        }
        const bool at_an_edge = start == 0 || stop == MAXFREQUENCY;  // where the span shrinks around its centre
        const bool carried_on = span == span_before;
        EXPECT_TRUE(at_an_edge || carried_on || span == 0 || span >= 100 - rounding) << told.str();
        EXPECT_TRUE(span >= 0 && span <= MAXFREQUENCY) << told.str();
        EXPECT_TRUE(Freqs.last_span[Screen()] >= 0 && Freqs.last_span[Screen()] <= MAXFREQUENCY) << told.str();
        EXPECT_TRUE(Freqs.step[Screen()] >= 0 && Freqs.step[Screen()] <= MAXFREQUENCY) << told.str();
        EXPECT_LE(std::fabs(Freqs.offset[Screen()]), 100e9) << told.str();
        const bool may_be_zero = at_an_edge || carried_on || !(Global_Table & table_occupied_bandwidth);
        EXPECT_TRUE(may_be_zero || span > 0) << told.str();
    }

    void Expect_Level() const {
        const int attenuation = Amp.attenuation[Screen()], reference = Amp.reference[Screen()];
        EXPECT_TRUE(attenuation >= 0 && attenuation <= 50) << told.str();
        EXPECT_TRUE(reference >= -120 && reference <= 30) << told.str();
        const bool low = Amp.preamplifier_auto != 0 && reference <= -30;
        EXPECT_EQ(Amp.preamplifier_in[Screen()] != 0, low) << told.str();
        if (low) {
            EXPECT_TRUE(attenuation == 0 || Amp.attenuation_mode[Screen()] != 0) << told.str();
        } else if (Amp.attenuation_mode[Screen()] == 0) {
            EXPECT_EQ(attenuation, reference < 0 ? 10 : reference + 10) << told.str();
        } else {
            EXPECT_LE(reference, attenuation - 10) << told.str();
        }
        const int correction = Amp.impedance[Screen()] == 1 ? Amp.correction_75[Screen()] : 0;
        EXPECT_EQ(Amp.displayed_reference[Screen()], reference + Amp.offset[Screen()] + correction) << told.str();
    }

    void Expect_Bandwidths() const {
        const int rbw = BW_Data.rbw[Screen()], vbw = BW_Data.vbw[Screen()];
        EXPECT_TRUE(rbw >= 0 && rbw <= 15 && vbw >= 0 && vbw <= 12) << told.str();
        const double ratio = BW_Data.ratio[Screen()];
        EXPECT_TRUE(ratio == 0 || (ratio >= 1e-6 && ratio <= 1e6)) << told.str();
        const double time = Sweep_Data.time[Screen()], shortest = Sweep_Data.shortest[Screen()];
        EXPECT_TRUE(shortest > 0 && shortest < longest_sweep_time) << told.str();
        EXPECT_TRUE(time >= shortest && time <= longest_sweep_time) << told.str();
        EXPECT_TRUE(Sweep_Data.time_mode[Screen()] != 0 || time == shortest) << told.str();
        const std::int32_t steps = Sweep_Data.steps[Screen()];
        Cal_Freqrelative_Var();
        EXPECT_EQ(BW_Data.rbw[Screen()], rbw) << "automatic RBW: " << told.str();
        EXPECT_EQ(BW_Data.vbw[Screen()], vbw) << "automatic VBW: " << told.str();
        EXPECT_EQ(Sweep_Data.shortest[Screen()], shortest) << told.str();
        EXPECT_EQ(Sweep_Data.steps[Screen()], steps) << told.str();
    }

    static inline std::mt19937 random;
    std::optional<Link_Counter> link;
    const Mode* mode = nullptr;
    double span_before = 0;
    std::ostringstream told;
};

TEST_F(Setter_Properties, WhateverIsCalledTheSettingsAgree) {
    const char* const wanted = std::getenv("KVA720_PROPERTY_CALLS");
    const char* const seed = std::getenv("KVA720_PROPERTY_SEED");
    const long calls = wanted ? std::atol(wanted) : 100'000;
    random.seed(static_cast<unsigned>(seed ? std::atol(seed) : 720));
    for (long call = 0; call < calls && !HasFailure(); ++call) {
        if (call % 200 == 0) Enter_A_Mode();
        if (Random(0, 20) == 0) ScreenActive = Random(0, 1);
        Call();
        Expect_Axis();
        Expect_Level();
        Expect_Bandwidths();
        EXPECT_FALSE(HasFailure()) << "call " << call;
    }
}

}  // namespace
