#include "virtual_board/fft.h"

#include <kiss_fft.h>

#include <cassert>
#include <new>

namespace virtual_board {

struct Fft::Plan {
    kiss_fft_cfg config;
    explicit Plan(std::size_t length) : config(kiss_fft_alloc(static_cast<int>(length), 0, nullptr, nullptr)) {
        if (config == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~Plan() { kiss_fft_free(config); }
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
};

Fft::Fft(std::size_t length) : length(length), plan(std::make_shared<Plan>(length)) {}

void Fft::Transform(std::span<const std::complex<float>> input, std::span<std::complex<float>> output) const {
    static_assert(sizeof(kiss_fft_cpx) == sizeof(std::complex<float>));
    assert(input.size() == length && output.size() == length);
    kiss_fft(plan->config, reinterpret_cast<const kiss_fft_cpx*>(input.data()),
             reinterpret_cast<kiss_fft_cpx*>(output.data()));
}

}  // namespace virtual_board
