#pragma once

/// Levels in the units that they are typed and shown in. Inside they are dBm. V and W follow the input impedance of the
/// active screen, 50 or 75 ohm.

/// Units of an entered level; the first five are the amplitude units of the instrument.
enum Level_Unit : int {
    level_dbm = 0, level_dbmv, level_dbuv, level_v, level_w, level_mw, level_uw, level_nw, level_pw, level_fw, level_mv,
    level_uv, level_nv, level_units
};

/// What stands for a level that has no logarithm (0 V, 0 W or less), dBm.
constexpr double no_level = -1000;

double Changunit_dBmtoWatts(double dbm);
double Changunit_dBmtoVolts(double dbm);
double Changunit_dBmtodBmv(double dbm);
double Changunit_dBmtodBuv(double dbm);
/// To dBm; from W, dBmV and dBuV rounded to 0.1 dB, from V not rounded.
double Changunit_WattstodBm(double watts);
double Changunit_VoltstodBm(double volts);
double Changunit_dBmvtodBm(double dbmv);
double Changunit_dBuvtodBm(double dbuv);

/// A level in a unit to dBm (direction 0), or dBm to the unit (direction 1). An unknown unit is taken for dBm.
double AmplUnitTrans(double value, int unit, int direction);
