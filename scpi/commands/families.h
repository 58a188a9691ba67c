#pragma once
#include <span>

#include "scpi/context.h"

/// The rows that each file of commands offers. Their order in the table is that of order.h.
namespace families {

std::span<const ScpiCommand> Common();
std::span<const ScpiCommand> Status();
std::span<const ScpiCommand> System_Communicate();
std::span<const ScpiCommand> System_Error();
std::span<const ScpiCommand> System_Preset();
std::span<const ScpiCommand> Sense_Frequency();
std::span<const ScpiCommand> Sense_Autoset();
std::span<const ScpiCommand> Sense_Channel();
std::span<const ScpiCommand> Sense_Bandwidth();
std::span<const ScpiCommand> Sense_Sweep();
std::span<const ScpiCommand> Sense_Sweep_Gate();
std::span<const ScpiCommand> Trigger();
std::span<const ScpiCommand> Trace();
std::span<const ScpiCommand> Initiate();
std::span<const ScpiCommand> Calculate_Marker();
std::span<const ScpiCommand> Calculate_Deltamarker();
std::span<const ScpiCommand> Sense_Power();
std::span<const ScpiCommand> Input();
std::span<const ScpiCommand> Unit();
std::span<const ScpiCommand> Display_Y();
std::span<const ScpiCommand> Display();
std::span<const ScpiCommand> System_Klock();
std::span<const ScpiCommand> Sense_Detector();
std::span<const ScpiCommand> Calculate_Math();
std::span<const ScpiCommand> Calculate_Limit();
std::span<const ScpiCommand> System_Alarm();
std::span<const ScpiCommand> Mmemory_Limit();
std::span<const ScpiCommand> Display_Trace();
std::span<const ScpiCommand> Pixel();

}  // namespace families
