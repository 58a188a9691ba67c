#pragma once
#include <cstdint>
#include <span>

/// Symbols, readout and tables of the markers and peaks: on the text layer, so that the traces below them are drawn
/// without regard to them. Only what has changed is drawn. The caller holds Command_Main_Mutex.

/// Draws what has changed since the last call.
void Show_Markers();

/// Draws all of it again, after the graticule has been drawn.
void Redraw_Markers();

/// Draws the symbols alone again, over what has been drawn in their place.
void Redraw_Symbols();

/// Number of the active marker in the readout above the graticule; Int_Marker_Show_Value: all of the readout.
void display_blocktwo_mk();
void Int_Marker_Show_Value();

/// Tables below the traces; their frames are drawn with the graticule.
void Cal_Marker_Table_Display();
void Cal_Peak_Table_Display();
void Cal_Limit_Table_Display();

/// What the entry field and the keys show of the markers.
enum class Marker_Entry : std::uint8_t {
    number, normal, delta, pair_span, pair_center, resolution, excursion, threshold
};
/// Text of its present value.
void Marker_Entry_Text(Marker_Entry entry, std::span<char> text);
void Show_Marker_Entry(Marker_Entry entry);
