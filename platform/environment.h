#pragma once

namespace platform {

/// Takes root and clock mode from the environment: KVA720_ROOT (a folder; without it the process ends with one line on
/// standard error and status 2) and KVA720_FAST=1 (pauses take no time). The board needs neither and does nothing.
/// Call first in main.
void Configure_From_Environment();

}  // namespace platform
