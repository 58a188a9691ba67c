#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

/// The parser context: input and output buffers, error queue, status registers and the interface's callbacks.

constexpr std::size_t scpi_registers = 39;
constexpr std::int32_t error_queue_capacity = 100;
constexpr std::size_t error_text_size = 100;
constexpr std::size_t error_stamp_size = 50;

struct Error_Queue {
    std::int32_t write = 0;
    std::int32_t read = 0;
    std::int32_t capacity = error_queue_capacity;
    std::int32_t count = 0;
    std::array<std::int32_t, error_queue_capacity> code{};
    std::array<std::array<char, error_text_size>, error_queue_capacity> text{};
    std::array<std::array<char, error_stamp_size>, error_queue_capacity> stamp{};
};

struct ScpiContext;

/// What an interface does for the parser; any of them may be null.
struct Scpi_Interface {
    void (*control)(ScpiContext& context, int control, std::uint32_t value) = nullptr;  ///< 1: service request with STB
    void (*error)(ScpiContext& context, int code) = nullptr;
    void (*reset)(ScpiContext& context) = nullptr;
};

struct ScpiContext {
    std::array<std::uint32_t, scpi_registers> registers{};
    Error_Queue* errors = nullptr;
    Scpi_Interface interface{};
    std::array<char, 512> input{};
    std::size_t input_length = 0;
    bool command_error = false;  ///< an error was pushed during the command in hand
    /// Setting a bit is read, change, write; several threads do it. A leaf: nothing is locked inside it.
    std::recursive_mutex status_lock;
};

inline Error_Queue local_error_queue;
inline ScpiContext scpi_context;

/// Prepares the context with its interface callbacks and an empty error queue.
void SCPI_Init(ScpiContext& context, const Scpi_Interface& interface);
