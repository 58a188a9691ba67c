// Every byte of every record of settings: the preset restores it, and the state file keeps it. A field that is added to
// a record and forgotten there fails here.

#include <cstddef>
#include <cstring>
#include <vector>

#include "files/state.h"
#include "records/amp.h"
#include "records/analysis.h"
#include "records/autoset.h"
#include "records/bw.h"
#include "records/channel.h"
#include "records/display.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/limit.h"
#include "records/sweep.h"
#include "records/sys.h"
#include "records/trace.h"
#include "records/trigger.h"
#include "records_fixture.h"
#include "sweep/bandwidth.h"
#include "system/preset.h"

namespace {

using Bytes = std::vector<unsigned char>;

/// A part of a record that a test leaves out.
struct Part {
    std::size_t offset, size;
};

struct Record {
    const char* name;
    void* memory;
    Bytes is_value;  ///< 0 for the bytes between the fields
    std::vector<Part> not_preset, not_kept;

    Bytes Copy() const {
        const auto* bytes = static_cast<const unsigned char*>(memory);
        return {bytes, bytes + is_value.size()};
    }
    void Put(const Bytes& bytes) const { std::memcpy(memory, bytes.data(), bytes.size()); }
    bool Checked(std::size_t byte, const std::vector<Part>& left_out) const {
        for (const Part& part : left_out) {
            if (byte >= part.offset && byte < part.offset + part.size) return false;
        }
        return is_value[byte] != 0;
    }
};

template <class T>
Record Of(const char* name, T& record, std::vector<Part> not_preset = {}, std::vector<Part> not_kept = {}) {
    static_assert(std::is_trivially_copyable_v<T>);
    alignas(T) std::array<unsigned char, sizeof(T)> mask;
    mask.fill(0xff);
    __builtin_clear_padding(reinterpret_cast<T*>(mask.data()));
    return {name, &record, Bytes(mask.begin(), mask.end()), std::move(not_preset), std::move(not_kept)};
}

#define PART(record, field) Part{offsetof(record, field), sizeof(record::field)}
/// Behind the last field, where the compiler leaves what it can't know to be padding.
#define TAIL(record, last) Part{offsetof(record, last) + sizeof(record::last), sizeof(record)}

/// What a state file has nothing of: the values that follow from others, and what sweeps, not what is set.
std::vector<Record> Records_Of_Settings() {
    const std::vector<Part> all{{0, ~std::size_t{0}}};
    return {
        Of("Freqs", Freqs),
        Of("stepautoman", stepautoman),
        Of("Amp", Amp, {}, {PART(Amp_Record, attenuation_before)}),
        Of("BW_Data", BW_Data, {}, {PART(BW_Record, detector), PART(BW_Record, unfit)}),
        Of("BW_RBW_Mode", BW_RBW_Mode, {}, all),
        Of("Sweep_Data", Sweep_Data, {},
           {PART(Sweep_Record, steps), PART(Sweep_Record, shortest), PART(Sweep_Record, hold), PART(Sweep_Record, single),
            PART(Sweep_Record, single_started), PART(Sweep_Record, single_left),
            PART(Sweep_Record, external_trigger_pending), PART(Sweep_Record, fft),
            PART(Sweep_Record, busy), PART(Sweep_Record, uncal)}),
        Of("Trigger_Data", Trigger_Data),
        Of("Autoset_Data", Autoset_Data),
        Of("Channel_Data", Channel_Data),
        Of("Trace_Data", Trace_Data, {}, all),
        Of("AvgType", AvgType),
        Of("MATHFLAG", MATHFLAG),
        Of("TraceMath", TraceMath),
        Of("Log_Ref", Log_Ref),
        Of("Max_Hold_Restart", Max_Hold_Restart),
        Of("AVERLAG", AVERLAG),
        Of("Hold_Level_Shown", Hold_Level_Shown),
        Of("Marker_Data", Marker_Data, {PART(Marker_Record, counter_sent), TAIL(Marker_Record, steps)}, all),
        Of("Peak_Data", Peak_Data, {TAIL(Peak_Record, tracking)}, all),
        Of("Display_Data", Display_Data, {PART(Display_Record, brightness)}, all),
        Of("EMC_Data", EMC_Data, {}, all),
        Of("Global_Table", Global_Table, {}, all),
        Of("Sequence_runnow_flag", Sequence_runnow_flag, {}, all),
        Of("Run_AuotSet_flag", Run_AuotSet_flag, {}, all),
        Of("attention_notice", attention_notice, {}, all),
        Of("ScreenActive", ScreenActive),
        Of("tracking_normalised", Sys_Data.tracking_normalised),
        Of("Limit_Test", Limit_Test, {}, {PART(Limit_Test_Record, verdict), PART(Limit_Test_Record, swept)}),
        Of("PassCriterion", PassCriterion),
        Of("LimitlineScreen", LimitlineScreen, {}, all),
    };
}

class Settings : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        Preset_Instrument();
    }
    static void Expect_Same(const Record& record, const Bytes& fresh, const std::vector<Part>& left_out) {
        const Bytes now = record.Copy();
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            EXPECT_TRUE(now[i] == fresh[i] || !record.Checked(i, left_out)) << record.name << ", byte " << i;
        }
        record.Put(fresh);
    }
};

TEST_F(Settings, ThePresetRestoresEveryField) {
    for (const Record& record : Records_Of_Settings()) {
        const Bytes fresh = record.Copy();
        record.Put(Bytes(fresh.size(), 1));
        if (record.memory == &ScreenActive) ScreenActive = 1;
        Preset_Instrument();
        Expect_Same(record, fresh, record.not_preset);
    }
}

TEST_F(Settings, TheStateFileKeepsEveryField) {
    constexpr const char* path = "/mnt/nand/state.sta";
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    for (const Record& record : Records_Of_Settings()) {
        const Bytes fresh = record.Copy();
        record.Put(Bytes(fresh.size(), 1));
        ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0));
        Expect_Same(record, fresh, record.not_kept);
    }
}

}  // namespace
