#include "platform/frame_buffer.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {

namespace {

using device_files::Frame_Control;

struct Open_Frame {
    int device;
    bool view;
    Frame_Control* control;
};

std::mutex frames_mutex;
std::vector<Open_Frame> frames;  // under frames_mutex

constexpr std::size_t Word_Of(std::size_t field_offset) {
    return field_offset / sizeof(std::uint32_t);
}

std::uint32_t Load(Frame_Control& control, std::size_t word) {
    return std::atomic_ref(control.words[word]).load(std::memory_order_relaxed);
}

void Store(Frame_Control& control, std::size_t field_offset, std::uint32_t value) {
    std::atomic_ref(control.words[Word_Of(field_offset)]).store(value, std::memory_order_relaxed);
}

int Refuse(int error) {
    errno = error;
    return -1;
}

Frame_Control* Map_Control(const std::string& path, bool view) {
    const int file = ::open(path.c_str(), (view ? O_RDONLY : O_RDWR) | O_CLOEXEC);
    if (file < 0)
        return nullptr;
    struct stat status {};
    void* memory = MAP_FAILED;
    if (::fstat(file, &status) == 0 && status.st_size >= static_cast<off_t>(sizeof(Frame_Control)))
        memory = ::mmap(nullptr, sizeof(Frame_Control), view ? PROT_READ : PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    else
        errno = ENXIO;
    const int error = errno;
    ::close(file);
    errno = error;
    if (memory == MAP_FAILED)
        return nullptr;
    auto* control = static_cast<Frame_Control*>(memory);
    if (control->magic == device_files::frame_state_magic && control->version == device_files::frame_state_version)
        return control;
    ::munmap(memory, sizeof(Frame_Control));
    errno = ENXIO;
    return nullptr;
}

int Open(const char* device, bool view) {
    const std::string path = Rooted(device);
    const int file = ::open(path.c_str(), (view ? O_RDONLY : O_RDWR) | O_CLOEXEC);
    if (file < 0)
        return -1;
    Frame_Control* control = Map_Control(path + device_files::frame_state_suffix, view);
    if (control == nullptr) {
        const int error = errno;
        ::close(file);
        return Refuse(error);
    }
    std::lock_guard lock(frames_mutex);
    frames.push_back({file, view, control});
    return file;
}

/// Calls the function with the control block of an open device, under the lock. A view may not be changed.
template <typename Function>
int With_Frame(int device, bool change, Function function) {
    std::lock_guard lock(frames_mutex);
    const auto frame = std::ranges::find(frames, device, &Open_Frame::device);
    if (frame == frames.end())
        return Refuse(EBADF);
    if (change && frame->view)
        return Refuse(EACCES);
    return function(*frame->control);
}

int Set_Field(int device, std::size_t field_offset, std::uint32_t value) {
    return With_Frame(device, true, [=](Frame_Control& control) {
        Store(control, field_offset, value);
        return 0;
    });
}

std::size_t Memory_Size(int device) {
    struct stat status {};
    return ::fstat(device, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

}  // namespace

int Frame_Open(const char* device) {
    return Open(device, false);
}

int Frame_Open_View(const char* device) {
    return Open(device, true);
}

int Frame_Close(int device) {
    std::lock_guard lock(frames_mutex);
    const auto frame = std::ranges::find(frames, device, &Open_Frame::device);
    if (frame == frames.end())
        return Refuse(EBADF);
    ::munmap(frame->control, sizeof(Frame_Control));
    frames.erase(frame);
    return ::close(device);
}

int Frame_Get_State(int device, Frame_State& state) {
    return With_Frame(device, false, [&](Frame_Control& control) {
        std::array<std::uint32_t, device_files::frame_state_words> words;
        for (std::size_t word = 0; word < words.size(); ++word)
            words[word] = Load(control, word);
        state = std::bit_cast<Frame_State>(words);
        return 0;
    });
}

int Frame_Get_Fixed_Info(int device, Frame_Fixed_Info& info) {
    Frame_State state;
    if (Frame_Get_State(device, state) != 0)
        return -1;
    info = {state.line_length, static_cast<std::uint32_t>(Memory_Size(device))};
    return 0;
}

int Frame_Get_Variable_Info(int device, Frame_Variable_Info& info) {
    Frame_State state;
    if (Frame_Get_State(device, state) != 0)
        return -1;
    info = {state.width, state.height, state.bits_per_pixel};
    return 0;
}

int Frame_Put_Variable_Info(int device, const Frame_Variable_Info& info) {
    const bool known_depth = info.bits_per_pixel == 16 || info.bits_per_pixel == 24;
    if (!known_depth || info.width == 0 || info.height == 0)
        return Refuse(EINVAL);
    const std::uint64_t line_length = std::uint64_t{info.width} * info.bits_per_pixel / 8;
    if (line_length > Memory_Size(device) / info.height)
        return Refuse(EINVAL);
    return With_Frame(device, true, [&](Frame_Control& control) {
        Store(control, offsetof(Frame_State, width), info.width);
        Store(control, offsetof(Frame_State, height), info.height);
        Store(control, offsetof(Frame_State, bits_per_pixel), info.bits_per_pixel);
        Store(control, offsetof(Frame_State, line_length), static_cast<std::uint32_t>(line_length));
        return 0;
    });
}

std::byte* Frame_Map(int device, std::size_t size) {
    bool view = false;
    {
        std::lock_guard lock(frames_mutex);
        const auto frame = std::ranges::find(frames, device, &Open_Frame::device);
        if (frame == frames.end()) {
            errno = EBADF;
            return nullptr;
        }
        view = frame->view;
    }
    if (size == 0 || size > Memory_Size(device)) {
        errno = EINVAL;
        return nullptr;
    }
    void* memory = ::mmap(nullptr, size, view ? PROT_READ : PROT_READ | PROT_WRITE, MAP_SHARED, device, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::byte*>(memory);
}

void Frame_Unmap(std::byte* memory, std::size_t size) {
    if (memory != nullptr)
        ::munmap(memory, size);
}

int Frame_Enable_Window(int device, bool on) {
    return Set_Field(device, offsetof(Frame_State, enabled), on);
}

int Frame_Enable_Attribute_Window(int device, bool on) {
    return Set_Field(device, offsetof(Frame_State, attribute_enabled), on);
}

int Frame_Set_Blend_Factor(int device, std::uint32_t factor) {
    if (factor > 7)
        return Refuse(EINVAL);
    return Set_Field(device, offsetof(Frame_State, blend_factor), factor);
}

int Frame_Set_Attribute(int device, std::uint32_t attribute) {
    return Set_Field(device, offsetof(Frame_State, attribute), attribute);
}

int Frame_Set_Background(int device, std::uint32_t colour) {
    if (Set_Field(device, offsetof(Frame_State, background), colour) != 0)
        return -1;
    // The ground is one for all layers.
    std::lock_guard lock(frames_mutex);
    for (const Open_Frame& frame : frames) {
        if (!frame.view)
            Store(*frame.control, offsetof(Frame_State, background), colour);
    }
    return 0;
}

int Frame_Set_Position(int device, std::int32_t x, std::int32_t y) {
    return With_Frame(device, true, [=](Frame_Control& control) {
        Store(control, offsetof(Frame_State, x), std::bit_cast<std::uint32_t>(x));
        Store(control, offsetof(Frame_State, y), std::bit_cast<std::uint32_t>(y));
        return 0;
    });
}

int Frame_Set_Zoom(int device, std::uint32_t x, std::uint32_t y) {
    if (x == 0 || y == 0)
        return Refuse(EINVAL);
    return With_Frame(device, true, [=](Frame_Control& control) {
        Store(control, offsetof(Frame_State, zoom_x), x);
        Store(control, offsetof(Frame_State, zoom_y), y);
        return 0;
    });
}

int Frame_Set_Blink(int device, std::uint32_t blink) {
    return Set_Field(device, offsetof(Frame_State, blink), blink);
}

int Frame_Set_Cursor(int device, std::uint32_t cursor) {
    return Set_Field(device, offsetof(Frame_State, cursor), cursor);
}

int Frame_Get_Video_Config(int device, Frame_Video_Config& config) {
    Frame_State state;
    if (Frame_Get_State(device, state) != 0)
        return -1;
    config = {state.component_order, state.expansion};
    return 0;
}

int Frame_Set_Video_Config(int device, const Frame_Video_Config& config) {
    if (config.component_order > 1)
        return Refuse(EINVAL);
    return With_Frame(device, true, [&](Frame_Control& control) {
        Store(control, offsetof(Frame_State, component_order), config.component_order);
        Store(control, offsetof(Frame_State, expansion), config.expansion);
        return 0;
    });
}

int Frame_Get_Bitmap_Config(int device, Frame_Bitmap_Config& config) {
    Frame_State state;
    if (Frame_Get_State(device, state) != 0)
        return -1;
    config = {state.palette, state.attenuation};
    return 0;
}

int Frame_Set_Bitmap_Config(int device, const Frame_Bitmap_Config& config) {
    if (config.attenuation > 1)
        return Refuse(EINVAL);
    return With_Frame(device, true, [&](Frame_Control& control) {
        Store(control, offsetof(Frame_State, palette), config.palette);
        Store(control, offsetof(Frame_State, attenuation), config.attenuation);
        return 0;
    });
}

int Frame_Fill_Attribute(int device, std::uint32_t attribute) {
    if (attribute > 15)
        return Refuse(EINVAL);
    return Set_Field(device, offsetof(Frame_State, attribute_fill), attribute);
}

}  // namespace platform
