#pragma once
#include <cstdint>
#include <span>
#include <string>

namespace virtual_board {

/// Makes the four frame buffers and their control blocks below the platform's root, dark and switched off. Files in
/// use are replaced, not changed. Throws std::runtime_error with one line.
void Make_Frame_Devices();

/// Takes the frame devices away.
void Remove_Frame_Devices();

/// The device files of the board below the platform's root, there as long as the object lives: frame buffers,
/// back-light, sample memory, key devices, trigger input, serial port with the cable's other end, and the listening sockets of DSP link,
/// FPGA interrupt, GPIB and USB.
class Devices {
  public:
    /// Throws std::runtime_error with one line when a device can't be made.
    Devices();
    Devices(const Devices&) = delete;
    Devices& operator=(const Devices&) = delete;
    ~Devices();

    /// The memory shared with the instrument, platform::sample_memory_elements doubles.
    std::span<double> Sample_Memory() const { return {sample_memory_, sample_memory_ == nullptr ? 0 : Elements()}; }

    int Link_Listener() const { return link_; }
    int Fpga_Listener() const { return fpga_; }
    /// Reading end of the trigger input.
    int Trigger_Input() const { return trigger_; }

    /// Masters of the pseudo-terminals that the instrument and a PC's program open.
    int Serial_Master() const { return serial_; }
    int Serial_User_Master() const { return serial_user_; }

    struct Bus_Listeners {
        int instrument = -1, controller = -1;
    };
    const Bus_Listeners& Gpib() const { return gpib_; }
    const Bus_Listeners& Usb() const { return usb_; }

  private:
    static std::size_t Elements();
    void Make();
    void Remove() noexcept;

    double* sample_memory_ = nullptr;
    int link_ = -1;
    int fpga_ = -1;
    int trigger_ = -1;
    int serial_ = -1;
    int serial_end_ = -1;  ///< holds the line open while the instrument hasn't
    int serial_user_ = -1;
    Bus_Listeners gpib_, usb_;
};

}  // namespace virtual_board
