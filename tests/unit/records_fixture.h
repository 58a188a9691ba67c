#pragma once
#include <gtest/gtest.h>

#include "keys/menus/entry.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "platform/clock.h"
#include "platform/stop.h"
#include "records/reset.h"
#include "records/trace.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "sweep/transfer.h"
#include "temp_root.h"

/// Records, status and pages as before start-up, a root of the test's own, stepped time. No layer is open, so drawing
/// does nothing, and there is no link, so transfers stop short of it.
class Records : public testing::Test {
protected:
    void SetUp() override {
        platform::Reset_Stop();
        platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
        Reset_Records();
        Reset_Pages();
        clean_keybuffer();
        LOOP_Buffers = nullptr;
        DSP_Trace_Data = nullptr;
        SCPI_RegInitial(scpi_context);
        scpi_interface = {};
        scpi_context.commands = nullptr;
        scpi_context.index = nullptr;
        scpi_context.host = nullptr;
        SCPI_Init(scpi_context);
    }
    void TearDown() override { DSP_Trace_Data = nullptr; }

    Temp_Root root;
};
