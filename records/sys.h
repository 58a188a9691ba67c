#pragma once
#include <array>
#include <cstdint>
#include <string>

enum class Language_Choice : std::uint8_t { english = 0, chinese_simplified, russian, chinese_traditional, japanese };

/// System settings.
struct Sys_Record {
    std::int32_t gpib_address = 18;
    std::int32_t user_preset = 0;      ///< 1: preset and power-on recall the user's state
    std::int32_t baud_rate = 5;        ///< index: 5 is 9600 bit/s
    double sweep_setting = 0;          ///< stored calibration setting of the sweep and its working copy
    double sweep_setting_working = 0;
    std::int32_t tracking_normalised = 0;
    std::int32_t alarm = 1;            ///< 1: a tone when a limit test fails
};
inline Sys_Record Sys_Data;

inline std::uint8_t POWER_On = 1;                      ///< 1: come up in the last state
inline std::uint8_t Language = 0;                      ///< a Language_Choice
inline std::uint8_t KVA720_ATTR_INST_MODEL = 1;        ///< 1: the model with the extended range
inline std::int32_t USB_Select = 0;                    ///< role of the USB port: 1 device, else host
inline std::int32_t Calibration_counter = 0;
inline std::int32_t System_information = 0;            ///< 1 while the information screen is shown
inline std::uint8_t Checkversion = 0;                  ///< 1: the word list is of another version
inline std::int32_t check_logo = 0;                    ///< 1: the maker's logo is not drawn

/// What the instrument says of itself.
struct System_Information_Record {
    std::string maker, model, serial_number, firmware, system_name, versions;
    std::string web_password;  ///< empty: none is asked for
    std::array<double, 3> versions_core{};  ///< signal-processing core, tracking generator, receiver
};
inline System_Information_Record System_Information_Data;
