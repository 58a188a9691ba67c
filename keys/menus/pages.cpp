#include "keys/pages.h"

#include "records/keystate.h"

namespace {

template <std::size_t n>
void Clear(std::array<Menu_Page, n>& pages) {
    for (auto& page : pages) page.highlight = no_highlight;
}

}  // namespace

void Reset_Pages() {
    Clear(FreqLink);
    Clear(SpanLink);
    Clear(DisplayLink);
    Clear(PresetLink);
    Clear(NumLink);
    for (auto& page : NumLink) page.parent = nullptr;
    keylink.store(nullptr);
}
