// Any header: the index finds the row that comparing all rows finds.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "scpi/commands/order.h"
#include "scpi/matcher.h"

namespace {

std::vector<ScpiCommand> All_Rows() {
    std::vector<ScpiCommand> rows;
    for (const char* pattern : command_order) rows.push_back({pattern, nullptr});
    rows.push_back({nullptr, nullptr});
    return rows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto rows = All_Rows();
    static const Command_Index index(rows.data());
    const std::string_view header(reinterpret_cast<const char*>(data), size);
    const auto* row = Find_Linear(rows.data(), header);
    if (index.Find(header) != row) std::abort();
    std::int32_t numbers[4];
    if (row && !matchCommand(row->pattern, header, numbers)) std::abort();
    return 0;
}
