#include "remote/hislip_locks.h"

#include <algorithm>

namespace remote {

Lock_Outcome Hislip_Locks::Request(std::size_t session, std::string_view string) {
    if (string.empty()) return Request_Exclusive(session);
    if (Holds_Shared(session) || Holds_Exclusive(session)) return Lock_Outcome::refused;
    if (Hislip_Lock_Count == 0) {
        if (Exclusively_Held()) return Lock_Outcome::busy;
        string_size_ = string.copy(Hislip_Share_Lock_String.data(), longest_string);
    } else if (string != std::string_view(Hislip_Share_Lock_String.data(), string_size_)) {
        return Lock_Outcome::busy;
    }
    shared_.set(session);
    ++Hislip_Lock_Count;
    return Lock_Outcome::granted;
}

Lock_Outcome Hislip_Locks::Request_Exclusive(std::size_t session) {
    if (Holds_Exclusive(session)) return Lock_Outcome::refused;
    if (Exclusively_Held() || (Hislip_Lock_Count > 0 && !Holds_Shared(session))) return Lock_Outcome::busy;
    Hislip_Exclusive_Num = static_cast<int>(session);
    return Lock_Outcome::granted;
}

Lock_Outcome Hislip_Locks::Release(std::size_t session) {
    if (Holds_Exclusive(session)) {
        Hislip_Exclusive_Num = nobody;
        return Lock_Outcome::granted;
    }
    if (!Holds_Shared(session)) return Lock_Outcome::refused;
    Release_Shared(session);
    return Lock_Outcome::shared_released;
}

void Hislip_Locks::Release_Shared(std::size_t session) {
    shared_.reset(session);
    if (--Hislip_Lock_Count == 0) string_size_ = 0;
}

bool Hislip_Locks::Release_All(std::size_t session) {
    const bool exclusive = Holds_Exclusive(session), shared = Holds_Shared(session);
    if (exclusive) Hislip_Exclusive_Num = nobody;
    if (shared) Release_Shared(session);
    return exclusive || shared;
}

bool Hislip_Locks::Allows(std::size_t session) const {
    if (Exclusively_Held()) return Holds_Exclusive(session);
    return Hislip_Lock_Count == 0 || Holds_Shared(session);
}

std::size_t Hislip_Locks::Holders() const {
    const bool alone = Exclusively_Held() && !shared_.test(static_cast<std::size_t>(Hislip_Exclusive_Num));
    return Hislip_Lock_Count + (alone ? 1 : 0);
}

}  // namespace remote
