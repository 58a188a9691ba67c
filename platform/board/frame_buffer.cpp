#include "platform/frame_buffer.h"

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <cerrno>

#include "platform/board/osd_requests.h"

namespace platform {

namespace {

constexpr std::uint32_t blend_factor_limit = 7;
constexpr std::uint32_t attribute_limit = 15;

template <typename Argument>
int Request(int device, unsigned long request, Argument argument) {
    return ::ioctl(device, request, &argument) < 0 ? -1 : 0;
}

int Set_Word(int device, unsigned long request, std::uint32_t value) { return Request(device, request, value); }

int Refuse(int error) {
    errno = error;
    return -1;
}

}  // namespace

int Frame_Open(const char* device) { return ::open(device, O_RDWR | O_CLOEXEC); }

int Frame_Open_View(const char* device) { return ::open(device, O_RDONLY | O_CLOEXEC); }

int Frame_Close(int device) { return ::close(device); }

int Frame_Get_Fixed_Info(int device, Frame_Fixed_Info& info) {
    fb_fix_screeninfo fixed{};
    if (::ioctl(device, FBIOGET_FSCREENINFO, &fixed) < 0) return -1;
    info = {fixed.line_length, fixed.smem_len};
    return 0;
}

int Frame_Get_Variable_Info(int device, Frame_Variable_Info& info) {
    fb_var_screeninfo variable{};
    if (::ioctl(device, FBIOGET_VSCREENINFO, &variable) < 0) return -1;
    info = {variable.xres, variable.yres, variable.bits_per_pixel};
    return 0;
}

int Frame_Put_Variable_Info(int device, const Frame_Variable_Info& info) {
    fb_var_screeninfo variable{};
    if (::ioctl(device, FBIOGET_VSCREENINFO, &variable) < 0) return -1;
    variable.xres = variable.xres_virtual = info.width;
    variable.yres = variable.yres_virtual = info.height;
    variable.bits_per_pixel = info.bits_per_pixel;
    variable.activate = FB_ACTIVATE_NOW;
    return ::ioctl(device, FBIOPUT_VSCREENINFO, &variable) < 0 ? -1 : 0;
}

std::byte* Frame_Map(int device, std::size_t size) {
    const int flags = ::fcntl(device, F_GETFL);
    if (flags < 0) return nullptr;
    const int access = (flags & O_ACCMODE) == O_RDWR ? PROT_READ | PROT_WRITE : PROT_READ;
    void* memory = ::mmap(nullptr, size, access, MAP_SHARED, device, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::byte*>(memory);
}

void Frame_Unmap(std::byte* memory, std::size_t size) {
    if (memory != nullptr) ::munmap(memory, size);
}

int Frame_Enable_Window(int device, bool on) { return Set_Word(device, osd::FBIO_ENABLE_DISABLE_WIN, on); }

int Frame_Enable_Attribute_Window(int device, bool on) {
    return Set_Word(device, osd::FBIO_ENABLE_DISABLE_ATTRIBUTE_WIN, on);
}

int Frame_Set_Blend_Factor(int device, std::uint32_t factor) {
    if (factor > blend_factor_limit) return Refuse(EINVAL);
    return Set_Word(device, osd::FBIO_SET_BITMAP_BLEND_FACTOR, factor);
}

int Frame_Set_Attribute(int device, std::uint32_t attribute) {
    return Set_Word(device, osd::FBIO_SETATTRIBUTE, attribute);
}

int Frame_Set_Background(int device, std::uint32_t colour) {
    return Set_Word(device, osd::FBIO_SET_BACKG_COLOR, colour);
}

int Frame_Set_Position(int device, std::int32_t x, std::int32_t y) {
    return Request(device, osd::FBIO_SET_POSITION, osd::Position{x, y});
}

int Frame_Set_Zoom(int device, std::uint32_t x, std::uint32_t y) {
    if (x == 0 || y == 0) return Refuse(EINVAL);
    return Request(device, osd::FBIO_SET_ZOOM, osd::Zoom{x, y});
}

int Frame_Set_Blink(int device, std::uint32_t blink) { return Set_Word(device, osd::FBIO_SET_BLINK, blink); }

int Frame_Set_Cursor(int device, std::uint32_t cursor) { return Set_Word(device, osd::FBIO_SET_CURSOR, cursor); }

int Frame_Get_State(int device, Frame_State& state) {
    Frame_Fixed_Info fixed;
    Frame_Variable_Info variable;
    osd::Window_State window{};
    if (Frame_Get_Fixed_Info(device, fixed) != 0 || Frame_Get_Variable_Info(device, variable) != 0 ||
        ::ioctl(device, osd::FBIO_GET_WINDOW_STATE, &window) < 0)
        return -1;
    state = {.width = variable.width,
             .height = variable.height,
             .bits_per_pixel = variable.bits_per_pixel,
             .line_length = fixed.line_length,
             .enabled = window.enabled,
             .attribute_enabled = window.attribute_enabled,
             .blend_factor = window.blend_factor,
             .attribute = window.attribute,
             .background = window.background,
             .x = window.position.x,
             .y = window.position.y,
             .zoom_x = window.zoom.x,
             .zoom_y = window.zoom.y,
             .blink = window.blink,
             .cursor = window.cursor,
             .component_order = window.video.component_order,
             .expansion = window.video.expansion,
             .palette = window.bitmap.palette,
             .attenuation = window.bitmap.attenuation,
             .attribute_fill = window.attribute_fill};
    return 0;
}

int Frame_Get_Video_Config(int device, Frame_Video_Config& config) {
    osd::Video_Config present{};
    if (::ioctl(device, osd::FBIO_GET_VIDEO_CONFIG_PARAMS, &present) < 0) return -1;
    config = {present.component_order, present.expansion};
    return 0;
}

int Frame_Set_Video_Config(int device, const Frame_Video_Config& config) {
    return Request(device, osd::FBIO_SET_VIDEO_CONFIG_PARAMS,
                   osd::Video_Config{config.component_order, config.expansion});
}

int Frame_Get_Bitmap_Config(int device, Frame_Bitmap_Config& config) {
    osd::Bitmap_Config present{};
    if (::ioctl(device, osd::FBIO_GET_BITMAP_CONFIG_PARAMS, &present) < 0) return -1;
    config = {present.palette, present.attenuation};
    return 0;
}

int Frame_Set_Bitmap_Config(int device, const Frame_Bitmap_Config& config) {
    return Request(device, osd::FBIO_SET_BITMAP_CONFIG_PARAMS, osd::Bitmap_Config{config.palette, config.attenuation});
}

int Frame_Fill_Attribute(int device, std::uint32_t attribute) {
    if (attribute > attribute_limit) return Refuse(EINVAL);
    return Set_Word(device, osd::FBIO_FILL_ATTRIBUTE, attribute);
}

}  // namespace platform
