#pragma once
#include <cstdint>

/// System settings, identity, clock, start-up files and storage.

void Sys_Init();       ///< system settings that a power-off doesn't keep
void Sys_Init_Cal();   ///< calibration settings
void Display_Init();   ///< the screen on, the keys free

/// Reads maker, model and serial number from "/opt/KVA720/identity", sets MAXFREQUENCY and MAXSPAN for the model and
/// returns its code (1: extended range). An unreadable file is a KVA7230 without serial number.
std::uint8_t IdentificationQuery();

void init_i2c();              ///< opens the bus of the real-time clock (fd_i2c)
void write_rtc_control();     ///< writes the clock's control byte
void pwm_init();              ///< back-light to the set brightness
void init_audio();            ///< beeper volume to its preset
void GetOsName();             ///< name of the operating system into the system information

/// Weekly wake-up: read from "/mnt/nand/weektime" (weekday 0 to 6, hour, minute), written to the clock's alarm.
void Recall_weektime();
void Set_weektime();
void Check_wakeuptime();

/// Prepares the reading of "/mnt/nand/record.out"; read_record then gives entry 0 to 16, false past its end.
void Init_readOutfile();
bool read_record(int entry, double& value);

/// Hands the correction values to the core; without the file prints "File could not be opened. \n" and hands over none.
void Hand_Over_Corrections();

/// Firmware version of the core (1), the tracking generator (2) or the receiver (3) into the system information.
void show_DSPTGRF_Ver(int which);
/// Appends the application's own version.
void Append_Application_Version();

void Scan_USB();              ///< counts attached storage, a folder each below "/mnt/usb"
bool Storage_Changed();       ///< true while more or less storage is attached than at the last Scan_USB; any thread
void Detect_USB_STATE_FILE(); ///< the port's role at the last stop, from "/tmp/usb_state"
void USBnumberdisplay();      ///< count of attached storage on the status line, when it has changed
void Forget_Storage_Shown();  ///< the next USBnumberdisplay draws in any case
void USBSD_ButtonOnOff(int force);

inline int fd_i2c = -1;
