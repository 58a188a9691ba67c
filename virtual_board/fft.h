#pragma once
#include <complex>
#include <cstddef>
#include <memory>
#include <span>

namespace virtual_board {

/// A forward discrete Fourier transform of fixed length, not scaled. Fast where the length has factors 2, 3 and 5 only.
class Fft {
public:
    explicit Fft(std::size_t length);

    std::size_t Length() const { return length; }

    /// output[k] = sum of input[n] exp(-j 2 pi k n / length). Both hold length values and do not overlap.
    void Transform(std::span<const std::complex<float>> input, std::span<std::complex<float>> output) const;

private:
    struct Plan;
    std::size_t length;
    std::shared_ptr<Plan> plan;
};

}  // namespace virtual_board
