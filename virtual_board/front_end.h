#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "virtual_board/input.h"
#include "virtual_board/phase_noise.h"

/// The part of the receiver that all its ways of measuring share: attenuator, preamplifier, mixer and local oscillator.
namespace virtual_board {

/// What one sweep is made with. All values are finite and in range; Core checks them.
///
/// The impedance of the sweep message is not among them: levels of scenes and recordings are powers into the input,
/// and the instrument's 75 ohm setting only changes how it turns power into voltage.
struct Sweep_Settings {
    double start_hz = 0.0;  ///< centre of the first point
    double stop_hz = 0.0;   ///< centre of the last point; equal to start_hz in zero span
    double rbw_hz = 1e6;    ///< 3 dB width
    double vbw_hz = 1e6;
    std::int64_t time_ns = 1'000'000;
    double attenuation_db = 0.0;
    bool preamplifier = false;
    bool fft = false;
    bool emi = false;  ///< EMI filters; quasi-peak and EMI average are worked out in full
    int points = 601;
    int steps = 601;  ///< measurement steps of the sweep
    double gain_db = 0.0;  ///< correction that is added to levels

    bool operator==(const Sweep_Settings&) const = default;
};

/// Noise figure in dB: 24 (12 with the preamplifier) from 1 MHz to 2.5 GHz, 3 dB more at 0 Hz and at 3.25 GHz.
double Noise_Figure(double frequency_hz, bool preamplifier);

/// Local-oscillator feed-through seen at 0 Hz with 0 dB of attenuation, dBm.
constexpr double feedthrough_dbm = -35.0;

/// Mixer levels in dBm, at the input with 0 dB of attenuation. With the preamplifier all three are 15 dB lower.
constexpr double compression_dbm = 0.0;  ///< a carrier reads 1 dB low
constexpr double third_order_intercept_dbm = 12.0;
constexpr double second_harmonic_intercept_dbm = 38.0;
constexpr double preamplifier_overload_db = 15.0;

/// Power gain of the mixer loaded with a power, both relative to the 1 dB compression point. The output grows with
/// the input everywhere and ends 1.16 dB above that point.
double Compression_Gain(double load);

struct Front_End {
    /// Products are made of this many lines of the scene, the strongest.
    static constexpr std::size_t most_mixing_lines = 24;

    Front_End() = default;
    /// Throws std::invalid_argument without an input.
    Front_End(std::shared_ptr<const Input> input, std::uint64_t seed);

    std::shared_ptr<const Input> input;
    std::uint64_t seed = 1;
    Sweep_Settings settings;
    double gain = 1.0;            ///< voltage gain of all that comes from the input: 1 unless compressed
    std::vector<Line> own_lines;  ///< feed-through and products, sorted by frequency; as they read, not times gain

    void Set(const Sweep_Settings& new_settings);
    /// Mean noise power behind the resolution filter, mW: the receiver's own, the input's and phase noise.
    double Noise_Power(double frequency_hz) const;
    /// Whether it may differ within the frequencies.
    bool Noise_Varies(double low_hz, double high_hz) const;
    /// Width of one point, Hz.
    double Point_Width() const;
    double Point_Center(int point) const { return settings.start_hz + Point_Width() * point; }

private:
    void Make_Products(double attenuation, double overload);

    double load_mw = 0.0;  ///< power of all signals while they are on
    std::vector<Line> strongest;
    double even_noise = 0.0;  ///< mW: the receiver's own where the noise figure is even
    Skirts skirts;
};

}  // namespace virtual_board
