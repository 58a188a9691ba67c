#pragma once
#include <array>
#include <bitset>
#include <cstddef>
#include <string_view>

/// Locks of HiSLIP sessions among each other: one shared lock under a string, one exclusive lock, which a holder of the
/// shared one may have beside it.
namespace remote {

enum class Lock_Outcome { busy = 0, granted = 1, shared_released = 2, refused = 3 };

class Hislip_Locks {
public:
    static constexpr std::size_t sessions = 100, longest_string = 64;
    static constexpr int nobody = -1;

    /// An empty string asks for the exclusive lock. Busy where it can't be had now, refused where the session holds it.
    Lock_Outcome Request(std::size_t session, std::string_view string);
    /// Granted for an exclusive lock that is free now; refused where the session holds none.
    Lock_Outcome Release(std::size_t session);
    /// Gives back all that a session holds. True when it held any.
    bool Release_All(std::size_t session);

    /// True when the session may talk: nobody else's lock keeps it out.
    bool Allows(std::size_t session) const;
    bool Exclusively_Held() const { return Hislip_Exclusive_Num != nobody; }
    /// Sessions that hold any lock.
    std::size_t Holders() const;

private:
    bool Holds_Shared(std::size_t session) const { return shared_.test(session); }
    bool Holds_Exclusive(std::size_t session) const { return Hislip_Exclusive_Num == static_cast<int>(session); }
    Lock_Outcome Request_Exclusive(std::size_t session);
    void Release_Shared(std::size_t session);

    std::bitset<sessions> shared_;
    std::size_t Hislip_Lock_Count = 0;   ///< holders of the shared lock
    int Hislip_Exclusive_Num = nobody;   ///< the session with the exclusive lock
    std::array<char, longest_string> Hislip_Share_Lock_String{};
    std::size_t string_size_ = 0;
};

}  // namespace remote
