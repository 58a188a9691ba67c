#pragma once
#include <memory>

#include "commands_rig.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

/// Remote commands with the core behind its link, whose time the test steps.
class Sweep_Rig : public Commands {
protected:
    explicit Sweep_Rig(virtual_board::Board_Options options = {.manual = true}) : options_(options) {}
    void SetUp() override {
        Commands::SetUp();
        platform::Set_Clock_Mode(platform::Clock_Mode::fast);
        for (const char* folder : {"/dev/fb", "/dev/tts", "/mnt/nand"}) {
            std::filesystem::create_directories(platform::Rooted(folder));
        }
        if (const std::string scene = Scene(); !scene.empty()) Start(virtual_board::Parse_Scene(scene, "scene"));
        Factory_Settings();
    }
    void TearDown() override {
        if (LOOP_Buffers) LOOP_Delete();
        if (DSP_Trace_Data) platform::Unmap_Sample_Memory(DSP_Trace_Data);
        DSP_Trace_Data = nullptr;
        board.reset();
        Commands::TearDown();
    }
    void Start(std::shared_ptr<const virtual_board::Input> input) {
        board = std::make_unique<virtual_board::Board>(std::move(input), options_);
        board->Start();
        CMEM_setup(LOOP_Main("dsp_loop_new.out", "2048", "1"));
        ASSERT_NE(DSP_Trace_Data, nullptr);
    }
    /// What is at the input from the start; empty for a test that starts the board itself.
    virtual std::string Scene() const { return "[[carrier]]\nfrequency = 500e6\nlevel = -20.0\n"; }
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

private:
    virtual_board::Board_Options options_;
};
