#include "keys/number_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "expect.h"
#include "keys/level_units.h"
#include "records/amp.h"
#include "records/freqs.h"

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

using Transform = void (*)(double, int, Formatted_Value&);

std::string Text(Transform transform, double value, int decimals) {
    Formatted_Value result;
    transform(value, decimals, result);
    std::array<char, 40> text{};
    Format_Value(result, decimals, false, text);
    return text.data();
}

Formatted_Value Split(double value, int decimals = 0) {
    Formatted_Value result;
    freqvalue_trans(value, decimals, result);
    return result;
}

/// The active screen's amplitude unit and impedance, put back at the end.
struct Amplitude {
    explicit Amplitude(int unit, int impedance = 0) {
        Amp.unit = unit;
        Amp.impedance[static_cast<std::size_t>(ScreenActive)] = impedance;
    }
    ~Amplitude() { Amp = {}; }
};

TEST(Number_Format, FrequenciesSplitIntoMantissaAndUnit) {
    struct Case {
        double value;
        int decimals, group, length;
        double mantissa;
    };
    for (const auto& [value, decimals, group, length, mantissa] : std::to_array<Case>({
             {0, 0, 0, 1, 0}, {0.25, 0, 0, 1, 0.25}, {999, 0, 0, 3, 999}, {1000, 0, 1, 5, 1},
             {999'999, 0, 1, 7, 999.999}, {1'000'000, 0, 2, 8, 1}, {12'345'678'901, 0, 3, 12, 12.345678901},
             {1'234'567, 3, 2, 5, 1.235}, {1'234'500, 3, 2, 5, 1.235}, {1'234'499, 3, 2, 5, 1.234},
             {99'995, 2, 1, 5, 100}, {999'999'600, 3, 2, 7, 1000}, {123'400, 1, 1, 5, 123.4}, {0.05, 1, 0, 3, 0.1}
         })) {
        const Formatted_Value result = Split(value, decimals);
        EXPECT_EQ(result.unit_group, group) << value;
        EXPECT_EQ(result.length, length) << value;
        EXPECT_DOUBLE_EQ(result.mantissa, mantissa) << value;
        EXPECT_EQ(result.sign, 0xff);
        EXPECT_DOUBLE_EQ(Split(-value, decimals).mantissa, -mantissa) << value;
    }
    EXPECT_EQ(Split(-5e9).sign, 1);
    EXPECT_STREQ(Split(5e9).unit_names[3], "GHz");
}

TEST(Number_Format, NoValueAndNoPrecisionLeavesTheArrays) {
    const std::vector<double> values{0,    1e-310, 0.5,      999.9999, 1e9,      1e13,
                                     5e63, 1e308,  infinite, -1e308,   -infinite, std::nan("")};
    for (const double value : values) {
        for (const int decimals : {-5, 0, 3, 9, 10, 11, 12, 13, 40, 1000}) {
            Formatted_Value result;
            for (const Transform transform :
                 {freqvalue_trans, bw_freqvalue_trans, marker_freqvalue_trans, secvalue_trans, ampvalue_trans,
                  attvalue_trans, deltavalue_trans, bpsvalue_trans}) {
                transform(value, decimals, result);
                ASSERT_LT(static_cast<std::size_t>(result.unit_group), result.unit_names.size()) << value;
                for (const std::size_t size : {1, 2, 7, 24, 400}) {
                    std::vector<char> text(size, 'x');
                    Format_Value(result, decimals, true, text);
                    EXPECT_LT(std::string_view(text.data(), size).find('\0'), size) << "closed";
                }
            }
            std::vector<char> text(24);
            for (const auto format : {Format_Time, Format_Bandwidth, Format_Level}) format(value, text);
            Format_Frequency(value, true, text);
        }
    }
}

TEST(Number_Format, BandwidthsAndMarkerFrequenciesCarryIntoTheNextUnit) {
    Expect({{Text(bw_freqvalue_trans, 999'999.6, 3), "1.000 MHz"},
            {Text(bw_freqvalue_trans, 999'600, 3), "999.600 kHz"}, {Text(bw_freqvalue_trans, -120e3, 0), "120 kHz"},
            {Text(bw_freqvalue_trans, 0.4, 1), "0.4 Hz"}, {Text(marker_freqvalue_trans, -1'250'000, 3), "-1.250 MHz"},
            {Text(marker_freqvalue_trans, 433'920'000.5, 6), "433.920001 MHz"},
            {Text(marker_freqvalue_trans, 0, 0), "0 Hz"},
            {Text(marker_freqvalue_trans, -0.2, 0), "0 Hz", "no sign on a zero"},
            {Text(marker_freqvalue_trans, 5e13, 0), "50000 GHz"}, {Text(bpsvalue_trans, 4800, 1), "4.8 kbps"},
            {Text(bpsvalue_trans, 2.5e6, 2), "2.50 Mbps"}, {Text(bpsvalue_trans, 0, 0), "0 bps"}});
}

TEST(Number_Format, TimesFromFemtoToKiloseconds) {
    Expect({{Text(secvalue_trans, 0, 1), "0.0 ns"}, {Text(secvalue_trans, 2.5e-16, 2), "0.25 fs"},
            {Text(secvalue_trans, 1e-12, 0), "1 ps"}, {Text(secvalue_trans, -12.345e-6, 2), "-12.35 us"},
            {Text(secvalue_trans, 0.99996, 1), "1.0 s"}, {Text(secvalue_trans, 2000, 1), "2.0 ks"},
            {Text(secvalue_trans, 5e6, 0), "5000 ks"}});
}

TEST(Number_Format, LevelsInEachAmplitudeUnit) {
    struct Case {
        int unit, impedance;
        double dbm;
        const char* text;
    };
    for (const auto& [unit, impedance, dbm, text] : std::to_array<Case>({
             {unit_dbm, 0, -32.414, "-32.41 dBm"}, {unit_dbm, 0, -0.004, "0.00 dBm"}, {unit_dbmv, 0, 0, "46.99 dBmV"},
             {unit_dbmv, 1, 0, "48.75 dBmV"}, {unit_dbuv, 0, -107, "-0.01 dBuV"}, {unit_dbuv, 1, 0, "108.75 dBuV"},
             {unit_volt, 0, 0, "223.61 mV"}, {unit_volt, 1, 0, "273.86 mV"}, {unit_volt, 0, 13.0103, "1.00 V"},
             {unit_volt, 0, -200, "0.02 nV"}, {unit_watt, 0, 0, "1.00 mW"}, {unit_watt, 0, 29.99999, "1.00 W"},
             {unit_watt, 0, -114, "3.98 fW"}, {unit_watt, 0, -200, "0.00 fW"}
         })) {
        const Amplitude amplitude(unit, impedance);
        EXPECT_EQ(Text(ampvalue_trans, dbm, 2), text);
    }
    Expect({{Text(attvalue_trans, 10, 0), "10 dB"}, {Text(attvalue_trans, -1, 0), "0 dB"},
            {Text(deltavalue_trans, -41.065, 2), "-41.07 dB"}, {Text(deltavalue_trans, infinite, 2), "--- dB"}});
}

TEST(Number_Format, LevelsConvertToAndFromDbm) {
    const Amplitude amplitude(unit_dbm);
    EXPECT_EQ(AmplUnitTrans(-12.34, level_dbm, 0), -12.34);
    EXPECT_EQ(AmplUnitTrans(46.99, level_dbmv, 0), 0);
    EXPECT_DOUBLE_EQ(AmplUnitTrans(107.04, level_dbuv, 0), 0.1) << "rounded to a tenth";
    EXPECT_EQ(AmplUnitTrans(2, level_w, 0), 33);
    EXPECT_EQ(AmplUnitTrans(1, level_uw, 0), -30);
    EXPECT_EQ(AmplUnitTrans(1, level_fw, 0), -120);
    EXPECT_NEAR(AmplUnitTrans(1, level_v, 0), 13.010299956639812, 1e-12) << "not rounded";
    EXPECT_NEAR(AmplUnitTrans(1, level_nv, 0), 13.010299956639812 - 180, 1e-12);
    Amp.impedance[static_cast<std::size_t>(ScreenActive)] = 1;
    EXPECT_NEAR(AmplUnitTrans(1, level_mv, 0), 11.249387366083 - 60, 1e-9);
    for (int unit = 0; unit < level_units; ++unit) {
        EXPECT_NEAR(AmplUnitTrans(AmplUnitTrans(-40, unit, 1), unit, 0), -40, 1e-9) << unit;
    }
    for (const int unit : {level_v, level_nv, level_w, level_fw}) {
        EXPECT_EQ(AmplUnitTrans(0, unit, 0), no_level);
        EXPECT_EQ(AmplUnitTrans(-1, unit, 0), no_level);
    }
}

TEST(Number_Format, ConversionsHaveTheirExactConstants) {
    const Amplitude amplitude(unit_dbm);
    auto& impedance = Amp.impedance[static_cast<std::size_t>(ScreenActive)];
    EXPECT_DOUBLE_EQ(Changunit_dBmtoWatts(-30), 1e-6);
    EXPECT_DOUBLE_EQ(Changunit_dBmtoVolts(0), 0.22360679774997896);
    Expect({{Changunit_dBmtodBmv(0), 46.9900016784668}, {Changunit_dBmtodBuv(0), 106.98999786376953},
            {Changunit_dBmvtodBm(0), -47}, {Changunit_dBuvtodBm(107.04), 0.1, "0.05 dBm and a hair"},
            {Changunit_dBuvtodBm(100), -7}});
    EXPECT_DOUBLE_EQ(Changunit_VoltstodBm(0.1), -6.989700043360187);
    EXPECT_EQ(Changunit_WattstodBm(0.0015), 1.8) << "1.76 dBm";
    impedance = 1;
    EXPECT_DOUBLE_EQ(Changunit_dBmtoVolts(0), 0.27386127875258304);
    Expect({{Changunit_dBmtodBmv(0), 48.750999450683594}, {Changunit_dBmtodBuv(0), 108.7509994506836},
            {Changunit_dBmvtodBm(50), 1.2}, {Changunit_dBuvtodBm(50), -58.8}});
    EXPECT_DOUBLE_EQ(Changunit_VoltstodBm(0.1), -8.750612633917);
    EXPECT_EQ(Changunit_WattstodBm(0.0015), 1.8) << "a power whatever the impedance";
}

std::string Three_Digits(double dbm, int unit) {
    std::array<char, 24> text{};
    Format_Three_Digits(dbm, unit, text);
    return text.data();
}

TEST(Number_Format, ThreeDigitsOfVoltsAndWatts) {
    const Amplitude amplitude(unit_dbm);
    Expect({{Three_Digits(0, unit_volt), "224 mV"}, {Three_Digits(-10, unit_volt), "70.7 mV"},
            {Three_Digits(-30, unit_volt), "7.07 mV"},
            {Three_Digits(Changunit_VoltstodBm(0.99996), unit_volt), "1.00 V"},
            {Three_Digits(Changunit_VoltstodBm(0.0099996), unit_volt), "10.0 mV"},
            {Three_Digits(-27, unit_watt), "2.00 uW"}, {Three_Digits(no_level, unit_volt), "0 V"},
            {Three_Digits(no_level, unit_watt), "0 W"}});
}

std::string Frequency(double hertz, bool trim) {
    std::array<char, 40> text{};
    Format_Frequency(hertz, trim, text);
    return text.data();
}

TEST(Number_Format, ShownFrequenciesKeepTheirDigits) {
    Expect({{Frequency(433'920'000, false), "433.920 000 MHz"}, {Frequency(2e6, true), "2.000 MHz"},
            {Frequency(2'000'001, true), "2.000 001 MHz"}, {Frequency(1'625'000'000, false), "1.625 000 000 GHz"},
            {Frequency(999'999.7, true), "1.000 MHz"}, {Frequency(100, true), "100 Hz"}, {Frequency(0.4, true), "0 Hz"},
            {Frequency(-0.4, true), "0 Hz"}, {Frequency(-1500, true), "-1.500 kHz"}});
}

TEST(Number_Format, ShownTimesAndBandwidths) {
    const auto shown = [](auto format, double value) {
        std::array<char, 24> text{};
        format(value, text);
        return std::string(text.data());
    };
    for (const auto& [seconds, text] :
         std::vector<std::pair<double, const char*>>{{0.0359, "35.90 ms"}, {0.005, "5.000 ms"}, {0.2, "200.0 ms"},
                                                     {0.99996, "1.000 s"}, {99.9999, "100.0 s"}, {1000, "1000.0 s"},
                                                     {12e-6, "12.00 us"}, {0.5e-6, "500.0 ns"}, {0, "0 ns"},
                                                     {3e-16, "0.30 fs"}}) {
        EXPECT_EQ(shown(Format_Time, seconds), text);
    }
    EXPECT_EQ(shown(Format_Bandwidth, 100e3), "100 kHz");
    EXPECT_EQ(shown(Format_Bandwidth, 999'999.9), "1 MHz");
    EXPECT_EQ(shown(Format_Bandwidth, 0.1), "0.1 Hz");
}

}  // namespace
