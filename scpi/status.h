#pragma once
#include <cstdint>

#include "scpi/context.h"

/// Status registers after IEEE 488.2 and SCPI, addressed by index. Each set holds condition, positive transition,
/// negative transition, event and enable in this order.
enum Scpi_Register : std::size_t {
    reg_stb = 0, reg_sre, reg_esr, reg_ese,
    reg_operation = 4,
    reg_questionable = 9,
    reg_questionable_frequency = 14,
    reg_questionable_acplimit = 19,
    reg_questionable_semlimit = 24,
    reg_questionable_toilimit = 29,
    reg_questionable_fifth = 34,
};
enum Register_Set_Member : std::size_t { set_condition = 0, set_positive, set_negative, set_event, set_enable };

/// Index of a member of a register set.
constexpr std::size_t operator+(Scpi_Register set, Register_Set_Member member) {
    return static_cast<std::size_t>(set) + static_cast<std::size_t>(member);
}

enum Status_Byte_Bit : std::uint32_t {
    stb_error_queue = 4, stb_questionable = 8, stb_message_available = 16, stb_standard_event = 32,
    stb_request_service = 64, stb_operation = 128
};
enum Standard_Event_Bit : std::uint32_t {
    esr_operation_complete = 1, esr_request_control = 2, esr_query_error = 4, esr_device_error = 8,
    esr_execution_error = 16, esr_command_error = 32, esr_user_request = 64, esr_power_on = 128
};
constexpr std::uint32_t operation_waiting_for_trigger = 32;
constexpr std::uint32_t questionable_bandwidth = 32;  ///< of the frequency set

/// Reads a register; an index outside the table reads 0.
std::uint32_t SCPI_RegGet(ScpiContext& context, std::size_t index);

/// Writes a register and lets the change propagate: transitions into events, events into summaries, summaries into the
/// status byte and from there a service request. An index outside the table is ignored.
void SCPI_RegSet(ScpiContext& context, std::size_t index, std::uint32_t value);
void SCPI_RegSetBits(ScpiContext& context, std::size_t index, std::uint32_t bits);
void SCPI_RegClearBits(ScpiContext& context, std::size_t index, std::uint32_t bits);

/// Power-on values.
void SCPI_RegInitial(ScpiContext& context);

/// Enables and transition filters as STATus:PRESet sets them.
void SCPI_StatusPreset(ScpiContext& context);
