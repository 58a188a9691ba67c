// Any word-list file: read whole into the tables, whatever its records say.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "display/text.h"
#include "keys/words.h"
#include "platform/root.h"
#include "platform/whole_file.h"
#include "records/sys.h"

namespace {

constexpr const char* path = "/mnt/nand/wordlist.txt";

/// A root with the fonts that the instrument's are linked to, for the whole run.
struct Root {
    std::string folder = (std::filesystem::temp_directory_path() / "kva720-fuzz-XXXXXX").string();
    Root() {
        if (!mkdtemp(folder.data())) std::abort();
        platform::Set_Root(folder);
        const std::filesystem::path fonts = platform::Rooted("/mnt/nand/fonts");
        std::filesystem::create_directories(fonts);
        std::filesystem::create_symlink(KVA720_FONT_BOLD, fonts / "arialbd.ttf");
        std::filesystem::create_symlink(KVA720_FONT_REGULAR, fonts / "ARIALUNI.TTF");
        if (FT_Init_FreeType(&pFTLibARIA) != 0 || load_font_face(face_bold, pFTLibARIA, pFTFaceARIABOLD) != 0 ||
            load_font_face(face_regular, pFTLibARIA, pFTFaceARIA) != 0) {
            std::abort();
        }
    }
    ~Root() {
        std::error_code error;
        std::filesystem::remove_all(folder, error);
    }
};

/// What the drawing of choices relies on.
void Check_Choices() {
    for (const Choice_Word& word : select_words) {
        if (word.row_length < 1 || word.row_length > label_width) std::abort();
        if (word.characters < 0 || word.characters > most_choice_characters) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Root root;
    platform::Write_Whole_File(path, std::string_view(reinterpret_cast<const char*>(data), size));
    Language = size % 5;
    parse_txt_file(path);
    if (Checkversion > 1) std::abort();
    Check_Choices();
    return 0;
}
