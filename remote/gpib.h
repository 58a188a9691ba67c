#pragma once

/// The GPIB device file; fd_gpib is -1 while there is none.
namespace remote {

inline int fd_gpib = -1;

void Open_Gpib();

/// Hands the instrument's address (0 to 30) to the device. Nothing where there is none.
void Hand_Over_Gpib_Address(int address);

}  // namespace remote
