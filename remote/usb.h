#pragma once
#include <atomic>
#include <cstdint>

/// The USB device file; fd_usb is -1 while there is none.
namespace remote {

inline std::atomic<int> fd_usb{-1};

void Open_Usb();
void Close_Usb();

/// Requests service with the status byte.
void Request_Usb_Service(std::uint32_t status_byte);

/// Sets the status byte that the device tells the host.
void Hand_Over_Usb_Status(std::uint32_t status_byte);

}  // namespace remote
