#pragma once
#include <atomic>
#include <cstdint>

/// The GPIB device file; fd_gpib is -1 while there is none.
namespace remote {

inline std::atomic<int> fd_gpib{-1};

void Open_Gpib();
void Close_Gpib();

/// Hands the instrument's address (0 to 30) to the device. Nothing where there is none.
void Hand_Over_Gpib_Address(int address);

/// Requests service with the status byte.
void Request_Gpib_Service(std::uint32_t status_byte);

/// The status byte after *CLS.
void Hand_Over_Cleared_Status(std::uint32_t status_byte);

}  // namespace remote
