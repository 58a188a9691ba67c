#pragma once

/// Appends a new-line and the text to "/var/log/error.log" under a lock on the whole file. The text names a source file
/// and a line, as "keypad.c 47". Any thread.
void ErrorMessage(const char* text);
