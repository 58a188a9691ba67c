#pragma once
#include <string_view>

/// A line in the message area that goes away by itself.

/// Shows it for two seconds, or until the next key.
void Show_Notice(std::string_view text);

/// Takes it away when its time has come. Main loop.
void End_Notice_In_Time();

/// Another message takes its place.
void Forget_Notice();
