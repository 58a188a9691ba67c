#include <array>
#include <cmath>

#include "keys/level_units.h"
#include "records/amp.h"
#include "scpi/commands/families.h"
#include "scpi/commands/marker_number.h"
#include "trace/marker_display.h"
#include "trace/marker_to.h"
#include "trace/peak_search.h"

namespace {

using namespace shapes;

constexpr int typed = 2;

enum Peak_Choice : std::int32_t { peak_maximum, peak_next, peak_right, peak_left, peak_minimum };
constexpr ScpiChoiceDef peak_choices[] = {{"MAXimum", peak_maximum}, {"NEXT", peak_next},       {"RIGHT", peak_right},
                                          {"LEFT", peak_left},       {"MINimum", peak_minimum}, {nullptr, 0}};

enum Set_Choice_Tag : std::int32_t { to_center, to_start, to_stop, to_step, to_reference, to_span };
constexpr ScpiChoiceDef set_choices[] = {{"CENTer", to_center}, {"STARt", to_start},      {"STOP", to_stop},
                                         {"STEP", to_step},     {"RLEVel", to_reference}, {"SPAN", to_span},
                                         {nullptr, 0}};

constexpr ScpiChoiceDef type_choices[] = {{"NORMal", 0}, {"DELTa", 1}, {nullptr, 0}};
constexpr ScpiChoiceDef order_choices[] = {{"FREQuency", 0}, {"AMPLitude", 1}, {nullptr, 0}};

double In_Unit(double dbm) { return std::isfinite(dbm) ? AmplUnitTrans(dbm, Amp.unit, 1) : dbm; }

/// An answer of a marker.
template <class Read>
int Reading(ScpiContext& context, Read&& read) {
    return With_Marker(context, [&](int marker) { return Answer_Reading(context, read(marker)); });
}

/// A switch of a marker.
template <int (*setter)(int, bool)>
int Set_Switch(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_On_Off(context, [&](bool on) { return setter(marker, on); });
    });
}

template <class Value>
int Answer_Switch(ScpiContext& context, const Per_Marker<Value>& field) {
    return With_Marker(context, [&](int marker) { return Answer_On_Off(context, Of_Marker(field, marker) != 0); });
}

int CALCulate_MARKerYQ(ScpiContext& context) {
    return Reading(context, [](int marker) { return In_Unit(Marker_Level(marker)); });
}

int CALCulate_MARKerX(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Place(context, [&](double shown) {
            Set_Marker_Place(marker, shown);
            Show_Marker_Entry(Marker_Entry::normal);
        });
    });
}

int CALCulate_MARKerXQ(ScpiContext& context) {
    return Reading(context, [](int marker) { return Of_Marker(Marker_Data.on, marker) ? Marker_Place(marker) : NAN; });
}

int CALCulate_MARKerFCOuntXQ(ScpiContext& context) { return Reading(context, Marker_Count); }

int CALCulate_MARKerNOISeYQ(ScpiContext& context) {
    return Reading(context, [](int marker) { return In_Unit(Marker_Noise_Level(marker)); });
}

int CALCulate_MARKerVSWRYQ(ScpiContext& context) { return Reading(context, Marker_VSWR); }

int CALCulate_MARKerPEAK(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Choice(context, peak_choices, [&](std::int32_t choice) {
            constexpr std::array steps{Peak_Step::highest, Peak_Step::next, Peak_Step::right, Peak_Step::left,
                                       Peak_Step::lowest};
            return Search_Peak(marker, steps[static_cast<std::size_t>(choice)]);
        });
    });
}

int CALCulate_MARKerFCOuntRESolution(ScpiContext& context) {
    return With_Marker(context, [&](int) {
        return Set_Frequency(context, [](double hertz) {
            Set_Marker_Resolution(typed, hertz);
            Show_Marker_Entry(Marker_Entry::resolution);
        });
    });
}

int CALCulate_MARKerFCOuntRESolutionQ(ScpiContext& context) {
    return Reading(context, [](int) { return Marker_Resolution(); });
}

int CALCulate_MARKerFCOuntRESolutionAUTO(ScpiContext& context) {
    return With_Marker(context, [&](int) { return Set_On_Off(context, Set_Marker_Resolution_Auto); });
}

int CALCulate_MARKerFCOuntRESolutionAUTOQ(ScpiContext& context) {
    return With_Marker(context, [&](int) {
        return Answer_On_Off(context, !Marker_Data.resolution_manual[static_cast<std::size_t>(ScreenActive)]);
    });
}

int CALCulate_MARKerFCOuntSTATeQ(ScpiContext& context) { return Answer_Switch(context, Marker_Data.counter); }
int CALCulate_MARKerNOISeSTATeQ(ScpiContext& context) { return Answer_Switch(context, Marker_Data.noise); }
int CALCulate_MARKerVSWRSTATeQ(ScpiContext& context) { return Answer_Switch(context, Marker_Data.vswr); }
int CALCulate_MARKerSTATeQ(ScpiContext& context) { return Answer_Switch(context, Marker_Data.on); }

int CALCulate_MARKerSET(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Choice(context, set_choices, [&](std::int32_t choice) {
            switch (choice) {
                case to_start: return Marker_To_Start(marker);
                case to_stop: return Marker_To_Stop(marker);
                case to_step: return Marker_To_Step(marker);
                case to_reference: return Marker_To_Reference(marker);
                case to_span: return Marker_To_Span(marker);
                default: return Marker_To_Center(marker);
            }
        });
    });
}

int CALCulate_MARKerTRACe(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Integer(context, [&](std::int32_t number) {
            if (number < 1 || number > traces) return data_out_of_range;
            return Set_Marker_Trace(marker, number - 1);
        });
    });
}

int CALCulate_MARKerTRACeQ(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        const int trace = Marker_Trace(marker);
        return Answer_Integer(context, trace < 0 ? 1 : trace + 1);
    });
}

int CALCulate_MARKerTRACeAUTOQ(ScpiContext& context) {
    return With_Marker(context, [&](int marker) { return Answer_On_Off(context, Marker_Trace_Auto(marker)); });
}

int CALCulate_MARKerTYPE(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Set_Choice(context, type_choices, [&](std::int32_t delta) { return Set_Marker_Type(marker, delta != 0); });
    });
}

int CALCulate_MARKerTYPEQ(ScpiContext& context) {
    return With_Marker(context, [&](int marker) {
        return Answer_Choice(context, type_choices, Of_Marker(Marker_Data.delta, marker));
    });
}

int CALCulate_MARKerAOFF(ScpiContext& context) { return Event(context, Marker_All_Off); }

int CALCulate_MARKerPEAKCTRackSTATe(ScpiContext& context) { return Set_On_Off(context, Set_Peak_Track); }
int CALCulate_MARKerPEAKCTRackSTATeQ(ScpiContext& context) { return Answer_On_Off(context, Peak_Data.tracking != 0); }

int CALCulate_MARKerPEAKDATAQ(ScpiContext& context) {
    if (!Take_Nothing(context, While_Busy::allowed)) return failed;
    SelectTraceForPeakSearch();
    std::array<Peak_Row, table_peaks> rows;
    const int count = Peak_Table_Rows(rows);
    SCPI_ResultInt(context, count);
    for (int i = 0; i < count; ++i) {
        SCPI_ResultDouble(context, rows[static_cast<std::size_t>(i)].frequency);
        SCPI_ResultDouble(context, In_Unit(rows[static_cast<std::size_t>(i)].level));
    }
    return done;
}

int CALCulate_MARKerPEAKEXCursion(ScpiContext& context) {
    return Set_Number(context, {suffix_none, suffix_db}, [](const ScpiNumber& number) {
        Set_Peak_Excursion(typed, number.value);
        Show_Marker_Entry(Marker_Entry::excursion);
    });
}
int CALCulate_MARKerPEAKEXCursionQ(ScpiContext& context) {
    return Answer_Real(context, static_cast<double>(Peak_Data.excursion));
}

int CALCulate_MARKerPEAKSORTTYPE(ScpiContext& context) {
    return Set_Choice(context, order_choices, [](std::int32_t order) { Set_Peak_Order(order != 0); });
}
int CALCulate_MARKerPEAKSORTTYPEQ(ScpiContext& context) {
    return Answer_Choice(context, order_choices, Peak_Data.by_level ? 1 : 0);
}

int CALCulate_MARKerPEAKTABLeSTATe(ScpiContext& context) { return Set_On_Off(context, Set_Peak_Table); }
int CALCulate_MARKerPEAKTABLeSTATeQ(ScpiContext& context) {
    return Answer_On_Off(context, (Global_Table & table_peak) != 0);
}

/// A number without unit is in the amplitude unit.
double Level_In_dBm(const ScpiNumber& number) {
    switch (number.unit) {
        case suffix_dbm: return number.value;
        case suffix_dbmv: return AmplUnitTrans(number.value, level_dbmv, 0);
        case suffix_dbuv: return AmplUnitTrans(number.value, level_dbuv, 0);
        case suffix_volt: return AmplUnitTrans(number.value, level_v, 0);
        case suffix_watt: return AmplUnitTrans(number.value, level_w, 0);
        default: return AmplUnitTrans(number.value, Amp.unit, 0);
    }
}

int CALCulate_MARKerPEAKTHReshold(ScpiContext& context) {
    return Set_Number(context, {suffix_none, suffix_dbm, suffix_dbmv, suffix_dbuv, suffix_volt, suffix_watt},
                      [](const ScpiNumber& number) {
                          Set_Peak_Threshold(typed, Level_In_dBm(number));
                          Show_Marker_Entry(Marker_Entry::threshold);
                      });
}
int CALCulate_MARKerPEAKTHResholdQ(ScpiContext& context) {
    return Answer_Real(context, In_Unit(static_cast<double>(Peak_Data.threshold)));
}

int CALCulate_MARKerPEAKTHResholdSTATe(ScpiContext& context) { return Set_On_Off(context, Set_Peak_Threshold_State); }
int CALCulate_MARKerPEAKTHResholdSTATeQ(ScpiContext& context) {
    return Answer_On_Off(context, Peak_Data.threshold_on != 0);
}

int CALCulate_MARKerTABLeSTATe(ScpiContext& context) { return Set_On_Off(context, Set_Marker_Table); }
int CALCulate_MARKerTABLeSTATeQ(ScpiContext& context) {
    return Answer_On_Off(context, (Global_Table & table_marker) != 0);
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {":CALCulate:MARKer#:Y?", CALCulate_MARKerYQ},
    {":CALCulate:MARKer#:X", CALCulate_MARKerX},
    {":CALCulate:MARKer#:X?", CALCulate_MARKerXQ},
    {":CALCulate:MARKer#:FCOunt:X?", CALCulate_MARKerFCOuntXQ},
    {":CALCulate:MARKer#:NOISe:Y?", CALCulate_MARKerNOISeYQ},
    {":CALCulate:MARKer#:VSWR:Y?", CALCulate_MARKerVSWRYQ},
    {":CALCulate:MARKer#:PEAK", CALCulate_MARKerPEAK},
    {":CALCulate:MARKer#:FCOunt:RESolution", CALCulate_MARKerFCOuntRESolution},
    {":CALCulate:MARKer#:FCOunt:RESolution?", CALCulate_MARKerFCOuntRESolutionQ},
    {":CALCulate:MARKer#:FCOunt:RESolution:AUTO", CALCulate_MARKerFCOuntRESolutionAUTO},
    {":CALCulate:MARKer#:FCOunt:RESolution:AUTO?", CALCulate_MARKerFCOuntRESolutionAUTOQ},
    {":CALCulate:MARKer#:FCOunt:STATe", Set_Switch<Set_Marker_Counter>},
    {":CALCulate:MARKer#:FCOunt:STATe?", CALCulate_MARKerFCOuntSTATeQ},
    {":CALCulate:MARKer#:NOISe:STATe", Set_Switch<Set_Marker_Noise>},
    {":CALCulate:MARKer#:NOISe:STATe?", CALCulate_MARKerNOISeSTATeQ},
    {":CALCulate:MARKer#:VSWR:STATe", Set_Switch<Set_Marker_VSWR>},
    {":CALCulate:MARKer#:VSWR:STATe?", CALCulate_MARKerVSWRSTATeQ},
    {":CALCulate:MARKer#:SET", CALCulate_MARKerSET},
    {":CALCulate:MARKer#:STATe", Set_Switch<Set_Marker_State>},
    {":CALCulate:MARKer#:STATe?", CALCulate_MARKerSTATeQ},
    {":CALCulate:MARKer#:TRACe", CALCulate_MARKerTRACe},
    {":CALCulate:MARKer#:TRACe?", CALCulate_MARKerTRACeQ},
    {":CALCulate:MARKer#:TRACe:AUTO", Set_Switch<Set_Marker_Trace_Auto>},
    {":CALCulate:MARKer#:TRACe:AUTO?", CALCulate_MARKerTRACeAUTOQ},
    {":CALCulate:MARKer#:TYPE", CALCulate_MARKerTYPE},
    {":CALCulate:MARKer#:TYPE?", CALCulate_MARKerTYPEQ},
    {":CALCulate:MARKer:AOFF", CALCulate_MARKerAOFF},
    {":CALCulate:MARKer:PEAK:CTRack:STATe", CALCulate_MARKerPEAKCTRackSTATe},
    {":CALCulate:MARKer:PEAK:CTRack:STATe?", CALCulate_MARKerPEAKCTRackSTATeQ},
    {":CALCulate:MARKer:PEAK:DATA?", CALCulate_MARKerPEAKDATAQ},
    {":CALCulate:MARKer:PEAK:EXCursion", CALCulate_MARKerPEAKEXCursion},
    {":CALCulate:MARKer:PEAK:EXCursion?", CALCulate_MARKerPEAKEXCursionQ},
    {":CALCulate:MARKer:PEAK:SORT:TYPE", CALCulate_MARKerPEAKSORTTYPE},
    {":CALCulate:MARKer:PEAK:TABLe:STATe", CALCulate_MARKerPEAKTABLeSTATe},
    {":CALCulate:MARKer:PEAK:THReshold", CALCulate_MARKerPEAKTHReshold},
    {":CALCulate:MARKer:PEAK:THReshold:STATe", CALCulate_MARKerPEAKTHResholdSTATe},
    {":CALCulate:MARKer:PEAK:SORT:TYPE?", CALCulate_MARKerPEAKSORTTYPEQ},
    {":CALCulate:MARKer:PEAK:TABLe:STATe?", CALCulate_MARKerPEAKTABLeSTATeQ},
    {":CALCulate:MARKer:PEAK:THReshold?", CALCulate_MARKerPEAKTHResholdQ},
    {":CALCulate:MARKer:PEAK:THReshold:STATe?", CALCulate_MARKerPEAKTHResholdSTATeQ},
    {":CALCulate:MARKer:TABLe:STATe", CALCulate_MARKerTABLeSTATe},
    {":CALCulate:MARKer:TABLe:STATe?", CALCulate_MARKerTABLeSTATeQ},
});

}  // namespace

std::span<const ScpiCommand> families::Calculate_Marker() { return rows; }
