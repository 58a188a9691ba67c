#pragma once
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>

/// Random numbers of the receiver model: own generators, so that a seed gives the same noise everywhere, and cheap to
/// start anew at any point.
namespace virtual_board {

/// Mixes 64 bits so that neighbouring inputs give unrelated outputs (the finaliser of SplitMix64, Steele et al. 2014).
constexpr std::uint64_t Mix_Bits(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

/// One seed from a seed and the place it is meant for.
constexpr std::uint64_t Combine_Seed(std::uint64_t seed, std::uint64_t place) {
    return Mix_Bits(seed + 0x9E3779B97F4A7C15u * (Mix_Bits(place) + 1));
}

/// Layers of the ziggurat of Marsaglia and Tsang (2000) in the form of Doornik (2005).
struct Ziggurat {
    static constexpr int layers = 128;
    static constexpr double tail = 3.442619855899;
    static constexpr double area = 9.91256303526217e-3;
    std::array<double, layers + 1> x{};
    std::array<double, layers> ratio{};

    Ziggurat() {
        double density = std::exp(-0.5 * tail * tail);
        x[0] = area / density;
        x[1] = tail;
        for (int i = 2; i < layers; i++) {
            x[i] = std::sqrt(-2.0 * std::log(area / x[i - 1] + density));
            density = std::exp(-0.5 * x[i] * x[i]);
        }
        x[layers] = 0.0;
        for (int i = 0; i < layers; i++) {
            ratio[i] = x[i + 1] / x[i];
        }
    }
};

inline const Ziggurat ziggurat;

/// A SplitMix64 stream.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t Next() { return Mix_Bits(state += 0x9E3779B97F4A7C15u); }

    /// Evenly in (0, 1).
    double Uniform() { return (static_cast<double>(Next() >> 11) + 0.5) * 0x1p-53; }

    /// Normal with mean 0 and variance 1.
    double Normal() {
        while (true) {
            const std::uint64_t bits = Next();
            const double u = static_cast<double>(static_cast<std::int64_t>(bits) >> 10) * 0x1p-53;
            const unsigned layer = bits & (Ziggurat::layers - 1);
            if (std::abs(u) < ziggurat.ratio[layer]) {
                return u * ziggurat.x[layer];
            }
            if (layer == 0) {
                return Tail(u < 0);
            }
            const double x = u * ziggurat.x[layer];
            const double outer = std::exp(-0.5 * (ziggurat.x[layer] * ziggurat.x[layer] - x * x));
            const double inner = std::exp(-0.5 * (ziggurat.x[layer + 1] * ziggurat.x[layer + 1] - x * x));
            if (inner + Uniform() * (outer - inner) < 1.0) {
                return x;
            }
        }
    }

    /// Circular complex normal of mean power 1.
    std::complex<double> Complex_Normal() {
        const double re = Normal();
        return {re * M_SQRT1_2, Normal() * M_SQRT1_2};
    }

private:
    double Tail(bool negative) {
        double x = 0.0;
        double y = 0.0;
        do {
            x = std::log(Uniform()) / Ziggurat::tail;
            y = std::log(Uniform());
        } while (-2.0 * y < x * x);
        return negative ? x - Ziggurat::tail : Ziggurat::tail - x;
    }

    std::uint64_t state;
};

}  // namespace virtual_board
