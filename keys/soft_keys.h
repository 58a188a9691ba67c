#pragma once
#include "display/layers.h"
#include "keys/page.h"

/// The soft-key column: seven keys of 142 by 84 pixels, 77 apart, below a title.

constexpr int soft_key_x = 656, soft_key_y = 22, soft_key_pitch = 77, title_height = 29;

/// Loads the key pictures and remembers the layer that the column stands on.
void bottom_init(const Frame_Descriptor& layer);

/// Draws a whole page: labels, values and, where asked, the title. A key without label is cleared to 0.
void hardware_key(const Menu_Page& page, bool draw_title, const Frame_Descriptor& layer);

/// Moves the highlight: the released picture over the old key (0xff none), the pressed one over the new; nothing when
/// they are equal, unless forced. The caller draws the labels again.
void software_key(std::uint8_t old_key, std::uint8_t new_key, bool force, const Frame_Descriptor& layer);

/// Draws a key of the current page pressed, with its label and what it shows now.
void keyon_bottom(int key);

/// Enables a key of the current page and shows its current choice; greys one out, with what it shows.
void bottom_turnon(int key);
void bottom_turnoff(int key);

/// Draws the choice texts of a key, the chosen one marked: side by side, or the chosen one alone between two arrows
/// where they are too wide for that.
void bottom_string(int key, const Key_Face& face, const Frame_Descriptor& layer);

/// Draws every key of the current page again with its present value.
void Redraw_Keys();

/// Makes a page the current one, its highlight cleared, and draws it.
void Show_Page(Menu_Page& page);

/// A soft key of any family: refuses indexes above 6 with the family's text in the error log, ignores keys without label
/// or greyed, moves the highlight and calls the page's layer handler.
void Press_Soft_Key(int key, const char* family_error);
