#include "sequence/sequence.h"

#include <array>
#include <string>

#include "display/draw.h"
#include "display/pictures.h"
#include "platform/whole_file.h"
#include "records/function.h"

namespace {
constexpr int sequences = 5;
constexpr std::size_t largest_sequence = 65536;
std::array<std::string, sequences> stored;
}  // namespace

void Sequence_Init() {
    Sequence_runnow_flag = 0;
    SEQCAL_Flag = 0;
    for (auto& sequence : stored) sequence.clear();
}

bool Recall_Sequence(int number) {
    if (number < 0 || number >= sequences) return false;
    std::string& sequence = stored[static_cast<std::size_t>(number)];
    const std::string path = "/mnt/nand/sequence" + std::to_string(number) + ".seq";
    if (platform::Read_Whole_File(path, largest_sequence, sequence)) return true;
    sequence.clear();
    return false;
}

void Redraw_Sequence_Screen() {
    constexpr display::Rect plot_area{10, 58, 601, 451};
    for (const auto* layer : {&fbOsd0, &fbVid0}) display::Clear(*layer, plot_area);
    Global_Table = table_sequence;
    Show_Picture(picture_sequence, 600, 450, 10, 58, target_video0);
}
