#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

#include "platform/clock.h"
#include "platform/virtual/device_files.h"
#include "virtual_board/core.h"
#include "virtual_board/devices.h"
#include "virtual_board/remote_ports.h"

namespace virtual_board {

struct Board_Options {
    Core_Options core{};
    bool manual = false;  ///< the core's time stands still but for Step (tests)
};

/// The virtual board: devices below the platform's root, the core behind them, and a thread that serves both. One
/// instrument at a time; the next one is served when it has disconnected.
class Board {
  public:
    /// Makes the devices. Throws std::runtime_error with one line.
    Board(std::shared_ptr<const Input> input, const Board_Options& options);
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;
    ~Board();

    void Start();
    /// Ends the thread; an instrument finds its link gone.
    void Stop();

    /// Moves a manual board's time forward; the samples that are due and their events are there on return. Any thread.
    void Step(platform::Duration time);

    /// The trigger input is raised or lowered. Any thread.
    void Set_Trigger_Input(bool high);

    std::span<const double> Sample_Memory() const { return devices_.Sample_Memory(); }

  private:
    struct Client {
        int listener = -1;
        int socket = -1;
    };

    void Serve();
    int Wait_Time_Ms();
    /// Takes the instrument that wants to connect, or refuses it while there is one.
    static void Accept(Client& client);
    static void Disconnect(Client& client);
    void Serve_Link();
    void Take_Packet(const platform::device_files::Link_Header& header, std::size_t bytes);
    void Answer();
    void Serve_Fpga();
    void Serve_Trigger_Input();
    void Take_Message(std::span<const double> message);
    void Advance();
    void Send_Events();
    bool Send(platform::device_files::Link_Packet packet, std::size_t bytes);

    Devices devices_;
    Remote_Ports ports_;  // of the serving thread
    bool manual_;
    int stop_event_ = -1;
    std::thread thread_;
    Client link_, fpga_;  // of the serving thread, but for fpga_.socket: under core_mutex_

    std::mutex core_mutex_;
    Core core_;                              // under core_mutex_
    platform::Duration manual_time_{0};      // under core_mutex_

    /// The last message, as the core answers it.
    alignas(double) std::array<std::byte, platform::device_files::link_buffer_limit> buffer_{};
    std::size_t answer_bytes_ = 0;  ///< 0: no message has come yet
    bool answer_wanted_ = false;
};

}  // namespace virtual_board
