#include "remote/lan_remote.h"

#include <utility>

#include "records/handover.h"

namespace remote {

void Go_Remote() { Remote_Flag.store(1, std::memory_order_release); }

void Go_Local() { Remote_Flag.store(0, std::memory_order_release); }

void Local_Lockout::Set(bool on) {
    if (std::exchange(on_, on) == on) return;
    Local_Lockouts.fetch_add(on ? 1 : -1, std::memory_order_acq_rel);
}

}  // namespace remote
