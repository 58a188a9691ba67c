#pragma once
#include <array>

/// Handlers of the front panel's key families, defined in the menus above.

void Freq_HwKey();
void Span_HwKey();
void Amp_HwKey();
void Autoset_HwKey();
void BW_HwKey();
void Meas_HwKey();
void Trace_HwKey();
void Display_HwKey();
void Sweep_HwKey();
void EMC_HwKey();
void Limitline_HwKey();
void Trigger_HwKey();
void SweepMode_HwKey();
void File_HwKey();
void Save_HwKey();
void Recall_HwKey();
void Marker_HwKey();
void Markerto_HwKey();
void PeakSearch_HwKey();
void Sequence_HwKey();
void Mode_HwKey();
void Sys_HwKey();
void Preset_HwKey();
void QuickSave_HwKey();

void Freq_SwKey(int key, char unit_type);
void Span_SwKey(int key, char unit_type);
void Amp_SwKey(int key, char unit_type);
void Autoset_SwKey(int key, char unit_type);
void BW_SwKey(int key, char unit_type);
void Meas_SwKey(int key, char unit_type);
void Trace_SwKey(int key, char unit_type);
void Display_SwKey(int key, char unit_type);
void Sweep_SwKey(int key, char unit_type);
void EMC_SwKey(int key, char unit_type);
void Limitline_SwKey(int key, char unit_type);
void Trigger_SwKey(int key, char unit_type);
void File_SwKey(int key, char unit_type);
void Save_SwKey(int key, char unit_type);
void Recall_SwKey(int key, char unit_type);
void Marker_SwKey(int key, char unit_type);
void Markerto_SwKey(int key, char unit_type);
void PeakSearch_SwKey(int key, char unit_type);
void Sequence_SwKey(int key, char unit_type);
void Mode_SwKey(int key, char unit_type);
void Sys_SwKey(int key, char unit_type);

/// Unit page of numeric entry: opens it for a unit type; handles its soft keys. Unit types: 1 frequency, 6 time, 7
/// level, a dB, b dBc, c %, d whole number, e number, f power density, g address, h date, i time of day, j bit rate, l
/// demodulated value, m EMC level, n factor, o duration, 5 hexadecimal word (for a key to open). Others have no page.
void Num_HwKey(char unit_type);
void Num_Swkey(int key, char unit_type);

/// The web password that is being typed: abandoned (the stored one is read again), stored (the system page comes back),
/// drawn again.
void Abandon_Web_Password();
void Finish_Web_Password();
void Show_Web_Password();

/// Hard-key handlers by key code.
inline constexpr std::array<void (*)(), 24> fHwKeyPtr{
    Freq_HwKey,      Span_HwKey,      Amp_HwKey,        Autoset_HwKey,  BW_HwKey,   Meas_HwKey,
    Trace_HwKey,     Display_HwKey,   Sweep_HwKey,      EMC_HwKey,      Limitline_HwKey, Trigger_HwKey,
    SweepMode_HwKey, File_HwKey,      Save_HwKey,       Recall_HwKey,   Marker_HwKey, Markerto_HwKey,
    PeakSearch_HwKey, Sequence_HwKey, Mode_HwKey,       Sys_HwKey,      Preset_HwKey, QuickSave_HwKey};

/// Soft-key handlers by the page's family. Sweep-mode pages share the sweep handler; 22 and 23 are filled on purpose.
inline constexpr std::array<void (*)(int, char), 25> fSwKeyPtr{
    Freq_SwKey,  Span_SwKey,   Amp_SwKey,        Autoset_SwKey,  BW_SwKey,   Meas_SwKey,      Trace_SwKey,
    Display_SwKey, Sweep_SwKey, EMC_SwKey,       Limitline_SwKey, Trigger_SwKey, Sweep_SwKey, File_SwKey,
    Save_SwKey,  Recall_SwKey, Marker_SwKey,     Markerto_SwKey, PeakSearch_SwKey, Sequence_SwKey, Mode_SwKey,
    Sys_SwKey,   Limitline_SwKey, Freq_SwKey,    Num_Swkey};
