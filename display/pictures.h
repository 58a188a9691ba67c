#pragma once
#include <span>
#include <string_view>

#include "display/layers.h"

/// The instrument's pictures: JPEG files in "/mnt/nand/picture/", decoded into a layer. Copies of "Logo.jpg", "LXI.jpg"
/// and "LXIG.jpg" in "/mnt/mtd14/" go before; a damaged copy gives way to the instrument's own.

enum Picture_Number : int {
    picture_logo = 1,         ///< 135 by 21
    picture_start_first = 2,  ///< start-up progress 2 to 10, 210 by 180
    picture_start_last = 10,
    picture_power_off = 11,
    picture_power_off_late = 12,
    picture_sequence = 13,
    picture_power_meter = 14,
    picture_background = 17,  ///< 800 by 600
};

enum Picture_Target : int { target_osd0 = 0, target_video0, target_osd1, target_video1 };

/// Decodes a picture into width by height pixels of a layer at x, y; a smaller picture draws what it has. An unknown
/// number, a missing or a damaged file and an area larger than the screen are reported on the console and draw nothing.
void Show_Picture(int number, int width, int height, int x, int y, int target);

/// The same for a picture file by its name.
void Show_Picture_File(std::string_view name, int width, int height, int x, int y, const Frame_Descriptor& layer);

/// Decodes a picture into 24-bit pixels, width by height; a smaller picture leaves the rest as it is. False on failure.
bool Load_Picture(std::string_view name, int width, int height, std::span<std::uint8_t> pixels);
