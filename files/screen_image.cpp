#include "files/screen_image.h"

#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include <jpeglib.h>

#include "display/layers.h"
#include "platform/root.h"
#include "platform/whole_file.h"

namespace {

constexpr const char* picture_folder = "/mnt/nand/screen";
constexpr std::size_t row_bytes = std::size_t{screen_width} * 3;
constexpr int quality = 92, last_number = 9999;

/// A row of the screen: the text layer's pixels over the video layer's.
void Compose_Row(std::uint32_t y, std::uint8_t* row) {
    if (fbVid0.memory && fbVid0.bits == 24 && y < fbVid0.height) {
        std::memcpy(row, fbVid0.memory + std::size_t{y} * fbVid0.line, row_bytes);
    }
    if (!fbOsd0.memory || fbOsd0.bits != 16 || y >= fbOsd0.height) return;
    const std::byte* text = fbOsd0.memory + std::size_t{y} * fbOsd0.line;
    for (std::uint32_t x = 0; x < screen_width; ++x, row += 3) {
        std::uint16_t pixel = 0;
        std::memcpy(&pixel, text + 2 * x, sizeof pixel);
        if (pixel == 0) continue;
        const unsigned red = pixel >> 11, green = pixel >> 5 & 0x3f, blue = pixel & 0x1f;
        row[0] = static_cast<std::uint8_t>(red << 3 | red >> 2);
        row[1] = static_cast<std::uint8_t>(green << 2 | green >> 4);
        row[2] = static_cast<std::uint8_t>(blue << 3 | blue >> 2);
    }
}

struct Jpeg_Failure {
    jpeg_error_mgr manager{};
    std::jmp_buf back{};
};

void Give_Up(j_common_ptr info) { std::longjmp(reinterpret_cast<Jpeg_Failure*>(info->err)->back, 1); }

/// Picture of all rows into a block from malloc; null where there is no memory for it.
unsigned char* Compress(const std::vector<std::uint8_t>& screen, unsigned long& size) {
    jpeg_compress_struct picture{};
    Jpeg_Failure failure;
    unsigned char* memory = nullptr;
    picture.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = Give_Up;
    if (setjmp(failure.back)) {
        jpeg_destroy_compress(&picture);
        return nullptr;
    }
    jpeg_create_compress(&picture);
    jpeg_mem_dest(&picture, &memory, &size);
    picture.image_width = screen_width;
    picture.image_height = screen_height;
    picture.input_components = 3;
    picture.in_color_space = JCS_RGB;
    jpeg_set_defaults(&picture);
    jpeg_set_quality(&picture, quality, TRUE);
    picture.comp_info[0].h_samp_factor = picture.comp_info[0].v_samp_factor = 1;  // small text keeps its colours
    jpeg_start_compress(&picture, TRUE);
    while (picture.next_scanline < picture.image_height) {
        auto* row = const_cast<JSAMPLE*>(screen.data() + picture.next_scanline * row_bytes);
        jpeg_write_scanlines(&picture, &row, 1);
    }
    jpeg_finish_compress(&picture);
    jpeg_destroy_compress(&picture);
    return memory;
}

}  // namespace

bool Save_Screen_Image(const std::string& path) {
    std::vector<std::uint8_t> screen(row_bytes * screen_height);
    for (std::uint32_t y = 0; y < screen_height; ++y) Compose_Row(y, screen.data() + y * row_bytes);
    unsigned long size = 0;
    unsigned char* picture = Compress(screen, size);
    if (!picture) {
        errno = ENOMEM;
        return false;
    }
    const bool written = platform::Write_Whole_File(path, std::string(reinterpret_cast<char*>(picture), size));
    const int error = errno;
    std::free(picture);
    errno = error;
    return written;
}

std::string Next_Screen_Image() {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::create_directories(platform::Rooted(picture_folder), error);
    for (int number = 1; !error && number <= last_number; ++number) {
        std::array<char, 48> name{};
        std::snprintf(name.data(), name.size(), "%s/SCREEN%04d.JPG", picture_folder, number);
        const bool there = fs::exists(platform::Rooted(name.data()), error);
        if (!there && !error) return name.data();
    }
    errno = error ? error.value() : ENOSPC;
    return {};
}
