#include "scpi/context.h"

#include "scpi/error_queue.h"

void SCPI_Init(ScpiContext& context, const Scpi_Interface& interface) {
    context.interface = interface;
    context.input_length = 0;
    context.command_error = false;
    SCPI_ErrorInit(context);
}
