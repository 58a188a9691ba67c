#include "scpi/status.h"

#include <array>

namespace {

struct Sub_Register {
    std::size_t base;
    std::uint32_t questionable_bit;
};

/// The five sets that sum up into a bit of the QUEStionable condition.
constexpr std::array<Sub_Register, 5> sub_registers{{{reg_questionable_frequency, 32},
                                                     {reg_questionable_acplimit, 1024},
                                                     {reg_questionable_semlimit, 2048},
                                                     {reg_questionable_toilimit, 4096},
                                                     {reg_questionable_fifth, 32768}}};

constexpr std::uint32_t all_bits = 65535;

bool Set_Summary(ScpiContext& context, std::size_t base) {
    return ((*context.registers)[base + set_event] & (*context.registers)[base + set_enable]) != 0;
}

void Put_Bit(ScpiContext& context, std::size_t index, std::uint32_t bit, bool on) {
    const std::uint32_t value = (*context.registers)[index];
    SCPI_RegSet(context, index, on ? value | bit : value & ~bit);
}

void Status_Byte_Written(ScpiContext& context, std::uint32_t previous) {
    auto& stb = (*context.registers)[reg_stb];
    const std::uint32_t enabled = (*context.registers)[reg_sre] & ~std::uint32_t{stb_request_service};
    stb = stb & enabled ? stb | stb_request_service : stb & ~std::uint32_t{stb_request_service};
    if ((stb & stb_request_service) && stb != previous && context.interface && context.interface->control) {
        context.interface->control(context, control_service_request, stb);
    }
}

/// A write in which some bits rise and others fall at once records nothing.
void Condition_Written(ScpiContext& context, std::size_t base, std::uint32_t old_value) {
    const std::uint32_t new_value = (*context.registers)[base + set_condition];
    const std::uint32_t changed = old_value ^ new_value;
    const std::uint32_t was = old_value & changed, is = new_value & changed;
    const bool rises = ((*context.registers)[base + set_positive] & changed) && !was && is;
    const bool falls = ((*context.registers)[base + set_negative] & changed) && was && !is;
    if (rises || falls) SCPI_RegSet(context, base + set_event, (*context.registers)[base + set_event] | changed);
}

void Set_Written(ScpiContext& context, std::size_t base, std::size_t member, std::uint32_t old_value) {
    if (member == set_condition) Condition_Written(context, base, old_value);
    if (member != set_event && member != set_enable) return;
    if (base == reg_operation) {
        Put_Bit(context, reg_stb, stb_operation, Set_Summary(context, base));
    } else if (base == reg_questionable) {
        Put_Bit(context, reg_stb, stb_questionable, Set_Summary(context, base));
    } else if (member == set_enable) {
        SCPI_RegSet(context, base + set_event, (*context.registers)[base + set_event]);
    } else {
        for (const auto& sub : sub_registers) {
            if (sub.base != base) continue;
            Put_Bit(context, reg_questionable + set_condition, sub.questionable_bit,
                    (*context.registers)[base + set_event] != 0);
        }
    }
}

}  // namespace

std::uint32_t SCPI_RegGet(ScpiContext& context, std::size_t index) {
    if (index >= scpi_registers || !context.registers) return 0;
    const std::lock_guard guard(context.status_lock);
    return (*context.registers)[index];
}

void SCPI_RegSet(ScpiContext& context, std::size_t index, std::uint32_t value) {
    if (index >= scpi_registers || !context.registers) return;
    const std::lock_guard guard(context.status_lock);
    const std::uint32_t old_value = (*context.registers)[index];
    (*context.registers)[index] = value;
    switch (index) {
        case reg_stb: Status_Byte_Written(context, old_value); break;
        case reg_sre: SCPI_RegSet(context, reg_stb, (*context.registers)[reg_stb]); break;
        case reg_esr: Put_Bit(context, reg_stb, stb_standard_event, (value & (*context.registers)[reg_ese]) != 0); break;
        case reg_ese: SCPI_RegSet(context, reg_esr, (*context.registers)[reg_esr]); break;
        default: {
            const std::size_t base = reg_operation + (index - reg_operation) / 5 * 5;
            Set_Written(context, base, index - base, old_value);
        }
    }
}

void SCPI_RegSetBits(ScpiContext& context, std::size_t index, std::uint32_t bits) {
    const std::lock_guard guard(context.status_lock);
    SCPI_RegSet(context, index, SCPI_RegGet(context, index) | bits);
}

void SCPI_RegClearBits(ScpiContext& context, std::size_t index, std::uint32_t bits) {
    const std::lock_guard guard(context.status_lock);
    SCPI_RegSet(context, index, SCPI_RegGet(context, index) & ~bits);
}

void SCPI_RegInitial(ScpiContext& context) {
    const std::lock_guard guard(context.status_lock);
    if (!context.registers) return;
    *context.registers = {};
    for (std::size_t base = reg_operation; base < scpi_registers; base += 5) {
        (*context.registers)[base + set_positive] = all_bits;
    }
    for (const auto& sub : sub_registers) (*context.registers)[sub.base + set_enable] = all_bits;
}

void SCPI_StatusPreset(ScpiContext& context) {
    const std::lock_guard guard(context.status_lock);
    for (std::size_t base = reg_operation; base < scpi_registers; base += 5) {
        SCPI_RegSet(context, base + set_positive, all_bits);
        SCPI_RegSet(context, base + set_negative, 0);
    }
    SCPI_RegSet(context, reg_operation + set_enable, 0);
    SCPI_RegSet(context, reg_questionable + set_enable, 0);
    for (const auto& sub : sub_registers) {
        if (sub.base != reg_questionable_fifth) SCPI_RegSet(context, sub.base + set_enable, all_bits);
    }
}
