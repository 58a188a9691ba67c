#include "web/png_image.h"

#include "web/screen.h"

#include <png.h>

namespace web {

std::vector<std::uint8_t> Encode_Png(std::span<const std::uint8_t> screen) {
    if (screen.size() < screen_bytes) return {};
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = screen_width;
    image.height = screen_height;
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = file.size();
    if (!png_image_write_to_memory(&image, file.data(), &size, 0, screen.data(), 0, nullptr)) return {};
    file.resize(size);
    return file;
}

}  // namespace web
