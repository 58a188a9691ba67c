#include "keys/pages.h"

#include <vector>

#include "keys/menus/rows.h"
#include "keys/soft_keys.h"

namespace {

using menus::Open_Page;

bool Is_Return(const Menu_Page& page, std::size_t key) { return page.label[key] == En(keys::enReturn); }

/// True when a key of the page, or of a page that it leads on to, does more than show a page.
bool Has_Effect(const Menu_Page& page, std::vector<const Menu_Page*>& seen) {
    for (const Menu_Page* other : seen) {
        if (other == &page) return false;
    }
    seen.push_back(&page);
    for (std::size_t key = 0; key < soft_keys; ++key) {
        if (!page.label[key] || Is_Return(page, key)) continue;
        if (page.opens[key] ? Has_Effect(*page.opens[key], seen) : page.disabled[key] == 0) return true;
    }
    return false;
}

/// A way to pages on which everything is greyed is greyed itself.
void Grey_Ways_To_Nothing(Menu_Page& page) {
    for (std::size_t key = 0; key < soft_keys; ++key) {
        if (!page.opens[key] || Is_Return(page, key)) continue;
        std::vector<const Menu_Page*> seen{&page};
        page.disabled[key] = Has_Effect(*page.opens[key], seen) ? 0 : 1;
    }
}

template <std::size_t n>
void Grey_Ways(std::array<Menu_Page, n>& pages) {
    for (Menu_Page& page : pages) Grey_Ways_To_Nothing(page);
}

}  // namespace

bool menus::Open_Page_Of(int key) {
    Menu_Page& from = Current_Page();
    Menu_Page* page = from.opens[static_cast<std::size_t>(key)];
    if (!page) return false;
    const bool back = from.back && key == soft_keys - 1;
    if (page->back && !back) page->opens[soft_keys - 1] = &from;
    Show_Page(*page);
    return true;
}

void menus::Open_Page(int key) { Open_Page_Of(key); }

void Reset_Pages() {
    for (const auto reset :
         {menus::Reset_Amp, menus::Reset_Autoset, menus::Reset_BW, menus::Reset_Display, menus::Reset_EMC,
          menus::Reset_File, menus::Reset_Freq, menus::Reset_Limitline, menus::Reset_Marker, menus::Reset_Markerto,
          menus::Reset_Meas, menus::Reset_Mode, menus::Reset_PeakSearch, menus::Reset_Preset, menus::Reset_Recall,
          menus::Reset_Save, menus::Reset_Sequence, menus::Reset_Span, menus::Reset_Sweep, menus::Reset_Sys,
          menus::Reset_Trace, menus::Reset_Trigger}) {
        reset();
    }
    for (Menu_Page& page : NumLink) {
        page.highlight = no_highlight;
        page.parent = nullptr;
    }
    Grey_Ways(AmpLink);
    Grey_Ways(DisplayLink);
    Grey_Ways(EMCLink);
    Grey_Ways(FileLink);
    Grey_Ways(BWLink);
    Grey_Ways(LimitlineLink);
    Grey_Ways(MarkerLink);
    Grey_Ways(MeasLink);
    Grey_Ways(ModeLink);
    Grey_Ways(PeakSearchLink);
    Grey_Ways(RecallLink);
    Grey_Ways(SaveLink);
    Grey_Ways(SeqLink);
    Grey_Ways(SweepLink);
    Grey_Ways(SysLink);
    Grey_Ways(TraLink);
    Grey_Ways(TriggerLink);
    keylink.store(nullptr);
}
