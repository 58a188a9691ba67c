#pragma once
#include <complex>
#include <cstdint>
#include <span>
#include <vector>

#include "virtual_board/input.h"

namespace virtual_board {

/// Many lines behind the resolution filter, which moves evenly or stands still: from value to value each line turns by
/// its own angle and its response changes by factors, so that a value costs a few multiplications a line and no
/// look-up.
class Line_Bank {
public:
    /// Times and tuned frequencies of the values.
    struct Course {
        std::int64_t first_ns = 0;
        double spacing_ns = 1.0;
        double first_hz = 0.0;
        double spacing_hz = 0.0;
        double rbw_hz = 1.0;
        std::uint64_t reference_step =
            0;  ///< Line::phase_step of the frequency whose phase the sums are turned back by
    };

    void Clear();
    /// Takes lines with their amplitudes times a factor.
    void Add(std::span<const Line> some, double factor);
    std::size_t Size() const { return lines.size(); }
    void Fill(const Course& course, std::span<std::complex<double>> sums);

private:
    static constexpr std::size_t lanes = 4;
    void Start(const Course& course, std::size_t first, std::size_t count);

    std::vector<Line> lines;
    std::size_t running = 0;  ///< lines within reach, padded to whole groups of lanes
    std::vector<double> re, im, turn_re, turn_im, change, amplitude;
    double kept_spacing_ns = 0.0;  ///< that the angles stand for, 0 for none
};

}  // namespace virtual_board
