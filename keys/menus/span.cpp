#include "keys/frequency_entry.h"
#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/number_format.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "records/freqs.h"
#include "sweep/frequency.h"

namespace {

enum Span_Key { span_key, full_key, zero_key, last_key };

double& Span() { return Freqs.span[static_cast<std::size_t>(ScreenActive)]; }

int Set_Span_And_Show(int mode, double value) {
    Set_Span(mode, value);
    Show_Frequency_Entry(Frequency_Entry::span);
    return 0;
}

void fSpanBase(int key) {
    if (key == span_key) {
        menus::Begin_Entry('1', false);
    } else {
        menus::No_Entry();
    }
    switch (key) {
        case full_key: Set_Full_Span(); break;
        case zero_key: Set_Span(2, 0); break;
        case last_key: Set_Last_Span(); break;
        default: break;
    }
    Show_Frequency_Entry(Frequency_Entry::span);
}

void Span_Face(int key, Key_Face& face) {
    if (key == span_key) Format_Frequency(Span(), true, face.value);
}

constexpr std::array<Menu_Page, 1> rows{{{
    .title = En(keys::enSpanBig),
    .label = {En(keys::enSpanSpan), En(keys::enFullSpan), En(keys::enZeroSpan), En(keys::enLastSpan), nullptr, nullptr,
              nullptr},
    .disabled = {},
    .parent = nullptr,
    .family = 1,
    .highlight = no_highlight,
    .layer = fSpanBase,
    .value_handler = {Set_Span_And_Show},
    .face = Span_Face,
}}};

}  // namespace

std::array<Menu_Page, 1> SpanLink = rows;

void menus::Reset_Span() { SpanLink = rows; }

void Span_HwKey() { menus::Open_First_Page(SpanLink[0]); }

void Span_SwKey(int key, char) { Press_Soft_Key(key, "Span_SwKey error"); }
