#include "virtual_board/detectors.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "virtual_board/input.h"

namespace virtual_board {

namespace {

constexpr double db_per_neper = 4.342944819032518;  // 10 / ln 10

/// E(ln |s + n|^2) for a steady signal in complex Gaussian noise, less ln of the noise power; ratio is signal over
/// noise. It is ln(ratio) + E1(ratio), E1 after Abramowitz and Stegun 5.1.53 and 5.1.56.
double Mean_Log(double ratio) {
    const double x = ratio;
    if (x <= 1.0) {
        return -0.57721566 +
               x * (0.99999193 + x * (-0.24991055 + x * (0.05519968 + x * (-0.00976004 + x * 0.00107857))));
    }
    if (x > 50.0) {
        return std::log(x);
    }
    const double fraction = (x * x + 2.334733 * x + 0.250621) / (x * x + 3.330657 * x + 1.681534);
    return std::log(x) + fraction * std::exp(-x) / x;
}

constexpr int lowest_octave = -18, highest_octave = 4;
constexpr std::size_t octave_count = highest_octave - lowest_octave;
constexpr int map_step_bits = 4;
constexpr std::size_t map_steps = 1 << map_step_bits;

/// Quantiles in dB of log noise behind a first-order video filter, where those before it are 2^-18 to 2^4 of the mean
/// power. From 40 million values of noise behind the Gaussian filter, 32 in 1/RBW.
using Octave_Levels = std::array<double, octave_count + 1>;
constexpr Octave_Levels behind_equal = {-31.074, -29.562, -28.203, -27.107, -25.891, -24.727, -23.400, -22.084,
                                        -20.727, -19.282, -17.778, -16.182, -14.482, -12.643, -10.626, -8.372,
                                        -5.894,  -3.228,  -0.425,  2.470,   5.422,   8.408,   11.45};
constexpr Octave_Levels behind_triple = {-38.069, -36.779, -35.367, -33.927, -32.243, -30.530, -28.842, -27.147,
                                         -25.386, -23.534, -21.579, -19.454, -17.142, -14.587, -11.861, -9.002,
                                         -6.060,  -3.081,  -0.083,  2.925,   5.930,   8.936,   11.90};

/// Power behind the filter over that before it at sixteen places an octave.
struct Map_Table {
    std::array<double, octave_count * map_steps + 1> value{};

    explicit Map_Table(const Octave_Levels& levels) {
        for (std::size_t i = 0; i < value.size(); i++) {
            const std::size_t octave = std::min(i / map_steps, octave_count - 1);
            const double power = std::ldexp(1.0 + static_cast<double>(i - octave * map_steps) / map_steps,
                                            lowest_octave + static_cast<int>(octave));
            const double part = std::log2(power) - lowest_octave - static_cast<double>(octave);
            value[i] = To_Milliwatts(levels[octave] + part * (levels[octave + 1] - levels[octave]));
        }
    }
};

const Map_Table equal_map(behind_equal);
const Map_Table triple_map(behind_triple);

/// Charging through a diode: over one carrier's period the capacitor at the part c of the envelope e is charged while
/// the carrier exceeds it, on average by e g(c) with g = sin(theta) - c theta, theta = acos(c), and g' = -theta.
struct Conduction_Table {
    static constexpr std::size_t steps = 1024;
    std::array<double, steps + 2> charge{}, angle{};

    Conduction_Table() {
        for (std::size_t i = 0; i < charge.size(); i++) {
            const double c = std::min(1.0, static_cast<double>(i) / steps);
            angle[i] = std::acos(c);
            charge[i] = std::sin(angle[i]) - c * angle[i];
        }
    }
};

const Conduction_Table conduction;

double Interpolated(const std::array<double, Conduction_Table::steps + 2>& table, double c) {
    const double place = c * Conduction_Table::steps;
    const auto index = static_cast<std::size_t>(place);
    return table[index] + (place - static_cast<double>(index)) * (table[index + 1] - table[index]);
}

Weighting Calibrated(Weighting weighting) {
    Envelope_Histogram carrier;
    carrier.Add(1.0);
    weighting.carrier_end = carrier.Balanced_Peak(weighting);
    return weighting;
}

const Weighting band_a = Calibrated({45e-3, 500e-3, 160e-3, 0.336});
const Weighting band_b = Calibrated({1e-3, 160e-3, 160e-3, 0.254});
const Weighting band_cd = Calibrated({1e-3, 550e-3, 100e-3, 0.246});

}  // namespace

double Quieted_Dbm(const Envelope_Value& value, double independent) {
    const double dbm = To_Dbm(value.power);
    if (independent <= 1.0) {
        return dbm;
    }
    const double mean = To_Dbm(value.noise_power) + db_per_neper * Mean_Log(value.signal_power / value.noise_power);
    return mean + (dbm - mean) / std::sqrt(independent);
}

Video_Map::Video_Map(double vbw_hz, double rbw_hz) {
    // Bandwidths come in steps of about three; anything below the RBW is filtered in time.
    if (vbw_hz < 1.8 * rbw_hz) {
        table = equal_map.value.data();
    } else if (vbw_hz < 5.5 * rbw_hz) {
        table = triple_map.value.data();
    }
}

double Video_Map::Filtered_Power(const Envelope_Value& value) const {
    const double mean = value.signal_power + value.noise_power;
    if (table == nullptr || !(value.noise_power > 0.0)) {
        return value.power;
    }
    const double x =
        std::clamp(value.power / mean, std::ldexp(1.0, lowest_octave), std::ldexp(1.0, highest_octave) * (1.0 - 1e-9));
    constexpr int mantissa_bits = 52;
    constexpr std::uint64_t bias = std::uint64_t{1023 + lowest_octave} << map_step_bits;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto index = static_cast<std::size_t>((bits >> (mantissa_bits - map_step_bits)) - bias);
    const std::uint64_t rest = bits & ((std::uint64_t{1} << (mantissa_bits - map_step_bits)) - 1);
    const double part = static_cast<double>(rest) * 0x1p-48;
    const double behind = mean * (table[index] + part * (table[index + 1] - table[index]));
    const double share = value.noise_power / mean;
    return value.power + share * share * (behind - value.power);
}

Weighting Weighting_Of(double frequency_hz, double rbw_hz, bool emi_filters) {
    const auto filter = [&](double six_db_hz) {
        return emi_filters && std::abs(rbw_hz * M_SQRT2 / six_db_hz - 1.0) < 0.05;
    };
    if (filter(200.0)) {
        return band_a;
    }
    if (filter(9e3)) {
        return band_b;
    }
    if (filter(120e3)) {
        return band_cd;
    }
    return frequency_hz < 150e3 ? band_a : frequency_hz < 30e6 ? band_b : band_cd;
}

void Envelope_Histogram::Add(double power_mw) {
    // The exponent of the power is its class.
    const auto exponent = static_cast<int>(std::bit_cast<std::uint64_t>(power_mw) >> 52) - 1023;
    const auto at = static_cast<std::size_t>(std::clamp(exponent + 100, 0, static_cast<int>(classes) - 1));
    power[at] += power_mw;
    count[at]++;
    lowest = std::min(lowest, at);
    highest = std::max(highest, at);
    total++;
}

double Envelope_Histogram::Balanced_Peak(const Weighting& weighting) const {
    // Charge and discharge cancel: the sum of e g(v / e) over the levels is the losses' part times v. The difference
    // falls with v and is convex, so Newton's steps from v = 0 stay on one side and end at the balance.
    const double losses = M_PI * weighting.resistance * weighting.charge / weighting.discharge;
    std::array<double, classes> envelope;
    for (std::size_t i = lowest; i <= highest && total > 0; i++) {
        envelope[i] = count[i] > 0 ? std::sqrt(power[i] / count[i]) : 0.0;
    }
    double v = 0.0;
    for (int round = 0; round < 40; round++) {
        double excess = -losses * v * static_cast<double>(total);
        double slope = losses * static_cast<double>(total);
        for (std::size_t i = lowest; i <= highest && total > 0; i++) {
            if (envelope[i] > v) {
                const double c = v / envelope[i];
                excess += count[i] * envelope[i] * Interpolated(conduction.charge, c);
                slope += count[i] * Interpolated(conduction.angle, c);
            }
        }
        const double step = slope > 0.0 ? excess / slope : 0.0;
        v += step;
        if (step <= 1e-5 * v) {
            break;
        }
    }
    return v;
}

double Envelope_Histogram::Mean_Envelope() const {
    double sum = 0.0;
    for (std::size_t i = lowest; i <= highest && total > 0; i++) {
        sum += std::sqrt(power[i] * count[i]);
    }
    return total > 0 ? sum / static_cast<double>(total) : 0.0;
}

Weighting_Network::Weighting_Network(const Weighting& with, double step_s)
    : weighting(with),
      charge_step(step_s / (M_PI * with.resistance * with.charge)),
      meter_follow(1.0 - std::exp(-step_s / with.meter)),
      scale(1.0 / with.carrier_end) {
    constexpr double largest_charge = 0.2;  ///< explicit steps stay well below the charging time
    substeps = static_cast<int>(std::clamp(std::ceil(charge_step / largest_charge), 1.0, 32.0));
    charge_step /= substeps;
    discharge_left = std::exp(-step_s / substeps / with.discharge);
}

void Weighting_Network::Settle(const Envelope_Histogram& levels) {
    capacitor = levels.Balanced_Peak(weighting);
    peak_meter.fill(capacitor);
    average_meter.fill(levels.Mean_Envelope());
    highest_peak = highest_average = 0.0;
}

void Weighting_Network::Step(double envelope) {
    for (int i = 0; i < substeps; i++) {
        if (envelope > capacitor) {
            const double charge = envelope * Interpolated(conduction.charge, capacitor / envelope);
            capacitor = std::min(envelope, capacitor + charge_step * charge);
        }
        capacitor *= discharge_left;
    }
    const auto follow = [&](std::array<double, 2>& meter, double value) {
        meter[0] += meter_follow * (value - meter[0]);
        meter[1] += meter_follow * (meter[0] - meter[1]);
        return meter[1];
    };
    highest_peak = std::max(highest_peak, follow(peak_meter, capacitor));
    highest_average = std::max(highest_average, follow(average_meter, envelope));
}

double Weighting_Network::Take_Quasi_Peak() {
    const double highest = std::exchange(highest_peak, 0.0) * scale;
    return To_Dbm(highest * highest);
}

double Weighting_Network::Take_Emi_Average() {
    const double highest = std::exchange(highest_average, 0.0);
    return To_Dbm(highest * highest);
}

void Point_Detector::Add_Average(const Envelope_Value& value, double independent) {
    if (independent <= 1.0) {
        sum += value.power;
    } else {
        const double mean = value.signal_power + value.noise_power;
        sum += std::max(0.0, mean + (value.power - mean) / std::sqrt(independent));
    }
    levels.Add(value.power);
    count++;
}

void Point_Detector::Add(const Envelope_Value& value, double independent, const Video_Map& video) {
    const double power = video.Filtered_Power(value);
    max_power = count == 0 ? power : std::max(max_power, power);
    min_power = count == 0 ? power : std::min(min_power, power);
    last_power = power;
    Add_Average(value, independent);
}

void Point_Detector::Add_Filtered(const Envelope_Value& value, double independent, double filtered_dbm) {
    filtered = true;
    max_dbm = count == 0 ? filtered_dbm : std::max(max_dbm, filtered_dbm);
    min_dbm = count == 0 ? filtered_dbm : std::min(min_dbm, filtered_dbm);
    last_dbm = filtered_dbm;
    Add_Average(value, independent);
}

Point_Values Point_Detector::Values(const Weighting& weighting) const {
    if (count == 0) {
        return {};
    }
    Point_Values values;
    values.average = To_Dbm(sum / static_cast<double>(count));
    values.positive = filtered ? max_dbm : To_Dbm(max_power);
    values.negative = filtered ? min_dbm : To_Dbm(min_power);
    values.sample = filtered ? last_dbm : To_Dbm(last_power);
    const double quasi_peak = levels.Balanced_Peak(weighting) / weighting.carrier_end;
    const double mean = levels.Mean_Envelope();
    values.quasi_peak = To_Dbm(quasi_peak * quasi_peak);
    values.emi_average = To_Dbm(mean * mean);
    return values;
}

}  // namespace virtual_board
