#include "scpi/context.h"

#include "scpi/error_queue.h"

void SCPI_Init(ScpiContext& context) {
    context.input.position = 0;
    context.command_error = false;
    SCPI_ErrorInit(context);
}
