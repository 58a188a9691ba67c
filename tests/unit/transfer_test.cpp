#include <map>
#include <memory>

#include "link_recorder.h"
#include "platform/fpga_int.h"
#include "records/measurement.h"
#include "records/preamplifier.h"
#include "records/recording.h"
#include "records_fixture.h"
#include "sweep/trigger.h"
#include "trace/single_sweep.h"
#include "trace/trigger_wait.h"

namespace {

using namespace platform;
using Requests = std::vector<Link_Recorder::Request>;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN(), infinite = std::numeric_limits<double>::infinity();

/// Transfers, and what comes out of the far end of the link.
class Transfer : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        core = std::make_unique<Link_Recorder>();
        ASSERT_TRUE(DSP_SUCCEEDED(LOOP_Main("dsp_loop_new.out", "2048", "1")));
        FPGA_Int_Fd = Open_Fpga_Int("/dev/fpga_int");
        ASSERT_GE(FPGA_Int_Fd, 0);
        Factory_Settings();
        Trigger_Init();
    }
    void TearDown() override {
        Close_Fpga_Int(FPGA_Int_Fd.exchange(-1));
        LOOP_Delete();
        LOOP_Buffers = nullptr;
        core.reset();
        Records::TearDown();
    }

    /// The one message that work sends.
    template <class Work>
    Link_Recorder::Message Sent(Work&& work) {
        core->Take();
        work();
        const auto messages = core->Take();
        EXPECT_EQ(messages.size(), 1u);
        return messages.empty() ? Link_Recorder::Message(message_elements) : messages.back();
    }
    /// Elements that are not 0.
    static std::map<std::size_t, double> Elements(const Link_Recorder::Message& message, std::size_t count = 256) {
        std::map<std::size_t, double> elements;
        for (std::size_t i = 0; i < count; ++i) {
            if (message[i] != 0) elements[i] = message[i];
        }
        return elements;
    }
    static bool Waiting_Reported() {
        return (SCPI_RegGet(scpi_context, reg_operation + set_condition) & operation_waiting_for_trigger) != 0;
    }

    std::unique_ptr<Link_Recorder> core;
};

/// A setting of its own for each element.
void Fill_Records() {
    Freqs.center[0] = 1.5e9;
    Freqs.start[0] = 1e9;
    Freqs.stop[0] = 2e9;
    Freqs.span[0] = 1e9;
    BW_Data.rbw[0] = 3;
    BW_Data.vbw[0] = 2;
    Sweep_Data.rule[0] = 1;
    Sweep_Data.time_mode[0] = 1;
    Sweep_Data.time[0] = 75;
    Amp.reference[0] = -21;
    Amp.attenuation[0] = 35;
    Amp.impedance[0] = Amp.preamplifier_in[0] = 1;
    Sys_Data.sweep_setting_working = 0.25;
    EMC_Data.mode = 2;
    Trigger_Data.video_frequency[0] = 1.25e9;
    Preamplifier_Calibration.state = 2;
    Preamplifier_Calibration.second_gain.back() = 1.5f;
}

std::map<std::size_t, double> Filled_Elements() {
    return {{0, 3},   {1, 1.5e9}, {2, 1e9},  {3, 2e9},    {4, 1e9},    {5, 3},     {6, 2},     {7, 75},     {8, -21},
            {9, 35},  {10, 1},    {12, 601}, {13, 1},     {14, 66667}, {16, 3},   {17, 1},     {19, 1.25e9},
            {22, 1.5}, {27, 0.25}, {55, 1},  {56, 2}};
}

TEST_F(Transfer, EachElementOfTheSweepMessageHasItsSetting) {
    Fill_Records();
    Walk({{"", [&] { return Elements(Sent(LOOP_SetTrans_Var)); }, Filled_Elements()},
          {[] { EMC_Data.correction_off = 1; }}, {[] { BW_Data.emi = 1; }}});
    auto expected = Filled_Elements();
    expected.erase(sweep_emc_correction);
    expected[sweep_emi] = 1;
    EXPECT_EQ(Elements(Sent(LOOP_SetTrans_Var)), expected);
    EMC_Data.quasi_peak_running = 1;
    Marker_Data.active[0] = 3;
    Marker_Data.frequency[3][0] = expected[sweep_center] = 1.25e9;
    expected.erase(sweep_span);
    EXPECT_EQ(Elements(Sent(LOOP_SetTrans_Var)), expected) << "measured again at the marker";
    EMC_Data.quasi_peak_running = 0;
    // Nothing of a message stays for the next one.
    Set_Span(2, 0);
    Freqs.center[0] = Freqs.start[0] = Freqs.stop[0] = 2.5e9;
    const auto message = Sent(LOOP_SetTrans_Var);
    EXPECT_EQ(message[sweep_span], 0);
    EXPECT_EQ(message[sweep_trigger_frequency], 2.5e9) << "zero span watches its own frequency";
}

TEST_F(Transfer, TheStepCountIsCutAndTheMarkersHaveItWhole) {
    BW_Data.rbw_mode[0] = 1;
    BW_Data.rbw[0] = 5;
    EXPECT_EQ(Sent(LOOP_SetTrans_Var)[sweep_steps], 760'000);
    Walk({{"", Sweep_Data.steps[0], 2'166'667}, {"", Marker_Data.steps, 2'166'667}});
}

TEST_F(Transfer, TheModeDecidesWhatIsSent) {
    Fill_Records();
    FunctionMode_Flag = mode_emission_mask;
    auto expected = Filled_Elements();
    expected[0] = 4;
    EXPECT_EQ(Elements(Sent(Transfer_Settings)), expected);
    Global_Table = table_emission_mask;
    expected[mask_setup] = 1;
    EXPECT_EQ(Elements(Sent(Transfer_Settings)), expected) << "a changed setting sends the setup of the mask";
    expected.erase(mask_setup);
    Walk({{"", [&] { return Elements(Sent(LOOP_SetTrans_Var)); }, expected, "which is sent once"},
          {[] { FunctionMode_Flag = 6; }}, {[] { Measurement_Data.value = 9; }}});
    Measurement_Data.detector_order = {1, 2};
    Measurement_Data.lock_order = {3, 4};
    auto moved = Filled_Elements();
    moved[0] = 6;
    for (const std::size_t element : {1, 2, 3, 4}) moved[56 + element] = moved[element];
    moved[1] = 9;
    for (const std::size_t element : {2, 3, 4}) moved.erase(element);
    Walk({{[] { Global_Table = 0; }, [&] { return Elements(Sent(Transfer_Settings)); }, moved},
          {[] { Measurement_Data.double_channel = 1; }}});
    moved[2] = 1;
    moved[3] = 2;
    moved[4] = 4;
    EXPECT_EQ(Elements(Sent(Transfer_Settings)), moved) << "the orders of the other channel";

    for (const int mode : {mode_am_fm, mode_am_fm_list, mode_ask, mode_fsk}) {
        FunctionMode_Flag = mode;
        auto demodulator = Filled_Elements();
        demodulator[0] = code_demodulator;
        demodulator[demodulator_mode] = mode;
        EXPECT_EQ(Elements(Sent(Transfer_Settings)), demodulator);
    }
    for (const auto set : {Set_Cent, Set_Reflevel, Set_BW_RBW, Set_Sweep_Time}) {
        EXPECT_EQ(Sent([&] { set(2, 10e3); })[0], code_demodulator) << "whatever is set";
    }
    core->Take();
    Set_Trigger_Source(trigger_by_none);
    EXPECT_EQ(core->Take().back()[0], code_demodulator);
    Start_Single_Sweep();
    EXPECT_EQ(core->Take().back()[0], code_demodulator) << "and when one is asked for";
    Fill_Records();
    FunctionMode_Flag = mode_r_phi;
    RecordData_IQ.running = 1;
    RecordData_RPhi.armed = 1;
    auto record = Filled_Elements();
    record[0] = code_record;
    record[record_mode] = mode_r_phi;
    record[record_armed] = 1;
    EXPECT_EQ(Elements(Sent(Transfer_Settings)), record);
}

TEST_F(Transfer, OfThePreamplifiersGainsTheLastIsSent) {
    auto& calibration = Preamplifier_Calibration;
    float gain = 1;
    for (auto& band : calibration.gain) {
        for (auto& value : band) value = gain += 0.25f;
    }
    calibration.gain_offset = 3;
    calibration.second_gain.fill(-7);
    calibration.second_gain.back() = 5;
    calibration.second_gain_offset = 2;
    for (const auto& [state, sent] : {std::pair{0, 0.0}, {1, 1 + 51 * 150 * 0.25 + 3}, {2, 7.0}, {3, 7.0}}) {
        calibration.state = state;
        const auto message = Sent(LOOP_SetTeans_Preamp);
        EXPECT_EQ(message[0], 3);
        EXPECT_EQ(message[22], sent) << state;
        EXPECT_EQ(Sent(LOOP_SetTrans_Var), message) << "later transfers keep it";
    }
}

TEST_F(Transfer, TheSmallTransfers) {
    Trigger_Data = {.source = trigger_by_input, .automatic = 1, .video_falling = 1, .input_falling = 1, .gate = 1,
                    .delay = 1.2e-3, .video_level = -33.25, .video_frequency = {1.25e9, 0}, .gate_delay = 40e-9,
                    .gate_length = 10};
    using Map = std::map<std::size_t, double>;
    EXPECT_EQ(Elements(Sent(LOOP_SetTrans_Trigger), 8),
              (Map{{0, 8}, {1, -33.25}, {2, 2}, {3, 30'000}, {4, 1}, {5, 1.25e9}, {6, 1}, {7, 1}}));
    EXPECT_EQ(Elements(Sent(LOOP_SetTrans_Gate_Sweep), 4), (Map{{0, 11}, {1, 1}, {2, 1}, {3, 250e6}}));
    EXPECT_EQ(Elements(Sent([] { LOOP_SetTrans_Timer_Control(0.1f); }), 2), (Map{{0, 10}, {1, double{0.1f}}}));
    Demodulation_Data = {.earphone = 1, .volume = 200};
    Walk({{"", [&] { return Elements(Sent(LOOP_SetTrans_Earphon), 3); }, (Map{{0, 13}, {1, 1}, {2, 200}})},
          {[] { Display_Data.brightness = 40; }, [&] { return Elements(Sent(LOOP_SetTrans_Peripheral), 3); }, (Map{{0,
           12}, {1, 1.0 * Display_Data.active}, {2, 40}})}});
    for (auto& trace : Trace_Data) trace.processed = trace.sweeps = trace.point = 7;
    Walk({{[] { Sweep_Data.single = 1; }, [&] { return Elements(Sent(LOOP_SetTrans_Single_Sweep), 2); }, (Map{{0, 14},
           {1, 1}})},
          {"", Sweep_Data.single_started, 1}});
    for (const auto& trace : Trace_Data) EXPECT_EQ(trace.processed + trace.sweeps + trace.point, 0);
    core->Take();
    LOOP_SetTrans_Timer_Control(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(core->Take().empty());
}

TEST_F(Transfer, FreeRunIsHandedOverBeforeTheSettings) {
    Walk({{{Set_Trigger_Source, trigger_by_input}, DSP_Trigger_Flag, 1}, {"", Waiting_Reported, true}});
    EXPECT_EQ(core->Requests(), (Requests{{0, 1}}));
    Trace_Data[0].processed = 100;
    core->Take();
    Walk({{{Set_Trigger_Source, trigger_by_none}, Sweep_Data.external_trigger_pending, 0},
          {"", DSP_Trigger_Flag, 0, "released at once"}, {"", Waiting_Reported, false},
          {"", Trace_Data[0].processed, 0}});
    const auto messages = core->Take();
    ASSERT_EQ(messages.size(), 2u);
    Expect({{messages[0][0], 9}, {messages[0][1], trigger_free_run}, {messages[1][0], 3},
            {core->Requests(), (Requests{{0, 0}})}});
    LOOP_SetTrans_Var();
    EXPECT_TRUE(core->Requests().empty()) << "free sweeps need no interrupt";
}

TEST_F(Transfer, ADriverThatRefusesIsReportedAndHoldsNothingUp) {
    Close_Fpga_Int(FPGA_Int_Fd.exchange(-1));
    testing::internal::CaptureStdout();
    Walk({{{Set_Trigger_Source, trigger_by_input}, DSP_Trigger_Flag, 0, "nobody could report the trigger"},
          {{Set_Trigger_Source, trigger_by_none}}});
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "set failed\n");
}

TEST_F(Transfer, EventsOfAnEarlierWaitAreNotTakenForThisOne) {
    Set_Trigger_Source(trigger_by_input);
    core->Requests();
    core->Send_Event(fpga_triggered);
    Set_Trigger_Delay(2, 1e-3);
    Take_FPGA_Event(FPGA_Int_Fd);
    EXPECT_EQ(DSP_Trigger_Flag, 1) << "the re-armed driver has dropped it";
    core->Send_Event(fpga_sweep_finished);
    Take_FPGA_Event(FPGA_Int_Fd);
    EXPECT_EQ(DSP_Trigger_Flag, 1);
    core->Send_Event(fpga_triggered);
    Take_FPGA_Event(FPGA_Int_Fd);
    EXPECT_EQ(DSP_Trigger_Flag, 0);
    // A single sweep that has stopped waits for nothing.
    Walk({{[] { Sweep_Data.single = 1; }}, {[] { SweepSingle_Data = 1; }},
          {{Set_Trigger_Delay, 2e-3}, DSP_Trigger_Flag, 0}});
}

/// The panel's thread and a remote one change settings at once, while the sweeps and the interrupts go on.
TEST_F(Transfer, SettersOfTwoThreadsSendWholeMessages) {
    constexpr int rounds = 150;
    std::atomic<bool> done{false};
    const auto locked = [](auto&& work) {
        const std::lock_guard records(Command_Main_Mutex);
        work();
    };
    std::vector<double> memory(sample_memory_elements);
    DSP_Trace_Data = memory.data();
    std::thread sweeps([&] {
        while (!done) locked([] { Show_Trigger_Wait(); });
    });
    std::thread interrupts([&] {
        while (!done) {
            core->Requests();
            core->Send_Event(fpga_triggered);
            Take_FPGA_Event(FPGA_Int_Fd);
            std::this_thread::yield();
        }
    });
    std::thread panel([&] {
        for (int i = 0; i < rounds; ++i) {
            locked([&] { Set_Cent(2, 1e9 + 1e6 * i); });
            locked([&] { Set_Trigger_Source(i % 3); });
        }
    });
    std::thread remote([&] {
        for (int i = 0; i < rounds; ++i) {
            locked([&] { Set_Span(2, 1e8 + 1e6 * i); });
            locked([&] { Set_Trigger_Delay(2, 1e-6 * i); });
            locked([&] { Set_Gate_Length(2, 1e-3 + 1e-6 * i); });
        }
    });
    panel.join();
    remote.join();
    done = true;
    sweeps.join();
    interrupts.join();
    int whole = 0, trigger = 0, gate = 0;
    for (const auto& message : core->Take()) {
        const auto code = static_cast<int>(message[0]);
        if (code == code_sweep) {
            ASSERT_NEAR(message[sweep_center], (message[sweep_start] + message[sweep_stop]) / 2, 1);
            ASSERT_NEAR(message[sweep_span], message[sweep_stop] - message[sweep_start], 1);
            ++whole;
        }
        trigger += code == code_trigger;
        gate += code == code_gate;
    }
    EXPECT_EQ(whole, rounds + rounds + rounds / 3) << "centre, span, and each return to free run";
    EXPECT_EQ(trigger, rounds + 2 * rounds / 3);
    EXPECT_EQ(gate, rounds);
}

}  // namespace
