#include "sweep/counter.h"

#include <mutex>

#include "platform/dsp_message.h"
#include "records/locks.h"
#include "sweep/transfer.h"

void LOOP_SetTrans_Counter(const Counter_Order& order) {
    const std::lock_guard transfer(Loop_SetTrans_Var_Mutex);
    if (!LOOP_Buffers) return;
    LOOP_Buffers[0] = platform::code_counter;
    LOOP_Buffers[1] = order.on;
    LOOP_Buffers[2] = order.frequency;
    LOOP_Buffers[3] = order.resolution;
    LOOP_Execute(LOOP_NumIterations);
}
