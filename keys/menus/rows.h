#pragma once
#include <cstddef>

#include "keys/page.h"
#include "keys/words.h"

/// The constant rows from which the families' pages are made.
namespace menus {

constexpr int no_word = -1;

/// A soft key of a row.
struct Key_Row {
    int label = no_word;           ///< a keys::En_Name
    std::uint32_t disabled = 0;
    Value_Handler value = nullptr;
    Menu_Page* opens = nullptr;
    bool back = false;
};

constexpr Key_Row none{};
/// A key that the page's layer handler serves; value: what arrows, knob and typed values call.
constexpr Key_Row Key(keys::En_Name label, Value_Handler value = nullptr) { return {label, 0, value, nullptr, false}; }
/// A key whose setting is not there.
constexpr Key_Row Greyed(keys::En_Name label) { return {label, 1, nullptr, nullptr, false}; }
constexpr Key_Row Opens(keys::En_Name label, Menu_Page& page) { return {label, 0, nullptr, &page, false}; }
constexpr Key_Row Return(Menu_Page& page) { return {keys::enReturn, 0, nullptr, &page, false}; }
/// Key 7 of a page that more than one page opens.
constexpr Key_Row Back{keys::enReturn, 0, nullptr, nullptr, true};

/// The layer handler of pages whose keys open pages and do nothing else.
void Open_Page(int key);

struct Page_Row {
    int title = no_word;
    std::array<Key_Row, soft_keys> key{};
    Menu_Page* parent = nullptr;  ///< null also on sub-pages with a value: a digit shall open the unit page
    void (*layer)(int key) = Open_Page;
    void (*face)(int key, Key_Face& face) = nullptr;
    int (*chosen)() = nullptr;
    bool (*greyed)(int key) = nullptr;
};

constexpr const std::uint8_t* Word(int name) { return name == no_word ? nullptr : En(static_cast<keys::En_Name>(name)); }

/// Page records of a family; the pages behind the rows are blank.
template <std::size_t pages, std::size_t count>
constexpr std::array<Menu_Page, pages> Pages(std::uint8_t family, const std::array<Page_Row, count>& rows) {
    static_assert(count <= pages);
    std::array<Menu_Page, pages> made{};
    for (Menu_Page& page : made) page.family = family;
    for (std::size_t i = 0; i < count; ++i) {
        const Page_Row& row = rows[i];
        Menu_Page& page = made[i];
        page.title = Word(row.title);
        page.parent = row.parent;
        page.layer = row.layer;
        page.face = row.face;
        page.chosen = row.chosen;
        page.greyed = row.greyed;
        for (std::size_t key = 0; key < soft_keys; ++key) {
            page.label[key] = Word(row.key[key].label);
            page.disabled[key] = row.key[key].disabled;
            page.value_handler[key] = row.key[key].value;
            page.opens[key] = row.key[key].opens;
            page.back = page.back || row.key[key].back;
        }
    }
    return made;
}

/// Shows the page that a key of the current page opens; false for a key that opens none.
bool Open_Page_Of(int key);

/// Sets a family's pages to their rows.
void Reset_Amp();
void Reset_Autoset();
void Reset_BW();
void Reset_Display();
void Reset_EMC();
void Reset_File();
void Reset_Freq();
void Reset_Limitline();
void Reset_Marker();
void Reset_Markerto();
void Reset_Meas();
void Reset_Mode();
void Reset_PeakSearch();
void Reset_Preset();
void Reset_Recall();
void Reset_Save();
void Reset_Sequence();
void Reset_Span();
void Reset_Sweep();
void Reset_Sys();
void Reset_Trace();
void Reset_Trigger();

}  // namespace menus
