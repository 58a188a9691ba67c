#include "display/layers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <vector>

#include "platform/frame_buffer.h"
#include "records/error_log.h"

namespace {

/// Every mapping and back buffer ever made for a layer, given back when the layer is freed.
struct Old_Mapping {
    const Frame_Descriptor* layer;
    Frame_Descriptor was;
};
std::mutex old_mappings_lock;
std::vector<Old_Mapping> old_mappings;

void Release(Frame_Descriptor& layer) {
    if (layer.memory) platform::Frame_Unmap(layer.memory, layer.size);
    delete[] layer.back;
    if (layer.device >= 0) platform::Frame_Close(layer.device);
    layer = {};
}

bool Report(bool failed, const char* step) {
    if (failed) std::perror(step);
    return failed;
}

/// The steps of opening; the descriptor keeps what is known when one fails.
void Open_And_Map(Frame_Descriptor& layer, const char* device) {
    layer.device = platform::Frame_Open(device);
    if (Report(layer.device < 0, "open window error")) return;
    if (Report(platform::Frame_Enable_Window(layer.device, false) < 0, "FBIO_ENABLE_DISABLE_WIN")) return;
    platform::Frame_Fixed_Info fixed;
    if (Report(platform::Frame_Get_Fixed_Info(layer.device, fixed) < 0, "FBIOGET_FSCREENINFO")) return;
    platform::Frame_Variable_Info variable;
    if (Report(platform::Frame_Get_Variable_Info(layer.device, variable) < 0, "FBIOGET_VSCREENINFO")) return;
    variable = {layer.width, layer.height, layer.bits};
    if (Report(platform::Frame_Put_Variable_Info(layer.device, variable) < 0, "FBIOPUT_VSCREENINFO")) return;
    // The length of a line is that of the resolution just set.
    if (Report(platform::Frame_Get_Fixed_Info(layer.device, fixed) < 0, "FBIOGET_FSCREENINFO")) return;
    layer.line = fixed.line_length;
    const std::uint64_t size = std::uint64_t{layer.line} * layer.height;
    const bool sound = layer.line >= std::uint64_t{layer.width} * layer.bits / 8 &&
                       size <= std::numeric_limits<std::uint32_t>::max();
    if (sound) {
        layer.size = static_cast<std::uint32_t>(size);
    } else {
        errno = EINVAL;
    }
    std::byte* memory = sound ? platform::Frame_Map(layer.device, layer.size) : nullptr;
    if (Report(memory == nullptr, "MAPFAILED")) return;
    layer.back = new std::byte[layer.size]{};
    layer.memory = memory;
}

void Control(const Frame_Descriptor& layer, int (*request)(int, std::uint32_t), std::uint32_t value, const char* name) {
    Report(request(layer.device, value) < 0, name);
}

}  // namespace

Frame_Descriptor& fb_init(Frame_Descriptor& layer, const char* device, std::uint32_t width, std::uint32_t height,
                          std::uint32_t bits) {
    if (layer.device >= 0) {
        const std::lock_guard guard(old_mappings_lock);
        old_mappings.push_back({&layer, layer});
    }
    Frame_Descriptor opened{.width = width, .height = height, .bits = bits};
    Open_And_Map(opened, device);
    layer = opened;
    return layer;
}

Frame_Descriptor& fb_init_ohter(Frame_Descriptor& layer, const char* device, std::uint32_t width, std::uint32_t height,
                                std::uint32_t bits) {
    return fb_init(layer, device, width, height, bits);
}

void fb_free(Frame_Descriptor& layer) {
    const std::lock_guard guard(old_mappings_lock);
    std::erase_if(old_mappings, [&](Old_Mapping& old) {
        if (old.layer != &layer) return false;
        Release(old.was);
        return true;
    });
    Release(layer);
}

void fb_endisable_win(const Frame_Descriptor& layer, bool on) {
    Report(platform::Frame_Enable_Window(layer.device, on) < 0, "FBIO_ENABLE_DISABLE_WIN");
}

void fb_endisable_att(const Frame_Descriptor& layer, bool on) {
    Report(platform::Frame_Enable_Attribute_Window(layer.device, on) < 0, "FBIO_ENABLE_DISABLE_ATTRIBUTE_WIN");
}

void fb_blend_set(const Frame_Descriptor& layer, std::uint32_t factor) {
    Control(layer, platform::Frame_Set_Blend_Factor, factor, "FBIO_SET_BITMAP_BLEND_FACTOR");
}

void fb_blend_setattr(const Frame_Descriptor& layer, std::uint32_t attribute) {
    Control(layer, platform::Frame_Set_Attribute, attribute, "FBIO_SETATTRIBUTE");
}

void fb_backcolor_set(const Frame_Descriptor& layer, std::uint32_t colour) {
    Control(layer, platform::Frame_Set_Background, colour, "FBIO_SET_BACKG_COLOR");
}

void fb_win_position(const Frame_Descriptor& layer, std::int32_t x, std::int32_t y) {
    Report(platform::Frame_Set_Position(layer.device, x, y) < 0, "FBIO_SET_POSITION");
}

void fb_win_zoom(const Frame_Descriptor& layer, std::uint32_t x, std::uint32_t y) {
    Report(platform::Frame_Set_Zoom(layer.device, x, y) < 0, "FBIO_SET_ZOOM");
}

void fb_video_set(const Frame_Descriptor& layer, std::uint32_t component_order) {
    platform::Frame_Video_Config config;
    if (Report(platform::Frame_Get_Video_Config(layer.device, config) < 0, "FBIO_GET_VIDEO_CONFIG_PARAMS")) return;
    config.component_order = component_order;
    Report(platform::Frame_Set_Video_Config(layer.device, config) < 0, "FBIO_SET_VIDEO_CONFIG_PARAMS");
}

void fb_bimp_set(const Frame_Descriptor& layer, std::uint32_t attenuation) {
    platform::Frame_Bitmap_Config config;
    if (Report(platform::Frame_Get_Bitmap_Config(layer.device, config) < 0, "FBIO_GET_BITMAP_CONFIG_PARAMS")) return;
    config.attenuation = attenuation;
    Report(platform::Frame_Set_Bitmap_Config(layer.device, config) < 0, "FBIO_SET_BITMAP_CONFIG_PARAMS");
}

void fb_fillup_attribute(const Frame_Descriptor& layer, std::uint32_t attribute) {
    Control(layer, platform::Frame_Fill_Attribute, attribute, "FBIO_FILL_ATTRIBUTE");
}

void fb_getset_blink(const Frame_Descriptor& layer, std::uint32_t blink) {
    Control(layer, platform::Frame_Set_Blink, blink, "FBIO_SET_BLINK");
}

void fb_set_cursor(const Frame_Descriptor& layer, std::uint32_t cursor) {
    Control(layer, platform::Frame_Set_Cursor, cursor, "FBIO_SET_CURSOR");
}

void window_display(const Frame_Descriptor& layer) { fb_endisable_win(layer, true); }

void RGB_YCbCr(std::uint32_t* plane, int width, int height, int x, int y, display::Colour c) {
    if (x < 0 || y < 0 || x >= width || y >= height) return;
    const auto luma = static_cast<std::uint32_t>(0.299 * c.red + 0.587 * c.green + 0.114 * c.blue);
    const auto cb = static_cast<std::uint32_t>(-0.1687 * c.red - 0.3313 * c.green + 0.5 * c.blue + 128);
    const auto cr = static_cast<std::uint32_t>(0.5 * c.red - 0.4187 * c.green - 0.0813 * c.blue + 128);
    plane[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
        (cb & 255) | luma << 8 | (cr & 255) << 16;
}

int fb_pixel(std::byte* memory, int width, int height, int x, int y, std::uint32_t colour, int bits) {
    x = std::clamp(x, 0, 799);
    y = std::clamp(y, 0, 599);
    if (x > width || y > height) return 0;
    if (bits != 16 && bits != 24) {
        ErrorMessage("fb_pixel return -1: error");
        return -1;
    }
    const std::int64_t index = std::int64_t{y} * width + x;
    if (!memory || index >= std::int64_t{width} * height) return 0;
    const auto red = static_cast<std::uint8_t>(colour >> 16), green = static_cast<std::uint8_t>(colour >> 8),
               blue = static_cast<std::uint8_t>(colour);
    if (bits == 16) {
        const std::uint16_t pixel = RGB888toRGB565(red, green, blue);
        std::memcpy(memory + index * 2, &pixel, sizeof pixel);
    } else {
        std::byte* pixel = memory + index * 3;
        pixel[0] = std::byte{red};
        pixel[1] = std::byte{green};
        pixel[2] = std::byte{blue};
    }
    return 0;
}
