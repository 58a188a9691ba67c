#include "keys/messages.h"

#include <array>

#include "display/text.h"
#include "palette.h"

namespace {

constexpr display::Rect message_area{258, 570, 392, 28};

struct Attention {
    int number;
    const char* text;
};

constexpr auto attentions = std::to_array<Attention>({
    {5, "The frequency axis was changed"},
    {7, "Shutting down"},
    {8, "Remote control - Preset returns to local"},
    {21, "The word list is of another version"},
    {24, "The sweep is on hold"},
    {25, "The instrument was recovered"},
    {60, "An address is four numbers from 0 to 255"},
    {61, "A date is typed as year, month, day: 20270131"},
    {62, "A time is typed as hours, minutes, seconds: 235959"},
});

}  // namespace

void ThirdAttentionwords(int number) {
    for (const auto& attention : attentions) {
        if (attention.number != number) continue;
        display::Draw_Field(fbOsd0, message_area, 20, attention.text,
                            {face_bold, 13, display::palette::attention, display::palette::bar});
    }
}

void Clear_Attention() { display::Clear(fbOsd0, message_area); }
