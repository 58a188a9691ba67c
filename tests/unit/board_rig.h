#pragma once
#include <chrono>
#include <memory>
#include <thread>

#include "commands_rig.h"
#include "records/freqs.h"
#include "records/trace.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "trace/acquisition.h"
#include "trace/markers.h"
#include "trace/peak_search.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

/// The instrument's settings and commands over the link to a virtual board in this process; sweeps are taken in by the
/// test.
class On_Board : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        std::filesystem::create_directories(platform::Rooted("/dev/fb"));
        std::filesystem::create_directories(platform::Rooted("/dev/tts"));
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
        PeakSearch_Init();
        Marker_Init();
    }
    void TearDown() override {
        if (board) {
            LOOP_Delete();
            platform::Unmap_Sample_Memory(DSP_Trace_Data);
            DSP_Trace_Data = nullptr;
            board.reset();
        }
        Commands::TearDown();
    }
    void Start(std::shared_ptr<const virtual_board::Input> input) {
        board = std::make_unique<virtual_board::Board>(std::move(input),
                                                       virtual_board::Board_Options{.core = {.fast = true}});
        board->Start();
        const auto link = LOOP_Main("dsp_loop_new.out", "2048", "1");
        CMEM_setup(link);
        ASSERT_NE(DSP_Trace_Data, nullptr);
        LOOP_SetTrans_Var();
    }
    /// Takes whole sweeps in; false when they don't come.
    static bool Sweep(int sweeps = 1) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        for (int taken = 0; taken < sweeps;) {
            Trace_Data[0].sweep_complete = 0;
            while (!Trace_Data[0].sweep_complete) {
                readadc();
                if (std::chrono::steady_clock::now() > end) return false;
                std::this_thread::yield();
            }
            ++taken;
        }
        return true;
    }
    /// Sweeps until the core has counted what it was told last.
    static bool Count() {
        for (int sweep = 0; sweep < 50; ++sweep) {
            if (platform::Load_Element(DSP_Trace_Data, platform::counter_frequency) != 0) return true;
            if (!Sweep()) return false;
        }
        return false;
    }
    static double Number(std::string_view query) { return std::stod(Ask(query)); }

    std::unique_ptr<virtual_board::Board> board;
};
