#include "keys/language.h"

#include <cstdio>
#include <string>

#include "keys/messages.h"
#include "keys/numeric_entry.h"
#include "keys/soft_keys.h"
#include "keys/status_blocks.h"
#include "keys/words.h"
#include "platform/whole_file.h"
#include "records/display.h"
#include "records/function.h"
#include "records/sys.h"

namespace {

constexpr int languages = 5;
constexpr const char* language_file = "/mnt/nand/language";

void Redraw_Texts() {
    if (keylink.load()) hardware_key(Current_Page(), true, fbVid0);
    if (FunctionMode_Flag == mode_spectrum) Draw_Status_Blocks();
    Draw_Sweep_State();
    if (Display_Data.clock_shown) Draw_Clock();
    Redraw_Entry();
    Redraw_Message();
}

}  // namespace

int Set_Language(int language) {
    if (language < 0 || language >= languages) return -1;
    if (!Word_List_There(language)) {
        ThirdAttentionwords(attention_no_words);
        return -1;
    }
    Language = static_cast<std::uint8_t>(language);
    parse_txt_file(Word_List_Path(language));
    Redraw_Texts();
    if (!platform::Write_Whole_File(language_file, std::to_string(language) + "\n")) std::perror(language_file);
    return 0;
}

void Recall_Language() {
    std::string text;
    if (!platform::Read_Whole_File(language_file, 16, text) || text.empty()) return;
    const int language = text[0] - '0';
    if (language >= 0 && language < languages) Language = static_cast<std::uint8_t>(language);
}
