#include "sweep/amplitude.h"

#include <algorithm>
#include <cmath>

#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/function.h"
#include "sweep/dependants.h"
#include "sweep/transfer.h"

namespace {

constexpr int source_knob = 0, source_typed = 2;
constexpr int lowest_reference = -120, highest_reference = 30;
constexpr int most_attenuation = 50, most_with_preamplifier = 10, margin = 10, emc_margin = 7;
constexpr int preamplifier_threshold = -30, emc_preamplifier_threshold = -27;
constexpr int widest_offset = 300, widest_correction = 100;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

bool Emc_Mode() { return EMC_Data.mode != 0; }
bool At_75_Ohm() { return Amp.impedance[Screen()] == 1; }
/// What the display adds to levels at the input.
int Shown_Offset() { return Amp.offset[Screen()] + (At_75_Ohm() ? Amp.correction_75[Screen()] : 0); }

int Whole(double value, int low, int high) {
    return static_cast<int>(std::lround(std::clamp(value, static_cast<double>(low), static_cast<double>(high))));
}

int Step_Width() { return Amp.scale_code[Screen()] == 0 ? 10 : Amp.scale_code[Screen()] == 1 ? 5 : 1; }

void Put_Reference(int reference) {
    Amp.reference[Screen()] = std::min(reference, highest_reference);
    Amp.displayed_reference[Screen()] = Amp.reference[Screen()] + Shown_Offset();
}

/// True when the rule is done: the preamplifier takes the input as it is.
bool Preamplifier_Rule() {
    if (!Amp.preamplifier_auto) return false;
    const int threshold = Emc_Mode() ? emc_preamplifier_threshold : preamplifier_threshold;
    Amp.preamplifier_in[Screen()] = Amp.reference[Screen()] <= threshold;
    if (!Amp.preamplifier_in[Screen()]) return false;
    if (Amp.attenuation_mode[Screen()] == 0) Amp.attenuation[Screen()] = 0;
    return true;
}

int Level_Changed() {
    Level_Scale_Changed();
    Redraw_Keys();
    Draw_Status_Blocks();
    LOOP_SetTrans_Var();
    return 0;
}

}  // namespace

void Amp_ArrayInit() { Amp = {}; }

void Cal_AttnRefl_rule() {
    if (!Preamplifier_Rule()) {
        int& attenuation = Amp.attenuation[Screen()];
        const int reference = Amp.reference[Screen()];
        if (Amp.attenuation_mode[Screen()] != 0) {
            if (attenuation - margin < reference) Put_Reference(attenuation - margin);
        } else {
            attenuation = reference < 0 ? margin : reference + (Emc_Mode() ? emc_margin : margin);
        }
    }
    Restart_Max_Hold_Traces();
}

void Cal_Ref_Level(int source, double value) {
    const int width = source == source_knob ? 1 : Step_Width();
    if (source != source_typed) value = Amp.displayed_reference[Screen()] + Pending_Steps() * width;
    if (std::isnan(value)) return;
    const int shown = Whole(value, lowest_reference + Shown_Offset(), highest_reference + Shown_Offset());
    Put_Reference(shown - Shown_Offset());
    Cal_AttnRefl_rule();
}

int Set_Reflevel(int source, double value) {
    Cal_Ref_Level(source, value);
    return Level_Changed();
}

void Cal_Attenuation(int source, double value) {
    const int sign = Pending_Steps() > 0 ? 1 : -1;
    if (source != source_typed) value = Amp.attenuation[Screen()] + sign * (source == source_knob ? 1 : 5);
    if (std::isnan(value)) return;
    Amp.attenuation_mode[Screen()] = 1;
    const int most = Amp.preamplifier_in[Screen()] ? most_with_preamplifier : most_attenuation;
    Amp.attenuation[Screen()] = Whole(value, 0, most);
    Cal_AttnRefl_rule();
}

int Set_Attenuation(int source, double value) {
    Cal_Attenuation(source, value);
    return Level_Changed();
}

int Set_ReflevelOffset(int source, double value) {
    if (source != source_typed) value = Amp.offset[Screen()] + Pending_Steps();
    if (std::isnan(value)) return 0;
    Amp.offset[Screen()] = Whole(value, -widest_offset, widest_offset);
    Put_Reference(Amp.reference[Screen()]);
    return Level_Changed();
}

int Set_InputZcal(int source, double value) {
    if (source != source_typed) value = Amp.correction_75[Screen()] + Pending_Steps();
    if (std::isnan(value)) return 0;
    Amp.correction_75[Screen()] = Whole(value, -widest_correction, widest_correction);
    Put_Reference(Amp.reference[Screen()]);
    return Level_Changed();
}
