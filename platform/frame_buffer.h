#pragma once
#include <cstddef>
#include <cstdint>

/// The four frame-buffer devices "/dev/fb/0" to "/dev/fb/3" and the requests of their on-screen-display driver.
/// Every call but the mapping returns 0, or -1 with errno set.
namespace platform {

struct Frame_Fixed_Info {
    std::uint32_t line_length = 0;  ///< bytes from one row to the next
    std::uint32_t memory_size = 0;  ///< bytes that can be mapped
};

struct Frame_Variable_Info {
    std::uint32_t width = 0;   ///< pixels
    std::uint32_t height = 0;  ///< pixels
    std::uint32_t bits_per_pixel = 0;
};

/// How a layer is shown. The drivers' argument records differ from board to board; this is what the instrument sets.
struct Frame_State {
    std::uint32_t width = 0, height = 0, bits_per_pixel = 0, line_length = 0;
    std::uint32_t enabled = 0;            ///< window on
    std::uint32_t attribute_enabled = 0;  ///< attribute plane on: its attribute is the blend factor
    std::uint32_t blend_factor = 7;       ///< bitmap blend factor, 0 (transparent) to 7 (opaque)
    std::uint32_t attribute = 0;          ///< attribute or blending mode
    std::uint32_t background = 0;         ///< colour of the ground below all layers, 0xRRGGBB
    std::int32_t x = 0, y = 0;            ///< window position on the screen
    std::uint32_t zoom_x = 1, zoom_y = 1;
    std::uint32_t blink = 0;
    std::uint32_t cursor = 0;
    std::uint32_t component_order = 0;     ///< of a video window's pixels
    std::uint32_t expansion = 0;           ///< of the video windows to the panel
    std::uint32_t palette = 0;             ///< of a bitmap window
    std::uint32_t attenuation = 0;         ///< of a bitmap window's colours
    std::uint32_t attribute_fill = 0;      ///< what the attribute plane was last filled with

    bool operator==(const Frame_State&) const = default;
};

/// Settings of a video window that the driver keeps as one record.
struct Frame_Video_Config {
    std::uint32_t component_order = 0;  ///< 0 as R, G, B, 1 the other way round
    std::uint32_t expansion = 0;        ///< 0 none
};

/// Settings of a bitmap window that the driver keeps as one record.
struct Frame_Bitmap_Config {
    std::uint32_t palette = 0;      ///< 0 the driver's own
    std::uint32_t attenuation = 0;  ///< 0 full colours, 1 attenuated
};

/// Opens a device read and write; returns its descriptor, or -1.
int Frame_Open(const char* device);
/// Opens a device for looking only, as the web front panel does.
int Frame_Open_View(const char* device);
int Frame_Close(int device);

int Frame_Get_Fixed_Info(int device, Frame_Fixed_Info& info);
int Frame_Get_Variable_Info(int device, Frame_Variable_Info& info);
int Frame_Put_Variable_Info(int device, const Frame_Variable_Info& info);

/// Maps size bytes of the device, shared (read only for a view); nullptr on failure.
std::byte* Frame_Map(int device, std::size_t size);
void Frame_Unmap(std::byte* memory, std::size_t size);

int Frame_Enable_Window(int device, bool on);
int Frame_Enable_Attribute_Window(int device, bool on);
int Frame_Set_Blend_Factor(int device, std::uint32_t factor);
int Frame_Set_Attribute(int device, std::uint32_t attribute);
int Frame_Set_Background(int device, std::uint32_t colour);
int Frame_Set_Position(int device, std::int32_t x, std::int32_t y);
int Frame_Set_Zoom(int device, std::uint32_t x, std::uint32_t y);
int Frame_Set_Blink(int device, std::uint32_t blink);
int Frame_Set_Cursor(int device, std::uint32_t cursor);

/// The layer's present state, as the display hardware has it.
int Frame_Get_State(int device, Frame_State& state);

int Frame_Get_Video_Config(int device, Frame_Video_Config& config);
int Frame_Set_Video_Config(int device, const Frame_Video_Config& config);
int Frame_Get_Bitmap_Config(int device, Frame_Bitmap_Config& config);
int Frame_Set_Bitmap_Config(int device, const Frame_Bitmap_Config& config);

/// Gives every pixel of the attribute plane one attribute, 0 to 15.
int Frame_Fill_Attribute(int device, std::uint32_t attribute);

}  // namespace platform
