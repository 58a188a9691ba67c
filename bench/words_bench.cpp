#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

#include "bench_root.h"
#include "display/text.h"
#include "keys/soft_keys.h"
#include "keys/words.h"
#include "virtual_board/seed.h"

/// The soft-key column, beside a memcpy of the same pixels in the same run, and the words at start-up.
namespace {

/// Column, words and faces of an instrument whose layer is plain memory.
class Column : public benchmark::Fixture {
public:
    void SetUp(benchmark::State&) override {
        root_ = std::make_unique<Bench_Root>();
        virtual_board::Seed_Root(KVA720_SHARE, "KVA7230");
        FT_Init_FreeType(&library_);
        load_font_face(face_bold, library_, pFTFaceARIABOLD);
        load_font_face(face_regular, library_, pFTFaceARIA);
        bottom_init(layer);
        parse_txt_file(Word_List_Path(0));
        page.title = En(keys::enFrequencyBig);
        page.label = {En(keys::enCenterFreq), En(keys::enStartFreq), En(keys::enStopFreq), En(keys::enCFStep),
                      En(keys::enFreqOffset), En(keys::enRefLevel), En(keys::enMoreOne)};
        page.highlight = 1;
    }
    void TearDown(benchmark::State&) override {
        FT_Done_FreeType(library_);
        pFTFaceARIABOLD = pFTFaceARIA = nullptr;
        root_.reset();
    }

protected:
    static constexpr std::size_t line = screen_width * 3;
    std::vector<std::byte> memory = std::vector<std::byte>(line * screen_height);
    Frame_Descriptor layer{memory.data(), nullptr, -1, screen_width, screen_height, 24, line, line * screen_height};
    Menu_Page page;

    void Copy_Rows(const std::vector<std::byte>& from, int y, int rows) {
        for (int row = y; row < y + rows; ++row) {
            const std::size_t at = static_cast<std::size_t>(row) * line + soft_key_x * 3;
            std::memcpy(memory.data() + at, from.data() + at, label_width * 3);
        }
    }

private:
    std::unique_ptr<Bench_Root> root_;
    FT_Library library_ = nullptr;
};

BENCHMARK_F(Column, Memcpy_Of_A_Page)(benchmark::State& state) {
    const std::vector<std::byte> from(memory.size(), std::byte{9});
    for (auto _ : state) {
        Copy_Rows(from, 0, title_height);
        for (int key = 0; key < soft_keys; ++key) Copy_Rows(from, soft_key_y + soft_key_pitch * key, label_height);
        benchmark::ClobberMemory();
    }
}

BENCHMARK_F(Column, Draw_A_Page)(benchmark::State& state) {
    for (auto _ : state) {
        hardware_key(page, true, layer);
        benchmark::ClobberMemory();
    }
}

BENCHMARK_F(Column, Memcpy_Of_Two_Keys)(benchmark::State& state) {
    const std::vector<std::byte> from(memory.size(), std::byte{9});
    for (auto _ : state) {
        for (const int key : {1, 2}) Copy_Rows(from, soft_key_y + soft_key_pitch * key, label_height);
        benchmark::ClobberMemory();
    }
}

/// Pictures of both keys, then label, value and choices of the new one as the page has them.
BENCHMARK_F(Column, Move_The_Highlight)(benchmark::State& state) {
    std::uint8_t key = 0;
    keylink.store(&page);
    for (auto _ : state) {
        const auto next = static_cast<std::uint8_t>((key + 1) % soft_keys);
        software_key(key, next, false, layer);
        keyon_bottom(key);
        keyon_bottom(next);
        key = next;
        benchmark::ClobberMemory();
    }
    keylink.store(nullptr);
}

/// All words of one language, rasterised as at start-up.
BENCHMARK_DEFINE_F(Column, Read_The_Words)(benchmark::State& state) {
    for (auto _ : state) parse_txt_file(Word_List_Path(static_cast<int>(state.range(0))));
}
BENCHMARK_REGISTER_F(Column, Read_The_Words)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

/// Their floor: the tables filled with zeros, which the reader begins with.
BENCHMARK_F(Column, Memset_Of_The_Tables)(benchmark::State& state) {
    for (auto _ : state) {
        std::memset(en_words.data(), 0, sizeof en_words);
        std::memset(cat_words.data(), 0, sizeof cat_words);
        benchmark::ClobberMemory();
    }
}

}  // namespace
