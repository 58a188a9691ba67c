#pragma once
#include <algorithm>
#include <memory>
#include <string>

#include "commands_rig.h"
#include "records/freqs.h"
#include "records/sweep.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "trace/acquisition.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

/// Remote commands with the core behind its link, whose time the test steps.
class Sweep_Rig : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        std::filesystem::create_directories(platform::Rooted("/dev/fb"));
        std::filesystem::create_directories(platform::Rooted("/dev/tts"));
        board = std::make_unique<virtual_board::Board>(Scene(), virtual_board::Board_Options{.manual = true});
        board->Start();
        CMEM_setup(LOOP_Main("dsp_loop_new.out", "2048", "1"));
        ASSERT_NE(DSP_Trace_Data, nullptr);
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
    }
    void TearDown() override {
        LOOP_Delete();
        platform::Unmap_Sample_Memory(DSP_Trace_Data);
        board.reset();
        Commands::TearDown();
    }
    virtual std::shared_ptr<const virtual_board::Input> Scene() const {
        return virtual_board::Parse_Scene("[[carrier]]\nfrequency = 500e6\nlevel = -20.0\n", "scene");
    }
    /// Lets a part of the sweep time pass and takes what came.
    static void Run(double part) {
        board->Step(platform::Duration(std::llround(Sweep_Data.time[0] * part * 1e9)));
        readadc();
    }
    static Trace_Record& Record() { return Trace_Data[0]; }
    static long Highest() {
        const auto& values = Record().value[0];
        return std::ranges::max_element(values) - values.begin();
    }

    static inline std::unique_ptr<virtual_board::Board> board;
};
