#pragma once
#include <algorithm>
#include <array>
#include <cassert>
#include <condition_variable>
#include <mutex>

/// The four locks of the instrument and their order.
enum class Lock_Rank : int { scpi = 1, command_main, transfer, trigger };

/// A mutex that is granted in the order of asking, so that the main loop, which takes it again at once, starves nobody,
/// and that asserts in debug builds that locks are taken in rising rank.
class Ranked_Mutex {
public:
    explicit Ranked_Mutex(Lock_Rank rank) : rank_(rank) {}

    void lock() {
        assert(Highest_Held() < static_cast<int>(rank_) && "locks are taken in rising rank");
        std::unique_lock guard(mutex_);
        const unsigned ticket = next_ticket_++;
        turn_.wait(guard, [&] { return ticket == serving_; });
        Held()[static_cast<std::size_t>(rank_)] = true;
    }

    void unlock() {
        Held()[static_cast<std::size_t>(rank_)] = false;
        {
            const std::lock_guard guard(mutex_);
            ++serving_;
        }
        turn_.notify_all();
    }

    /// True while this thread holds the lock.
    bool Held_Here() const { return Held()[static_cast<std::size_t>(rank_)]; }

private:
    static std::array<bool, 5>& Held() {
        thread_local std::array<bool, 5> held{};
        return held;
    }
    static int Highest_Held() {
        const auto& held = Held();
        for (int rank = 4; rank > 0; --rank) {
            if (held[static_cast<std::size_t>(rank)]) return rank;
        }
        return 0;
    }

    Lock_Rank rank_;
    std::mutex mutex_;
    std::condition_variable turn_;
    unsigned next_ticket_ = 0, serving_ = 0;
};

inline Ranked_Mutex scpi_lock_mutex{Lock_Rank::scpi};             ///< whole remote inputs
inline Ranked_Mutex Command_Main_Mutex{Lock_Rank::command_main};  ///< the records: one sweep step, key or command
inline Ranked_Mutex Loop_SetTrans_Var_Mutex{Lock_Rank::transfer}; ///< one transfer to the core
inline Ranked_Mutex Trigger_Mutex{Lock_Rank::trigger};            ///< the trigger hand-over inside it
