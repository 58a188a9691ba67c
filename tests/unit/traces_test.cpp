#include "platform/sample_memory.h"
#include "records_fixture.h"
#include "trace/scale.h"
#include "trace/single_sweep.h"
#include "trace/split.h"
#include "trace/sweep_points.h"
#include "trace/trace_settings.h"

namespace {

using namespace platform;

constexpr std::array<std::size_t, 6> blocks{positive_peak_samples, negative_peak_samples, sample_samples,
                                            average_samples,       quasi_peak_samples,    emi_average_samples};

/// Traces over samples of the test's own, each value worked out again from the samples.
class Traces : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        Freqs_ArrayInit();
        memory.assign(sample_memory_elements, 0.0);
        for (const std::size_t block : blocks) {
            for (std::size_t i = 0; i < sample_block; ++i) memory[block + i] = Level(block, i);
        }
        DSP_Trace_Data = memory.data();
        Init_Trace_Data();
        Set_Average_Type(average_log);
    }
    /// Levels that differ by block, sweep and point.
    static double Level(std::size_t block, std::size_t i) {
        return -60 + 25 * std::sin(static_cast<double>(i) * 0.37 + static_cast<double>(block)) -
               static_cast<double>(i / trace_points % 7);
    }
    double Sample(std::size_t block, int sweep, std::size_t point) {
        return memory[block + static_cast<std::size_t>(sweep) * trace_points + point];
    }
    void Write(int count) {
        memory[written_count] = count;
        readadc();
    }
    void Sweep() { Write((Record().processed / trace_points + 1) * trace_points % sample_counter_end); }
    Trace_Record& Record() { return Trace_Data[static_cast<std::size_t>(ScreenActive)]; }
    double Value(std::size_t point, std::size_t trace = 0) { return static_cast<double>(Record().value[trace][point]); }
    static void Expect_Level(double value, double expected) { EXPECT_NEAR(value, expected, 2e-5); }

    std::vector<double> memory;
};

constexpr std::array<std::size_t, 5> some_points{0, 1, 127, 128, 600};

TEST_F(Traces, EachDetectorReadsItsSamples) {
    BW_Data.emi = 1;
    const std::array<std::pair<int, std::size_t>, 6> expected{{{detector_positive, positive_peak_samples},
                                                               {detector_negative, negative_peak_samples},
                                                               {detector_sample, sample_samples},
                                                               {detector_average, average_samples},
                                                               {detector_quasi_peak, quasi_peak_samples},
                                                               {detector_emi_average, emi_average_samples}}};
    int sweep = 0;
    for (const auto& [detector, block] : expected) {
        ASSERT_EQ(Set_Detector(detector), 0);
        Sweep();
        for (const std::size_t point : some_points) Expect_Level(Value(point), Sample(block, sweep, point));
        ++sweep;
    }
    Set_Detector(detector_normal);
    Sweep();
    for (const std::size_t point : some_points) {
        Expect_Level(Value(point), Sample(point % 2 ? positive_peak_samples : negative_peak_samples, sweep, point));
    }
    Record().detector_choice[0] = Record().detector[0] = detector_auto;
    Write((sweep + 1) * trace_points + 10);
    EXPECT_EQ(Value(5), 0) << "auto, read directly";
}

TEST_F(Traces, WithoutEmiFiltersItsDetectorsAreRefused) {
    EXPECT_EQ(Set_Detector(detector_quasi_peak), -221);
    EXPECT_EQ(Set_Detector(detector_emi_average), -221);
    Walk({{"", [&] { return Record().detector_choice[0]; }, detector_auto}, {[] { EMC_Data.mode = 1; }}});
    EXPECT_EQ(Set_Detector(detector_quasi_peak), 0);
}

TEST_F(Traces, TheAutomaticDetectorByTheFirstRuleThatHolds) {
    Trace_Record& record = Record();
    const auto expect = [&](int detector, const char* why) {
        DetectionAutoFunc();
        EXPECT_EQ(record.detector[0], detector) << why;
    };
    expect(detector_normal, "nothing else");
    record.mode[1] = trace_min_hold;
    expect(detector_negative, "a minimum hold");
    record.mode[2] = trace_max_hold;
    expect(detector_positive, "a maximum hold goes before");
    Set_Average(true);
    expect(detector_sample, "the active trace averages levels");
    AvgType = average_voltage;
    expect(detector_sample, "or voltages");
    AvgType = average_power;
    expect(detector_average, "powers");
    record.active = 1;
    expect(detector_positive, "the active trace doesn't average");
    record.active = 0;
    Global_Table = table_jitter;
    expect(detector_sample, "jitter");
    Global_Table |= table_peak;
    expect(detector_positive, "peak");
    Global_Table = 0;
    record.detector_choice[0] = detector_negative;
    expect(detector_negative, "the choice");
    record.detector_choice[0] = detector_auto;
    record.mode[0] = trace_view;
    expect(detector_negative, "a viewed trace keeps its own");
    FunctionMode_Flag = mode_am_fm;
    expect(detector_positive, "another mode");
    BW_Data.emi = 1;
    expect(detector_sample, "with EMI filters");
    FunctionMode_Flag = 13;
    record.mode[0] = trace_clear_write;
    expect(detector_average, "a spectrum again");
}

TEST_F(Traces, TheSampleDetectorGivesWayInOtherModes) {
    Record().detector_choice[0] = Record().detector[0] = detector_sample;
    FunctionMode_Flag = mode_am_fm;
    Write(100);
    Expect_Level(Value(50), Sample(positive_peak_samples, 0, 50));
}

/// The average of t and x by its definition.
double Averaged(int type, double t, double x, double k) {
    if (type == average_log) return ((k - 1) * t + x) / k;
    const double q = type == average_voltage ? 20 : 10;
    const double old = std::pow(10, t / q);
    return q * std::log10(old + (std::pow(10, x / q) - old) / k);
}

TEST_F(Traces, ThreeAveragesUpToTheirNumberAndOn) {
    for (const int type : {average_log, average_voltage, average_power}) {
        Init_Trace_Data();
        Set_Detector(detector_sample);
        Set_Average_Type(type);
        Set_Average_Number(2, 4);
        Set_Average(true);
        memory[written_count] = 0;
        Record().processed = 0;
        std::array<double, 601> expected{};
        for (int sweep = 0; sweep < 7; ++sweep) {
            const int k = std::min(sweep + 1, 4);
            EXPECT_EQ(Record().average_counter[0], k) << sweep;
            EXPECT_EQ(AVERLAG, sweep >= 4) << sweep;
            Sweep();
            for (std::size_t i = 0; i < expected.size(); ++i) {
                const double x = Sample(sample_samples, sweep, i);
                expected[i] = k == 1 ? x : Averaged(type, expected[i], x, k);
                ASSERT_NEAR(Value(i), expected[i], 5e-5) << type << " " << sweep << " " << i;
            }
        }
    }
}

TEST_F(Traces, OnlyTheActiveTracesCounterGoesOn) {
    Record().mode[1] = trace_clear_write;
    for (const int trace : {1, 0}) {
        Set_Active_Trace(trace);
        Set_Detector(detector_sample);
        Set_Average(true);
    }
    Sweep();
    Sweep();
    Walk({{"", [&] { return Record().average_counter[0]; }, 3}, {"", [&] { return Record().average_counter[1]; }, 1},
          {{Set_Active_Trace, 1}}});
    Sweep();
    EXPECT_EQ(Record().average_counter[0], 3) << "it keeps what it had";
    EXPECT_EQ(Record().average_counter[1], 2);
    const double before = Value(9, 0);
    Sweep();
    Expect_Level(Value(9, 0), Averaged(average_log, before, Sample(sample_samples, 3, 9), 3));
}

TEST_F(Traces, HoldsKeepExtremesAndAverageTowardsThem) {
    for (const bool maximum : {true, false}) {
        for (const bool average : {false, true}) {
            Init_Trace_Data();
            Record().processed = 0;
            Set_Detector(detector_positive);
            Set_Trace_Mode(0, maximum ? trace_max_hold : trace_min_hold);
            Set_Average(average);
            std::array<double, 601> expected;
            expected.fill(maximum ? -200 : 40);
            for (int sweep = 0; sweep < 4; ++sweep) {
                Sweep();
                for (std::size_t i = 0; i < expected.size(); ++i) {
                    const double x = Sample(positive_peak_samples, sweep, i);
                    if (average && sweep == 0) {
                        expected[i] = x;
                    } else if (maximum ? expected[i] < x : expected[i] > x) {
                        expected[i] = average ? Averaged(average_log, expected[i], x, sweep + 1) : x;
                    }
                    ASSERT_NEAR(Value(i), expected[i], 5e-5) << maximum << average << sweep;
                }
            }
        }
    }
}

TEST_F(Traces, ViewedAndBlankTracesStandStill) {
    Set_Detector(detector_positive);
    Sweep();
    const auto values = Record().value[0];
    for (const int mode : {trace_view, trace_blank}) {
        Set_Trace_Mode(0, mode);
        Sweep();
        EXPECT_EQ(Record().value[0], values);
    }
    EXPECT_EQ(Set_Average(true), 0) << "a blank one";
    Set_Trace_Mode(0, trace_view);
    EXPECT_EQ(Set_Average(false), -221);
}

TEST_F(Traces, MaximumHoldsStartAgainBelowTheirLevel) {
    Set_Active_Trace(1);
    for (const std::size_t trace : {0u, 2u}) Record().mode[trace] = trace_max_hold;
    for (const std::size_t trace : {0u, 1u, 2u})
        Record().detector_choice[trace] = Record().detector[trace] = detector_positive;
    Record().max_hold_level = {30, -130, -100, -130};
    Sweep();
    EXPECT_EQ(Value(300, 0), -200);
    Expect_Level(Value(300, 2), Sample(positive_peak_samples, 0, 300));
    Set_Hold_Restart(false);
    Sweep();
    Expect_Level(Value(300, 0), Sample(positive_peak_samples, 1, 300));
}

/// All four traces with math: the active one is worked out from the others' values of the same sweep.
TEST_F(Traces, MathOfTheSameSweepInEveryOrder) {
    Amp.reference[0] = -10;
    const std::array<std::size_t, 4> block{positive_peak_samples, negative_peak_samples, sample_samples,
                                           average_samples};
    const std::array<int, 4> detector{detector_positive, detector_negative, detector_sample, detector_average};
    int sweep = 0;
    for (int active = 0; active < traces; ++active) {
        for (std::size_t i = 0; i < traces; ++i) {
            Set_Trace_Mode(static_cast<int>(i), trace_clear_write);
            Set_Detector(detector[i]);
        }
        Set_Active_Trace(active);
        const auto first = static_cast<std::size_t>((active + 1) % traces),
                   second = static_cast<std::size_t>((active + 2) % traces);
        Set_Math_Source(0, static_cast<int>(first));
        Set_Math_Source(1, static_cast<int>(second));
        Set_Log_Reference(2, -30);
        Set_Log_Offset(2, 7.5);
        for (const int kind : {math_power_difference, math_log_difference, math_log_offset}) {
            Set_Trace_Math(kind);
            Sweep();
            for (const std::size_t point : some_points) {
                const double s1 = Sample(block[first], sweep, point), s2 = Sample(block[second], sweep, point);
                const double difference = 10 * std::log10(std::fabs(std::pow(10, s1 / 10) - std::pow(10, s2 / 10)));
                const double expected = kind == math_power_difference ? difference
                                        : kind == math_log_difference ? s1 - s2 - 30
                                                                      : s1 + 7.5;
                EXPECT_NEAR(Value(point, static_cast<std::size_t>(active)), expected, 2e-3) << kind << active;
                Expect_Level(Value(point, first), s1);
            }
            ++sweep;
        }
    }
    Set_Math_Source(1, TraceMath.source_1);
    Set_Trace_Math(math_power_difference);
    Sweep();
    EXPECT_EQ(Value(77, 3), -110) << "equal traces: the lowest line";
    Set_Trace_Mode(3, trace_view);
    Record().value[3].fill(-1);
    Sweep();
    EXPECT_EQ(Value(77, 3), -1) << "a viewed trace has none";
    Record().mode[3] = trace_clear_write;
    MATHFLAG = 9;
    Sweep();
    EXPECT_EQ(MATHFLAG, math_off);
}

TEST_F(Traces, RowsAndCopiesFollowTheValues) {
    Record().mode = {trace_clear_write, trace_max_hold, trace_view, trace_blank};
    Record().value[2].fill(-44);
    Amp.reference[0] = -20;
    for (const int code : {0, 1, 2, 3}) {
        for (const int type : {0, 1}) {
            Amp.scale_code[0] = static_cast<std::uint16_t>(code);
            Amp.scale_type[0] = static_cast<std::uint16_t>(type);
            Sweep();
            for (std::size_t i = 0; i < trace_points; ++i) {
                ASSERT_EQ(Record().rows[0][i], dBmTOpixel(Value(i), Active_Scale(), true)) << code << type << i;
                ASSERT_EQ(Record().rows[1][i], dBmTOpixel(Value(i, 1), Active_Scale(), true));
            }
        }
    }
    for (const std::size_t trace : {0u, 1u, 2u}) {
        EXPECT_EQ(Single_Trace_DBM[trace], Record().value[trace]);
        EXPECT_EQ(Spectrogram_NowLogValue[trace], Record().value[trace]);
    }
    EXPECT_EQ(Single_Trace_DBM[3][0], 0) << "a blank trace is not copied";
    EXPECT_EQ(Active_Scale().bottom, 508);
}

TEST_F(Traces, ZeroSpanLevelsWithinTheirRange) {
    Freqs.span[0] = 0;
    Set_Detector(detector_sample);
    for (const auto& [volts, level] :
         std::vector<std::pair<double, double>>{{0.0, -180}, {1e-12, -180}, {1e-9, -170}, {0.1, -10},
                                                {9.99999, 29.99999}, {10.0, 30}, {1e9, 30}, {-1.0, -180},
                                                {std::nan(""), -180}, {INFINITY, 30}}) {
        std::fill_n(memory.begin() + sample_samples, 601, volts);
        Record().processed = 0;
        Write(1);
        EXPECT_NEAR(Value(0), level, 1e-4) << volts;
    }
}

TEST_F(Traces, NoSampleLeavesAMarkInAverages) {
    Set_Detector(detector_sample);
    for (const int type : {average_log, average_voltage, average_power}) {
        Set_Average_Type(type);
        Set_Average(true);
        Record().processed = 0;
        Sweep();
        for (const double bad : {std::nan(""), double(INFINITY), -double(INFINITY), 1e300, -1e300}) {
            std::fill_n(memory.begin() + sample_samples + Record().processed % sample_block, 601, bad);
            Sweep();
            for (const float value : Record().value[0])
                ASSERT_TRUE(std::isfinite(value) && std::fabs(value) < 1100) << bad;
        }
    }
    // Math of its own result that grows with every sweep stays a level.
    Set_Average(false);
    Set_Trace_Mode(0, trace_max_hold);
    Set_Math_Source(0, 0);
    Set_Log_Offset(2, 200);
    Set_Trace_Math(math_log_offset);
    for (int i = 0; i < 20; ++i) Sweep();
    EXPECT_EQ(Value(3), 1000);
}

TEST_F(Traces, SweepsOfOtherCountsFillTheSameColumns) {
    for (const int points : {2, 301, 601, 1201, 30050}) {
        EXPECT_EQ(TraceIndexAddpoint(0, points), 0);
        EXPECT_EQ(TraceIndexAddpoint(points, points), 601);
        for (int known = 1; known < points; known += 1 + points / 50) {
            const int positions = TraceIndexAddpoint(known, points);
            // The last position known lies at or before the last sample, the next one behind it.
            EXPECT_LE(static_cast<double>(positions - 1) * (points - 1) / 600, known - 1 + 1e-9);
            EXPECT_GT(static_cast<double>(positions) * (points - 1) / 600, known - 1 - 1e-9);
        }
    }
    Set_Detector(detector_sample);
    for (const int points : {301, 401}) {
        Record().points = points;
        Record().processed = Record().sweeps = Record().sweep_start = 0;
        std::size_t written = 0;
        for (int sweep = 0; sweep < 320; ++sweep) {
            for (const int part : {points / 3, points}) {
                Write(static_cast<int>((written + static_cast<std::size_t>(part)) % sample_counter_end));
            }
            EXPECT_EQ(Record().point, 0);
            for (const std::size_t position : {0u, 1u, 299u, 300u, 599u, 600u}) {
                const double place = static_cast<double>(position) * (points - 1) / 600;
                const auto before = static_cast<std::size_t>(place);
                const auto at = [&](std::size_t i) { return memory[sample_samples + (written + i) % sample_block]; };
                const double expected =
                    at(before) + (position == 600 ? 0 : (at(before + 1) - at(before)) * (place - std::floor(place)));
                ASSERT_NEAR(Value(position), expected, 1e-4) << points << " " << sweep << " " << position;
            }
            written += static_cast<std::size_t>(points);
        }
    }
    // Far behind, and a count that goes back.
    for (const int count : {29000, 5, 120199, 0}) {
        Write(count);
        EXPECT_GE(Record().processed, 0);
        EXPECT_LT(Record().processed, sample_counter_end);
        EXPECT_LT(Record().sweep_start, sample_counter_end);
    }
}

TEST_F(Traces, RecordsThatSomethingHasTornAreSetRight) {
    for (const int bad : {-1, 120200, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        Record().processed = bad;
        Record().points = bad;
        Record().sweep_start = bad;
        Record().active = 255;
        Record().detector.fill(0xffff);
        Record().mode.fill(7);
        TraceMath = {999, 65535, 1e300};
        MATHFLAG = math_log_offset;
        Write(700);
        EXPECT_LT(Record().processed, sample_counter_end);
    }
}

TEST_F(Traces, BothHalvesAreSweptInTurn) {
    Walk({{{Set_Split, split_alternate}, Global_Table, table_split}, {"", ScreenInf.clamp_bottom, 258}});
    for (Trace_Record& record : Trace_Data) record.detector_choice[0] = record.detector[0] = detector_positive;
    Write(601);
    Walk({{"", Screen_Swept, 1, "the other half has been sent"}, {"", ScreenActive, 0},
          {"", Trace_Data[1].value[0][5], -180}});
    Write(300);
    Expect_Level(static_cast<double>(Trace_Data[1].value[0][299]), Sample(positive_peak_samples, 0, 299));
    EXPECT_GE(Trace_Data[1].rows[0][299], 332);
    EXPECT_EQ(Trace_Data[1].rows[0][599], 532);
    Write(601);
    Walk({{"", Screen_Swept, 0}, {"", Trace_Data[1].sweep_complete, 1}, {"", ScreenInf.top, 58}});
}

TEST_F(Traces, ASingleSweepOfBothHalvesStopsAfterTheSecond) {
    Set_Split(split_alternate);
    Set_Active_Half(1);
    Start_Single_Sweep();
    Write(601);
    Walk({{"", Trace_Data[1].sweep_complete, 1}, {"", SweepSingle_Data, 0}, {"", Screen_Swept, 0}});
    EXPECT_TRUE(Single_Sweep_Under_Way());
    Write(601);
    Walk({{"", Trace_Data[0].sweep_complete, 1}, {"", SweepSingle_Data, 1}});
}

TEST_F(Traces, TheActiveHalfIsSweptAloneAndBecomesTheOnlyOne) {
    Walk({{{Set_Split, split_active}, Global_Table, 0}, {{Set_Active_Half, 1}, ScreenInf.top, 332}});
    Write(601);
    Walk({{"", Trace_Data[1].sweep_complete, 1}, {"", Trace_Data[0].sweep_complete, 0}});
    Write(1202);
    Walk({{"", Trace_Data[1].sweeps, 2}, {{Set_Split, split_none}, ScreenActive, 1},
          {"", ScreenInf.clamp_bottom, 508}});
    for (std::size_t i = 0; i < trace_points; ++i) {
        ASSERT_EQ(Trace_Data[1].rows[0][i],
                  dBmTOpixel(static_cast<double>(Trace_Data[1].value[0][i]), Active_Scale(), true));
    }
    Set_Active_Half(0);
    EXPECT_EQ(ScreenActive, 1) << "there are no halves";
}

}  // namespace
