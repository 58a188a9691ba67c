#pragma once
#include <chrono>
#include <thread>

#include "sweep_rig.h"

/// The instrument's settings and commands over the link to a virtual board in this process; sweeps are taken in by the
/// test.
class On_Board : public Sweep_Rig {
protected:
    On_Board() : Sweep_Rig({.core = {.fast = true}}) {}
    std::string Scene() const override { return ""; }
    void Start(std::shared_ptr<const virtual_board::Input> input) {
        Sweep_Rig::Start(std::move(input));
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
};
