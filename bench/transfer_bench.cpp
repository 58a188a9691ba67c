#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <mutex>

#include "bench/bench_root.h"
#include "platform/dsp_message.h"
#include "records/locks.h"
#include "records/reset.h"
#include "sweep/amplitude.h"
#include "sweep/bandwidth.h"
#include "sweep/frequency.h"
#include "sweep/transfer.h"
#include "sweep/trigger.h"
#include "virtual_board/board.h"
#include "virtual_board/scene.h"

/// From a setter's call until the core has answered its message, beside the bare round trip of the link to a core that
/// does nothing with it. The board's thread answers; its time stands still, so it computes no samples.
namespace {

class Bench_Core {
public:
    Bench_Core() {
        Reset_Records();
        std::filesystem::create_directories(platform::Rooted("/dev/tts"));
        board_ = std::make_unique<virtual_board::Board>(virtual_board::Parse_Scene("", "none"),
                                                        virtual_board::Board_Options{.manual = true});
        board_->Start();
        LOOP_Main("dsp_loop_new.out", "2048", "1");
        Freqs_ArrayInit();
        Amp_ArrayInit();
        BW_Init();
        Sweep_Init();
        Trigger_Init();
    }
    ~Bench_Core() {
        LOOP_Delete();
        board_.reset();
    }

private:
    Bench_Root root_;
    std::unique_ptr<virtual_board::Board> board_;
};

void Empty_Round_Trip(benchmark::State& state) {
    const Bench_Core core;
    for (auto _ : state) {
        LOOP_Buffers[0] = platform::code_timer;
        LOOP_Execute(1);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Empty_Round_Trip)->UseRealTime();

template <class Setter>
void Setter_To_Answer(benchmark::State& state, Setter set) {
    const Bench_Core core;
    int turn = 0;
    for (auto _ : state) {
        const std::lock_guard records(Command_Main_Mutex);
        set(++turn & 1);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(Setter_To_Answer, trigger_delay, [](int turn) { Set_Trigger_Delay(2, 1e-3 * turn); })->UseRealTime();
BENCHMARK_CAPTURE(Setter_To_Answer, gate_length, [](int turn) { Set_Gate_Length(2, 1e-3 + 1e-3 * turn); })->UseRealTime();
BENCHMARK_CAPTURE(Setter_To_Answer, centre, [](int turn) { Set_Cent(2, 1e9 + 1e6 * turn); })->UseRealTime();
BENCHMARK_CAPTURE(Setter_To_Answer, reference_level, [](int turn) { Set_Reflevel(2, -10 * turn); })->UseRealTime();

}  // namespace
