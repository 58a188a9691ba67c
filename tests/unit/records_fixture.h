#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "keys/menus/entry.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "panel.h"
#include "platform/clock.h"
#include "platform/stop.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/autoset.h"
#include "records/bw.h"
#include "records/channel.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/handover.h"
#include "records/keystate.h"
#include "records/locks.h"
#include "records/reset.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trace.h"
#include "records/trigger.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "system/preset.h"
#include "temp_root.h"
#include "trace/acquisition.h"
#include "trace/markers.h"
#include "trace/peak_search.h"

using Codes = std::vector<int>;

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

    /// Sweep, level, bandwidth, trace and marker settings of a new instrument on the frequency page; a log of errors.
    void Factory_Settings() {
        root.Write("/var/log/error.log", "");
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Init_Trace_Data();
        PeakSearch_Init();
        Marker_Init();
        keylink = &FreqLink[0];
    }

    Temp_Root root;
};

/// With the settings of a new instrument.
class Factory_Records : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        Factory_Settings();
    }
};
