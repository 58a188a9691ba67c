#pragma once
#include <cstdint>
#include <string_view>

/// Settings that outlast power and presets: power-on choice, preset type, GPIB address, baud rate, brightness, clock. Each
/// setter stores them at once in "/mnt/nand/settings.sys". The language keeps a file of its own. All need
/// Command_Main_Mutex. Setters of panel values take a mode: 0 knob, 1 arrows, 2 typed value.

/// Takes the stored settings over; a file that is missing, cut or out of range changes nothing and gives false.
bool Recall_Settings();
/// Writes them whole or not at all; false with errno on failure.
bool Save_Settings();

void Set_Power_On(int last_state);   ///< 1: the state at the last power-off, 0: the preset
bool Set_Preset_Type(int user);      ///< 0 factory, 1 user; false while no user preset is saved
void Set_Baud_Rate(int index);       ///< 0 to 9: 300 to 115200 bit/s; held. In force from the next start on
int Baud_Rate_Of(int index);         ///< bit/s
void Set_USB_Role(int device);       ///< 1 device, 0 host; in force from the next start on
int Set_Alarm(bool on);              ///< a tone when a limit test fails
void Set_Clock_Shown(int shown);
void Set_Key_Lock(int locked);       ///< not stored: keys are free after power-on
/// Off stops the drawing of traces and readings and switches the back-light off; on draws them as they are now. A key
/// and every way to local control switch it on.
int Set_Screen_On(bool on);

int Set_GPIB_Address(int mode, double value);  ///< 0 to 30, held
int Set_Brightness(int mode, double value);    ///< percent, 10 to 100, held; sent to the back-light
/// The calendar's date as YYYYMMDD and time as HHMMSS of the shown clock; -1 for one that doesn't exist. Arrows and knob
/// step a day and a minute.
int Set_Date(int mode, double value);
int Set_Time(int mode, double value);

/// The web page's password, in "/opt/KVA720/webpasswd"; empty for none.
void Recall_Web_Password();
bool Store_Web_Password(std::string_view password);

/// The GPIB device must be told its address; defined with the interfaces.
void GPIB_Address_Changed();
