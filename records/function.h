#pragma once
#include <atomic>
#include <cstdint>

/// The active mode. The main loop's work and the dispatch of keys follow it.
enum Function_Mode : std::int32_t {
    mode_spectrum = 0, mode_power_meter = 1, mode_emission_mask = 2, mode_file_view = 3, mode_spectrum_list = 6,
    mode_am_fm = 7, mode_am_fm_list = 8, mode_recall_view = 9, mode_iq = 10, mode_r_phi = 11, mode_ask = 16, mode_fsk = 17
};
inline std::atomic<std::int32_t> FunctionMode_Flag{mode_spectrum};
inline std::int32_t FunctionMode_Flag_For_File = mode_spectrum;
inline std::int32_t Global_Table = 0;  ///< bit set of the active measurement or table
inline std::int32_t Global_Table_Flag_For_File = 0;

enum Global_Table_Bit : std::int32_t {
    table_occupied_bandwidth = 4, table_acpr = 8, table_jitter = 0x20, table_peak = 0x100, table_sequence = 0x400,
    table_split = 0x800, table_emission_mask = 0x1000, table_marker = 0x4000, table_without_center = 0x80000,
    table_single_frequency = 0x200000,
    table_limit = 0x8000,  ///< points of the limit line that is being edited
    table_cnr = 0x10000, table_cso = 0x20000, table_ctb = 0x40000
};

inline std::int32_t Sequence_runnow_flag = 0;
inline std::int32_t SEQCAL_Flag = 0;
inline std::int32_t PmetRemoteJudgeFlag = 0;
inline std::int32_t PowerSensor_Insert = 0;  ///< 1: a USB power sensor is plugged in
inline std::int32_t Run_AuotSet_flag = 0;

/// EMC pre-compliance state; the first and the sixteenth word steer the main loop.
struct EMC_Record {
    std::int32_t running = 0;
    std::int32_t held = 0;
    std::int32_t mode = 0;
    std::int32_t correction_off = 0;
    std::int32_t quasi_peak_running = 0;    ///< 1: viewed traces are measured again with the quasi-peak detector
    std::int32_t reference_changed = 0;  ///< 1: the automatic attenuation has followed a new reference level
};
inline EMC_Record EMC_Data;
inline std::uint8_t attention_notice = 0;  ///< one-shot: the next change of the axis shows notice 5
