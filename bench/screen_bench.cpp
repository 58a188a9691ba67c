#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "bench/bench_root.h"
#include "platform/frame_buffer.h"
#include "virtual_board/devices.h"
#include "web/delta.h"
#include "web/frame_source.h"
#include "web/screen.h"

/// Frames composed and encoded for the page, beside a memcpy of the four layers in the same run.
namespace {

constexpr std::size_t pixels = std::size_t{web::screen_width} * web::screen_height;

struct Layers {
    std::vector<std::byte> video = std::vector<std::byte>(pixels * 3, std::byte{24});
    std::vector<std::byte> osd = std::vector<std::byte>(pixels * 2);
    std::vector<std::byte> attribute = std::vector<std::byte>(pixels * 2);
    std::vector<std::byte> second_video = std::vector<std::byte>(pixels * 2);

    /// A trace of noise over the graticule, as a sweep leaves it.
    void Draw_Trace(std::mt19937& random) {
        for (int x = 10; x <= 610; ++x) {
            for (int y = 58; y <= 508; ++y) Put(x, y, std::byte{24});
            const int top = 380 + static_cast<int>(random() % 20);
            for (int y = top; y < top + 30; ++y) Put(x, y, std::byte{220});
        }
    }
    void Put(int x, int y, std::byte value) {
        std::byte* pixel = video.data() + (static_cast<std::size_t>(y) * web::screen_width + static_cast<std::size_t>(x)) * 3;
        pixel[0] = pixel[1] = pixel[2] = value;
    }
    std::array<web::Layer, 3> Stack() const {
        const auto state = [](std::uint32_t bits) {
            platform::Frame_State s;
            s.width = web::screen_width;
            s.height = web::screen_height;
            s.bits_per_pixel = bits;
            s.line_length = web::screen_width * bits / 8;
            s.enabled = 1;
            return s;
        };
        return {{{state(24), video, false}, {state(16), attribute, true}, {state(16), osd, true}}};
    }
};

void Memcpy_Of_Four_Layers(benchmark::State& state) {
    const Layers from;
    Layers to;
    for (auto _ : state) {
        std::memcpy(to.video.data(), from.video.data(), from.video.size());
        std::memcpy(to.osd.data(), from.osd.data(), from.osd.size());
        std::memcpy(to.attribute.data(), from.attribute.data(), from.attribute.size());
        std::memcpy(to.second_video.data(), from.second_video.data(), from.second_video.size());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Memcpy_Of_Four_Layers);

void Compose_A_Frame(benchmark::State& state) {
    const Layers layers;
    std::vector<std::uint8_t> screen(web::screen_bytes);
    for (auto _ : state) {
        web::Compose(0, layers.Stack(), 100, screen);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Compose_A_Frame);

/// The devices as the running instrument has them: three layers shown.
struct Devices {
    static constexpr std::size_t video_bytes = pixels * 3;
    const Bench_Root root;
    std::byte* video = nullptr;

    Devices() {
        virtual_board::Make_Frame_Devices();
        for (const char* device : {"/dev/fb/0", "/dev/fb/1", "/dev/fb/2"}) {
            const int file = platform::Frame_Open(device);
            platform::Frame_Set_Position(file, 0, 0);
            platform::Frame_Enable_Window(file, true);
            if (device[8] == '1') video = platform::Frame_Map(file, video_bytes);
            platform::Frame_Close(file);
        }
    }
    ~Devices() { platform::Frame_Unmap(video, video_bytes); }
    Devices(const Devices&) = delete;
    Devices& operator=(const Devices&) = delete;
};

/// range(0): 1 when the trace moves between two looks.
void Look_At_The_Devices(benchmark::State& state) {
    const Devices devices;
    web::Frame_Source source;
    std::vector<std::uint8_t> screen(web::screen_bytes);
    std::uint64_t seen = 0;
    std::uint8_t value = 0;
    for (auto _ : state) {
        if (state.range(0) == 1) {
            state.PauseTiming();
            std::memset(devices.video + 58 * 2400, ++value, 450 * 2400);
            state.ResumeTiming();
        }
        source.Capture_News(seen, screen);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Look_At_The_Devices)->ArgName("moving")->Arg(0)->Arg(1);

void Encode_A_Moved_Trace(benchmark::State& state) {
    std::mt19937 random(2);
    Layers layers;
    std::array<std::vector<std::uint8_t>, 2> screens;
    for (auto& screen : screens) {
        layers.Draw_Trace(random);
        screen.resize(web::screen_bytes);
        web::Compose(0, layers.Stack(), 100, screen);
    }
    web::Delta_Encoder encoder;
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes = encoder.Encode(screens[0], screens[1]).size();
        std::swap(screens[0], screens[1]);
    }
    state.counters["bytes_a_frame"] = static_cast<double>(bytes);
}
BENCHMARK(Encode_A_Moved_Trace);

void Encode_A_Still_Screen(benchmark::State& state) {
    const std::vector<std::uint8_t> screen(web::screen_bytes, 7);
    web::Delta_Encoder encoder;
    for (auto _ : state) benchmark::DoNotOptimize(encoder.Encode(screen, screen).size());
}
BENCHMARK(Encode_A_Still_Screen);

}  // namespace
