#pragma once
#include <atomic>
#include <cmath>
#include <cstddef>
#include <limits>

/// The block of doubles that the signal-processing core shares with the instrument (contiguous memory). Fixed layout.
namespace platform {

constexpr int points_per_sweep = 601;
constexpr int sample_block = 50 * points_per_sweep;  ///< samples of one detector: a ring of 50 sweeps
constexpr int sample_counter_end = 4 * sample_block; ///< the count of written samples runs from 0 to here and starts again

enum Sample_Element : std::size_t {
    positive_peak_samples = 0,
    negative_peak_samples = sample_block,
    sample_samples = 2 * sample_block,
    average_samples = 3 * sample_block,
    written_count = 120802,       ///< samples written so far, modulo sample_counter_end
    dsp_version = 120803,         ///< firmware versions times 100: signal-processing core,
    tracking_version = 120804,    ///< tracking generator,
    rf_version = 120805,          ///< receiver
    counter_frequency = 120806,   ///< Hz as counted last, 0 none; written after
    counter_ratio = 120807,       ///< dB of signal over noise in the RBW
    quasi_peak_samples = 120810,
    sweep_finished = 180911,      ///< 1.0 when a triggered sweep has ended; cleared by the reader
    emi_average_samples = 180912,
    sample_memory_elements = emi_average_samples + sample_block,
};

/// Maps the block, shared with the core; nullptr with errno on failure. Zero until the core has written.
double* Map_Sample_Memory();
void Unmap_Sample_Memory(double* memory);

/// Both sides hand samples over by the count: written samples are visible to who has loaded the count.
inline double Load_Element(const double* memory, std::size_t element) {
    return std::atomic_ref<double>(const_cast<double*>(memory)[element]).load(std::memory_order_acquire);
}
inline void Store_Element(double* memory, std::size_t element, double value) {
    std::atomic_ref<double>(memory[element]).store(value, std::memory_order_release);
}

}  // namespace platform
