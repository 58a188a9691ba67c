#pragma once
#include <array>
#include <span>
#include <vector>

#include "scpi/commands/order.h"
#include "scpi/context.h"

/// The instrument's commands in the order of the search, then a row whose pattern is null.
inline std::array<ScpiCommand, command_order.size() + 1> scpi_commands{};

/// Assembles the table from the rows of all families and hands it with its index to the parser. Once at start-up.
void Commands_Init();

/// Points `*IDN?` to the system information as it is now.
void Set_Identification(ScpiContext& context);

/// The families, each with its rows.
std::vector<std::span<const ScpiCommand>> Command_Families();
