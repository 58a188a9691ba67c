#include "keys/handlers.h"
#include "keys/pages.h"
#include "keys/words.h"
#include "records/handover.h"
#include "system/preset.h"

/// Shown under remote control; its own parent, so that digits open no unit page.
std::array<Menu_Page, 1> PresetLink{{{
    .title = En(keys::enRemoteBig),
    .label = {},
    .disabled = {},
    .parent = &PresetLink[0],
    .family = 21,
    .highlight = no_highlight,
    .layer = nullptr,
    .value_handler = {},
    .face = nullptr,
}}};

void Preset_HwKey() {
    Remote_Flag.store(0, std::memory_order_release);
    Preset_Instrument();
}
