#include "allocations.h"
#include "display/layers.h"
#include "sweep_rig.h"
#include "trace/single_sweep.h"
#include "trace/split.h"
#include "trace/trace_settings.h"
#include "virtual_board/devices.h"

namespace {

/// Traces of the core's own sweeps.
class Trace_Sweeps : public Sweep_Rig {
protected:
    /// Steps through sweeps in parts, of whichever half is swept, until the record has ended so many.
    static void Run_Until(const Trace_Record& record, int sweeps) {
        for (int i = 0; record.sweeps < sweeps && i < 2000; ++i) Step(0.26);
        ASSERT_GE(record.sweeps, sweeps);
    }
    static void Step(double part) {
        const double time = Sweep_Data.time[static_cast<std::size_t>(Half_Of_Samples())];
        board->Step(platform::Duration(std::llround(time * part * 1e9)));
        readadc();
    }
    static long Peak(const Trace_Record& record, std::size_t trace = 0) {
        return std::ranges::max_element(record.value[trace]) - record.value[trace].begin();
    }
    static void Set_Axis(int half, double center) {
        const Half_In_Hand in_hand(half);
        Set_Span(2, 10e6);
        Set_Cent(2, center);
    }
};

TEST_F(Trace_Sweeps, EachHalfKeepsItsOwnSweeps) {
    Set_Axis(0, 500e6);
    Set_Axis(1, 502e6);
    Set_Split(split_alternate);
    for (Trace_Record& record : Trace_Data) record.sweep_complete = 0;
    std::array<int, 2> ended{};
    for (int i = 0; i < 200; ++i) {
        Step(0.3);
        for (std::size_t half = 0; half < 2; ++half) {
            if (!std::exchange(Trace_Data[half].sweep_complete, std::uint8_t{0})) continue;
            ++ended[half];
            EXPECT_LE(std::abs(ended[0] - ended[1]), 1) << "in turn";
            EXPECT_NEAR(Peak(Trace_Data[half]), half == 0 ? 300 : 180, 2);
        }
        if (i % 17 == 0) Set_Cent(2, 500e6);  // amid a sweep of either half
    }
    EXPECT_GT(ended[0], 10);
    Walk({{"", ScreenActive, 0}, {{Set_Active_Half, 1}}, {{Set_Split, split_none}}});
    Trace_Data[1].value[0].fill(-180);
    Run_Until(Trace_Data[1], 1);
    EXPECT_NEAR(Peak(Trace_Data[1]), 180, 2);
}

TEST_F(Trace_Sweeps, ASingleSweepOfBothHalves) {
    Set_Axis(0, 500e6);
    Set_Axis(1, 502e6);
    Set_Split(split_alternate);
    for (const int active : {0, 1}) {
        Set_Active_Half(active);
        for (Trace_Record& record : Trace_Data) {
            record.value[0].fill(-180);
            record.sweep_complete = 0;
        }
        Ask(":INIT;*OPC");
        for (int i = 0; i < 60 && SweepSingle_Data == 0; ++i) Step(0.3);
        EXPECT_EQ(SweepSingle_Data, 1);
        EXPECT_EQ(Ask("*ESR?"), "1");
        EXPECT_NEAR(Peak(Trace_Data[0]), 300, 2);
        EXPECT_NEAR(Peak(Trace_Data[1]), 180, 2);
        EXPECT_TRUE(Trace_Data[0].sweep_complete && Trace_Data[1].sweep_complete);
    }
    Ask(":INIT:CONT ON");
    for (Trace_Record& record : Trace_Data) record.sweep_complete = 0;
    for (int i = 0; i < 30; ++i) Step(0.3);
    EXPECT_TRUE(Trace_Data[0].sweep_complete && Trace_Data[1].sweep_complete);
}

double Mean(const std::array<float, trace_points>& values, std::size_t from, std::size_t to) {
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) sum += static_cast<double>(values[i]);
    return sum / static_cast<double>(to - from);
}

TEST_F(Trace_Sweeps, AveragesOfNoiseDifferAsTheyShould) {
    BW_Data.vbw_mode[0] = 1;  // 1 MHz, which leaves the noise as it is
    Ask(":FREQ:CENT 900e6;SPAN 10e6;:DET SAMP;:AVER:COUN 60;STAT ON");
    std::array<double, 3> level{};
    for (const int type : {average_log, average_voltage, average_power}) {
        Set_Average_Type(type);
        Record().sweeps = 0;
        Run_Until(Record(), 60);
        level[static_cast<std::size_t>(type)] = Mean(Record().value[0], 0, trace_points);
    }
    EXPECT_NEAR(level[average_power] - level[average_log], 2.5, 0.3);
    EXPECT_NEAR(level[average_power] - level[average_voltage], 1.05, 0.3);
    EXPECT_EQ(AVERLAG, 1);
}

TEST_F(Trace_Sweeps, ANewAxisStartsAveragesAndHoldsAgain) {
    Ask(":FREQ:CENT 500e6;SPAN 10e6;:DISP:TRAC2:MODE MAXH;:DISP:TRAC1:MODE WRIT;:DET SAMP;:AVER:STAT ON");
    Run_Until(Record(), 3);
    EXPECT_EQ(Record().average_counter[0], 4);
    Ask(":FREQ:CENT 502e6");
    EXPECT_EQ(Record().average_counter[0], 1);
    Record().sweeps = 0;
    Run_Until(Record(), 2);
    Walk({{"", [&] { return Peak(Record()); }, Near{180, 2}}, {"", [&] { return Peak(Record(), 1); }, Near{180, 2}}});
    EXPECT_LT(Mean(Record().value[0], 280, 320), -60) << "nothing of the old place";
}

/// The core's sweeps have as many samples as it was told, whatever the columns of the screen.
TEST_F(Trace_Sweeps, SweepsOfOtherCountsStandInTheSameColumns) {
    for (const int points : {301, 1201, 601}) {
        Record().points = points;
        for (const auto& [center, column] : {std::pair{"500e6", 300}, {"502e6", 180}}) {
            Ask(std::string(":FREQ:SPAN 10e6;CENT ") + center);
            Record().value[0].fill(-180);
            Record().sweeps = 0;
            for (int sweep = 1; sweep <= 3; ++sweep) {
                Run_Until(Record(), sweep);
                ASSERT_NEAR(Peak(Record()), column, points == 301 ? 3 : 2) << points << " samples, sweep " << sweep;
                ASSERT_NEAR(static_cast<double>(Record().value[0][static_cast<std::size_t>(Peak(Record()))]), -20, 0.5);
            }
            Step(0.5);
            EXPECT_GT(Record().point, 100) << "progress within a sweep";
        }
    }
}

/// A whole sweep with everything on, drawn, asks for no memory.
TEST_F(Trace_Sweeps, ThePathOfAPointAllocatesNothing) {
    fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
    ASSERT_TRUE(fbVid0.memory);
    Record().mode = {trace_clear_write, trace_max_hold, trace_min_hold, trace_clear_write};
    Ask(":AVER:TYPE POW;STAT ON;:CALC:MATH:PDIF TRACE2,TRACE3");
    Ask(":CALC:LIM1:DATA 400 MHZ,10,600 MHZ,10;:CALC:LIM:HIGH 1;STAT ON");
    Trace_Second_Flag = 1;
    Run_Until(Record(), 3);
    platform::Request_Stop();  // the pause at the end of each call returns at once
    double* const real = std::exchange(DSP_Trace_Data, nullptr);
    std::vector<double> memory(real, real + platform::sample_memory_elements);
    DSP_Trace_Data = memory.data();
    const unsigned long before = Allocations_Of_This_Thread();
    for (int i = 1; i <= 600; ++i) {
        memory[platform::written_count] = (Record().processed + 1) % platform::sample_counter_end;
        readadc();
    }
    memory[platform::written_count] = (Record().processed / 601 + 2) * 601;
    readadc();
    EXPECT_EQ(Allocations_Of_This_Thread() - before, 0u);
    DSP_Trace_Data = real;
    fb_free(fbVid0);
    platform::Reset_Stop();
}

}  // namespace
