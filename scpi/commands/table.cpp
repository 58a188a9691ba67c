#include "scpi/commands/table.h"

#include <optional>
#include <string_view>
#include <unordered_map>

#include "records/sys.h"
#include "scpi/commands/families.h"
#include "scpi/matcher.h"

namespace {

std::optional<Command_Index> command_index;

}  // namespace

std::vector<std::span<const ScpiCommand>> Command_Families() {
    using namespace families;
    return {Common(), Status(), System_Communicate(), System_Error(), System_Preset(), Sense_Frequency(),
            Sense_Autoset(), Sense_Channel(), Sense_Bandwidth(), Sense_Sweep(), Sense_Sweep_Gate(), Trigger(),
            Trace(), Initiate(), Calculate_Marker(), Calculate_Deltamarker(), Sense_Power(), Input(), Unit(),
            Display_Y(), Sense_Detector(), Calculate_Math(), Display_Trace(), Pixel(), Calculate_Limit(),
            Mmemory_Limit(), System_Alarm(), Display(), System_Klock()};
}

void Set_Identification(ScpiContext& context) {
    const auto& information = System_Information_Data;
    context.identification = {information.maker.c_str(), information.model.c_str(), information.serial_number.c_str(),
                              information.firmware.c_str()};
}

void Commands_Init() {
    std::unordered_map<std::string_view, const ScpiCommand*> rows;
    for (const auto family : Command_Families()) {
        for (const ScpiCommand& row : family) rows.emplace(row.pattern, &row);
    }
    scpi_commands = {};
    std::size_t count = 0;
    for (const char* pattern : command_order) {
        const auto found = rows.find(pattern);
        if (found != rows.end()) scpi_commands[count++] = *found->second;
    }
    command_index.emplace(scpi_commands.data());
    scpi_context.commands = scpi_commands.data();
    scpi_context.index = &*command_index;
    Set_Identification(scpi_context);
}
