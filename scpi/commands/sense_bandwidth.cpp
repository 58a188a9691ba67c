#include <array>
#include <cmath>

#include "keys/bandwidth_entry.h"
#include "records/freqs.h"
#include "records/function.h"
#include "records/sys.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "sweep/bandwidth.h"

namespace {

using namespace shapes;

constexpr int typed = 2, hardware_missing = -241;

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

/// The setter raises the errors of its refusals itself.
int Set_Bandwidth(double hertz, int (*setter)(int, double), Bandwidth_Entry entry) {
    if (!std::isfinite(hertz)) return data_out_of_range;
    setter(typed, hertz);
    Show_Bandwidth_Entry(entry);
    return 0;
}

int Sense_BandwidthResolution(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) { return Set_Bandwidth(hertz, Set_BW_RBW, Bandwidth_Entry::rbw); });
}

int Sense_BandwidthResolutionQ(ScpiContext& context) {
    return Answer_Real(context, Int_RBW_Transfer(BW_Data.rbw[Screen()]));
}

int Sense_BandwidthResolutionAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) {
        Set_RBW_Mode(!automatic);
        Show_Bandwidth_Entry(Bandwidth_Entry::rbw);
    });
}

int Sense_BandwidthResolutionAutoQ(ScpiContext& context) {
    return Answer_On_Off(context, BW_Data.rbw_mode[Screen()] == 0);
}

int Sense_BandwidthVideo(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) { return Set_Bandwidth(hertz, Set_BW_VBW, Bandwidth_Entry::vbw); });
}

int Sense_BandwidthVideoQ(ScpiContext& context) {
    return Answer_Real(context, Int_VBW_Transfer(BW_Data.vbw[Screen()]));
}

int Sense_BandwidthVideoAuto(ScpiContext& context) {
    return Set_On_Off(context, [](bool automatic) {
        Set_VBW_Mode(!automatic);
        Show_Bandwidth_Entry(Bandwidth_Entry::vbw);
    });
}

int Sense_BandwidthVideoAutoQ(ScpiContext& context) { return Answer_On_Off(context, BW_Data.vbw_mode[Screen()] == 0); }

bool Without_EMI_Filters() {
    switch (FunctionMode_Flag) {
        case mode_power_meter: case mode_am_fm: case mode_am_fm_list: case mode_ask: case mode_fsk: return true;
        default: return false;
    }
}

int Sense_EmifilterState(ScpiContext& context) {
    return Set_On_Off(context, [](bool on) {
        if (KVA720_ATTR_INST_MODEL != 1) return hardware_missing;
        if (Without_EMI_Filters()) return settings_conflict;
        Set_EMI_Filter(on);
        return 0;
    });
}

int Sense_EmifilterStateQ(ScpiContext& context) { return Answer_On_Off(context, BW_Data.emi != 0); }

int Sense_EmifilterBandwidth(ScpiContext& context) {
    return Set_Frequency(context, [](double hertz) {
        if (!BW_Data.emi) return settings_conflict;
        return Set_Bandwidth(hertz, Set_BW_RBW, Bandwidth_Entry::rbw);
    });
}

constexpr auto rows = std::to_array<ScpiCommand>({
    {"[:SENSe]:BANDwidth[:RESolution]?", Sense_BandwidthResolutionQ},
    {"[:SENSe]:BWIDth[:RESolution]?", Sense_BandwidthResolutionQ},
    {"[:SENSe]:BANDwidth[:RESolution]", Sense_BandwidthResolution},
    {"[:SENSe]:BWIDth[:RESolution]", Sense_BandwidthResolution},
    {"[:SENSe]:BANDwidth[:RESolution]:AUTO?", Sense_BandwidthResolutionAutoQ},
    {"[:SENSe]:BWIDth[:RESolution]:AUTO?", Sense_BandwidthResolutionAutoQ},
    {"[:SENSe]:BANDwidth[:RESolution]:AUTO", Sense_BandwidthResolutionAuto},
    {"[:SENSe]:BWIDth[:RESolution]:AUTO", Sense_BandwidthResolutionAuto},
    {"[:SENSe]:BANDwidth:VIDeo?", Sense_BandwidthVideoQ},
    {"[:SENSe]:BWIDth:VIDeo?", Sense_BandwidthVideoQ},
    {"[:SENSe]:BANDwidth:VIDeo", Sense_BandwidthVideo},
    {"[:SENSe]:BWIDth:VIDeo", Sense_BandwidthVideo},
    {"[:SENSe]:BANDwidth:VIDeo:AUTO?", Sense_BandwidthVideoAutoQ},
    {"[:SENSe]:BWIDth:VIDeo:AUTO?", Sense_BandwidthVideoAutoQ},
    {"[:SENSe]:BANDwidth:VIDeo:AUTO", Sense_BandwidthVideoAuto},
    {"[:SENSe]:BWIDth:VIDeo:AUTO", Sense_BandwidthVideoAuto},
    {"[:SENSe]:EMIFilter:STATe", Sense_EmifilterState},
    {"[:SENSe]:EMIFilter:STATe?", Sense_EmifilterStateQ},
    {"[:SENSe]:EMIFilter:BWIDth[:RESolution]", Sense_EmifilterBandwidth},
    {"[:SENSe]:EMIFilter:BANDwidth[:RESolution]", Sense_EmifilterBandwidth},
});

}  // namespace

std::span<const ScpiCommand> families::Sense_Bandwidth() { return rows; }
