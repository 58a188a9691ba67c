#pragma once
#include <atomic>
#include <cstdint>

/// A recording of samples, steered by its armed word; the key reader ends one without waiting for the main loop.
struct Recording_Record {
    std::atomic<std::int32_t> running{0};
    std::atomic<std::int32_t> armed{0};
};
inline Recording_Record RecordData_IQ, RecordData_RPhi;
inline std::atomic<std::int32_t> GetIQCounter{0};  ///< fetched blocks of a recording; 100 ends the fetching
