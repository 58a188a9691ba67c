#pragma once
#include <array>
#include <cmath>
#include <cstddef>

/// The Gaussian resolution filter. B is its 3 dB width in Hz.
namespace virtual_board {

/// Beyond this many B from its centre the filter counts as closed (-244 dB).
constexpr double filter_reach = 4.5;

/// Noise bandwidth over B: sqrt(pi / (4 ln 2)).
constexpr double enbw_factor = 1.0644670194312262;

/// Independent values of noise per second over B, as a mean over time sees them: of its power,
/// (integral of |H|^2)^2 / integral of |H|^4, and of its logarithm, whose correlation is the dilogarithm of that of
/// the power.
constexpr double independent_powers = enbw_factor * 1.4142135623730951;
constexpr double independent_logs = independent_powers * 1.2261799;

/// Standard deviation of the impulse response in units of 1/B: sqrt(ln 2) / pi.
constexpr double impulse_sigma = 0.2650103635193969;

/// The impulse response is cut at this many standard deviations; its side lobes then stay below -100 dB.
constexpr double impulse_reach = 4.5;

/// The response tabulated from 0 to filter_reach B; in between it is interpolated with an error below -120 dB.
struct Response_Table {
    static constexpr double per_rbw = 1024.0;
    std::array<double, static_cast<std::size_t>(filter_reach * per_rbw) + 2> value{};

    Response_Table() {
        for (std::size_t i = 0; i < value.size(); i++) {
            const double x = static_cast<double>(i) / per_rbw;
            value[i] = std::exp(-2.0 * M_LN2 * x * x);
        }
    }
};

inline const Response_Table response_table;

/// Voltage response at offset_hz from the centre: |H| = exp(-(ln 2 / 2) (2 offset / B)^2).
inline double Filter_Response(double offset_hz, double rbw_hz) {
    const double place = std::abs(offset_hz / rbw_hz) * Response_Table::per_rbw;
    if (!(place < filter_reach * Response_Table::per_rbw)) {
        return 0.0;
    }
    const auto index = static_cast<std::size_t>(place);
    const double part = place - static_cast<double>(index);
    return response_table.value[index] + part * (response_table.value[index + 1] - response_table.value[index]);
}

}  // namespace virtual_board
