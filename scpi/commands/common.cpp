#include <array>
#include <cstring>

#include "records/handover.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/commands/table.h"
#include "scpi/error_queue.h"
#include "scpi/status.h"
#include "scpi/wait.h"
#include "scpi/writers.h"
#include "trace/acquisition.h"

namespace {

using namespace shapes;

std::int32_t Register(ScpiContext& context, std::size_t index) {
    return static_cast<std::int32_t>(SCPI_RegGet(context, index));
}

/// Stores the value without range check.
int Store(ScpiContext& context, std::size_t index) {
    const auto store = [&](std::int32_t value) { SCPI_RegSet(context, index, static_cast<std::uint32_t>(value)); };
    return Set_Integer(context, store, While_Busy::allowed);
}

/// The sub-registers come before their summary, which their falling could set again.
void Clear_Events(ScpiContext& context) {
    for (const auto set : {reg_questionable_frequency, reg_questionable_acplimit, reg_questionable_semlimit,
                           reg_questionable_toilimit, reg_questionable_fifth, reg_questionable, reg_operation}) {
        SCPI_RegSet(context, set + set_event, 0);
    }
}

/// A completion that *OPC still waits for is forgotten with the event that it would set.
void Clear_Status(ScpiContext& context) {
    Command_Opc_Flag.store(0);
    SCPI_RegSet(context, reg_esr, 0);
    SCPI_ErrorClear(context);
    Clear_Events(context);
    if (context.interface && context.interface->control) {
        context.interface->control(context, control_status_cleared, SCPI_RegGet(context, reg_stb));
    }
}

int SCPI_CoreCls(ScpiContext& context) {
    return Event(context, [&] { Clear_Status(context); }, While_Busy::allowed);
}

int SCPI_CoreEse(ScpiContext& context) { return Store(context, reg_ese); }

int SCPI_CoreEseQ(ScpiContext& context) { return Answer_Integer(context, Register(context, reg_ese)); }

int SCPI_CoreEsrQ(ScpiContext& context) {
    if (Answer_Integer(context, Register(context, reg_esr)) != done) return failed;
    SCPI_RegSet(context, reg_esr, 0);
    return done;
}

int SCPI_CoreIdnQ(ScpiContext& context) {
    if (!Take_Nothing(context, While_Busy::allowed)) return failed;
    Set_Identification(context);
    for (const char* field : context.identification) {
        if (!field || !*field) field = "0";
        SCPI_ResultCharacters(context, field, std::strlen(field));
    }
    return done;
}

int SCPI_CoreOpc(ScpiContext& context) {
    const auto begin = [&] {
        if (Operation_Pending() && Sweep_Can_Come()) {
            Await_Completion(context);
        } else {
            SCPI_RegSetBits(context, reg_esr, esr_operation_complete);
        }
    };
    return Event(context, begin, While_Busy::allowed);
}

/// A client that was cleared or is gone gets no answer.
int SCPI_CoreOpcQ(ScpiContext& context) {
    if (!Take_Nothing(context, While_Busy::allowed)) return failed;
    if (Wait_For_Sweep(context)) SCPI_ResultInt(context, 1);
    return done;
}

int SCPI_CoreRst(ScpiContext& context) {
    const auto reset = [&] {
        if (context.interface && context.interface->reset) context.interface->reset(context);
    };
    return Event(context, reset, While_Busy::allowed);
}

int SCPI_CoreSre(ScpiContext& context) { return Store(context, reg_sre); }

int SCPI_CoreSreQ(ScpiContext& context) { return Answer_Integer(context, Register(context, reg_sre)); }

int SCPI_CoreStbQ(ScpiContext& context) { return Answer_Integer(context, Register(context, reg_stb)); }

int SCPI_CoreTstQ(ScpiContext& context) { return Answer_Integer(context, 0); }

int SCPI_CoreWai(ScpiContext& context) {
    return Event(context, [&] { Begin_Pending_Operation(context); }, While_Busy::allowed);
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {"*CLS", SCPI_CoreCls},
    {"*ESE", SCPI_CoreEse},
    {"*ESE?", SCPI_CoreEseQ},
    {"*ESR?", SCPI_CoreEsrQ},
    {"*IDN?", SCPI_CoreIdnQ},
    {"*OPC", SCPI_CoreOpc},
    {"*OPC?", SCPI_CoreOpcQ},
    {"*RST", SCPI_CoreRst},
    {"*SRE", SCPI_CoreSre},
    {"*SRE?", SCPI_CoreSreQ},
    {"*STB?", SCPI_CoreStbQ},
    {"*TST?", SCPI_CoreTstQ},
    {"*WAI", SCPI_CoreWai},
});

}  // namespace

std::span<const ScpiCommand> families::Common() { return rows; }
