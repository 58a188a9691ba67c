#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/unit_pages.h"
#include "keys/words.h"
#include "records/amp.h"
#include "records/error_log.h"
#include "records/function.h"
#include "records/keystate.h"

namespace {

constexpr std::uint8_t num_family = 24;

enum Num_Page : int {
    num_frequency, num_time, num_level, num_volt, num_watt, num_decibel, num_carrier, num_percent, num_whole, num_plain,
    num_density, num_address, num_date, num_clock, num_bit_rate, num_word, num_demod, num_emc, num_factor, num_duration,
    num_none = -1
};

using Labels = std::array<const std::uint8_t*, soft_keys>;

Menu_Page Unit_Page(void (*layer)(int key), const Labels& labels) {
    Menu_Page page;
    page.title = En(keys::enUnitBig);
    page.label = labels;
    page.family = num_family;
    page.layer = layer;
    return page;
}

/// Levels are typed in the amplitude unit of the instrument.
Num_Page Level_Page() {
    switch (Amp.unit) {
        case unit_volt: return num_volt;
        case unit_watt: return num_watt;
        default: return num_level;
    }
}

Num_Page Page_Of(char unit_type) {
    switch (unit_type) {
        case '1': return num_frequency;
        case '5': return num_word;
        case '6': return num_time;
        case '7': case '8': case '9': return Level_Page();
        case 'a': return num_decibel;
        case 'b': return num_carrier;
        case 'c': return num_percent;
        case 'd': return num_whole;
        case 'e': return num_plain;
        case 'f': return num_density;
        case 'g': return num_address;
        case 'h': return num_date;
        case 'i': return num_clock;
        case 'j': return num_bit_rate;
        case 'l': return num_demod;
        case 'm': return num_emc;
        case 'n': return num_factor;
        case 'o': return num_duration;
        default: return num_none;
    }
}

/// Keys that do not fit the modulation are greyed: an ASK signal has volts, all others hertz, or percent.
void Grey_Demod_Keys(Menu_Page& page) {
    const bool ask = FunctionMode_Flag == mode_ask, fsk = FunctionMode_Flag == mode_fsk;
    page.disabled = {ask, ask, ask, ask || fsk, !ask, !ask, 0};
}

}  // namespace

using namespace keys;

std::array<Menu_Page, 20> NumLink{
    Unit_Page(fNumBase, {En(enGHz), En(enMHz), En(enkHz), En(enHz)}),
    Unit_Page(sNumBase, {En(enks), En(ens), En(enms), En(enus), En(enns)}),
    Unit_Page(ampNumBase, {En(endBm), En(endBmV), En(endBuV)}),
    Unit_Page(voltNumBase, {En(enV), En(enmV), En(enuV), En(ennV)}),
    Unit_Page(wattNumBase, {En(enW), En(enmW), En(enuW), En(ennW), En(enpW), En(enfW)}),
    Unit_Page(decibelNumBase, {En(endB)}),
    Unit_Page(carrierNumBase, {En(endBc)}),
    Unit_Page(percentNumBase, {En(enPercent)}),
    Unit_Page(wholeNumBase, {En(enEnter)}),
    Unit_Page(plainNumBase, {En(enEnter)}),
    Unit_Page(densityNumBase, {En(endBmPerHz), En(endBmPerMHz)}),
    Unit_Page(addressNumBase, {En(enEnter)}),
    Unit_Page(dateNumBase, {En(enEnter)}),
    Unit_Page(clockNumBase, {En(enEnter)}),
    Unit_Page(bitRateNumBase, {En(enBitRateMbps), En(enBitRatekbps), En(enBitRatebps)}),
    Unit_Page(wordNumBase, {En(enLetterA), En(enLetterB), En(enLetterC), En(enLetterD), En(enLetterE), En(enLetterF),
                            En(enEnter)}),
    Unit_Page(demodNumBase, {En(enMHz), En(enkHz), En(enHz), En(enPercent), En(enV), En(enmV)}),
    Unit_Page(emcNumBase, {En(endBuV), En(endBuVPerm), En(endBuA), En(endBuAPerm), En(endBpT)}),
    Unit_Page(factorNumBase, {En(endB), En(endBPerm), En(endBohm)}),
    Unit_Page(durationNumBase, {En(enUnitHour), En(enUnitMinute), En(ens), En(enms)}),
};

void Num_HwKey(char unit_type) {
    const Num_Page number = Page_Of(unit_type);
    if (number == num_none || !keylink.load() || Current_Page().family == num_family) return;
    Menu_Page& page = NumLink[static_cast<std::size_t>(number)];
    page.parent = &Current_Page();
    page.highlight = no_highlight;
    if (number == num_volt || number == num_watt) FLAG_BLOCK_MINUS_KEY = 1;
    if (number == num_demod) Grey_Demod_Keys(page);
    keylink.store(&page, std::memory_order_release);
    hardware_key(page, false, fbVid0);
}

void Num_Swkey(int key, char) {
    if (key < 0 || key >= soft_keys) return ErrorMessage("Num_Swkey error");
    const Menu_Page& page = Current_Page();
    const auto index = static_cast<std::size_t>(key);
    if (page.label[index] && !page.disabled[index]) page.layer(key);
}
