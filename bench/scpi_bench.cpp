#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "scpi/commands/order.h"
#include "scpi/matcher.h"
#include "scpi/parser.h"
#include "scpi/writers.h"

/// Parsing and dispatch of a message among all rows of the table, beside a look-up of the same text in a hash map.
namespace {

int Do_Nothing(ScpiContext&) { return 1; }

const std::vector<ScpiCommand>& All_Rows() {
    static const auto rows = [] {
        std::vector<ScpiCommand> all;
        for (const char* pattern : command_order) all.push_back({pattern, Do_Nothing});
        all.push_back({nullptr, nullptr});
        return all;
    }();
    return rows;
}

constexpr const char* shortest = "*WAI";
constexpr const char* median = ":CALCulate:MARKer3:FCOunt:STATe";
constexpr const char* longest = ":SOURce:POWer:LEVel:IMMediate:AMPLitude:STEP:AUTO?";

void Hash_Map_Lookup(benchmark::State& state, const char* header) {
    std::unordered_map<std::string_view, int> map;
    for (const char* pattern : command_order) map.emplace(pattern, static_cast<int>(map.size()));
    for (auto _ : state) benchmark::DoNotOptimize(map.find(header));
}

void Message(benchmark::State& state, const char* header, bool indexed) {
    static const Command_Index index(All_Rows().data());
    scpi_context.commands = All_Rows().data();
    scpi_context.index = indexed ? &index : nullptr;
    SCPI_Init(scpi_context);
    const std::string message = std::string(header) + "\n";
    for (auto _ : state) SCPI_Input(scpi_context, message.data(), static_cast<int>(message.size()));
    if (scpi_context.errors->count) state.SkipWithError("the message was refused");
    scpi_context.commands = nullptr;
    scpi_context.index = nullptr;
}

BENCHMARK_CAPTURE(Hash_Map_Lookup, shortest, shortest);
BENCHMARK_CAPTURE(Message, shortest, shortest, true);
BENCHMARK_CAPTURE(Hash_Map_Lookup, median, median);
BENCHMARK_CAPTURE(Message, median, median, true);
BENCHMARK_CAPTURE(Hash_Map_Lookup, longest, longest);
BENCHMARK_CAPTURE(Message, longest, longest, true);
BENCHMARK_CAPTURE(Message, longest_by_comparing_all_rows, longest, false);

void Command_Index_Built(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Command_Index(All_Rows().data()));
}
BENCHMARK(Command_Index_Built);

}  // namespace
