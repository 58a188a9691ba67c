#pragma once
#include <string>

/// Writes what the screen shows as a JPEG to an instrument path, whole or not at all; false with errno on failure.
/// Needs Command_Main_Mutex.
bool Save_Screen_Image(const std::string& path);

/// The first free name "SCREENnnnn.JPG" of the folder of screen pictures, which is made where it is missing; empty with
/// errno where there is none.
std::string Next_Screen_Image();
