#pragma once

/// Serial port.
namespace platform {

/// Opens a serial line read and write without becoming its terminal, flushes it and sets 8 data bits, no parity,
/// RTS/CTS, raw, one byte at least a read. Returns its descriptor, which doesn't block, or -1 with errno.
/// baud_rate in bits a second, one of 300 to 115200.
int Open_Serial(const char* device, int baud_rate);

void Close_Serial(int device);

}  // namespace platform
