#pragma once
#include <array>
#include <atomic>
#include <cstdint>

/// Flags by which one thread hands work to another. Store with release, load with acquire; who polls a flag does the
/// work.

inline std::atomic<int> systeminit{0};      ///< start-up progress: 0 before and after, 1 to 11 while the pictures run
inline std::atomic<int> shutdown_flag{0};   ///< power-off progress: 0 none, 1 to 3 stages

/// Panel keys waiting to be executed: filled by the key reader, drained from the top by the main loop.
constexpr int keypad_slots = 10;
inline std::array<std::atomic<std::int32_t>, keypad_slots> Keypad_Value{};
inline std::atomic<std::int32_t> Keypad_Flag{0};

/// Keys of the web page, first in, first out.
constexpr int web_key_slots = 64;
struct Web_Key_Queue {
    std::array<std::atomic<std::int32_t>, web_key_slots> value{};
    std::atomic<unsigned> read{0}, write{0};  ///< counted without end, one reader and one writer
};
inline Web_Key_Queue Web_Keyin_Value;
inline std::atomic<std::int32_t> Web_Keyin_Flag{0};

inline std::atomic<int> Remote_Flag{0};                  ///< 1 while a remote interface has taken control
inline std::atomic<int> Local_Lockouts{0};               ///< clients that bar the preset key from leaving remote control
inline std::atomic<int> RecallFormCommand{0};            ///< 1: a remote command asked for a recall the main loop must end
inline std::atomic<int> RecallMenuState{0};
inline std::atomic<int> USBButtonOnOff_Flag{0};          ///< 1: storage came or went
inline std::atomic<int> RecallAfterRemoveDeviceFlag{0};  ///< 2: the recall menu must be rebuilt

inline std::atomic<int> Pending_Operation_Flag{0};
inline std::atomic<int> Pending_Operation_Flag_check{0};
inline std::atomic<int> VXI11_Start{0};             ///< 1 while the thread of VXI-11 runs
inline std::atomic<int> Command_Opc_Flag{0};        ///< *OPC waits for the end of the sweep
inline std::atomic<int> Command_Query_Opc_Flag{0};  ///< *OPC? waits for the end of the sweep

inline std::atomic<int> SweepSingle_Data{0};  ///< 1: the single sweep has stopped
inline std::atomic<int> DSP_Trigger_Flag{0};  ///< 1: the core waits for its trigger
inline std::atomic<int> FPGA_Int_Fd{-1};      ///< interrupt device, -1 until its thread has opened it
inline std::atomic<int> Usb_init_flag{0};
inline std::atomic<int> SetsystemtimeFlag{0};
