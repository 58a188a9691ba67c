#include "keys/handlers.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"

namespace {

enum Num_Page { num_frequency = 0 };

constexpr std::uint8_t num_family = 24;

}  // namespace

std::array<Menu_Page, 20> NumLink{{{
    .title = En(keys::enUnitBig),
    .label = {En(keys::enGHz), En(keys::enMHz), En(keys::enkHz), En(keys::enHz), nullptr, nullptr, nullptr},
    .disabled = {},
    .parent = nullptr,
    .family = num_family,
    .highlight = no_highlight,
    .layer = fNumBase,
    .value_handler = {},
    .face = nullptr,
}}};

void Num_HwKey(char unit_type) {
    if (unit_type != '1') return;
    Menu_Page& page = NumLink[num_frequency];
    page.parent = &Current_Page();
    Show_Page(page);
}

void Num_Swkey(int key, char) {
    const Menu_Page& page = Current_Page();
    if (key < 0 || key >= soft_keys || !page.label[static_cast<std::size_t>(key)]) return;
    page.layer(key);
}
