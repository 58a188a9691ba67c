#include "keys/handlers.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "records/handover.h"
#include "system/preset.h"

namespace {

using namespace menus;

/// Shown under remote control; its own parent, so that digits open no unit page.
constexpr auto rows = std::to_array<Page_Row>({{keys::enRemoteBig, {}, &PresetLink[0]}});

}  // namespace

std::array<Menu_Page, 1> PresetLink = Pages<1>(21, rows);

void menus::Reset_Preset() { PresetLink = Pages<1>(21, rows); }

void Preset_HwKey() {
    Remote_Flag.store(0, std::memory_order_release);
    Preset_Instrument();
}
