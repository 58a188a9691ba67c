// Every field of every record of settings: the preset restores it, and the state file keeps it. A field that is added to
// a record and forgotten there fails here.

#include <cstring>

#include "files/state.h"
#include "records/limit.h"
#include "records_fixture.h"

namespace {

/// Memory of a record, or of a field that a test leaves out.
struct Part {
    std::byte* at;
    std::size_t size;
    bool further = false;  ///< in an array, behind its first element

    template <class Field>
        requires(!std::is_same_v<Field, Part>)
    Part(Field& field) : at(reinterpret_cast<std::byte*>(&field)), size(sizeof field) {}
    Part(std::byte* first, std::size_t bytes) : at(first), size(bytes) {}
    bool Holds(const Part& other) const { return other.at >= at && other.at + other.size <= at + size; }
};

template <class Type>
constexpr bool is_array = std::is_class_v<Type> && requires(Type type) { type[0]; };

template <class Record>
std::size_t Add_Values(std::byte* at, std::vector<Part>& values);

/// Stands for the fields of a record that is initialised, and so meets their types in their order.
struct Any_Field {
    std::byte* record;
    std::size_t* end;
    std::vector<Part>* values;

    template <class Field>
    operator Field() const {
        *end = (*end + alignof(Field) - 1) / alignof(Field) * alignof(Field);
        *end += Add_Values<Field>(record + *end, *values);
        return Field();
    }
};

template <class Record, std::size_t... fields>
void Add_Fields(const Any_Field& any, std::index_sequence<fields...>) {
    const auto one_more = [&](std::size_t) { return any; };
    if constexpr (requires { Record{one_more(fields)..., any}; }) {
        Add_Fields<Record>(any, std::index_sequence<fields..., sizeof...(fields)>());
    } else {
        [[maybe_unused]] const Record met{one_more(fields)...};
    }
}

/// The numbers that a type is made of; returns its size.
template <class Type>
std::size_t Add_Values(std::byte* at, std::vector<Part>& values) {
    if constexpr (is_array<Type>) {
        using Element = std::remove_cvref_t<decltype(std::declval<Type>()[0])>;
        for (std::size_t offset = 0; offset < sizeof(Type); offset += sizeof(Element)) {
            const std::size_t first = values.size();
            Add_Values<Element>(at + offset, values);
            for (std::size_t i = first; offset > 0 && i < values.size(); ++i) values[i].further = true;
        }
    } else if constexpr (std::is_aggregate_v<Type>) {
        std::size_t end = 0;
        Add_Fields<Type>({at, &end, &values}, std::index_sequence<>());
        EXPECT_TRUE(end <= sizeof(Type) && end + alignof(Type) > sizeof(Type)) << "fields are not met in their order";
    } else {
        values.emplace_back(at, sizeof(Type));
    }
    return sizeof(Type);
}

struct Record {
    const char* name;
    std::vector<Part> values, not_preset, not_kept;

    static bool Checked(const Part& value, const std::vector<Part>& left_out) {
        return std::ranges::none_of(left_out, [&](const Part& part) { return part.Holds(value); });
    }
};

template <class Type>
Record Of(const char* name, Type& record, std::vector<Part> not_preset = {}, std::vector<Part> not_kept = {}) {
    Record of{name, {}, std::move(not_preset), std::move(not_kept)};
    Add_Values<Type>(reinterpret_cast<std::byte*>(&record), of.values);
    return of;
}

/// With what they leave out. What a state file has nothing of are values that follow from others, and what sweeps.
std::vector<Record> Records_Of_Settings() {
    const auto trace = [](const char* name, Trace_Record& r) {
        return Of(name, r, {}, {r.sweep_complete, r.redraw_mask, r.level_exceeded, r.word, r.point, r.detector,
                                r.average_counter, r.rows, r.drawn_rows, r.processed, r.sweeps, r.detector_state,
                                r.value, r.stored, r.stored_rows, r.points, r.sweep_start});
    };
    Sweep_Record& s = Sweep_Data;
    Marker_Record& m = Marker_Data;
    Peak_Record& p = Peak_Data;
    Display_Record& d = Display_Data;
    return {
        Of("Freqs", Freqs),
        Of("stepautoman", stepautoman),
        Of("Amp", Amp, {}, {Amp.attenuation_before}),
        Of("BW_Data", BW_Data, {}, {BW_Data.detector, BW_Data.unfit}),
        Of("BW_RBW_Mode", BW_RBW_Mode, {}, {BW_RBW_Mode}),
        Of("Sweep_Data", s, {}, {s.steps, s.shortest, s.hold, s.single, s.single_started, s.single_left,
                                 s.external_trigger_pending, s.fft, s.busy, s.uncal}),
        Of("Trigger_Data", Trigger_Data),
        Of("Autoset_Data", Autoset_Data),
        Of("Channel_Data", Channel_Data),
        trace("Trace_Data[0]", Trace_Data[0]),
        trace("Trace_Data[1]", Trace_Data[1]),
        Of("Trace_Data[2]", Trace_Data[2], {}, {Trace_Data[2]}),
        Of("AvgType", AvgType),
        Of("MATHFLAG", MATHFLAG),
        Of("TraceMath", TraceMath),
        Of("Log_Ref", Log_Ref),
        Of("Max_Hold_Restart", Max_Hold_Restart),
        Of("AVERLAG", AVERLAG, {}, {AVERLAG}),
        Of("Hold_Level_Shown", Hold_Level_Shown, {}, {Hold_Level_Shown}),
        Of("Marker_Data", m, {m.counter_sent}, {m.resolution_changed, m.second_position, m.right_column, m.placed_start,
                                                m.placed_width, m.counter_sent, m.steps}),
        Of("Peak_Data", p, {}, {p.second_word, p.count, p.position, p.rank, p.table_column, p.table_frequency,
                                p.table_level, p.accepted, p.by_amplitude, p.demod_threshold, p.trace}),
        Of("Display_Data", d, {d.brightness}, {d.brightness, d.active, d.clock_shown, d.key_lock}),
        Of("EMC_Data", EMC_Data, {}, {EMC_Data}),
        Of("Global_Table", Global_Table, {}, {Global_Table}),
        Of("Sequence_runnow_flag", Sequence_runnow_flag, {}, {Sequence_runnow_flag}),
        Of("Run_AuotSet_flag", Run_AuotSet_flag, {}, {Run_AuotSet_flag}),
        Of("attention_notice", attention_notice, {}, {attention_notice}),
        Of("ScreenActive", ScreenActive),
        Of("tracking_normalised", Sys_Data.tracking_normalised),
        Of("Limit_Test", Limit_Test, {}, {Limit_Test.verdict, Limit_Test.swept}),
        Of("PassCriterion", PassCriterion),
        Of("LimitlineScreen", LimitlineScreen, {}, {LimitlineScreen}),
    };
}

class Settings : public Records {
protected:
    void SetUp() override {
        Records::SetUp();
        std::filesystem::create_directories(platform::Rooted("/mnt/nand"));
        Preset_Instrument();
    }
    /// Changes every value of a record at once; all but those left out must be as before after the return.
    template <class Return>
    static void Expect_Back(const Record& record, const std::vector<Part>& left_out, Return&& come_back) {
        std::vector<std::vector<std::byte>> fresh;
        for (const Part& value : record.values) {
            fresh.emplace_back(value.at, value.at + value.size);
            value.at[0] ^= std::byte{1};
        }
        come_back();
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            const Part& value = record.values[i];
            const bool same = std::memcmp(value.at, fresh[i].data(), value.size) == 0;
            if (!same && Record::Checked(value, left_out)) ADD_FAILURE() << "value " << i << " of " << record.name;
            std::memcpy(value.at, fresh[i].data(), value.size);
        }
    }
};

TEST_F(Settings, ThePresetRestoresEveryField) {
    for (const Record& record : Records_Of_Settings()) Expect_Back(record, record.not_preset, Preset_Instrument);
}

TEST_F(Settings, TheStateFileKeepsEveryField) {
    constexpr const char* path = "/mnt/nand/state.sta";
    ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
    for (const Record& record : Records_Of_Settings()) {
        Expect_Back(record, record.not_kept, [] { ASSERT_TRUE(Recall_Lostate_ForLocal(path, 0)); });
    }
}

TEST_F(Settings, TheStateFileBringsOtherValuesBack) {
    constexpr const char* path = "/mnt/nand/state.sta";
    testing::internal::CaptureStderr();
    Limit_Test.high = 0;  // without a line there is no test
    int contradictions = 0;  // with values that go together, as the reference levels at the input and as shown
    for (const Record& record : Records_Of_Settings()) {
        for (const Part& value : record.values) {
            if (value.further || !Record::Checked(value, record.not_kept)) continue;
            value.at[0] ^= std::byte{1};
            const std::vector changed(value.at, value.at + value.size);
            ASSERT_TRUE(Save_LocalState_SpecAndSem(path));
            value.at[0] ^= std::byte{1};
            const bool recalled = Recall_Lostate_ForLocal(path, 0);
            const bool same = std::memcmp(value.at, changed.data(), value.size) == 0;
            EXPECT_TRUE(same || !recalled) << "value " << &value - record.values.data() << " of " << record.name;
            contradictions += !recalled;
            if (same) value.at[0] ^= std::byte{1};
        }
    }
    testing::internal::GetCapturedStderr();
    EXPECT_LE(contradictions, 12);
}

}  // namespace
