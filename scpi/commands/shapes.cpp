#include "scpi/commands/shapes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "keys/level_units.h"
#include "records/amp.h"
#include "records/function.h"
#include "records/sweep.h"
#include "scpi/error_queue.h"
#include "scpi/readers.h"
#include "scpi/writers.h"

namespace shapes {

namespace {

constexpr int too_much_data = -223;

/// The last checks of a command whose parameters have been read.
bool May_Act(ScpiContext& context, While_Busy busy) {
    if (!SCPI_NoParameters(context)) return false;
    if (busy == While_Busy::allowed || !Settings_Refused()) return true;
    SCPI_ErrorPush(context, settings_conflict);
    return false;
}

int Level_Unit_Of(std::int32_t suffix) {
    switch (suffix) {
        case suffix_dbm: return level_dbm;
        case suffix_dbmv: return level_dbmv;
        case suffix_dbuv: return level_dbuv;
        case suffix_volt: return level_v;
        case suffix_watt: return level_w;
        default: return Amp.unit;
    }
}

/// A level whose power is too large for a double is none.
bool Finite(ScpiContext& context, double value) {
    if (std::isfinite(value)) return true;
    SCPI_ErrorPush(context, data_out_of_range);
    return false;
}

}  // namespace

bool Instrument_Busy() {
    return Run_AuotSet_flag != 0 || FunctionMode_Flag == mode_power_meter || Sweep_Data.busy != 0;
}

bool Settings_Refused() { return Instrument_Busy() || (Global_Table & table_split) != 0; }

int Refuse(ScpiContext& context, int code) {
    SCPI_ErrorPush(context, code);
    return failed;
}

bool Read_Number(ScpiContext& context, std::initializer_list<Scpi_Unit> units, ScpiNumber& number) {
    if (!SCPI_ParamNumber(context, nullptr, &number, true) || number.special) return false;
    if (std::find(units.begin(), units.end(), number.unit) == units.end()) {
        SCPI_ErrorPush(context, suffix_error);
        return false;
    }
    return Finite(context, number.value);
}

bool Read_Frequency(ScpiContext& context, double& hertz) {
    ScpiNumber number;
    if (!Read_Number(context, {suffix_none, suffix_hertz}, number)) return false;
    hertz = number.value;
    return true;
}

bool Read_Level(ScpiContext& context, double& dbm) {
    ScpiNumber number;
    if (!Read_Number(context, {suffix_none, suffix_dbm, suffix_dbmv, suffix_dbuv, suffix_volt, suffix_watt}, number)) {
        return false;
    }
    dbm = AmplUnitTrans(number.value, Level_Unit_Of(number.unit), 0);
    return Finite(context, dbm);
}

bool Read_Decibels(ScpiContext& context, double& decibels) {
    ScpiNumber number;
    if (!Read_Number(context, {suffix_none, suffix_db}, number)) return false;
    decibels = number.value;
    return true;
}

bool Take_Number(ScpiContext& context, std::initializer_list<Scpi_Unit> units, While_Busy busy, ScpiNumber& number) {
    return Read_Number(context, units, number) && May_Act(context, busy);
}

bool Take_Level(ScpiContext& context, While_Busy busy, double& dbm) {
    return Read_Level(context, dbm) && May_Act(context, busy);
}

bool Take_Decibels(ScpiContext& context, While_Busy busy, double& decibels) {
    return Read_Decibels(context, decibels) && May_Act(context, busy);
}

bool Take_Integer(ScpiContext& context, While_Busy busy, std::int32_t& value) {
    return SCPI_ParamInt(context, &value, true) && May_Act(context, busy);
}

bool Take_On_Off(ScpiContext& context, While_Busy busy, bool& on) {
    return SCPI_ParamBool(context, &on, true) && May_Act(context, busy);
}

bool Take_Choice(ScpiContext& context, const ScpiChoiceDef* choices, While_Busy busy, std::int32_t& tag) {
    return SCPI_ParamChoice(context, choices, &tag, true) && May_Act(context, busy);
}

bool Take_Text(ScpiContext& context, While_Busy busy, char* buffer, std::size_t size) {
    std::size_t copied = 0;
    if (!SCPI_ParamCopyText(context, buffer, size, &copied, true)) return false;
    if (copied == size) {
        SCPI_ErrorPush(context, too_much_data);
        return false;
    }
    return May_Act(context, busy);
}

bool Take_Nothing(ScpiContext& context, While_Busy busy) { return May_Act(context, busy); }

int Answer_Real(ScpiContext& context, double value) {
    if (!SCPI_NoParameters(context)) return failed;
    SCPI_ResultDouble(context, value);
    return done;
}

int Answer_Level(ScpiContext& context, double dbm) { return Answer_Real(context, AmplUnitTrans(dbm, Amp.unit, 1)); }

int Answer_Integer(ScpiContext& context, std::int32_t value) {
    if (!SCPI_NoParameters(context)) return failed;
    SCPI_ResultInt(context, value);
    return done;
}

int Answer_On_Off(ScpiContext& context, bool on) {
    if (!SCPI_NoParameters(context)) return failed;
    SCPI_ResultBool(context, on);
    return done;
}

int Answer_Choice(ScpiContext& context, const ScpiChoiceDef* choices, std::int32_t tag) {
    if (!SCPI_NoParameters(context)) return failed;
    const char* name = SCPI_ChoiceToName(choices, tag);
    if (!name) return failed;
    SCPI_ResultCharacters(context, name, std::strlen(name));
    return done;
}

int Answer_Text(ScpiContext& context, std::string_view text) {
    if (!SCPI_NoParameters(context)) return failed;
    SCPI_ResultText(context, text);
    return done;
}

}  // namespace shapes
