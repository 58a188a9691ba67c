#include <memory>

#include "platform/sample_memory.h"
#include "records_fixture.h"
#include "trace/scale.h"

namespace {

using namespace platform;

/// readadc over a sample memory of the test's own.
class Acquisition : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        Freqs_ArrayInit();
        memory.assign(sample_memory_elements, 0.0);
        DSP_Trace_Data = memory.data();
        Init_Trace_Data();
    }
    void Fill(std::size_t block, double level) {
        std::fill_n(memory.begin() + static_cast<std::ptrdiff_t>(block), sample_block, level);
    }
    void Write(int count) {
        memory[written_count] = count;
        readadc();
    }
    Trace_Record& Record() { return Trace_Data[0]; }
    float Value(std::size_t point, std::size_t trace = 0) { return Record().value[trace][point]; }

    std::vector<double> memory;
};

TEST_F(Acquisition, TheNormalDetectorAlternatesItsPeaks) {
    Fill(positive_peak_samples, -20);
    Fill(negative_peak_samples, -80);
    Write(601);
    Walk({{"", [&] { return Value(0); }, -80}, {"", [&] { return Value(1); }, -20},
          {"", [&] { return Value(600); }, -80}, {"", [&] { return Record().processed; }, 601},
          {"", [&] { return Record().sweep_complete; }, 1}, {"", [&] { return Record().sweeps; }, 1}});
}

TEST_F(Acquisition, OnlyWhatWasWrittenIsTaken) {
    Fill(positive_peak_samples, -20);
    Fill(negative_peak_samples, -20);
    Write(300);
    Walk({{"", [&] { return Value(299); }, -20}, {"", [&] { return Value(300); }, -180},
          {"", [&] { return Record().sweep_complete; }, 0}});
}

TEST_F(Acquisition, TheRingEndsWhereItStartsAgain) {
    Record().processed = sample_counter_end - 100;
    memory[positive_peak_samples] = memory[negative_peak_samples] = -33;
    Write(0);
    EXPECT_EQ(Record().processed, 0);
    EXPECT_EQ(Record().sweeps, 0) << "the sweeps are counted by the ring";
    EXPECT_EQ(Record().sweep_complete, 1);
    Write(1);
    EXPECT_EQ(Value(0), -33);
}

TEST_F(Acquisition, MoreThanTwoSweepsBehindIsSkippedAhead) {
    Write(2 * 601 + 10);
    EXPECT_EQ(Record().sweeps, 2) << "two sweeps behind are caught up";
    Record().sweeps = 0;
    Write(8 * 601 + 10);
    EXPECT_EQ(Record().processed, 8 * 601 + 10);
    EXPECT_EQ(Record().sweeps, 1) << "only the newest whole sweep is taken";
    Record().processed = 30000;
    Write(5);
    EXPECT_EQ(Record().processed, 5);
}

TEST_F(Acquisition, TornCountsAndValuesThatAreNoneDoNoHarm) {
    for (const double count : {std::nan(""), -5.0, 1e300, 120200.0, double(INFINITY)}) {
        Write(0);
        memory[written_count] = count;
        readadc();
        EXPECT_GE(Record().processed, 0);
        EXPECT_LT(Record().processed, sample_counter_end);
    }
    Record().processed = 0;
    Fill(positive_peak_samples, std::nan(""));
    Fill(negative_peak_samples, INFINITY);
    Write(601);
    for (const auto row : Record().rows[0]) {
        ASSERT_GE(row, 58);
        ASSERT_LE(row, 508);
    }
}

TEST_F(Acquisition, ZeroSpanTurnsVoltsIntoLevels) {
    Freqs.span[0] = 0;
    Fill(positive_peak_samples, 0.01);
    memory[positive_peak_samples + 3] = 1e6;
    Write(601);
    EXPECT_NEAR(Value(1), -30, 1e-4);
    Walk({{"", [&] { return Value(3); }, 30}, {"", [&] { return Value(0); }, -180, "no voltage"}});
}

TEST_F(Acquisition, HoldModesKeepTheirExtremes) {
    Record().mode = {trace_max_hold, trace_min_hold, trace_view, trace_blank};
    Record().value[1].fill(40);
    DetectionAutoFunc();
    EXPECT_EQ(Record().detector[0], detector_positive) << "a trace in maximum hold decides";
    Fill(positive_peak_samples, -50);
    Write(601);
    Fill(positive_peak_samples, -70);
    Write(2 * 601);
    Walk({{"", [&] { return Value(7, 0); }, -50}, {"", [&] { return Value(7, 1); }, -70},
          {"", [&] { return Value(7, 2); }, -180, "a frozen trace stays"}});
}

TEST_F(Acquisition, AMaximumHoldBelowItsLevelStartsAgain) {
    Record().mode[0] = trace_max_hold;
    Record().max_hold_level[0] = 30;
    Fill(positive_peak_samples, -50);
    Write(601);
    EXPECT_EQ(Value(300), -200);
    Record().max_hold_level[0] = -60;
    Write(2 * 601);
    EXPECT_EQ(Value(300), -50);
}

TEST_F(Acquisition, SingleSweepStopsAfterItsLastPointAndCompletesWhatWaits) {
    Sweep_Data.single = 1;
    Command_Opc_Flag = 1;
    Pending_Operation_Flag = 1;
    Fill(positive_peak_samples, -50);
    Write(300);
    EXPECT_EQ(SweepSingle_Data, 0);
    Write(700);
    Walk({{"", SweepSingle_Data, 1}, {"", [&] { return Record().processed; }, 601}});
    EXPECT_EQ(SCPI_RegGet(scpi_context, reg_esr), std::uint32_t{esr_operation_complete});
    Write(1202);
    EXPECT_EQ(Record().processed, 601);
}

}  // namespace
