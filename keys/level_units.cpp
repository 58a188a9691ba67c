#include "keys/level_units.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "records/amp.h"
#include "records/freqs.h"

namespace {

// Single-precision constants in double arithmetic, by impedance.
constexpr std::array<float, 2> dbmv_at_0_dbm{46.99f, 48.751f}, dbuv_at_0_dbm{106.99f, 108.751f};
constexpr std::array<double, 2> ohms{50, 75}, volts_squared_at_0_dbm{0.05, 0.075};

std::size_t Impedance() { return Amp.impedance[static_cast<std::size_t>(ScreenActive)] == 1 ? 1 : 0; }

double To_Tenth(double value) { return std::round(10 * value) / 10; }

/// How many of a sub-unit make one V or W.
double Parts(int unit) {
    switch (unit) {
        case level_mw: case level_mv: return 1e3;
        case level_uw: case level_uv: return 1e6;
        case level_nw: case level_nv: return 1e9;
        case level_pw: return 1e12;
        case level_fw: return 1e15;
        default: return 1;
    }
}

double To_dBm(double value, int unit) {
    switch (unit) {
        case level_dbmv: return Changunit_dBmvtodBm(value);
        case level_dbuv: return Changunit_dBuvtodBm(value);
        case level_v: case level_mv: case level_uv: case level_nv: return Changunit_VoltstodBm(value / Parts(unit));
        case level_w: case level_mw: case level_uw: case level_nw: case level_pw: case level_fw:
            return Changunit_WattstodBm(value / Parts(unit));
        default: return value;
    }
}

double From_dBm(double dbm, int unit) {
    switch (unit) {
        case level_dbmv: return Changunit_dBmtodBmv(dbm);
        case level_dbuv: return Changunit_dBmtodBuv(dbm);
        case level_v: case level_mv: case level_uv: case level_nv: return Changunit_dBmtoVolts(dbm) * Parts(unit);
        case level_w: case level_mw: case level_uw: case level_nw: case level_pw: case level_fw:
            return Changunit_dBmtoWatts(dbm) * Parts(unit);
        default: return dbm;
    }
}

}  // namespace

double Changunit_dBmtoWatts(double dbm) { return std::pow(10, dbm / 10) * 1e-3; }
double Changunit_dBmtoVolts(double dbm) { return std::sqrt(std::pow(10, dbm / 10) * 0.001 * ohms[Impedance()]); }
double Changunit_dBmtodBmv(double dbm) { return dbm + static_cast<double>(dbmv_at_0_dbm[Impedance()]); }
double Changunit_dBmtodBuv(double dbm) { return dbm + static_cast<double>(dbuv_at_0_dbm[Impedance()]); }

double Changunit_WattstodBm(double watts) { return watts > 0 ? To_Tenth(10 * std::log10(watts / 1e-3)) : no_level; }
double Changunit_VoltstodBm(double volts) {
    const double square = volts * volts;
    return volts > 0 && square > 0 ? 10 * std::log10(square / volts_squared_at_0_dbm[Impedance()]) : no_level;
}
double Changunit_dBmvtodBm(double dbmv) { return To_Tenth(dbmv - static_cast<double>(dbmv_at_0_dbm[Impedance()])); }
double Changunit_dBuvtodBm(double dbuv) { return To_Tenth(dbuv - static_cast<double>(dbuv_at_0_dbm[Impedance()])); }

double AmplUnitTrans(double value, int unit, int direction) {
    return direction == 0 ? To_dBm(value, unit) : From_dBm(value, unit);
}
