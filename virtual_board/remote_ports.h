#pragma once
#include <array>
#include <cstddef>
#include <poll.h>
#include <span>

#include "platform/virtual/device_files.h"
#include "virtual_board/devices.h"

namespace virtual_board {

/// Carries bytes or packets one way between two descriptors, without waiting. What a full descriptor has not taken
/// yet is kept; nothing more is read until it has gone.
class One_Way {
  public:
    /// largest: bytes written at once; 0: a packet is written whole.
    explicit One_Way(std::size_t largest) : largest_(largest) {}

    bool Empty() const { return begin_ == end_; }
    void Clear() { begin_ = end_ = 0; }
    /// Reads what there is, when nothing is kept. False when the source has ended.
    bool Fill(int from);
    /// Writes what is kept as far as it goes; thrown away where there is no descriptor. False when the drain has ended.
    bool Empty_Into(int to);

  private:
    std::size_t largest_;
    std::size_t begin_ = 0, end_ = 0;
    std::array<char, platform::device_files::device_packet_limit + sizeof(platform::device_files::Device_Header)> kept_{};
};

/// What connects the instrument's serial, GPIB and USB devices with the programs of a PC: a serial cable, and for each bus
/// a controller. One controller at a time; while there is none, what the instrument sends is lost.
class Remote_Ports {
  public:
    static constexpr std::size_t waits = 10;

    explicit Remote_Ports(const Devices& devices);
    Remote_Ports(const Remote_Ports&) = delete;
    Remote_Ports& operator=(const Remote_Ports&) = delete;
    ~Remote_Ports();

    void Fill_Waits(std::span<pollfd, waits> waits) const;
    void Serve(std::span<const pollfd, waits> waits);
    /// An unused serial end has nothing to wait on; it is looked at this often.
    int Longest_Wait_Ms() const;

  private:
    struct Bus {
        Devices::Bus_Listeners listeners;
        int instrument = -1, controller = -1;
        One_Way in{instrument_piece}, out{0};
    };
    static constexpr std::size_t instrument_piece = 512;

    void Serve_Serial();
    static void Serve_Bus(Bus& bus);

    int serial_, serial_user_;
    bool user_there_ = false;
    One_Way to_instrument_{instrument_piece}, to_user_{4096};
    std::array<Bus, 2> buses_;
};

}  // namespace virtual_board
