#pragma once
#include <cstdint>

/// Thread that reads the key pad "/dev/keypad" until the stop. Codes read while systeminit is not 0, and the one read
/// first after that, are thrown away.
void readkey();

/// A code of the panel: ends an active recording where it is the recording's own key or Save, and is stored.
void Take_Panel_Key(std::int32_t code);

/// Stores a code in the key buffer: while it is full each further key overwrites the newest entry.
void Store_Key(std::int32_t code);

/// The web page's keys: queued by any one thread, taken by the main loop.
void num_queue_init();
/// False when the queue is full or the instrument is starting.
bool num_queue_insert(std::int32_t code);
/// Front of the queue; -1 when it is empty.
std::int32_t num_queue_remove();
