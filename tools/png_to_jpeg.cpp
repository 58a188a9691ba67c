// Writes a PNG picture as the baseline JPEG that the instrument shows, for the build of its pictures.
//
//   png_to_jpeg QUALITY PICTURE.png PICTURE.jpg
//
// The components are kept as R, G, B, undecimated: flat areas then read back as exactly the colour they were drawn in,
// which a change to luminance and chrominance would miss by a step or two.

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <png.h>

#include <jpeglib.h>

namespace {

struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<JSAMPLE> rgb;
};

/// Reads the PNG over black; false with a message on standard error when it cannot be read.
bool Read_Png(const char* path, Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path)) {
        std::fprintf(stderr, "png_to_jpeg: %s: %s\n", path, image.message);
        return false;
    }
    image.format = PNG_FORMAT_RGB;
    picture.width = image.width;
    picture.height = image.height;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    const png_color black{};
    if (!png_image_finish_read(&image, &black, picture.rgb.data(), 0, nullptr)) {
        std::fprintf(stderr, "png_to_jpeg: %s: %s\n", path, image.message);
        return false;
    }
    return true;
}

/// Writes the whole file; libjpeg ends the program with its message when it cannot.
void Write_Jpeg(std::FILE* file, Picture& picture, int quality) {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = picture.width;
    info.image_height = picture.height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_colorspace(&info, JCS_RGB);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = &picture.rgb[std::size_t{info.next_scanline} * picture.width * 3];
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
}

}  // namespace

int main(int argc, char** argv) {
    const int quality = argc == 4 ? std::atoi(argv[1]) : 0;
    if (quality < 1 || quality > 100) {
        std::fprintf(stderr, "usage: png_to_jpeg QUALITY PICTURE.png PICTURE.jpg\n");
        return 2;
    }
    Picture picture;
    if (!Read_Png(argv[2], picture)) return 1;
    std::FILE* file = std::fopen(argv[3], "wb");
    if (!file) {
        std::perror(argv[3]);
        return 1;
    }
    Write_Jpeg(file, picture, quality);
    if (std::fclose(file) != 0) {
        std::perror(argv[3]);
        return 1;
    }
    return 0;
}
