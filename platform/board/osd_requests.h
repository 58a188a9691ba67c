#pragma once
#include <linux/ioctl.h>
#include <cstdint>

/// Requests of the board's on-screen-display driver beside those of every Linux frame buffer. Each is sent to the layer
/// that it concerns; the background is the same for all.
namespace platform::osd {

struct Position {
    std::int32_t x, y;  ///< pixels from the screen's upper left corner
};

struct Zoom {
    std::uint32_t x, y;  ///< times
};

/// Settings of a video window: order of its pixels' components, expansion to the panel.
struct Video_Config {
    std::uint32_t component_order, expansion;
};

/// Settings of a bitmap window: number of its palette, attenuation of its colours.
struct Bitmap_Config {
    std::uint32_t palette, attenuation;
};

/// What the display hardware shows of a layer.
struct Window_State {
    std::uint32_t enabled, attribute_enabled, blend_factor, attribute, background;
    Position position;
    Zoom zoom;
    std::uint32_t blink, cursor, attribute_fill;
    Video_Config video;
    Bitmap_Config bitmap;
};

constexpr unsigned long FBIO_ENABLE_DISABLE_WIN = _IOW('O', 1, std::uint32_t);
constexpr unsigned long FBIO_ENABLE_DISABLE_ATTRIBUTE_WIN = _IOW('O', 2, std::uint32_t);
constexpr unsigned long FBIO_SET_BITMAP_BLEND_FACTOR = _IOW('O', 3, std::uint32_t);
constexpr unsigned long FBIO_SETATTRIBUTE = _IOW('O', 4, std::uint32_t);
constexpr unsigned long FBIO_SET_BACKG_COLOR = _IOW('O', 5, std::uint32_t);  ///< 0xRRGGBB
constexpr unsigned long FBIO_SET_POSITION = _IOW('O', 6, Position);
constexpr unsigned long FBIO_SET_ZOOM = _IOW('O', 7, Zoom);
constexpr unsigned long FBIO_SET_BLINK = _IOW('O', 8, std::uint32_t);
constexpr unsigned long FBIO_SET_CURSOR = _IOW('O', 9, std::uint32_t);
constexpr unsigned long FBIO_GET_WINDOW_STATE = _IOR('O', 10, Window_State);
constexpr unsigned long FBIO_GET_VIDEO_CONFIG_PARAMS = _IOR('O', 11, Video_Config);
constexpr unsigned long FBIO_SET_VIDEO_CONFIG_PARAMS = _IOW('O', 12, Video_Config);
constexpr unsigned long FBIO_GET_BITMAP_CONFIG_PARAMS = _IOR('O', 13, Bitmap_Config);
constexpr unsigned long FBIO_SET_BITMAP_CONFIG_PARAMS = _IOW('O', 14, Bitmap_Config);
constexpr unsigned long FBIO_FILL_ATTRIBUTE = _IOW('O', 15, std::uint32_t);

}  // namespace platform::osd
