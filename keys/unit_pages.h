#pragma once
#include <cstdint>

/// Unit pages of numeric entry but those of frequency and time: what a unit key makes of the typed number. Every layer
/// handler takes a soft key (0 to 6; one without unit does nothing), shows the number with its unit and hands the value
/// in base units to the value handler of the page below, with the unit's place in AllKeyVar.unit_group meanwhile.

/// Numbers beyond these are held at them before they are converted, so that a value handler may take them for integers.
constexpr double most_decibels = 1000;        ///< of levels, ratios and factors, either sign
constexpr double most_whole = 999'999'999;    ///< of whole numbers, either sign
constexpr double most_bit_rate = 1e9;         ///< bps

void ampNumBase(int key);       ///< dBm, dBmV, dBuV; hands on dBm, unit_group is a Level_Unit
void voltNumBase(int key);      ///< V to nV; hands on dBm
void wattNumBase(int key);      ///< W to fW; hands on dBm
void decibelNumBase(int key);   ///< dB
void carrierNumBase(int key);   ///< dBc
void percentNumBase(int key);   ///< %
void wholeNumBase(int key);     ///< whole number, rounded half away from 0
void plainNumBase(int key);     ///< number as typed
void densityNumBase(int key);   ///< dBm/Hz, dBm/MHz; hands on dBm/Hz
void bitRateNumBase(int key);   ///< Mbps, kbps, bps; hands on bps
void demodNumBase(int key);     ///< MHz, kHz, Hz (hands on Hz), %, V, mV (hands on V)
void emcNumBase(int key);       ///< dBuV, dBuV/m, dBuA, dBuA/m, dBpT, each the base of its quantity
void factorNumBase(int key);    ///< dB, dB/m, dBohm, each the base of its quantity
void durationNumBase(int key);  ///< h, min, s, ms; hands on seconds

/// Four numbers from 0 to 255 with points between, handed on as a 32-bit number, the first in the highest byte. What is
/// no address stays typed, with a message.
void addressNumBase(int key);
/// YYYYMMDD, a day of 2000 to 2099, and HHMMSS, zeros in front left away as they are typed; handed on as that number.
/// What is no day or no time stays typed, with a message.
void dateNumBase(int key);
void clockNumBase(int key);

/// Hexadecimal word of up to 16 digits: keys 0 to 5 type A to F, key 6 hands on its value (exact up to 13 digits); its
/// digits stand in AllKeyVar meanwhile.
void wordNumBase(int key);
