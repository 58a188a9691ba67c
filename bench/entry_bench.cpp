#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_root.h"
#include "display/text.h"
#include "keys/dispatch.h"
#include "keys/menus/entry.h"
#include "keys/numeric_entry.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "records/keystate.h"
#include "virtual_board/devices.h"
#include "virtual_board/seed.h"

/// From a key of the number pad to changed pixels, in process, beside a memcpy of the entry field's pixels in the same
/// run.
namespace {

constexpr int field_width = 250, field_height = 30;

/// The layers, faces and a page to type on, as after start-up.
class Typing_Rig {
public:
    Typing_Rig() {
        virtual_board::Seed_Root(KVA720_SHARE, "KVA7230");
        virtual_board::Make_Frame_Devices();
        fb_init(fbOsd0, "/dev/fb/0", screen_width, screen_height, 16);
        fb_init(fbVid0, "/dev/fb/1", screen_width, screen_height, 24);
        if (FT_Init_FreeType(&library) || load_font_face(face_bold, library, pFTFaceARIABOLD) ||
            load_font_face(face_regular, library, pFTFaceARIA)) {
            std::abort();
        }
        bottom_init(fbVid0);
        parse_txt_file(Word_List_Path(0));
        numKey_init(0, face_regular);
        page.highlight = 0;
        keylink = &page;
        menus::Begin_Entry('1', true);
        Keypad_Exe('1');
    }
    ~Typing_Rig() {
        fb_free(fbOsd0);
        fb_free(fbVid0);
        virtual_board::Remove_Frame_Devices();
        FT_Done_FreeType(library);
        pFTFaceARIABOLD = pFTFaceARIA = nullptr;
        NUM2init();
        keylink = nullptr;
    }

private:
    Bench_Root root;
    FT_Library library = nullptr;
    Menu_Page page;
};

void Memcpy_Of_The_Entry_Field(benchmark::State& state) {
    const std::vector<std::byte> from(std::size_t{screen_width} * field_height * 2, std::byte{7});
    std::vector<std::byte> to(from.size());
    for (auto _ : state) {
        for (std::size_t row = 0; row < field_height; ++row) {
            std::memcpy(to.data() + row * screen_width * 2, from.data() + row * screen_width * 2, field_width * 2);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Memcpy_Of_The_Entry_Field);

/// The argument is how many digits stand there already. Each turn is a digit and the backspace over it.
void A_Digit_And_Its_Backspace(benchmark::State& state) {
    const Typing_Rig rig;
    for (int i = 1; i < state.range(0); ++i) Keypad_Exe('2');
    for (auto _ : state) {
        Keypad_Exe('3');
        benchmark::ClobberMemory();
        Keypad_Exe('B');
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(A_Digit_And_Its_Backspace)->Arg(1)->Arg(11);

/// The first digit opens the unit page; backspaces close it again.
void A_Digit_That_Opens_The_Unit_Page(benchmark::State& state) {
    const Typing_Rig rig;
    for (const char key : {'B', 'B'}) Keypad_Exe(key);
    for (auto _ : state) {
        Keypad_Exe('3');
        benchmark::ClobberMemory();
        state.PauseTiming();
        for (const char key : {'B', 'B'}) Keypad_Exe(key);
        state.ResumeTiming();
    }
}
BENCHMARK(A_Digit_That_Opens_The_Unit_Page);

}  // namespace
